// Locks on project objects: who may change a Teilbild, Zeichnung or Plan, told by the host's manager and agent.
//
// Object types are those of the transfer interface: 0 Teilbild, 1 Zeichnung, 2 Plan. The locks of a cloud project live
// in the cloud store, those of another project in lock files on its server.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/Export.h"
#include "host/Project.h"

/// One held lock.
struct FileLockInfo {
  int objectType = 0;
  int objectNumber = -1;
  int userNumber = -1;
  std::wstring userName;
  std::wstring workstation;
  std::wstring time;      ///< "2026-11-21 18:04:05", UTC
  std::wstring fileName;  ///< of the lock, where it is a file
};

class HOST_API IZepFileLockingManager {
 public:
  virtual ~IZepFileLockingManager() = default;
  /// Takes the lock of the open project's object for the current user. @return 1 on success, also when this user holds
  /// it already
  virtual int LockObject(int number, int objectType, int flags) = 0;
  virtual int UnlockObject(int number, int objectType, int flags) = 0;
  /// User number of the holder, -1 when nobody holds it.
  virtual int GetLockOwner(int number, int objectType, int flags) = 0;
  virtual bool IsLockingOff() = 0;
  /// @return false when nobody holds the lock
  virtual bool GetLockInfo(int number, int objectType, FileLockInfo& out) = 0;
  /// True when the current user holds the lock of the object on this workstation.
  virtual bool IsLockedByCurrentUser(int number, int objectType) = 0;

  virtual int getLockOwner(int number, int objectType, int flags) = 0;
  virtual bool parseLockFileName(const std::wstring& name, int& objectType, int& number, int& userNumber) = 0;
  /// Locks that this session holds. @return their count
  virtual int getOwnLocks(std::vector<FileLockInfo>& out) = 0;
  /// All locks of the project that is open under `unit`; while the transfer object stands before a project of the older
  /// store, those of that one. @return non-zero when the list could be read
  virtual int updateLockInfoEx(int unit, std::vector<FileLockInfo>& out) = 0;
  /// Gives back what this user holds on this workstation, in the project that the transfer object stands before, or in
  /// the open one when that stands before none. @return locks given back
  virtual int CleanupLocks(int flags) = 0;

  /// Takes all of a list. @param refused  receives those that were not given. @return true when all were
  virtual bool LockDelayedList(const PRJ& prj, const std::vector<int>& numbers, int objectType,
                               std::vector<int>& refused) = 0;
  /// @return true when all were held and are no more
  virtual bool UnlockDelayedList(const PRJ& prj, const std::vector<int>& numbers, int objectType) = 0;
  /// What the host gathers while its user works; on its main thread.
  virtual std::vector<int>& delayedLocks() = 0;
  virtual std::vector<int>& delayedUnlocks() = 0;

  /// While one with `ignore` true lives, this thread opens and closes files without touching locks.
  class HOST_API ScopedIgnoreLock {
   public:
    explicit ScopedIgnoreLock(bool ignore);
    ~ScopedIgnoreLock();
    ScopedIgnoreLock(const ScopedIgnoreLock&) = delete;
    ScopedIgnoreLock& operator=(const ScopedIgnoreLock&) = delete;

   private:
    bool ignore_;
  };
};

/// The host's project manager, as far as locks concern it.
class HOST_API IProjectManagerProxy {
 public:
  virtual ~IProjectManagerProxy() = default;
  /// These Teilbilder stay read-only: their locks were refused, which the user has been told.
  virtual void TeilbilderNotLocked(const std::vector<int>& numbers, int flags) = 0;
};

/// The agent that keeps the picture of locks fresh in the background.
class HOST_API IZepFileLockingAgent {
 public:
  virtual ~IZepFileLockingAgent() = default;
  virtual bool isSuspended() const = 0;

  /// Suspends lock handling of the process while it lives. Scopes nest, from any thread.
  class HOST_API ScopedSuspend {
   public:
    ScopedSuspend();
    ~ScopedSuspend();
    ScopedSuspend(const ScopedSuspend&) = delete;
    ScopedSuspend& operator=(const ScopedSuspend&) = delete;
  };
};

/// Starting and stopping the agent.
class HOST_API IFileLockingAgentInternal {
 public:
  virtual ~IFileLockingAgentInternal() = default;
  virtual void start() = 0;
  virtual void stop() = 0;
};

HOST_API IZepFileLockingManager& getFileLockingManager();
HOST_API IZepFileLockingAgent& getFileLockingAgent();
HOST_API IProjectManagerProxy& ProjectManagerProxy();
HOST_API IFileLockingAgentInternal& getFileLockingAgentInternal();
/// Records a locking error for the host.
HOST_API void ZEPSetLockingError();
