#include "zephor/FileFilter.h"

#include <string>
#include <string_view>
#include <utility>

#include "filters/LoweredName.h"
#include "filters/NameRules.h"
#include "platform/Text.h"

namespace Quorvel::FileAccess {

namespace {

bool isEmpty(const wchar_t* text) {
  return text == nullptr || *text == L'\0';
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
  NameRules excludeFiles;
  NameRules includeFiles;
  NameRules excludeDirectories;
  NameRules includeDirectories;

  // Names are in lower case.
  bool keepsOutFile(std::wstring_view name) const;
  bool keepsOutDirectory(std::wstring_view name) const;
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
  NameRule rule(expression);
  Data().excludeFiles.add(std::move(rule));
}
void WGO_FileFilter::IncludeFile(const wchar_t* expression) {
  if (isEmpty(expression)) return;
  NameRule rule(expression);
  Data().includeFiles.add(std::move(rule));
}
void WGO_FileFilter::ExcludeDirectory(const wchar_t* expression) {
  if (isEmpty(expression)) return;
  NameRule rule(expression);
  Data().excludeDirectories.add(std::move(rule));
}
void WGO_FileFilter::IncludeDirectory(const wchar_t* expression) {
  if (isEmpty(expression)) return;
  NameRule rule(expression);
  Data().includeDirectories.add(std::move(rule));
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

bool WGO_FileFilter::MemberData::keepsOutFile(std::wstring_view name) const {
  if (name.empty()) return true;
  if (includeFiles.match(name)) return false;
  if (!includeDirectories.isEmpty()) {
    const std::size_t separator = name.find(L'\\');
    const bool hasDirectory = separator != std::wstring_view::npos && separator > 0;
    if (hasDirectory && includeDirectories.match(name.substr(0, separator))) return false;
  }
  return excludeFiles.match(name);
}

bool WGO_FileFilter::MemberData::keepsOutDirectory(std::wstring_view name) const {
  return !includeDirectories.match(name) && excludeDirectories.match(name);
}

bool WGO_FileFilter::IsFileExcluded(const wchar_t* name) const {
  if (!data_) return false;
  return name == nullptr || data_->keepsOutFile(LoweredName(name).text());
}

bool WGO_FileFilter::IsDirectoryExcluded(const wchar_t* name) const {
  if (!data_) return false;
  return name == nullptr || data_->keepsOutDirectory(LoweredName(name).text());
}

bool WGO_FileFilter::IsFileOrDirectoryExcluded(const wchar_t* path) const {
  if (!data_) return false;
  if (path == nullptr) return true;
  const LoweredName lowered(path);
  const std::wstring_view whole = lowered.text();
  const std::size_t last = whole.rfind(L'\\');
  const std::wstring_view file = last == std::wstring_view::npos ? whole : whole.substr(last + 1);
  return data_->keepsOutFile(file) || data_->keepsOutDirectory(whole.substr(0, whole.find(L'\\')));
}

}  // namespace Quorvel::FileAccess
