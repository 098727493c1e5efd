// Files of a directory as the system lists them.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "platform/WindowsTypes.h"
#include "zephor/Export.h"

namespace Quorvel::FileAccess {

class WGO_FileFilter;

/// Files by full path (directory, backslash, name as it was found), in the order of the path's characters.
using DirectorySnapshot = std::map<std::wstring, WIN32_FIND_DATAW>;

// Both walks set the last error: 0 when all was read, otherwise why the first directory that could not be read whole
// could not. Its files are then missing in `out` although they may well be there, which nobody must take for their
// deletion. Any such directory but a missing one is named in the error log too.
//
// What the system holds under a name that no library path can have does not come into `out`, and is no failure either:
// names with a backslash or that are not valid UTF-8, and what lies below a directory with a wildcard in its name. The
// error log has one line for each such entry, every time that it is passed over.

/// Files of a directory that the filter lets pass; `filter` may be null. Appends to `out`.
/// @return the number of entries that were appended; 0 for a null, empty or missing directory
ZEPHOR_API int WGO_getFileInfoFromDirectory(const wchar_t* directory, std::vector<WIN32_FIND_DATAW>& out,
                                            const WGO_FileFilter* filter);
/// Files of a directory and, if asked for, of those below it. Directories whose name begins with a point or holds a
/// wildcard are passed over, and with an excluded one, which the filter is asked about by its bare name, all below it.
/// Links to directories are not followed; a link to a file counts as the file. An entry that `out` holds already is
/// kept.
/// @return the number of entries in `out` afterwards; 0, `out` untouched, for a null directory
ZEPHOR_API int WGO_getFilesFromDirectory(const wchar_t* directory, DirectorySnapshot& out, const WGO_FileFilter* filter,
                                         bool withSubdirectories);

}  // namespace Quorvel::FileAccess
