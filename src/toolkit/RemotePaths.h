// Paths on a plain directory that acts like a server. Internal to the toolkit.
#pragma once

#include <string>

namespace Quorvel::FileAccess {

/// True for a relative name that stays below the directory that it is joined to: no drive, no leading separator, no
/// "..", no control character. False for null, "" and ".".
bool isNameBelow(const wchar_t* name);

/// Library path of a directory that is absolute or relative to `current`. `/` and `\` both separate, and ".." goes up.
/// @return empty for null, "" and a path with a control character
std::wstring resolveDirectory(const std::wstring& current, const wchar_t* path);

/// The same directory without ".", ".." and doubled separators, in the letter case of the disk.
/// @return empty for a drive that is not known
std::wstring asOnDisk(const std::wstring& libraryPath);

/// True for the root of a drive.
bool isVolume(const std::wstring& libraryPath);

}  // namespace Quorvel::FileAccess
