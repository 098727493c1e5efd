#include "platform/Paths.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <mutex>
#include <shared_mutex>

#include "platform/DirectoryStream.h"
#include "platform/Errors.h"
#include "platform/ExactNames.h"
#include "platform/PathLookup.h"
#include "platform/Text.h"

namespace platform {
namespace {

constexpr std::size_t kDriveCount = 25;  // A to Y
constexpr int kDeepestLink = 40;

struct Drive {
  bool isSet = false;
  std::string directory;  // without a separator at its end; empty for the root of the file system
  std::string canonical;  // the same with links resolved, as the system names open files
};

struct DriveTable {
  std::shared_mutex mutex;
  std::array<Drive, kDriveCount> drives;
};

DriveTable& driveTable() {
  static auto* const instance = new DriveTable;
  return *instance;
}

bool exists(const std::string& path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0;
}

bool isAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

/// System path of the directory that ScopedExactNames names on this thread; empty for none.
thread_local std::string exactDirectory;

/// The entry of `directory` that equals `wanted` without regard to case, the first in byte order; empty when there is
/// none. What was found before a failure to read on is an entry all the same.
std::string findEntry(const std::string& directory, const std::string& wanted) {
  if (directory == exactDirectory) return {};
  DirectoryStream stream(directory);
  if (!stream) return {};
  const std::wstring wide = fromUtf8(wanted);
  const bool wantedIsAscii = isAscii(wanted);
  std::string found;
  while (const char* entry = stream.next()) {
    const std::string_view name = entry;
    // Spares the conversion of most names: letter case changes no length within ASCII.
    if (wantedIsAscii && name.size() != wanted.size() && isAscii(name)) continue;
    if (!found.empty() && found <= name) continue;
    if (isValidUtf8(name) && equalsIgnoreCase(fromUtf8(name), wide)) found = name;
  }
  return found;
}

std::string appended(const std::string& directory, const std::string& name) {
  return directory.empty() || directory.back() != '/' ? directory + '/' + name : directory + name;
}

/// `root` must not end with a separator (empty for the root of the file system).
std::string lookUp(const std::string& root, const std::vector<std::string>& components) {
  std::vector<std::size_t> ends;  // ends[i]: length of the path with i components
  std::string path = root;
  ends.push_back(path.size());
  for (const std::string& component : components) {
    path += '/' + component;
    ends.push_back(path.size());
  }
  if (components.empty()) return root.empty() ? "/" : root;
  // Most paths exist as they are written: one call for the whole of it, then back from its end.
  std::size_t found = components.size();
  while (found > 0 && !exists(path.substr(0, ends[found]))) --found;
  path.resize(ends[found]);
  bool searching = true;
  for (std::size_t i = found; i < components.size(); ++i) {
    const std::string asWritten = path + '/' + components[i];
    if (searching && (i == found || !exists(asWritten))) {
      const std::string entry = findEntry(path.empty() ? "/" : path, components[i]);
      searching = !entry.empty();
      path += '/';
      path += searching ? entry : components[i];
    } else {
      path = asWritten;
    }
  }
  return path;
}

/// Directory of a drive without a separator at its end. @return false for a drive that is not in the table
bool rootOf(const PathText& text, std::string& root) {
  root.clear();
  if (text.drive == L'Z') return true;
  if (text.drive != 0) {
    DriveTable& table = driveTable();
    const std::shared_lock lock(table.mutex);
    const Drive& drive = table.drives[static_cast<std::size_t>(text.drive - L'A')];
    root = drive.directory;
    return drive.isSet;
  }
  return true;
}

/// Components of the process's directory, for a path that begins at none.
std::vector<std::string> currentDirectory() {
  std::error_code error;
  std::vector<std::string> result;
  for (const auto& part : std::filesystem::current_path(error).relative_path()) result.push_back(part.string());
  return result;
}

bool toComponents(const std::wstring& libraryPath, std::string& root, std::vector<std::string>& components) {
  if (libraryPath.empty() || libraryPath.find(L'\0') != std::wstring::npos) return false;
  const PathText text = splitPath(libraryPath);
  if (!rootOf(text, root)) return false;
  if (!text.isAbsolute) components = currentDirectory();
  for (const std::wstring& component : text.components) {
    if (component == L"..") {
      if (!components.empty()) components.pop_back();
    } else {
      components.push_back(toUtf8(component));
    }
  }
  return true;
}

/// Links resolved as far as the path exists; a link that leads to nothing counts as the place that it names.
std::string resolveLinks(const std::string& path, int depth) {
  const std::unique_ptr<char, void (*)(void*)> real(::realpath(path.c_str(), nullptr), ::free);
  if (real) return real.get();
  if (path.size() <= 1 || depth > kDeepestLink) return path;
  const std::string parent = resolveLinks(parentOf(path), depth);
  std::error_code error;
  const std::filesystem::path target = std::filesystem::read_symlink(appended(parent, nameOf(path)), error);
  if (error) return appended(parent, nameOf(path));
  return resolveLinks((std::filesystem::path(parent) / target).lexically_normal().string(), depth + 1);
}

/// True when `path` is `directory` or lies below it.
bool isWithin(const std::string& path, const std::string& directory) {
  return !directory.empty() && path.compare(0, directory.size(), directory) == 0 &&
         (path.size() == directory.size() || path[directory.size()] == '/');
}

std::wstring withBackslashes(const std::string& path) {
  std::wstring wide = fromUtf8(path);
  std::replace(wide.begin(), wide.end(), L'/', L'\\');
  return wide;
}

}  // namespace

ScopedExactNames::ScopedExactNames(const std::wstring& directory) {
  exactDirectory = systemPath(directory);
}

ScopedExactNames::~ScopedExactNames() {
  exactDirectory.clear();
}

bool setDrive(wchar_t letter, const std::string& systemDirectory) {
  if (letter >= L'a' && letter <= L'y') letter = static_cast<wchar_t>(letter - L'a' + L'A');
  if (letter < L'A' || letter > L'Y') return false;
  Drive drive;
  if (!systemDirectory.empty()) {
    std::error_code error;
    drive.directory = std::filesystem::absolute(systemDirectory, error).lexically_normal().string();
    while (!drive.directory.empty() && drive.directory.back() == '/') drive.directory.pop_back();
    drive.canonical = resolveLinks(drive.directory, 0);
    drive.isSet = true;
  }
  DriveTable& table = driveTable();
  const std::unique_lock lock(table.mutex);
  table.drives[static_cast<std::size_t>(letter - L'A')] = std::move(drive);
  return true;
}

std::string systemPath(const std::wstring& libraryPath) {
  std::string root;
  std::vector<std::string> components;
  if (!toComponents(libraryPath, root, components)) return {};
  return lookUp(root, components);
}

std::wstring libraryPath(const std::string& systemPath) {
  wchar_t letter = L'Z';
  std::size_t longest = 0;
  {
    DriveTable& table = driveTable();
    const std::shared_lock lock(table.mutex);
    for (std::size_t i = 0; i < kDriveCount; ++i) {
      for (const std::string& directory : {table.drives[i].directory, table.drives[i].canonical}) {
        if (directory.size() <= longest || !isWithin(systemPath, directory)) continue;
        longest = directory.size();
        letter = static_cast<wchar_t>(L'A' + static_cast<wchar_t>(i));
      }
    }
  }
  const std::wstring rest = withBackslashes(systemPath.substr(longest));
  return std::wstring{letter, L':'} + (rest.empty() ? L"\\" : rest);
}

std::wstring weaklyCanonical(const std::wstring& libraryPath) {
  const std::string path = systemPath(libraryPath);
  return path.empty() ? std::wstring() : platform::libraryPath(resolveLinks(path, 0));
}

std::string parentOf(const std::string& path) {
  const std::size_t position = path.rfind('/');
  return position == std::string::npos || position == 0 ? "/" : path.substr(0, position);
}

std::string nameOf(const std::string& path) {
  return path.substr(path.rfind('/') + 1);
}

std::string followLink(const std::string& path) {
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0 || !S_ISLNK(status.st_mode)) return path;
  const std::unique_ptr<char, void (*)(void*)> real(::realpath(path.c_str(), nullptr), ::free);
  return real ? real.get() : path;
}

DWORD locate(const wchar_t* libraryPath, Location& location) {
  if (libraryPath == nullptr) return ERROR_PATH_NOT_FOUND;
  std::string root;
  std::vector<std::string> components;
  if (!toComponents(libraryPath, root, components)) return ERROR_PATH_NOT_FOUND;
  location.path = lookUp(root, components);
  location.written = components.empty() ? location.path : appended(parentOf(location.path), components.back());
  return ERROR_SUCCESS;
}

DWORD locateForCreation(const wchar_t* libraryPath, Location& location) {
  if (const DWORD error = locate(libraryPath, location)) return error;
  const PathText text = splitPath(libraryPath);
  if (text.components.empty()) return ERROR_SUCCESS;
  const std::wstring& name = text.components.back();
  const bool isReserved =
      std::any_of(name.begin(), name.end(), [](wchar_t c) { return c < 0x20 || isReservedCharacter(c); });
  return isReserved ? ERROR_INVALID_NAME : ERROR_SUCCESS;
}

DWORD pathError(int error, const std::string& path) {
  if (error != ENOENT) return fromErrno(error);
  struct stat status {};
  const bool hasParent = ::stat(parentOf(path).c_str(), &status) == 0 && S_ISDIR(status.st_mode);
  return hasParent ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND;
}

}  // namespace platform
