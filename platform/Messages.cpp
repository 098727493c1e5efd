#include "platform/Messages.h"

#include <algorithm>
#include <cstdlib>
#include <string>

#include "platform/MessageTexts.h"

namespace platform {
namespace {

constexpr std::wstring_view kLineEnd = L"\r\n";

std::wstring& lastInternetResponse() {
  thread_local std::wstring text;
  return text;
}

/// The module's texts first, then the system's, as far as the flags ask for them. @return an empty text when there is
/// none
std::wstring findText(DWORD flags, HMODULE module, DWORD code) {
  std::wstring_view text;
  std::span<const MessageText> texts;
  if ((flags & FORMAT_MESSAGE_FROM_HMODULE) != 0 && messageTextsOf(module, texts)) text = findMessageText(texts, code);
  if (text.empty() && (flags & FORMAT_MESSAGE_FROM_SYSTEM) != 0) {
    text = findMessageText(systemMessageTexts(), code);
    // A status that carries an error code.
    constexpr DWORD kOfSystem = 0x80070000U;
    if (text.empty() && (code & 0xFFFF0000U) == kOfSystem) text = findMessageText(systemMessageTexts(), code & 0xFFFFU);
  }
  if (text.empty()) return {};
  return std::wstring(text) + std::wstring(kLineEnd);
}

void copyWithTerminator(std::wstring_view text, wchar_t* buffer) {
  buffer[text.copy(buffer, text.size())] = L'\0';
}

}  // namespace

std::wstring_view findMessageText(std::span<const MessageText> texts, DWORD code) {
  const auto found =
      std::lower_bound(texts.begin(), texts.end(), code, [](const MessageText& a, DWORD b) { return a.code < b; });
  return found != texts.end() && found->code == code ? found->text : std::wstring_view();
}

void setLastInternetResponse(const std::wstring& text) {
  lastInternetResponse() = text;
}

}  // namespace platform

DWORD FormatMessageW(DWORD flags, HMODULE module, DWORD code, DWORD /*language*/, wchar_t* buffer, DWORD size,
                     void* /*arguments*/) {
  if (buffer == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  const std::wstring text = platform::findText(flags, module, code);
  if (text.empty()) {
    SetLastError(ERROR_MR_MID_NOT_FOUND);
    return 0;
  }
  wchar_t* target = buffer;
  if ((flags & FORMAT_MESSAGE_ALLOCATE_BUFFER) != 0) {
    // `size` is then the least to allocate; no text of ours comes near what callers ask for.
    const std::size_t room = std::max<std::size_t>(text.size() + 1, size);
    target = static_cast<wchar_t*>(std::calloc(room, sizeof(wchar_t)));
    *reinterpret_cast<wchar_t**>(buffer) = target;
    if (target == nullptr) {
      SetLastError(ERROR_NOT_ENOUGH_MEMORY);
      return 0;
    }
  } else if (text.size() >= size) {
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return 0;
  }
  platform::copyWithTerminator(text, target);
  return static_cast<DWORD>(text.size());
}

void* LocalFree(void* memory) {
  std::free(memory);
  return nullptr;
}

BOOL InternetGetLastResponseInfoW(DWORD* error, wchar_t* buffer, DWORD* length) {
  if (length == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  if (error != nullptr) *error = 0;
  const std::wstring& text = platform::lastInternetResponse();
  const bool fits = buffer != nullptr && text.size() < *length;
  if (fits) {
    platform::copyWithTerminator(text, buffer);
    *length = static_cast<DWORD>(text.size());
    return text.empty() ? FALSE : TRUE;
  }
  *length = static_cast<DWORD>(text.size() + 1);
  SetLastError(ERROR_INSUFFICIENT_BUFFER);
  return FALSE;
}
