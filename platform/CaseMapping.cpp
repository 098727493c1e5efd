// Letter case without the process's locale. Two letters are a case pair only when each is the other's single partner:
// then comparing in lower and in upper case agree, and no character equals two others that differ (dotted I, long s,
// final sigma).
#include <cstdint>
#include <cwchar>
#include <cwctype>
#include <limits>

#include "platform/Text.h"

namespace platform {
namespace {

struct CaseRange {
  wchar_t firstUpper;
  wchar_t lastUpper;
  int distance;
};

// Stands in where the system has no Unicode locale: what European project names are made of.
constexpr CaseRange kFallbackRanges[] = {
    {0xC0, 0xD6, 32}, {0xD8, 0xDE, 32}, {0x391, 0x3A1, 32}, {0x3A3, 0x3AB, 32}, {0x400, 0x40F, 80}, {0x410, 0x42F, 32},
};

wchar_t fallbackLower(wchar_t c) {
  for (const CaseRange& range : kFallbackRanges) {
    if (c >= range.firstUpper && c <= range.lastUpper) return c + range.distance;
  }
  return c;
}

wchar_t fallbackUpper(wchar_t c) {
  for (const CaseRange& range : kFallbackRanges) {
    if (c >= range.firstUpper + range.distance && c <= range.lastUpper + range.distance) return c - range.distance;
  }
  return c;
}

/// Never freed: comparisons may run until the process ends.
locale_t unicodeLocale() {
  static const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
  return locale;
}

wchar_t systemLower(wchar_t c, locale_t locale) {
  return static_cast<wchar_t>(towlower_l(static_cast<wint_t>(c), locale));
}

wchar_t systemUpper(wchar_t c, locale_t locale) {
  return static_cast<wchar_t>(towupper_l(static_cast<wint_t>(c), locale));
}

wchar_t lower(wchar_t c) {
  if (c >= L'A' && c <= L'Z') return c + (L'a' - L'A');
  if (c < 0x80) return c;
  const locale_t locale = unicodeLocale();
  if (locale == nullptr) return fallbackLower(c);
  const wchar_t partner = systemLower(c, locale);
  return partner != c && systemUpper(partner, locale) == c ? partner : c;
}

wchar_t upper(wchar_t c) {
  if (c >= L'a' && c <= L'z') return c - (L'a' - L'A');
  if (c < 0x80) return c;
  const locale_t locale = unicodeLocale();
  if (locale == nullptr) return fallbackUpper(c);
  const wchar_t partner = systemUpper(c, locale);
  return partner != c && systemLower(partner, locale) == c ? partner : c;
}

bool equalLetters(wchar_t a, wchar_t b) {
  return a == b || lower(a) == lower(b);
}

}  // namespace

void lowerInto(std::wstring_view text, wchar_t* out) {
  bool isAscii = true;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const wchar_t c = text[i];
    isAscii = isAscii && c >= 0 && c < 0x80;
    out[i] = c >= L'A' && c <= L'Z' ? c + (L'a' - L'A') : c;
  }
  if (isAscii) return;
  for (std::size_t i = 0; i < text.size(); ++i) out[i] = lower(text[i]);
}

std::wstring toLower(std::wstring_view text) {
  std::wstring out(text.size(), L'\0');
  lowerInto(text, out.data());
  return out;
}

std::wstring toUpper(std::wstring_view text) {
  std::wstring out(text);
  for (wchar_t& c : out) c = upper(c);
  return out;
}

bool equalsIgnoreCase(std::wstring_view a, std::wstring_view b) {
  return a.size() == b.size() && startsWithIgnoreCase(a, b);
}

bool startsWithIgnoreCase(std::wstring_view text, std::wstring_view prefix) {
  if (text.size() < prefix.size()) return false;
  for (std::size_t i = 0; i < prefix.size(); ++i) {
    if (!equalLetters(text[i], prefix[i])) return false;
  }
  return true;
}

bool endsWithIgnoreCase(std::wstring_view text, std::wstring_view suffix) {
  return text.size() >= suffix.size() && startsWithIgnoreCase(text.substr(text.size() - suffix.size()), suffix);
}

std::size_t findIgnoreCase(std::wstring_view text, std::wstring_view part) {
  for (std::size_t at = 0; at + part.size() <= text.size(); ++at) {
    if (startsWithIgnoreCase(text.substr(at), part)) return at;
  }
  return std::wstring_view::npos;
}

}  // namespace platform

int _wcsicmp(const wchar_t* a, const wchar_t* b) {
  return _wcsnicmp(a, b, std::numeric_limits<std::size_t>::max());
}

int _wcsnicmp(const wchar_t* a, const wchar_t* b, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    const wchar_t left = platform::lower(a[i]);
    const wchar_t right = platform::lower(b[i]);
    if (left != right) return left < right ? -1 : 1;
    if (left == L'\0') return 0;
  }
  return 0;
}

int _wtoi(const wchar_t* text) {
  while (*text == L' ' || (*text >= L'\t' && *text <= L'\r')) ++text;
  const bool negative = *text == L'-';
  if (negative || *text == L'+') ++text;
  constexpr std::int64_t kLimit = std::int64_t{std::numeric_limits<int>::max()} + 1;
  std::int64_t value = 0;
  for (; *text >= L'0' && *text <= L'9'; ++text) {
    value = value * 10 + (*text - L'0');
    if (value > kLimit) value = kLimit;
  }
  if (negative) return static_cast<int>(-value);
  return static_cast<int>(value < kLimit ? value : kLimit - 1);
}
