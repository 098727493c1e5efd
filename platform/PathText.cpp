// The part of paths that is text alone: nothing here looks at a disk.

#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

#include "platform/PathLookup.h"
#include "platform/Paths.h"
#include "platform/Text.h"

namespace platform {
namespace {

constexpr std::size_t kLongestName = 259;
constexpr std::size_t kLongestComponentBytes = 255;

bool isLetter(wchar_t c) {
  return (c >= L'A' && c <= L'Z') || (c >= L'a' && c <= L'z');
}

std::size_t lastSeparator(std::wstring_view path) {
  return path.find_last_of(L"\\/");
}

bool isReservedDevice(std::wstring_view component) {
  std::wstring_view stem = component.substr(0, component.find(L'.'));
  while (!stem.empty() && stem.back() == L' ') stem.remove_suffix(1);
  static constexpr std::array kDevices = {L"CON", L"PRN", L"AUX", L"NUL", L"CONIN$", L"CONOUT$", L"CLOCK$"};
  for (const wchar_t* device : kDevices) {
    if (equalsIgnoreCase(stem, device)) return true;
  }
  if (stem.size() != 4 || !(startsWithIgnoreCase(stem, L"COM") || startsWithIgnoreCase(stem, L"LPT"))) return false;
  // The superscript digits count as well.
  return (stem[3] >= L'0' && stem[3] <= L'9') || stem[3] == 0xB9 || stem[3] == 0xB2 || stem[3] == 0xB3;
}

bool isSafeCharacter(wchar_t c) {
  const auto code = static_cast<char32_t>(c);
  if (code < 0x20 || (code >= 0x7F && code <= 0x9F)) return false;
  if (code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return false;
  return !isReservedCharacter(c);
}

bool isSafeComponent(std::wstring_view component) {
  if (component.empty() || component.back() == L' ' || component.back() == L'.') return false;
  if (!std::all_of(component.begin(), component.end(), isSafeCharacter)) return false;
  return !isReservedDevice(component) && toUtf8(component).size() <= kLongestComponentBytes;
}

}  // namespace

bool isReservedCharacter(wchar_t c) {
  return std::wstring_view(L"<>:\"|?*").find(c) != std::wstring_view::npos;
}

PathText splitPath(std::wstring_view path) {
  PathText result;
  if (path.size() >= 2 && path[1] == L':' && isLetter(path[0])) {
    result.drive = path[0] >= L'a' ? static_cast<wchar_t>(path[0] - L'a' + L'A') : path[0];
    result.isAbsolute = true;
    path.remove_prefix(2);
  }
  result.isAbsolute = result.isAbsolute || (!path.empty() && isSeparator(path[0]));
  while (!path.empty()) {
    const std::size_t end = std::min(path.find_first_of(L"\\/"), path.size());
    const std::wstring_view component = path.substr(0, end);
    path.remove_prefix(std::min(end + 1, path.size()));
    if (component.empty() || component == L".") continue;
    const bool goesUp = component == L"..";
    const bool canGoUp = !result.components.empty() && result.components.back() != L"..";
    if (goesUp && canGoUp) {
      result.components.pop_back();
    } else if (!goesUp || !result.isAbsolute) {
      result.components.emplace_back(component);
    }
  }
  return result;
}

std::wstring lexicallyRelative(const std::wstring& path, const std::wstring& base) {
  const PathText p = splitPath(path);
  const PathText b = splitPath(base);
  if (p.drive != b.drive || p.isAbsolute != b.isAbsolute) return {};
  const auto [pathRest, baseRest] =
      std::mismatch(p.components.begin(), p.components.end(), b.components.begin(), b.components.end(),
                    [](const std::wstring& x, const std::wstring& y) { return equalsIgnoreCase(x, y); });
  // Nobody can tell the way back out of a directory above an unknown one.
  if (std::find(baseRest, b.components.end(), L"..") != b.components.end()) return {};
  std::wstring result;
  for (auto i = baseRest; i != b.components.end(); ++i) result += result.empty() ? L".." : L"\\..";
  for (auto i = pathRest; i != p.components.end(); ++i) {
    if (!result.empty()) result += L'\\';
    result += *i;
  }
  return result.empty() ? L"." : result;
}

std::wstring joinPath(const std::wstring& first, const std::wstring& second) {
  if (first.empty()) return second;
  const std::size_t end = first.find_last_not_of(L"\\/");
  const std::size_t begin = second.find_first_not_of(L"\\/");
  std::wstring result = first.substr(0, end == std::wstring::npos ? 0 : end + 1);
  result += L'\\';
  if (begin != std::wstring::npos) result += second.substr(begin);
  return result;
}

std::wstring fileNameOf(const std::wstring& path) {
  const std::size_t position = lastSeparator(path);
  return position == std::wstring::npos ? path : path.substr(position + 1);
}

std::wstring directoryOf(const std::wstring& path) {
  const std::size_t position = lastSeparator(path);
  return position == std::wstring::npos ? std::wstring() : path.substr(0, position);
}

bool isSafeRelativeName(const std::wstring& name) {
  if (name.empty() || name.size() > kLongestName || toUtf16(name).size() > kLongestName) return false;
  std::wstring_view rest = name;
  for (;;) {
    const std::size_t end = rest.find_first_of(L"\\/");
    if (!isSafeComponent(rest.substr(0, end))) return false;
    if (end == std::wstring_view::npos) return true;
    rest.remove_prefix(end + 1);
  }
}

}  // namespace platform
