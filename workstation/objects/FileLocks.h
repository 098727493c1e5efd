// Locks of a project of the older store: lock files on its server, through the library's transfer object.
//
// A cached picture of the lock files answers the library's own question while it writes one; everything else lists them
// first, once for a whole list of objects. The server can't make a file only if it is missing: each user writes a file
// of his own name, looks again, and steps back when somebody else's is there too. So two who race may both come away
// without the lock, but never both with it. One who could not delete his file then leaves it beside the holder's: the
// holder's process knows that it was given the lock, another one sees both and takes the object for somebody else's.
// Files of a workstation that crashed stay until somebody deletes them.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/Locking.h"

namespace workstation::filelocks {

/// True when the transfer object works on a project of the older store. Without the library in the process it is false.
bool areInUse();
/// Directory name of the project that the transfer object stands before, of whichever store; empty for none.
std::wstring projectDirectory();

// Object types are those of the transfer interface. A server that can't be asked is told of in the error log, and
// answers as if nobody held a lock and none were given, with ZEPSetLockingError.

/// Takes locks, also those that are this user's on this workstation already.
/// @return the numbers of objects whose lock was not given
std::vector<int> lock(const std::vector<int>& numbers, int objectType);
/// Deletes the own files, whoever else has one.
/// @return true when there was one of each object, and is no more
bool unlock(const std::vector<int>& numbers, int objectType);
std::optional<FileLockInfo> lockInfo(int number, int objectType);
/// User number of the holder, -1 for none. Somebody else's lock counts before the own.
int owner(int number, int objectType);
/// The same by the picture alone, which is only read when there is none of this project yet: the library asks in the
/// middle of its own work.
int ownerInPicture(int number, int objectType);
bool isOwn(int number, int objectType);
/// By the picture; without times.
std::vector<FileLockInfo> ownLocks();
/// @return false when the list can't be read
bool allLocks(std::vector<FileLockInfo>& out);
/// Gives back what this user holds on this workstation. @return locks given back
int releaseOwn();

}  // namespace workstation::filelocks
