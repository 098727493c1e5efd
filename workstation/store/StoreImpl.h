// What the operations of the store share inside the room: the state of an open store, role checks, small conversions.
#pragma once

#include <cstdint>
#include <string>

#include "workstation/store/Bodies.h"
#include "workstation/store/CloudStore.h"
#include "workstation/store/CommitQueue.h"
#include "workstation/store/Database.h"
#include "workstation/store/StoreError.h"

namespace workstation {

struct CloudStore::Impl {
  explicit Impl(const std::string& storeDirectory)
      : directory(storeDirectory),
        bodies(storeDirectory),
        pool(storeDirectory + "/store.db"),
        commits(storeDirectory + "/store.db", bodies) {}

  std::string directory;
  Bodies bodies;
  ConnectionPool pool;
  CommitQueue commits;
};

/// States of a project.
constexpr int kProjectActive = 0;
constexpr int kProjectArchived = 1;
constexpr int kProjectDeleted = 2;

/// The actor's place in a project that is not deleted.
struct Membership {
  StoreRole role = StoreRole::None;
  bool archived = false;
  std::wstring projectName;
};

/// Throws kStoreNotFound for who is no member, kStoreAccessDenied for a role below `weakest`, and, for more than
/// reading, for an archived project.
Membership requireRole(Connection& connection, const StoreActor& actor, const std::wstring& project, StoreRole weakest);
/// Throws kStoreLocked when somebody else keeps the project from being written.
void requireProjectUnlocked(Connection& connection, const StoreActor& actor, const std::wstring& project);
StoreRole teamRole(Connection& connection, const StoreActor& actor, const std::wstring& team);
/// Throws kStoreNotFound for who is not in the team, kStoreAccessDenied for a role below `weakest`.
void requireTeamRole(Connection& connection, const StoreActor& actor, const std::wstring& team, StoreRole weakest);
/// Throws kStoreNotFound.
CloudUser requireUser(Connection& connection, const std::wstring& text);
/// Gives back all that a person who leaves holds in a project: nobody else could, but for an administrator.
void releaseLocks(Connection& connection, const std::wstring& project, const std::wstring& user);
/// The same for the containers of a team, for who leaves it or may only look from then on.
void releaseContainerLocks(Connection& connection, const std::wstring& team, const std::wstring& user);
/// Throws kStoreLocked when the object of that name is held by somebody else, or by the actor on another workstation.
/// @param needsOwnLock  also when nobody holds it
void requireObjectFree(Connection& connection, const StoreActor& actor, const std::wstring& project,
                       const std::wstring& name, bool needsOwnLock = false);
/// Throws kStoreChanged, with who changed it and when, unless the store has that revision of the file; see FilePut.
void requireRevision(Connection& connection, const std::wstring& project, const std::wstring& name,
                     std::optional<std::int64_t> expected);
void countChange(Connection& connection, const std::wstring& project);

/// Throws kStoreInvalidName for an empty name, one of more than 200 characters, or one with characters below blank.
void requireDisplayName(const std::wstring& name, const wchar_t* what);
std::int64_t nowTicks();
std::wstring newUuid();
inline std::int64_t ticksOf(const FILETIME& time) {
  return static_cast<std::int64_t>((static_cast<std::uint64_t>(time.dwHighDateTime) << 32U) | time.dwLowDateTime);
}
FILETIME timeOf(std::int64_t ticks);

}  // namespace workstation
