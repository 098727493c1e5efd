// The lock of an object by the path of its file, as the host asks for it when it opens one to change it.
//
// On the host's main thread: who holds what is asked of the host's locking manager, which may go to the server.
#pragma once

#include <cstdint>
#include <string>

#include "zephor/Export.h"

namespace Quorvel::FileAccess {

enum LockFileStatus : std::uint32_t {
  eLockFile_Locked = 0,  ///< this user holds the lock now
  /// No lock was needed or possible: a data conversion runs, locking is off, or the file is no object of the open
  /// project.
  eLockFile_NotNeeded = 2,
  eLockFile_NoName = 3,   ///< the name was null
  eLockFile_Refused = 4,  ///< somebody else holds it, or the locks could not be asked for
};

struct ResultOf_WGO_LockProjectSpecificFile {
  std::uint32_t status = eLockFile_Locked;  ///< LockFileStatus
  std::wstring ownerName;                   ///< of the holder, when the lock was refused and the caller asked for it
};

/// Takes the lock of the object whose file is `file`, a full path. A refusal sets the thread's last error to 33 and
/// tells the host of a locking error.
ZEPHOR_API ResultOf_WGO_LockProjectSpecificFile WGO_LockProjectSpecificFile(const wchar_t* file, bool wantOwner);
/// Gives the lock back; nothing happens where the lock would not have been needed.
ZEPHOR_API void WGO_UnlockProjectSpecificFile(const wchar_t* file);

/// Whether a Teilbild could be replaced by the server's: false only for one that somebody else holds and whose file
/// here can't be opened for writing. True for a project that is not in the cloud.
ZEPHOR_API bool WGO_IsDownloadPossible(int number);

}  // namespace Quorvel::FileAccess
