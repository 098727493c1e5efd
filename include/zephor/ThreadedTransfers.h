// Lists of transfers with a server of the older store, over several connections at once.
//
// A list goes parallel when the setting `Settings\WGOUseThreading` is on (read once per process; missing counts as 0
// and is written) and when it has at least six elements; otherwise it runs on the calling thread. The number of
// connections is what the threading library allows at the first list of the process. A parallel list polls progress
// every 100 ms on the calling thread, which waits as long as the list takes; the connections that it opened are closed
// at its end. A failed element does not stop the others.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "platform/WindowsTypes.h"
#include "zephor/Export.h"
#include "zephor/FileTransfer.h"

namespace Quorvel::FileAccess {

class IProgress;

/// Travels with a file name.
struct FileSyncSpecAdditionalData {
  std::wstring path;  ///< the second path of the pair
};
using FileSyncPair = std::pair<std::wstring, FileSyncSpecAdditionalData>;

namespace Threading {

/// A file of the server in one of several directories.
struct ServerFile {
  std::wstring directory;  ///< below the path number
  InetFileInfo file;
};

// Each answers the first error, or 0; of two that race either. `progress` may be null, and so may what it points to; it
// is stepped with the number of elements done.

/// Downloads files of one server directory.
/// @param serverPathNr  path number of the server's side
/// @param objectNumber  for the transfer record of each
/// @param localPathNr   where the same directory lies here
ZEPHOR_API DWORD downloadList(IZepInetFileTransfer& transfer, const std::vector<InetFileInfo>& files,
                              const wchar_t* serverDirectory, int serverPathNr, int objectNumber, bool flag,
                              IProgress** progress, int localPathNr = ePrjPath);
/// Downloads files of several directories as one list, so that small directories too share the connections. The local
/// directories are there.
ZEPHOR_API DWORD downloadList(IZepInetFileTransfer& transfer, const std::vector<ServerFile>& files, int serverPathNr,
                              int objectNumber, bool flag, IProgress** progress, int localPathNr = ePrjPath);
/// Uploads files of one directory; a failed transfer does not show in the answer as long as the local time could be
/// set, see IZepInetFileTransfer::uploadFile. The calling thread's last error then tells why the first did not arrive;
/// it is 0 when all did.
ZEPHOR_API DWORD uploadList(IZepInetFileTransfer& transfer, const std::vector<InetFileInfo>& files,
                            const wchar_t* serverDirectory, int pathNr, bool silent, IProgress** progress);
/// Uploads files by their full local path (first) into a server directory (second).
ZEPHOR_API DWORD uploadList(IZepInetFileTransfer& transfer, const std::vector<FileSyncPair>& files, int pathNr,
                            bool silent, IProgress** progress);
/// Copies the second path of each pair over the first where the second is newer, or the first is missing.
ZEPHOR_API DWORD syncServerList(const std::vector<FileSyncPair>& files, IProgress** progress);

}  // namespace Threading
}  // namespace Quorvel::FileAccess
