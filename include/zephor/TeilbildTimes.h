// What the host notes about Teilbilder while a user works: whether an update was seen, and which are to be locked or
// unlocked at the next point where that is safe. On the host's main thread.
#pragma once

#include <cstdint>
#include <vector>

#include "zephor/Export.h"

namespace Quorvel::FileAccess {

/// Record of one Teilbild. It lives as long as the library and is kept in no file.
struct CTBTimeStamp {
  std::int32_t firstTime = 0;
  std::int32_t secondTime = -2;
  bool updated = false;
  std::int64_t furtherTime = 0;
  std::int32_t further = 0;
};

/// The library's record, not a copy. @return null for a number outside 1 to 9999
ZEPHOR_API CTBTimeStamp* WGO_queryTBTimeStamp(int number);
/// False for a number outside 1 to 9999.
ZEPHOR_API bool WGO_getTBTimeStampUpdated(int number);
/// Ignored for a number outside 1 to 9999.
ZEPHOR_API void WGO_setTBTimeStampUpdated(int number, bool updated);
/// Brings all records back to their initial state.
ZEPHOR_API void WGO_clearTBTimeStampChanges();
/// Nothing to do for stores of today. @return always 0
ZEPHOR_API int WGO_updateTBTimeStampChanges(bool force);
/// Records are kept in no file. @return always false
ZEPHOR_API bool WGO_dumpTBTimeStampsToFile();

/// Copies of the lists that the lock manager keeps. @return their size
ZEPHOR_API std::size_t WGO_getDelayedTBLockList(std::vector<int>& numbers);
ZEPHOR_API std::size_t WGO_getDelayedTBUnlockList(std::vector<int>& numbers);
/// Empties both lists.
ZEPHOR_API void WGO_resetDelayedTBLockUnlockList();
/// Locks, or unlocks, what the lists hold, for a cloud project that is open and not being converted. Refused locks are
/// told to the user in one message. Both lists are empty afterwards: with locks to take the unlocks are dropped.
/// @param force  does both, locks first
/// @return the last result of the lock manager; true when there was nothing to do
ZEPHOR_API bool WGO_manageDelayedTBLock(bool force);

}  // namespace Quorvel::FileAccess
