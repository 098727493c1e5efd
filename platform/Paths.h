// From library paths to paths of the system.
//
// A library path is `X:\dir\name` or `\dir\name`; `/` is accepted as a separator. `Z:` and no drive stand for the root
// of the file system, other drives for directories in a table that the host fills at its start. A name is looked up as
// on a case-insensitive, case-preserving volume: the exact name first, then the one entry that differs in letter case
// only (of several such entries the first in byte order). All functions may be called from any thread.
#pragma once

#include <string>

#include "platform/Export.h"

namespace platform {

/// Gives a drive letter its directory. An empty directory removes the entry. `Z` can't be set.
/// @return false when the letter is none of A to Y
PLATFORM_API bool setDrive(wchar_t letter, const std::string& systemDirectory);

/// Path of the system for an existing file or directory, found without regard to case; when the last components do not
/// exist they are taken as they are written. `.` and `..` are resolved as text and never lead above the drive; a path
/// that begins at no root begins at the process's directory.
/// @return an absolute UTF-8 path; empty for an empty path, a drive that is not in the table, or a name that holds NUL
PLATFORM_API std::string systemPath(const std::wstring& libraryPath);

/// Library path of an absolute path of the system: below the longest directory of the drive table, otherwise on `Z:`.
PLATFORM_API std::wstring libraryPath(const std::string& systemPath);

/// Makes a path canonical as far as it exists: links, `.` and `..` resolved, letter case as on the disk; the rest is
/// normalised as text. A link that leads to nothing counts as the place that it names, so that what would be created
/// outside of a directory does not look as if it lay inside.
/// @return empty for a path that systemPath() refuses
PLATFORM_API std::wstring weaklyCanonical(const std::wstring& libraryPath);

/// `path` as seen from `base`, both taken as text without regard to letter case, with backslashes; `.` when they are
/// equal, empty when they share no root.
PLATFORM_API std::wstring lexicallyRelative(const std::wstring& path, const std::wstring& base);

/// Joins two parts with exactly one backslash between them; an empty first part gives the second.
PLATFORM_API std::wstring joinPath(const std::wstring& first, const std::wstring& second);

/// Last component; the whole path when it holds no separator.
PLATFORM_API std::wstring fileNameOf(const std::wstring& path);

/// Everything before the last separator, without it; empty when there is none.
PLATFORM_API std::wstring directoryOf(const std::wstring& path);

/// True for a relative name that can't leave the directory it is joined to and that every workstation can hold: no
/// drive, no leading separator, no empty, `.` or `..` component, no control character, none of `<>:"|?*`, no component
/// that ends in a blank or a point, no reserved device name, at most 259 UTF-16 units in all and 255 bytes of UTF-8 in
/// a component.
PLATFORM_API bool isSafeRelativeName(const std::wstring& name);

}  // namespace platform
