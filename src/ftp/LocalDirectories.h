// What a local directory holds, in the order of its listing.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "zephor/FileTransfer.h"

namespace Quorvel::FileAccess {

/// The files of a directory. @return 0, or why it could not be read
DWORD listLocalFiles(const std::wstring& directory, std::vector<RemoteFileEntry>& files);

/// All directories below one, as relative paths separated by `/`, parents first. Links are not followed, which could
/// lead round in circles, and what `excludes` says true of is left out with all below it.
/// @return 0, or the first error; what could be read is then in the list
DWORD listLocalDirectories(const std::wstring& directory, const std::function<bool(const std::wstring& name)>& excludes,
                           std::vector<std::wstring>& directories);

}  // namespace Quorvel::FileAccess
