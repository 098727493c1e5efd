// Paths that a user gives on the command line.
#pragma once

#include <string>

namespace workstation::program {

/// An absolute path of the system for one that may be relative to the current directory.
std::string absolutePath(const std::string& path);
/// Library path of a regular file that exists. Throws CommandFailure.
std::wstring fileArgument(const std::string& path);

/// A path in canonical form as seen from the open project's directory; empty when it lies elsewhere.
std::wstring placeInProject(const std::wstring& path);

/// A message without the library path that it begins with, for a result that names the file as the user did.
std::wstring withoutPath(const std::wstring& message, const std::wstring& path);
/// A message that begins with a library path, with the name that the user knows instead.
std::wstring renamedIn(const std::wstring& message, const std::wstring& path, const std::wstring& name);

}  // namespace workstation::program
