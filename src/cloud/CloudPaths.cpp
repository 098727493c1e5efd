#include "cloud/CloudPaths.h"

#include <algorithm>

#include "core/ObjectNames.h"
#include "host/Project.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"

namespace Quorvel::FileAccess {
namespace {

constexpr const wchar_t* kSeparators = L"\\/";
constexpr std::wstring_view kDirectoryEnding = L".prj";

bool isSeparator(wchar_t c) {
  return c == L'\\' || c == L'/';
}

std::wstring withoutLeadingSeparators(const std::wstring& text) {
  const std::size_t first = text.find_first_not_of(kSeparators);
  return first == std::wstring::npos ? std::wstring() : text.substr(first);
}

std::wstring withoutTrailingSeparators(const std::wstring& text) {
  return text.substr(0, text.find_last_not_of(kSeparators) + 1);
}

/// Position behind the first component that is `component`, or npos. A drive or root prefix is no component.
std::size_t endOfComponent(const std::wstring& path, const std::wstring& component) {
  for (std::size_t begin = 0; begin < path.size();) {
    const std::size_t end = std::min(path.find_first_of(kSeparators, begin), path.size());
    if (path.compare(begin, end - begin, component) == 0) return end;
    begin = end + 1;
  }
  return std::wstring::npos;
}

bool isInside(const std::wstring& path, const std::wstring& directory) {
  return path.size() > directory.size() && platform::startsWithIgnoreCase(withBackslashes(path), directory) &&
         isSeparator(path[directory.size()]);
}

/// True for a path that names its place without the cache. One leading separator alone does not tell, since callers put
/// it before names too: then what lies on the disk decides, and the cache first.
bool isAbsolute(const std::wstring& path, const std::wstring& cache) {
  if (path.size() < 2) return false;
  if (path[1] == L':' || (isSeparator(path[0]) && isSeparator(path[1]))) return true;
  return isSeparator(path[0]) && path.find_first_of(kSeparators, 1) != std::wstring::npos &&
         platform::fileStatus(path).exists &&
         !platform::fileStatus(platform::joinPath(cache, withoutLeadingSeparators(path))).exists;
}

/// Position behind the project's directory in `path`, or npos. Its ending ".prj" belongs to it; a longer name is
/// another directory.
std::size_t endOfProjectDirectory(const std::wstring& path, const std::wstring& directoryName) {
  if (directoryName.empty()) return std::wstring::npos;
  for (std::size_t found = path.find(directoryName); found != std::wstring::npos;
       found = path.find(directoryName, found + 1)) {
    std::size_t end = found + directoryName.size();
    if (platform::startsWithIgnoreCase(path.substr(end), kDirectoryEnding)) end += kDirectoryEnding.size();
    if (end == path.size() || isSeparator(path[end])) return end;
  }
  return std::wstring::npos;
}

bool isOwnDirectory(const PRJ& prj, const std::wstring& directory) {
  const std::wstring name = prj.GetDirectoryName();
  return platform::equalsIgnoreCase(directory, name) ||
         platform::equalsIgnoreCase(directory, name + std::wstring(kDirectoryEnding));
}

}  // namespace

std::wstring withBackslashes(std::wstring text) {
  std::replace(text.begin(), text.end(), L'/', L'\\');
  return text;
}

std::wstring cloudDirectoryName(const std::wstring& uuid) {
  return uuid + std::wstring(kDirectoryEnding);
}

bool Ondrath_SplitProjectPath(const std::wstring& uuid, const std::wstring& path, std::wstring& root,
                              std::wstring& relative) {
  root.clear();
  relative.clear();
  if (uuid.empty()) return false;
  const std::size_t end = endOfComponent(path, cloudDirectoryName(uuid));
  if (end == std::wstring::npos) return false;
  const std::wstring directory = platform::weaklyCanonical(path.substr(0, end));
  std::wstring name = platform::lexicallyRelative(platform::weaklyCanonical(path), directory);
  if (!platform::isSafeRelativeName(name)) return false;
  root = directory;
  relative = std::move(name);
  return true;
}

std::size_t lengthOfProjectBase(const std::wstring& uuid, const std::wstring& path) {
  if (uuid.empty()) return 0;
  const std::wstring directory = cloudDirectoryName(uuid);
  for (std::size_t found = path.find(directory); found != std::wstring::npos; found = path.find(directory, found + 1)) {
    const std::size_t separator = found + directory.size();
    if (separator < path.size() && isSeparator(path[separator])) return separator + 1;
  }
  return 0;
}

bool splitAtProjectDirectory(const std::wstring& uuid, const std::wstring& path, std::wstring& base,
                             std::wstring& relative) {
  base.clear();
  relative.clear();
  const std::size_t length = lengthOfProjectBase(uuid, path);
  if (length == 0) return false;
  std::wstring name = withBackslashes(path.substr(length));
  if (!platform::isSafeRelativeName(name)) return false;
  base = path.substr(0, length);
  relative = std::move(name);
  return true;
}

std::wstring Ondrath_RelativeFromFullName(const std::wstring& directoryName, const std::wstring& path,
                                          const std::wstring& name) {
  std::wstring directory = withBackslashes(path);
  const std::size_t end = endOfProjectDirectory(directory, directoryName);
  if (end != std::wstring::npos) directory.erase(0, end);
  if (!directory.empty()) return platform::joinPath(directory, name);
  return !name.empty() && isSeparator(name.front()) ? name : L'\\' + name;
}

bool Ondrath_FileNameFromNumber(std::uint32_t number, int type, std::wstring& out) {
  const std::optional<ObjectType> objectType = objectTypeOf(type);
  if (!objectType) return false;
  out = number == kAnyNumber ? objectFilePattern(*objectType) : objectFileName(*objectType, static_cast<int>(number));
  return true;
}

std::wstring Ondrath_ResolveProjectPath(const PRJ& prj, const std::wstring& directory, const std::wstring& file) {
  const std::wstring cache = prj.GetFullProjectPath(true);
  if (!cache.empty() && isInside(file, cache)) return file;
  const std::wstring uuid = prj.GetOndrathProjectUuid();
  if (!uuid.empty() && endOfComponent(file, cloudDirectoryName(uuid)) != std::wstring::npos) return file;
  // What lies outside stays as it is, so that no name below the project is made of it and the next test refuses it.
  if (isAbsolute(file, cache)) return file;
  const std::wstring name = withoutLeadingSeparators(file);
  const std::wstring place = withoutTrailingSeparators(directory);
  if (isAbsolute(place, cache)) return platform::joinPath(place, name);
  const std::wstring below = withoutLeadingSeparators(place);
  const std::wstring folder = below.empty() || isOwnDirectory(prj, below) ? cache : platform::joinPath(cache, below);
  return platform::joinPath(folder, name);
}

}  // namespace Quorvel::FileAccess
