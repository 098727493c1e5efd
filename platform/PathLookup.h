// What the file operations need of a path beyond its system path. Internal to the platform.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/WindowsTypes.h"

namespace platform {

constexpr bool isSeparator(wchar_t c) {
  return c == L'\\' || c == L'/';
}

/// One of the characters that no name on a Windows volume holds: `<>:"|?*`.
bool isReservedCharacter(wchar_t c);

/// A library path taken apart as text: `.` and `..` resolved, never above the root of an absolute path.
struct PathText {
  wchar_t drive = 0;  ///< upper case; 0 without a drive
  bool isAbsolute = false;
  std::vector<std::wstring> components;
};
PathText splitPath(std::wstring_view path);

/// A library path on the way to the system.
struct Location {
  std::string path;     ///< as systemPath() gives it: the entry on the disk where there is one
  std::string written;  ///< the same with its last component as the caller wrote it
};

/// Finds the place of a path.
/// @return 0; ERROR_PATH_NOT_FOUND for null, an empty path or an unknown drive
DWORD locate(const wchar_t* libraryPath, Location& location);

/// The same for an entry that is going to be created: ERROR_INVALID_NAME when its name holds a reserved character.
DWORD locateForCreation(const wchar_t* libraryPath, Location& location);

/// Code for a failure with `error` on `path`: where the system says that something is missing, this tells the missing
/// file (ERROR_FILE_NOT_FOUND) from the missing directory (ERROR_PATH_NOT_FOUND).
DWORD pathError(int error, const std::string& path);

/// The file that a link stands for, so that a replacement keeps the link; the path itself when it is none or leads
/// nowhere.
std::string followLink(const std::string& path);

/// Removes a directory of the system with everything below it; links are removed, never followed.
/// @return 0, or the code of the first failure
DWORD removeSystemTree(const std::string& path);

/// Directory part of a system path, `/` for an entry of the root.
std::string parentOf(const std::string& path);
/// Last component of a system path.
std::string nameOf(const std::string& path);

}  // namespace platform
