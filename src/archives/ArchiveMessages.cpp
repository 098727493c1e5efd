#include "archives/ArchiveMessages.h"

#include "host/Trace.h"
#include "host/UserMessages.h"
#include "platform/Text.h"
#include "platform/UserInterface.h"
#include "zephor/Diagnostics.h"

namespace Quorvel::FileAccess {
namespace {

constexpr const wchar_t* kCaption = L"Quorvel";
constexpr int kReplaceTextId = 1500454;
constexpr int kLongestText = 256;

void show(const std::wstring& text, UINT icon) {
  if (!Msg2usr_IsDeny()) MessageBoxW(Msg2usr_GetWnd(), text.c_str(), kCaption, MB_OK | icon | MB_SETFOREGROUND);
}

}  // namespace

std::wstring languageText(int id) {
  return CQuoString().GetQuorvotParText(id, nullptr, 0, kLongestText).text();
}

bool failWithMessage(const wchar_t* operation, const std::wstring& text) {
  lfperrC(L"%s: %s\n", operation, text);
  show(text, MB_ICONEXCLAMATION);
  return false;
}

bool failWithMessage(const wchar_t* operation, const std::wstring& path, DWORD error) {
  std::wstring reason;
  ConnectionLogger::WGO_GetErrorString(error, reason);
  return failWithMessage(operation, platform::formatWide(L"%s\n\n%s", path, reason));
}

void logLinks(const wchar_t* operation, const CkZipW& zip) {
  for (const std::wstring& link : zip.linksLeftOut()) {
    lfperrC(L"%s: %s: a link, which stays out of the archive\n", operation, link);
  }
}

void showMessage(const std::wstring& text) {
  show(text, MB_ICONINFORMATION);
}

bool askToReplace(const std::wstring& path) {
  if (Msg2usr_IsDeny()) return false;
  const std::wstring text = platform::formatWide(L"\"%s\"\n\n%s", path, languageText(kReplaceTextId));
  return MessageBoxW(Msg2usr_GetWnd(), text.c_str(), kCaption, MB_YESNO | MB_ICONQUESTION | MB_SETFOREGROUND) == IDYES;
}

}  // namespace Quorvel::FileAccess
