// Emptying a directory tree that somebody may change meanwhile.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/Export.h"

namespace platform {

/// Empties directories of a tree one after the other, and removes each that is empty then; the root itself stays. Every
/// step goes down from the open root and follows no link: a directory that has become one leads nobody out of the tree.
/// What is read-only or open without FILE_SHARE_DELETE stays, and so do names that no library path can hold.
/// @param root         a library path; nothing is done where it is a link or no directory
/// @param directories  relative to the root, with backslashes and letter case as on the disk; empty for the root. A
///                     link to a directory is removed as a link
/// @param mayRemove    asked for each file and each link to one, by its name
PLATFORM_API void emptyDirectories(const std::wstring& root, const std::vector<std::wstring>& directories,
                                   const std::function<bool(const std::wstring&)>& mayRemove);

}  // namespace platform
