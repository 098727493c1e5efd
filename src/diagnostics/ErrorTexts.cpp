#include "diagnostics/ErrorTexts.h"

#include <algorithm>
#include <memory>

#include "diagnostics/DiagnosticsState.h"
#include "diagnostics/LineEnd.h"
#include "platform/Messages.h"
#include "platform/Text.h"
#include "zephor/Diagnostics.h"

namespace Quorvel::FileAccess::ConnectionLogger {
namespace {

constexpr DWORD kTextLimit = 1024;
/// The user's default language, as the message functions number it.
constexpr DWORD kUserLanguage = 1024;

struct ModuleCloser {
  void operator()(void* module) const { FreeLibrary(module); }
};
using Module = std::unique_ptr<void, ModuleCloser>;

Module openMessages(const wchar_t* name) {
  return Module(LoadLibraryExW(name, nullptr, LOAD_LIBRARY_AS_DATAFILE));
}

/// Empty when no source has a text; the thread's last error then tells why.
std::wstring formattedMessage(DWORD sources, HMODULE module, DWORD code) {
  wchar_t* text = nullptr;
  const DWORD length =
      FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_IGNORE_INSERTS | sources, module, code,
                     kUserLanguage, reinterpret_cast<wchar_t*>(&text), 0, nullptr);  // NOLINT: the system's convention
  if (length == 0 || text == nullptr) return {};
  std::wstring result(text, length);
  LocalFree(text);
  return result;
}

bool isNetworkCode(DWORD code) {
  return (code >= 2100 && code <= 2999) || (code >= 10000 && code <= 11999);
}
bool isInternetCode(DWORD code) {
  return code >= 12000 && code <= 12192;
}

}  // namespace

std::wstring lastInternetResponse() {
  wchar_t buffer[kTextLimit] = {};
  DWORD error = 0;
  DWORD length = kTextLimit;
  if (InternetGetLastResponseInfoW(&error, buffer, &length) == FALSE) return {};
  buffer[kTextLimit - 1] = L'\0';
  std::wstring text = buffer;
  cutLineEnd(text);
  return text;
}

std::wstring errorText(DWORD code) {
  const Module module = isNetworkCode(code) ? openMessages(L"netmsg.dll") : nullptr;
  const DWORD sources = FORMAT_MESSAGE_FROM_SYSTEM | (module != nullptr ? FORMAT_MESSAGE_FROM_HMODULE : 0);
  std::wstring text = formattedMessage(sources, module.get(), code);
  if (!text.empty()) {
    text.resize(std::min<std::size_t>(text.size(), kTextLimit - 1));
    cutLineEnd(text);
    return text;
  }
  if (isInternetCode(code)) return lastInternetResponse();
  return platform::formatWide(L"Unknown error: %d", static_cast<int>(code));
}

const wchar_t* getLastErrorString(DWORD code) {
  auto& buffer = diagnosticsState().lastErrorText;
  buffer[0] = L'\0';
  const std::wstring text = errorText(code);
  const std::size_t length = std::min(text.size(), std::size(buffer) - 1);
  std::copy_n(text.begin(), length, buffer);
  buffer[length] = L'\0';
  return buffer;
}

void WGO_GetErrorString(DWORD code, std::wstring& out) {
  out = formattedMessage(FORMAT_MESSAGE_FROM_SYSTEM, nullptr, code);
  if (!out.empty()) return;
  DWORD reason = 0;
  for (const wchar_t* name : {L"netmsg.dll", L"wininet.dll", L"winhttp.dll"}) {
    const Module module = openMessages(name);
    if (module == nullptr) continue;
    out = formattedMessage(FORMAT_MESSAGE_FROM_HMODULE, module.get(), code);
    if (!out.empty()) return;
    reason = GetLastError();
  }
  out = platform::formatWide(L"Windows Error Message: %lu\n\nFormatMessage() function returned: %ld", code, reason);
}

}  // namespace Quorvel::FileAccess::ConnectionLogger
