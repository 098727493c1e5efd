// Paths that a user gives on the command line.
#pragma once

#include <string>

namespace workstation::program {

/// An absolute path of the system for one that may be relative to the current directory.
std::string absolutePath(const std::string& path);
/// Library path of a regular file that exists. Throws CommandFailure.
std::wstring fileArgument(const std::string& path);

/// A message without the library path that it begins with, for a result that names the file as the user did.
std::wstring withoutPath(const std::wstring& message, const std::wstring& path);

}  // namespace workstation::program
