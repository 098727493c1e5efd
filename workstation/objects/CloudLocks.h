// Locks of a project in the cloud, kept by its store.
#pragma once

#include <optional>
#include <vector>

#include "host/Locking.h"

namespace workstation::cloudlocks {

// Object types are those of the transfer interface. Each question goes to the store; a store that can't be asked is
// told of in the error log, and answers as if nobody held a lock and none were given.

/// @return 1 when the lock is taken, or was this user's on this workstation before
int lock(const PRJ& prj, int number, int objectType);
int unlock(const PRJ& prj, int number, int objectType);
/// @return empty when nobody holds the lock
std::optional<FileLockInfo> lockInfo(const PRJ& prj, int number, int objectType);
bool isOwn(const PRJ& prj, int number, int objectType);
std::vector<FileLockInfo> ownLocks(const PRJ& prj);
/// @return false when the list can't be read
bool allLocks(const PRJ& prj, std::vector<FileLockInfo>& out);
/// Gives back what this user holds on this workstation. @return locks given back
int releaseOwn(const PRJ& prj);

}  // namespace workstation::cloudlocks
