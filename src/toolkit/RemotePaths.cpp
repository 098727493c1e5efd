#include "toolkit/RemotePaths.h"

#include <algorithm>
#include <string_view>

#include "platform/Paths.h"

namespace Quorvel::FileAccess {

namespace {

bool isSeparator(wchar_t c) {
  return c == L'\\' || c == L'/';
}

bool hasDrive(std::wstring_view path) {
  const auto isLetter = [](wchar_t c) { return (c >= L'A' && c <= L'Z') || (c >= L'a' && c <= L'z'); };
  return path.size() >= 2 && path[1] == L':' && isLetter(path[0]);
}

bool hasControl(std::wstring_view path) {
  return std::any_of(path.begin(), path.end(), [](wchar_t c) { return c < 0x20; });
}

}  // namespace

bool isNameBelow(const wchar_t* name) {
  const std::wstring_view path = name != nullptr ? name : L"";
  if (path.empty() || isSeparator(path[0]) || isSeparator(path.back()) || hasDrive(path) || hasControl(path)) {
    return false;
  }
  for (std::size_t begin = 0; begin <= path.size();) {
    const std::size_t end = std::min(path.find_first_of(L"\\/", begin), path.size());
    const std::wstring_view component = path.substr(begin, end - begin);
    if (component == L"." || component == L"..") return false;
    begin = end + 1;
  }
  return true;
}

std::wstring resolveDirectory(const std::wstring& current, const wchar_t* path) {
  const std::wstring_view wanted = path != nullptr ? path : L"";
  if (wanted.empty() || hasControl(wanted)) return {};
  const bool isAbsolute = isSeparator(wanted[0]) || hasDrive(wanted);
  return isAbsolute ? std::wstring(wanted) : platform::joinPath(current, std::wstring(wanted));
}

std::wstring asOnDisk(const std::wstring& libraryPath) {
  const std::string path = platform::systemPath(libraryPath);
  return path.empty() ? std::wstring() : platform::libraryPath(path);
}

bool isVolume(const std::wstring& libraryPath) {
  const std::size_t begin = hasDrive(libraryPath) ? 2 : 0;
  return libraryPath.find_first_not_of(L"\\/", begin) == std::wstring::npos;
}

}  // namespace Quorvel::FileAccess
