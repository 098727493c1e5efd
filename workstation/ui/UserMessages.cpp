#include "host/UserMessages.h"

#include <atomic>

#include "host/Trace.h"
#include "platform/UserInterface.h"
#include "workstation/ui/HostInterface.h"
#include "workstation/ui/TextTable.h"
#include "workstation/ui/Texts.h"

namespace {

constexpr const wchar_t* kCaption = L"Quorvel";

std::atomic<bool>& denied() {
  static std::atomic<bool> value{false};
  return value;
}

/// Logs the text, and shows it unless boxes are forbidden.
void tellUser(const std::wstring& text, UINT icon) {
  lfperrC(L"%s\n", text);
  if (denied()) return;
  platform::MessageBoxRequest request;
  request.text = text;
  request.caption = kCaption;
  request.style = MB_OK | icon | MB_SETFOREGROUND;
  platform::userInterface().messageBox(request);
}

}  // namespace

void workstation::setDenied(bool value) {
  denied() = value;
}

bool Msg2usr_IsDeny() {
  return denied();
}

// The workstation has no windows of its own; boxes go to the user interface in place.
HWND Msg2usr_GetWnd() {
  return nullptr;
}
HWND Msg2usr_GetThreadForegroundWindow(DWORD /*threadId*/) {
  return nullptr;
}

void sendGuiMessage(int id, const std::wstring& parameters) {
  // The library puts a blank before the first parameter.
  const std::size_t begin = parameters.starts_with(L' ') ? 1 : 0;
  const auto values = workstation::splitParameters(std::wstring_view(parameters).substr(begin));
  tellUser(workstation::withParameters(workstation::languageText(id), values), MB_ICONINFORMATION);
}

void TBsLocked_MessageBox(const std::vector<int>& numbers) {
  if (numbers.empty()) return;
  std::wstring list;
  for (const int number : numbers) list += (list.empty() ? L"" : L", ") + std::to_wstring(number);
  tellUser(workstation::withParameters(workstation::languageText(workstation::kTextTeilbilderNotLocked), {list}),
           MB_ICONEXCLAMATION);
}
