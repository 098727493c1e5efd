#include "workstation/desktop/MessageBoxWindow.h"

#include <QAccessible>
#include <QCheckBox>
#include <QCloseEvent>
#include <QGridLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QStyle>
#include <algorithm>

#include "workstation/desktop/DetailsWindow.h"
#include "workstation/desktop/ShownTexts.h"
#include "workstation/desktop/TextPane.h"
#include "workstation/ui/BoxButtons.h"
#include "workstation/ui/TextTable.h"
#include "workstation/ui/Texts.h"

namespace workstation {
namespace {

QIcon iconOf(UINT style, const QStyle& look) {
  switch (style & MB_ICONMASK) {
    case MB_ICONHAND:
      return look.standardIcon(QStyle::SP_MessageBoxCritical);
    case MB_ICONQUESTION:
      return look.standardIcon(QStyle::SP_MessageBoxQuestion);
    case MB_ICONEXCLAMATION:
      return look.standardIcon(QStyle::SP_MessageBoxWarning);
    case MB_ICONINFORMATION:
      return look.standardIcon(QStyle::SP_MessageBoxInformation);
    default:
      return {};
  }
}

std::wstring withoutLastLineFeeds(std::wstring text) {
  while (text.ends_with(L'\n') || text.ends_with(L'\r')) text.pop_back();
  return text;
}

}  // namespace

int escapeAnswer(UINT style) {
  const std::vector<BoxButton> buttons = boxButtons(style);
  if (offersAnswer(style, IDCANCEL)) return IDCANCEL;
  return buttons.size() == 1 ? buttons.front().answer : 0;
}

int closeAnswer(UINT style) {
  const int answer = escapeAnswer(style);
  return answer != 0 ? answer : platform::denyingAnswer(style);
}

int defaultAnswer(UINT style) {
  const std::vector<BoxButton> buttons = boxButtons(style);
  const std::size_t wanted = (style & kDefaultButtonMask) / kDefaultButton2;
  return buttons[wanted < buttons.size() ? wanted : 0].answer;
}

MessageBoxWindow::MessageBoxWindow(const platform::MessageBoxRequest& request) : request_(request) {
  setWindowTitle(titleText(request.caption));
  setModal(true);
  setWindowFlag(Qt::WindowStaysOnTopHint, (request.style & (MB_TOPMOST | kSystemModal)) != 0);

  auto* const layout = new QGridLayout(this);
  layout->setSizeConstraint(QLayout::SetFixedSize);
  layout->setContentsMargins(18, 18, 18, 14);
  layout->setHorizontalSpacing(16);
  layout->setVerticalSpacing(14);
  if (const QIcon icon = iconOf(request.style, *style()); !icon.isNull()) {
    const int size = style()->pixelMetric(QStyle::PM_MessageBoxIconSize, nullptr, this);
    auto* const picture = new QLabel(this);
    picture->setPixmap(icon.pixmap(QSize(size, size), devicePixelRatioF()));
    layout->addWidget(picture, 0, 0, Qt::AlignTop);
  }
  const QString text = shownText(withoutLastLineFeeds(request.text));
  layout->addWidget(new TextPane(text, this), 0, 1, Qt::AlignLeft | Qt::AlignVCenter);
  if (!request.checkBox.empty()) {
    checkBox_ = new QCheckBox(labelText(request.checkBox), this);
    layout->addWidget(checkBox_, 1, 1);
  }
  auto* const buttons = new QHBoxLayout;
  addButtons(*buttons);
  layout->addLayout(buttons, 2, 0, 1, 2);
  layout->setColumnStretch(1, 1);

  setAccessibleName(windowTitle());
  setAccessibleDescription(text);
  QAccessibleEvent alert(this, QAccessible::Alert);
  QAccessible::updateAccessibility(&alert);
}

/// In the order of the style, on every desktop: what reads "Abort, Retry, Ignore" is known so.
void MessageBoxWindow::addButtons(QBoxLayout& row) {
  row.setSpacing(8);
  row.addStretch();
  for (const auto& [answer, label] : boxButtons(request_.style)) {
    auto* const button = new QPushButton(buttonText(label), this);
    row.addWidget(button);
    connect(button, &QPushButton::clicked, this, [this, answer = answer] { done(answer); });
    if (answer != defaultAnswer(request_.style)) continue;
    button->setDefault(true);
    button->setFocus();
  }
  if (request_.details.empty()) return;
  auto* const help = new QPushButton(buttonText(languageText(kTextButtonHelp)), this);
  row.addWidget(help);
  connect(help, &QPushButton::clicked, this, [this] { showDetails(); });
}

bool MessageBoxWindow::isChecked() const {
  return checkBox_ != nullptr && checkBox_->isChecked();
}

void MessageBoxWindow::showDetails() {
  if (!details_) details_ = new DetailsWindow(request_.details, request_.detailsCaption, *this);
  details_->show();
  details_->raise();
  details_->activateWindow();
}

void MessageBoxWindow::keyPressEvent(QKeyEvent* event) {
  if (event->key() != Qt::Key_Escape) {
    QDialog::keyPressEvent(event);
  } else if (const int answer = escapeAnswer(request_.style); answer != 0) {
    done(answer);
  }
}

void MessageBoxWindow::closeEvent(QCloseEvent* event) {
  event->accept();
  if (isVisible()) done(closeAnswer(request_.style));
}

}  // namespace workstation
