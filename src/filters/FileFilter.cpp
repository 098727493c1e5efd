#include "zephor/FileFilter.h"

#include <algorithm>
#include <boost/regex.hpp>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/Text.h"

namespace Quorvel::FileAccess {

namespace {

using Rules = std::vector<boost::wregex>;

bool isEmpty(const wchar_t* text) {
  return text == nullptr || *text == L'\0';
}

/// @param lowered  in lower case, as the rules are
bool matchesAny(const Rules& rules, std::wstring_view lowered) {
  // Without match_single_line `^` and `$` would hold at a line feed within a name too.
  const auto kFlags = boost::match_default | boost::match_any | boost::match_single_line;
  return std::any_of(rules.begin(), rules.end(), [&](const boost::wregex& rule) {
    return boost::regex_search(lowered.begin(), lowered.end(), rule, kFlags);
  });
}

/// A literal for an expression. Lower case can't hold the `\E` that ends it. Empty for an empty text.
std::wstring quoted(const wchar_t* text) {
  return isEmpty(text) ? std::wstring() : L"\\Q" + platform::toLower(text) + L"\\E";
}

std::wstring exact(const wchar_t* text) {
  return isEmpty(text) ? std::wstring() : L"^" + quoted(text) + L"$";
}
std::wstring leftMatch(const wchar_t* text) {
  return isEmpty(text) ? std::wstring() : L"^" + quoted(text) + L".*";
}
std::wstring rightMatch(const wchar_t* text) {
  return isEmpty(text) ? std::wstring() : L".*" + quoted(text) + L"$";
}

}  // namespace

struct WGO_FileFilter::MemberData {
  Rules excludeFiles;
  Rules includeFiles;
  Rules excludeDirectories;
  Rules includeDirectories;
};

WGO_FileFilter::WGO_FileFilter() = default;
WGO_FileFilter::~WGO_FileFilter() = default;

WGO_FileFilter::WGO_FileFilter(const WGO_FileFilter& other)
    : data_(other.data_ ? std::make_unique<MemberData>(*other.data_) : nullptr) {}

WGO_FileFilter::MemberData& WGO_FileFilter::Data() const {
  if (!data_) data_ = std::make_unique<MemberData>();
  return *data_;
}

// A text that is no expression throws before the first rule makes the filter one that has rules.

void WGO_FileFilter::ExcludeFile(const wchar_t* expression) {
  if (isEmpty(expression)) return;
  boost::wregex rule(expression);
  Data().excludeFiles.push_back(std::move(rule));
}
void WGO_FileFilter::IncludeFile(const wchar_t* expression) {
  if (isEmpty(expression)) return;
  boost::wregex rule(expression);
  Data().includeFiles.push_back(std::move(rule));
}
void WGO_FileFilter::ExcludeDirectory(const wchar_t* expression) {
  if (isEmpty(expression)) return;
  boost::wregex rule(expression);
  Data().excludeDirectories.push_back(std::move(rule));
}
void WGO_FileFilter::IncludeDirectory(const wchar_t* expression) {
  if (isEmpty(expression)) return;
  boost::wregex rule(expression);
  Data().includeDirectories.push_back(std::move(rule));
}

void WGO_FileFilter::ExcludeFileExact(const wchar_t* name) {
  ExcludeFile(exact(name).c_str());
}
void WGO_FileFilter::ExcludeFileLeftMatch(const wchar_t* prefix) {
  ExcludeFile(leftMatch(prefix).c_str());
}
void WGO_FileFilter::ExcludeFileRightMatch(const wchar_t* suffix) {
  ExcludeFile(rightMatch(suffix).c_str());
}
void WGO_FileFilter::ExcludeFileExtension(const wchar_t* extension) {
  ExcludeFileRightMatch(extension);
}
void WGO_FileFilter::ExcludeFileType(const QuorvelFileType& type) {
  ExcludeFile(GetBoostRegExFilterExpression(type));
}
void WGO_FileFilter::ExcludeDirectoryExact(const wchar_t* name) {
  ExcludeDirectory(exact(name).c_str());
}

void WGO_FileFilter::IncludeFileExact(const wchar_t* name) {
  IncludeFile(exact(name).c_str());
}
void WGO_FileFilter::IncludeFileLeftMatch(const wchar_t* prefix) {
  IncludeFile(leftMatch(prefix).c_str());
}
void WGO_FileFilter::IncludeFileRightMatch(const wchar_t* suffix) {
  IncludeFile(rightMatch(suffix).c_str());
}
void WGO_FileFilter::IncludeFileExtension(const wchar_t* extension) {
  IncludeFileRightMatch(extension);
}
void WGO_FileFilter::IncludeDirectoryExact(const wchar_t* name) {
  IncludeDirectory(exact(name).c_str());
}

bool WGO_FileFilter::IsFileExcluded(const wchar_t* name) const {
  if (!data_) return false;
  if (isEmpty(name)) return true;
  const std::wstring lowered = platform::toLower(name);
  if (matchesAny(data_->includeFiles, lowered)) return false;
  const std::size_t separator = lowered.find(L'\\');
  const bool hasDirectory = separator != std::wstring::npos && separator > 0;
  const std::wstring_view whole = lowered;
  if (hasDirectory && matchesAny(data_->includeDirectories, whole.substr(0, separator))) return false;
  return matchesAny(data_->excludeFiles, lowered);
}

bool WGO_FileFilter::IsDirectoryExcluded(const wchar_t* name) const {
  if (!data_) return false;
  if (name == nullptr) return true;
  const std::wstring lowered = platform::toLower(name);
  return !matchesAny(data_->includeDirectories, lowered) && matchesAny(data_->excludeDirectories, lowered);
}

bool WGO_FileFilter::IsFileOrDirectoryExcluded(const wchar_t* path) const {
  if (!data_) return false;
  if (path == nullptr) return true;
  const std::wstring whole = path;
  const std::size_t last = whole.rfind(L'\\');
  const std::wstring file = last == std::wstring::npos ? whole : whole.substr(last + 1);
  return IsFileExcluded(file.c_str()) || IsDirectoryExcluded(whole.substr(0, whole.find(L'\\')).c_str());
}

}  // namespace Quorvel::FileAccess
