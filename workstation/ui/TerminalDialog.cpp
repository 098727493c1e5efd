#include "workstation/ui/TerminalDialog.h"

#include <utility>

#include "platform/SecureMemory.h"
#include "platform/UserInterface.h"
#include "workstation/ui/BoxButtons.h"
#include "workstation/ui/Terminal.h"
#include "workstation/ui/TextTable.h"
#include "workstation/ui/Texts.h"

namespace workstation {
namespace {

using platform::Dialog;
using platform::DialogControl;

constexpr std::size_t kLongestSecret = 256;

bool askEdit(Dialog& dialog, const DialogControl& edit, const std::wstring& label, Terminal& terminal) {
  std::wstring typed;
  terminal.write(label + (edit.text.empty() ? L": " : L" [" + edit.text + L"]: "));
  if (!terminal.readLine(typed)) return false;
  if (!typed.empty()) dialog.type(edit.id, typed);
  return true;
}

bool askPassword(Dialog& dialog, const DialogControl& edit, const std::wstring& label, Terminal& terminal) {
  std::wstring typed;
  typed.reserve(kLongestSecret);
  const bool isRead = terminal.readSecret(label + L": ", typed);
  if (isRead && !typed.empty()) dialog.type(edit.id, typed);
  platform::wipe(typed);
  return isRead;
}

bool askCheckBox(Dialog& dialog, const DialogControl& box, Terminal& terminal) {
  for (;;) {
    std::wstring prompt = box.text;
    for (const BoxButton& button : boxButtons(MB_YESNO)) {
      const bool isKept = box.isChecked == (button.answer == IDYES);
      prompt += (button.answer == IDYES ? L" " : L"/") + (isKept ? L"<" + button.label + L">" : button.label);
    }
    terminal.write(prompt + L"? ");
    std::wstring typed;
    if (!terminal.readLine(typed)) return false;
    if (typed.empty()) return true;
    for (const BoxButton& button : boxButtons(MB_YESNO)) {
      if (!meansButton(typed, button.label)) continue;
      if (box.isChecked != (button.answer == IDYES)) dialog.click(box.id);
      return true;
    }
    terminal.write(languageText(kTextNotUnderstood) + L"\n");
  }
}

bool askControl(Dialog& dialog, const DialogControl& control, const std::wstring& label, Terminal& terminal) {
  switch (control.kind) {
    case DialogControl::Kind::Text:
      if (!control.text.empty()) terminal.write((label.empty() ? L"" : label + L": ") + control.text + L"\n");
      return true;
    case DialogControl::Kind::Edit:
      return askEdit(dialog, control, label, terminal);
    case DialogControl::Kind::Password:
      return askPassword(dialog, control, label, terminal);
    case DialogControl::Kind::CheckBox:
      return askCheckBox(dialog, control, terminal);
    default:
      return true;
  }
}

}  // namespace

int askThrough(Dialog& dialog, Terminal& terminal) {
  if (!dialog.title.empty()) terminal.write(dialog.title + L"\n");
  std::wstring label;
  // The rules may change a control, and never how many there are.
  for (const DialogControl& control : dialog.controls) {
    if (control.kind == DialogControl::Kind::Label) {
      label = control.text;
      continue;
    }
    if (control.isEnabled && !askControl(dialog, control, std::exchange(label, {}), terminal)) {
      terminal.write(L"\n");
      return IDCANCEL;
    }
  }
  return IDOK;
}

}  // namespace workstation
