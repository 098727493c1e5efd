#include "workstation/desktop/DialogWindow.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

#include "platform/SecureMemory.h"
#include "workstation/desktop/ShownTexts.h"

namespace workstation {
namespace {

using platform::DialogControl;
using Kind = DialogControl::Kind;

constexpr int kEditCharacters = 32;  ///< that are seen at once

/// Overwrites a text where it lies, also for those that share its memory.
void wipe(const QString& text) {
  SecureZeroMemory(const_cast<QChar*>(text.constData()), static_cast<std::size_t>(text.size()) * sizeof(QChar));
}

/// The edit's text in wide characters, in memory that the caller wipes.
std::wstring inputOf(const QLineEdit& edit) {
  const QString text = edit.text();  // shares the edit's memory
  std::wstring input(static_cast<std::size_t>(text.size()), L'\0');
  input.resize(static_cast<std::size_t>(text.toWCharArray(input.data())));
  return input;
}

void fill(QLineEdit& edit, const std::wstring& input) {
  const bool isSecret = edit.echoMode() == QLineEdit::Password;
  if (isSecret) wipe(edit.text());
  const QString text = QString::fromStdWString(input);
  edit.setText(text);
  // Memory that it shares with the edit is wiped with the edit.
  if (isSecret && text.constData() != edit.text().constData()) wipe(text);
}

/// Overwrites the text that the edit holds and what it keeps for undoing. Out of reach are what the edit gave back to
/// the heap while the text grew, and the events of the keys that the toolkit and the display have passed on.
void wipe(QLineEdit& edit) {
  wipe(edit.text());
  const QString filler(edit.maxLength(), QChar('x'));
  for (int i = 0; i < 4; ++i) {
    edit.setText({});  // forgets the steps and keeps their memory
    for (int step = 0; step < 4; ++step) {
      edit.insert(filler);
      edit.selectAll();
      edit.del();
    }
  }
}

QDialogButtonBox::ButtonRole roleOf(int id) {
  if (id == IDOK) return QDialogButtonBox::AcceptRole;
  return id == IDCANCEL ? QDialogButtonBox::RejectRole : QDialogButtonBox::ActionRole;
}

}  // namespace

DialogWindow::DialogWindow(platform::Dialog& dialog) : dialog_(dialog) {
  setWindowTitle(titleText(dialog.title));
  setModal(true);
  auto* const layout = new QVBoxLayout(this);
  layout->setContentsMargins(18, 16, 18, 14);
  layout->setSpacing(14);
  auto* const form = new QFormLayout;
  form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
  form->setVerticalSpacing(10);
  layout->addLayout(form);
  auto* const buttons = new QDialogButtonBox(this);
  QLabel* label = nullptr;
  for (const DialogControl& control : dialog.controls) add(control, *form, *buttons, label);
  layout->addStretch();
  layout->addWidget(buttons);
  // Reached in the order in which they are shown, the buttons last.
  QWidget* before = nullptr;
  for (const DialogControl& control : dialog.controls) {
    QWidget* widget = nullptr;
    if (const auto edit = edits_.find(control.id); edit != edits_.end()) widget = edit->second;
    if (const auto box = boxes_.find(control.id); box != boxes_.end()) widget = box->second;
    if (widget == nullptr) continue;
    if (before != nullptr) setTabOrder(before, widget);
    before = widget;
    if (control.id == dialog.focus) widget->setFocus();
  }
  if (before != nullptr) setTabOrder(before, buttons);
  if (const auto edit = edits_.find(dialog.focus); edit != edits_.end()) edit->second->selectAll();
}

DialogWindow::~DialogWindow() {
  for (const auto& [id, edit] : edits_) {
    if (edit->echoMode() == QLineEdit::Password) wipe(*edit);
  }
}

void DialogWindow::add(const DialogControl& control, QFormLayout& form, QDialogButtonBox& buttons, QLabel*& label) {
  QWidget* field = nullptr;
  switch (control.kind) {
    case Kind::Label:
      label = new QLabel(labelText(control.text), this);
      label->setTextFormat(Qt::PlainText);
      return;
    case Kind::Text: {
      if (control.text.empty()) return;
      auto* const text = new QLabel(shownText(control.text), this);
      text->setTextFormat(Qt::PlainText);
      text->setTextInteractionFlags(Qt::TextSelectableByMouse);
      text->setWordWrap(label == nullptr);
      field = text;
      break;
    }
    case Kind::Edit:
    case Kind::Password:
      field = addEdit(control);
      break;
    case Kind::CheckBox: {
      auto* const box = new QCheckBox(labelText(control.text), this);
      boxes_[control.id] = box;
      box->setChecked(control.isChecked);
      connect(box, &QCheckBox::clicked, this, [this, id = control.id] { click(id); });
      field = box;
      break;
    }
    case Kind::Button: {
      auto* const button = buttons.addButton(labelText(control.text), roleOf(control.id));
      button->setDefault(control.id == IDOK);
      button->setAutoDefault(true);
      connect(button, &QPushButton::clicked, this, [this, id = control.id] {
        if (id != IDCANCEL) takeInput();
        done(id);
      });
      field = button;
      break;
    }
  }
  field->setEnabled(control.isEnabled);
  if (control.kind == Kind::Button) return;
  if (QLabel* const its = std::exchange(label, nullptr); its != nullptr) {
    its->setBuddy(field);
    field->setAccessibleName(its->text());
    form.addRow(its, field);
  } else if (control.kind == Kind::CheckBox) {
    form.addRow(nullptr, field);
  } else {
    form.addRow(field);
  }
}

QLineEdit* DialogWindow::addEdit(const DialogControl& control) {
  auto* const edit = new QLineEdit(this);
  edits_[control.id] = edit;
  edit->setMaxLength(static_cast<int>(std::min<std::size_t>(control.limit, 32767)));
  edit->setMinimumWidth(fontMetrics().averageCharWidth() * kEditCharacters);
  if (control.kind == Kind::Password) edit->setEchoMode(QLineEdit::Password);
  fill(*edit, control.text);
  return edit;
}

void DialogWindow::click(int id) {
  takeInput();
  dialog_.click(id);
  refresh();
}

void DialogWindow::takeInput() {
  for (const auto& [id, edit] : edits_) {
    std::wstring input = inputOf(*edit);
    dialog_.type(id, input);
    platform::wipe(input);
  }
}

void DialogWindow::refresh() {
  for (const DialogControl& control : dialog_.controls) {
    if (const auto found = boxes_.find(control.id); found != boxes_.end()) {
      found->second->setChecked(control.isChecked);
      found->second->setEnabled(control.isEnabled);
    }
    const auto found = edits_.find(control.id);
    if (found == edits_.end()) continue;
    QLineEdit& edit = *found->second;
    edit.setEnabled(control.isEnabled);
    std::wstring shown = inputOf(edit);
    if (shown != control.text) fill(edit, control.text);
    platform::wipe(shown);
  }
}

}  // namespace workstation
