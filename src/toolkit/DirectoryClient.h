// A plain directory that acts like a server: the same operations with the same results.
//
// Paths are library paths in which `/` separates as well; names are found without regard to letter case. An uploaded
// file becomes visible whole and takes the time of its arrival, as on a server; until then it grows under a name that
// no listing shows, and that stays behind when the process dies. Names of files that leave the current directory ("..",
// a drive, a leading separator) are refused with 553; directories may be given by absolute paths. A rename replaces a
// file that has the new name. Where a source grows or shrinks while it is read, the transfer fails. An operation that
// fails leaves the reply code that a server would give: 550 missing or not allowed, 553 name, 450 in use, 452 disk
// full, 426 aborted, 451 other failures of a transfer, 0 not connected.
#pragma once

#include <memory>

#include "toolkit/RemoteClient.h"

namespace Quorvel::FileAccess {

std::unique_ptr<IRemoteClient> makeDirectoryClient();

}  // namespace Quorvel::FileAccess
