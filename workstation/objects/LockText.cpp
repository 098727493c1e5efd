#include "workstation/objects/LockText.h"

#include <algorithm>

#include "platform/Text.h"
#include "platform/Time.h"

namespace workstation {
namespace {

constexpr std::size_t kLongestPart = 200;

std::wstring partOf(const std::wstring& text) {
  std::wstring part = text.substr(0, kLongestPart);
  std::replace_if(
      part.begin(), part.end(), [](wchar_t c) { return c >= L'\0' && c < L' '; }, L' ');
  return part;
}

std::wstring takeLine(std::wstring_view& text) {
  const std::size_t end = std::min(text.find(L'\n'), text.size());
  std::wstring line(text.substr(0, end));
  text.remove_prefix(std::min(end + 1, text.size()));
  if (!line.empty() && line.back() == L'\r') line.pop_back();
  return partOf(line);
}

}  // namespace

std::wstring lockTimeText(const FILETIME& time) {
  SYSTEMTIME parts{};
  if (FileTimeToSystemTime(&time, &parts) == FALSE) return {};
  return platform::formatWide(L"%04d-%02d-%02d %02d:%02d:%02d", int{parts.wYear}, int{parts.wMonth}, int{parts.wDay},
                              int{parts.wHour}, int{parts.wMinute}, int{parts.wSecond});
}

std::wstring makeLockText(const LockText& parts) {
  return partOf(parts.userName) + L"\n" + partOf(parts.workstation) + L"\n" + partOf(parts.time);
}

LockText parseLockText(std::wstring_view text) {
  LockText parts;
  parts.userName = takeLine(text);
  parts.workstation = takeLine(text);
  parts.time = takeLine(text);
  return parts;
}

}  // namespace workstation
