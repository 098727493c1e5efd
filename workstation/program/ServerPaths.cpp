#include "workstation/program/ServerPaths.h"

#include <algorithm>
#include <charconv>

#include "platform/Paths.h"
#include "platform/Text.h"

namespace workstation::program {

namespace {

bool isControl(wchar_t c) {
  return c < 0x20 || (c >= 0x7F && c < 0xA0);
}

bool parseNumber(const std::wstring& text, std::int64_t& out) {
  const std::string digits = platform::toUtf8(text);
  const char* const end = digits.data() + digits.size();
  const auto [rest, problem] = std::from_chars(digits.data(), end, out);
  return problem == std::errc() && rest == end && out >= 0;
}

}  // namespace

std::wstring ServerPath::directory() const {
  const auto slash = text.rfind(L'/');
  return slash == std::wstring::npos ? std::wstring() : text.substr(0, slash);
}

std::wstring ServerPath::name() const {
  return text.substr(text.rfind(L'/') + 1);
}

bool parseServerPath(const std::wstring& text, ServerPath& out) {
  out.text.clear();
  for (std::size_t begin = 0; begin <= text.size();) {
    const std::size_t end = std::min(text.find(L'/', begin), text.size());
    const std::wstring part = text.substr(begin, end - begin);
    begin = end + 1;
    if (part.empty() || part == L".") continue;
    if (part == L".." || part.find(L'\\') != std::wstring::npos || std::any_of(part.begin(), part.end(), isControl)) {
      return false;
    }
    out.text = joinServerPath(out.text, part);
  }
  return true;
}

std::wstring joinServerPath(const std::wstring& first, const std::wstring& second) {
  if (first.empty() || second.empty()) return first.empty() ? second : first;
  return first.back() == L'/' ? first + second : first + L'/' + second;
}

bool hasWildcards(const std::wstring& name) {
  return name.find_first_of(L"*?") != std::wstring::npos;
}

bool isUsableHere(const std::wstring& directory, const std::wstring& name) {
  if (name.empty() || name.find_first_of(L"/\\") != std::wstring::npos || directory.find(L'\\') != std::wstring::npos)
    return false;
  return platform::isSafeRelativeName(joinServerPath(directory, name));
}

bool ByteRange::cutTo(std::int64_t fileSize, std::int64_t& offset, std::int64_t& bytes) const {
  if (fromEnd) {
    bytes = std::min(size.value_or(0), fileSize);
    offset = fileSize - bytes;
    return true;
  }
  if (begin > fileSize || (begin == fileSize && begin > 0)) return false;
  offset = begin;
  bytes = std::min(size.value_or(fileSize), fileSize - begin);
  return true;
}

bool parseRange(const std::wstring& text, ByteRange& out) {
  out = {};
  const std::size_t sign = text.find_first_of(L"-+");
  if (sign == std::wstring::npos) return false;
  const std::wstring before = text.substr(0, sign);
  const std::wstring after = text.substr(sign + 1);
  std::int64_t last = 0;
  if (before.empty()) {
    if (text[sign] != L'-' || !parseNumber(after, last)) return false;
    out.fromEnd = true;
    out.size = last;
    return true;
  }
  if (!parseNumber(before, out.begin)) return false;
  if (text[sign] == L'-' && after.empty()) return true;
  if (!parseNumber(after, last)) return false;
  if (text[sign] == L'+') {
    out.size = last;
    return true;
  }
  if (last < out.begin || last == INT64_MAX) return false;
  out.size = last - out.begin + 1;
  return true;
}

}  // namespace workstation::program
