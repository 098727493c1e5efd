// Which files of a directory have to move to bring the two sides in step. Pure: lists in, lists out.
//
// Times decide alone, without any tolerance, and sizes never do: each transfer makes the two times equal. Nothing is
// deleted on either side. The order of a list is kept.
#pragma once

#include <vector>

#include "zephor/FileTransfer.h"

namespace Quorvel::FileAccess {

/// The local files that are strictly newer than the server's file of that name, without regard to letter case, or that
/// the server does not have.
std::vector<RemoteFileEntry> filesToSend(std::vector<RemoteFileEntry> local,
                                         const std::vector<RemoteFileEntry>& server);

/// True when a file of the server is strictly newer than the local one.
/// @param local  time of the local file; 0 when there is none
bool isToFetch(const FILETIME& local, const FILETIME& server);

}  // namespace Quorvel::FileAccess
