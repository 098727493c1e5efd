#include "workstation/ui/LogText.h"

#include <algorithm>
#include <array>
#include <cwctype>

#include "platform/Text.h"

namespace workstation {
namespace {

constexpr std::wstring_view kMask = L"***";
constexpr std::wstring_view kBlanks = L" \t";
/// What ends an unquoted value.
constexpr std::wstring_view kValueEnds = L" \t\r\n&;\"'<>";

/// Compared in lower case; a longer name such as `access_token` is found by its end.
constexpr std::array<std::wstring_view, 10> kSecretNames = {L"password", L"passwort",     L"passwd", L"pwd",
                                                            L"token",    L"secret",       L"apikey", L"api_key",
                                                            L"kennwort", L"authorization"};

std::size_t skip(std::wstring_view text, std::size_t position, std::wstring_view characters) {
  return std::min(text.find_first_not_of(characters, position), text.size());
}

/// A part of the text that must not be seen.
struct Secret {
  std::size_t begin = 0;
  std::size_t end = 0;
};

/// The value that begins at `position`: what stands in quotes, otherwise up to the next blank or separator.
Secret valueAt(std::wstring_view text, std::size_t position) {
  if (position < text.size() && (text[position] == L'"' || text[position] == L'\'')) {
    const std::size_t end = text.find(text[position], position + 1);
    return {position + 1, std::min(end, text.size())};
  }
  return {position, std::min(text.find_first_of(kValueEnds, position), text.size())};
}

/// `name=value`, `name: value`, `"name": "value"` with the name ending at `position`.
Secret pairAt(std::wstring_view lower, std::size_t position) {
  const auto endsHere = [&](std::wstring_view name) { return lower.substr(0, position).ends_with(name); };
  if (std::none_of(kSecretNames.begin(), kSecretNames.end(), endsHere)) return {};
  std::size_t sign = position;
  if (sign < lower.size() && (lower[sign] == L'"' || lower[sign] == L'\'')) ++sign;
  sign = skip(lower, sign, kBlanks);
  if (sign >= lower.size() || (lower[sign] != L'=' && lower[sign] != L':')) return {};
  std::size_t value = skip(lower, sign + 1, kBlanks);
  if (lower.substr(value).starts_with(L"bearer ") || lower.substr(value).starts_with(L"basic ")) {
    value = skip(lower, lower.find(L' ', value), kBlanks);
  }
  return valueAt(lower, value);
}

/// `PASS value` to the end of its line, `Bearer value`.
Secret commandAt(std::wstring_view text, std::size_t position) {
  const std::wstring_view before = text.substr(0, position);
  const auto isWord = [&](std::wstring_view word) {
    if (!before.ends_with(word)) return false;
    return before.size() == word.size() ||
           std::iswalnum(static_cast<wint_t>(before[before.size() - word.size() - 1])) == 0;
  };
  if (position >= text.size() || text[position] != L' ') return {};
  if (isWord(L"PASS")) return {position + 1, std::min(text.find_first_of(L"\r\n", position), text.size())};
  if (isWord(L"Bearer")) return valueAt(text, skip(text, position, kBlanks));
  return {};
}

/// `//user:value@` with the colon at `position`.
Secret urlAt(std::wstring_view text, std::size_t position) {
  if (position >= text.size() || text[position] != L':') return {};
  const std::size_t begin = text.find_last_of(L"/ \t\r\n\"'", position);
  if (begin == std::wstring_view::npos || begin == 0 || text[begin] != L'/' || text[begin - 1] != L'/') return {};
  const std::size_t authorityEnd = std::min(text.find_first_of(L"/ \t\r\n\"'", position), text.size());
  const std::size_t at = text.substr(0, authorityEnd).rfind(L'@');
  return at == std::wstring_view::npos || at < position ? Secret{} : Secret{position + 1, at};
}

}  // namespace

std::wstring withoutSecrets(std::wstring_view text) {
  const std::wstring lower = platform::toLower(text);
  std::wstring result;
  std::size_t copied = 0;
  for (std::size_t position = 1; position <= text.size();) {
    Secret secret = pairAt(lower, position);
    if (secret.end <= secret.begin) secret = commandAt(text, position);
    if (secret.end <= secret.begin) secret = urlAt(text, position);
    if (secret.end <= secret.begin) {
      ++position;
      continue;
    }
    result.append(text.substr(copied, secret.begin - copied)).append(kMask);
    copied = secret.end;
    position = secret.end + 1;
  }
  return result.append(text.substr(std::min(copied, text.size())));
}

std::wstring withVisibleControls(std::wstring_view text) {
  constexpr std::wstring_view kDigits = L"0123456789abcdef";
  std::wstring result;
  result.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const wchar_t c = text[i];
    if (c == L'\r' && (i + 1 == text.size() || text[i + 1] == L'\n')) continue;
    const bool control = c < L' ' ? c != L'\n' && c != L'\t' : c >= L'\x7f' && c < L'\xa0';
    if (!control) {
      result += c;
      continue;
    }
    const auto code = static_cast<unsigned>(c & 0xff);
    result.append(L"\\x").append(1, kDigits[(code >> 4U) & 0xFU]).append(1, kDigits[code & 0xFU]);
  }
  return result;
}

}  // namespace workstation
