#include "ftp/LockContent.h"

#include <algorithm>
#include <limits>

#include "platform/Text.h"
#include "zephor/FileTransfer.h"

namespace Quorvel::FileAccess {
namespace {

constexpr std::string_view kMark = "\xEF\xBB\xBF";
constexpr std::wstring_view kEnding = L".lck";
constexpr std::size_t kLongest = std::numeric_limits<int>::max() / 4;

}  // namespace

std::string lockContentOf(std::wstring_view text) {
  text = text.substr(0, kLongest);
  std::string content(kMark);
  if (text.empty()) return content;
  const int length = static_cast<int>(text.size());
  const int needed = WideCharToMultiByte(CP_ACP, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
  if (needed <= 0) return content;
  std::string bytes(static_cast<std::size_t>(needed), '\0');
  WideCharToMultiByte(CP_ACP, 0, text.data(), length, bytes.data(), needed, nullptr, nullptr);
  return content.append(bytes, 0, text.size());
}

std::wstring lockTextOf(std::string_view content) {
  if (content.substr(0, kMark.size()) == kMark) content.remove_prefix(kMark.size());
  content = content.substr(0, kLongestLockText);
  content = content.substr(0, content.find('\0'));
  if (content.empty()) return {};
  const int length = static_cast<int>(content.size());
  const int needed = MultiByteToWideChar(CP_ACP, 0, content.data(), length, nullptr, 0);
  std::wstring text(static_cast<std::size_t>(std::max(needed, 0)), L'\0');
  MultiByteToWideChar(CP_ACP, 0, content.data(), length, text.data(), needed);
  return text;
}

bool isLockFileName(const std::wstring& name) {
  return name.size() >= kEnding.size() &&
         _wcsnicmp(name.c_str() + (name.size() - kEnding.size()), kEnding.data(), kEnding.size()) == 0;
}

std::wstring lockBaseNameOf(const std::wstring& fileName) {
  std::wstring base = fileName;
  for (int extension = 0; extension < 2; ++extension) base = base.substr(0, base.rfind(L'.'));
  return base;
}

bool matchesLockPattern(std::wstring name, const std::wstring& pattern) {
  if (name.size() != pattern.size()) return false;
  for (std::size_t i = 0; i < name.size(); ++i) {
    if (pattern[i] == L'?') name[i] = L'?';
  }
  return _wcsicmp(name.c_str(), pattern.c_str()) == 0;
}

bool isLockWanted(std::int32_t userId, int userFilter, std::int32_t ownUserId) {
  if (userFilter == kLocksOfEverybody) return true;
  return userFilter == -1 ? userId != ownUserId : userId == userFilter;
}

}  // namespace Quorvel::FileAccess
