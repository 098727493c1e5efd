#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <cwchar>

#include "platform/Text.h"
#include "platform/TextCodec.h"

namespace platform {
namespace {

constexpr UINT kWestern = 1252;
constexpr UINT kLatin1 = 28591;

// 0x80 to 0x9F of page 1252. The five bytes without a character stand for the control characters of their number, so
// that every byte string survives the way to wide text and back.
constexpr std::array<wchar_t, 32> kWesternUpper = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

std::atomic<UINT>& activePage() {
  static std::atomic<UINT> page{kWestern};
  return page;
}

bool isKnown(UINT codePage) {
  return codePage == kWestern || codePage == kLatin1 || codePage == CP_UTF8;
}

/// Writes what fits, whole characters only.
/// @return the bytes or characters of all; 0 with the last error when they do not fit
template <typename Unit>
int deliver(const std::basic_string<Unit>& converted, std::size_t fitting, Unit* out, int size) {
  const std::size_t needed = converted.size();
  if (needed > static_cast<std::size_t>(0x7FFFFFFF)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  if (size == 0) return static_cast<int>(needed);
  std::copy_n(converted.data(), fitting, out);
  if (fitting < needed) {
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return 0;
  }
  return static_cast<int>(needed);
}

bool goodArguments(UINT page, const void* text, int length, const void* out, int size) {
  return page != 0 && text != nullptr && (length > 0 || length == -1) && size >= 0 && (size == 0 || out != nullptr);
}

}  // namespace

void setActiveCodePage(UINT codePage) {
  if (isKnown(codePage)) activePage() = codePage;
}

UINT activeCodePage() {
  return activePage();
}

UINT resolveCodePage(UINT codePage) {
  if (codePage == CP_ACP) return activeCodePage();
  return isKnown(codePage) ? codePage : 0;
}

wchar_t decodeSingleByte(UINT codePage, unsigned char byte) {
  return codePage == kWestern && byte >= 0x80 && byte < 0xA0 ? kWesternUpper[byte - 0x80U] : wchar_t{byte};
}

int encodeSingleByte(UINT codePage, wchar_t c) {
  const bool sameNumber = (c >= 0 && c < 0x80) || (c >= 0xA0 && c <= 0xFF);
  if (sameNumber) return c;
  if (codePage != kWestern) return c >= 0x80 && c < 0xA0 ? c : -1;
  const auto* const found = std::find(kWesternUpper.begin(), kWesternUpper.end(), c);
  return found != kWesternUpper.end() ? static_cast<int>(0x80 + (found - kWesternUpper.begin())) : -1;
}

}  // namespace platform

int WideCharToMultiByte(UINT codePage, DWORD flags, const wchar_t* text, int length, char* out, int size,
                        const char* defaultChar, BOOL* usedDefaultChar) {
  const UINT page = platform::resolveCodePage(codePage);
  if (!platform::goodArguments(page, text, length, out, size)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  const std::wstring_view source(text, length > 0 ? static_cast<std::size_t>(length) : std::wcslen(text) + 1);
  const auto room = static_cast<std::size_t>(size);
  const char substitute = defaultChar != nullptr ? *defaultChar : '?';
  std::string converted;
  converted.reserve(source.size());
  bool substituted = false;
  std::size_t fitting = 0;
  for (const wchar_t c : source) {
    if (page == CP_UTF8) {
      substituted = substituted || !platform::isCharacter(static_cast<char32_t>(c));
      platform::appendUtf8(converted, c);
    } else {
      const int byte = platform::encodeSingleByte(page, c);
      substituted = substituted || byte < 0;
      converted += byte < 0 ? substitute : static_cast<char>(byte);
    }
    if (converted.size() <= room) fitting = converted.size();
  }
  if (substituted && (flags & WC_ERR_INVALID_CHARS) != 0 && page == CP_UTF8) {
    SetLastError(ERROR_NO_UNICODE_TRANSLATION);
    return 0;
  }
  if (usedDefaultChar != nullptr) *usedDefaultChar = substituted ? TRUE : FALSE;
  return platform::deliver(converted, fitting, out, size);
}

int MultiByteToWideChar(UINT codePage, DWORD flags, const char* text, int length, wchar_t* out, int size) {
  const UINT page = platform::resolveCodePage(codePage);
  if (!platform::goodArguments(page, text, length, out, size)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  const std::string_view source(text, length > 0 ? static_cast<std::size_t>(length) : std::strlen(text) + 1);
  if ((flags & MB_ERR_INVALID_CHARS) != 0 && page == CP_UTF8 && !platform::isValidUtf8(source)) {
    SetLastError(ERROR_NO_UNICODE_TRANSLATION);
    return 0;
  }
  std::wstring converted;
  if (page == CP_UTF8) {
    converted = platform::fromUtf8(source);
  } else {
    converted.reserve(source.size());
    for (const char c : source) converted += platform::decodeSingleByte(page, static_cast<unsigned char>(c));
  }
  return platform::deliver(converted, std::min(converted.size(), static_cast<std::size_t>(size)), out, size);
}
