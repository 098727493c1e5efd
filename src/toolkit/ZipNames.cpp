#include "toolkit/ZipNames.h"

#include <algorithm>

#include "platform/Paths.h"
#include "platform/Text.h"

namespace Quorvel::FileAccess {

namespace {

std::wstring withoutSlash(const std::wstring& name) {
  return !name.empty() && name.back() == L'/' ? name.substr(0, name.size() - 1) : name;
}

}  // namespace

std::wstring storedName(const wchar_t* name) {
  std::wstring result = name == nullptr ? std::wstring() : name;
  std::replace(result.begin(), result.end(), L'\\', L'/');
  return result;
}

std::wstring nameRefusal(const std::wstring& name) {
  if (platform::isSafeRelativeName(withoutSlash(name))) return {};
  return L"a relative name expected, without \"..\", device names and characters that no volume takes";
}

std::wstring ZipNameClashes::add(const std::wstring& name) {
  const std::wstring folded = platform::toLower(withoutSlash(name));
  if (!entries_.insert(folded).second) return L"another entry has the same name without regard to case";
  const bool isDirectory = folded.size() != name.size();
  (isDirectory ? directories_ : files_).insert(folded);
  bool isClash = isDirectory ? files_.count(folded) > 0 : directories_.count(folded) > 0;
  for (std::size_t end = folded.rfind(L'/'); end != std::wstring::npos && end > 0; end = folded.rfind(L'/', end - 1)) {
    const std::wstring parent = folded.substr(0, end);
    if (files_.count(parent) > 0) isClash = true;
    // Whoever entered a directory entered its parents too.
    if (!directories_.insert(parent).second) break;
  }
  return isClash ? L"it is a file here and a directory for another entry" : std::wstring();
}

}  // namespace Quorvel::FileAccess
