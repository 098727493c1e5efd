// Where a cloud project's files lie on this workstation.
#pragma once

#include <string>

class PRJ;

namespace Quorvel::FileAccess {

/// True for the name of one directory: what a descriptor or server says ends up in paths that are emptied and written
/// to.
bool isPlainName(const std::wstring& name);

/// The directory below host path 41 that holds the project. A cloud project is called by its UUID and its directory
/// carries ".prj" behind that: files copied to a directory of the bare name would be lost to the user.
/// @return empty when the host has no such path, or the name is none of a directory
std::wstring projectPlace(const PRJ& prj);

/// A directory of this user for files on their way, "...\Temp\<uuid>.bak"; it need not exist.
/// @return empty when the user has no directory for data, or the UUID is no name
std::wstring transferPlace(const PRJ& prj);

}  // namespace Quorvel::FileAccess
