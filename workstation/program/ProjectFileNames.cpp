#include "workstation/program/ProjectFileNames.h"

#include <algorithm>

#include "platform/Paths.h"
#include "platform/Text.h"

namespace workstation::program {

namespace {

std::vector<std::wstring> partsOf(const std::wstring& name) {
  std::vector<std::wstring> parts;
  std::size_t begin = 0;
  for (std::size_t end = name.find(L'\\'); end != std::wstring::npos; end = name.find(L'\\', begin)) {
    parts.push_back(name.substr(begin, end - begin));
    begin = end + 1;
  }
  parts.push_back(name.substr(begin));
  return parts;
}

/// Goes back to the last `*` only, so that no pattern takes long.
bool matchesPart(std::wstring_view pattern, std::wstring_view text) {
  std::size_t at = 0;
  std::size_t star = std::wstring_view::npos;
  std::size_t resume = 0;
  for (std::size_t i = 0; i < text.size();) {
    if (at < pattern.size() && pattern[at] == L'*') {
      star = at++;
      resume = i;
    } else if (at < pattern.size() && (pattern[at] == L'?' || pattern[at] == text[i])) {
      ++at;
      ++i;
    } else if (star != std::wstring_view::npos) {
      at = star + 1;
      i = ++resume;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of(L'*', at) == std::wstring_view::npos;
}

}  // namespace

ProjectFileArgument::ProjectFileArgument(std::wstring_view text, bool recursive)
    : name_(text), isRecursive_(recursive) {
  std::replace(name_.begin(), name_.end(), L'/', L'\\');
  while (name_.starts_with(L".\\")) name_.erase(0, 2);
  while (name_.size() > 1 && name_.ends_with(L'\\')) {
    name_.pop_back();
    isDirectory_ = true;
  }
  isPattern_ = name_.find_first_of(L"*?") != std::wstring::npos;
  parts_ = partsOf(platform::toLower(name_));
}

bool ProjectFileArgument::isValid() const {
  std::wstring name = name_;
  std::replace_if(
      name.begin(), name.end(), [](wchar_t c) { return c == L'*' || c == L'?'; }, L'x');
  return platform::isSafeRelativeName(name);
}

bool ProjectFileArgument::matches(const std::wstring& fileName) const {
  const std::vector<std::wstring> parts = partsOf(platform::toLower(fileName));
  const bool isBelow = parts.size() > parts_.size() && (isDirectory_ || isRecursive_);
  if (!isBelow && (parts.size() != parts_.size() || isDirectory_)) return false;
  return std::equal(parts_.begin(), parts_.end(), parts.begin(), matchesPart);
}

}  // namespace workstation::program
