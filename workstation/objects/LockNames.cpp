#include "workstation/objects/LockNames.h"

#include <algorithm>

#include "platform/Text.h"
#include "workstation/objects/ObjectNames.h"

namespace workstation {
namespace {

constexpr std::wstring_view kEnding = L".lck";
constexpr std::size_t kFewestDigits = 4;
constexpr std::size_t kMostDigits = 9;
constexpr std::size_t kTagLength = 8;

bool isDigit(wchar_t c) {
  return c >= L'0' && c <= L'9';
}
bool isTagCharacter(wchar_t c) {
  return isDigit(c) || (c >= L'a' && c <= L'z');
}

/// "0007-3f2a90c1", in lower case.
bool parseHolder(std::wstring_view text, LockName& lock) {
  const std::size_t digits = std::min(text.find(L'-'), text.size());
  if (digits < kFewestDigits || digits > kMostDigits) return false;
  int user = 0;
  for (const wchar_t c : text.substr(0, digits)) {
    if (!isDigit(c)) return false;
    user = user * 10 + static_cast<int>(c - L'0');
  }
  lock.userNumber = user;
  if (digits == text.size()) return true;
  const std::wstring_view tag = text.substr(digits + 1);
  lock.workstation = tag;
  return !tag.empty() && tag.size() <= kTagLength && std::all_of(tag.begin(), tag.end(), isTagCharacter);
}

}  // namespace

std::wstring lockTagOf(const std::wstring& workstationId) {
  std::wstring tag;
  for (const wchar_t c : platform::toLower(workstationId)) {
    if (isTagCharacter(c)) tag += c;
    if (tag.size() == kTagLength) break;
  }
  return tag;
}

std::wstring lockFileName(const LockName& lock) {
  const std::wstring object = objectFileName(fileTypeOfObjectType(lock.objectType), lock.number);
  constexpr int kLargestUser = 999999999;
  if (object.empty() || lock.userNumber < 0 || lock.userNumber > kLargestUser) return {};
  const std::wstring tag = lockTagOf(lock.workstation);
  return platform::formatWide(L"%s.%04d%s%s%s", object, lock.userNumber, tag.empty() ? L"" : L"-", tag, kEnding);
}

std::optional<LockName> parseLockName(std::wstring_view name) {
  if (!platform::endsWithIgnoreCase(name, kEnding)) return std::nullopt;
  name.remove_suffix(kEnding.size());
  const std::size_t point = name.rfind(L'.');
  if (point == std::wstring_view::npos) return std::nullopt;
  const auto object = parseObjectFileName(name.substr(0, point));
  LockName lock;
  if (!object || !parseHolder(platform::toLower(name.substr(point + 1)), lock)) return std::nullopt;
  lock.objectType = objectTypeOfFileType(object->type);
  lock.number = object->number;
  return lock;
}

}  // namespace workstation
