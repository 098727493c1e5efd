// Locks of objects and of projects.
#include "platform/Text.h"
#include "platform/Time.h"
#include "workstation/store/StoreImpl.h"

namespace workstation {

namespace {

constexpr const char* kLockColumns =
    "SELECT l.type, l.number, u.uuid, u.name, u.email, coalesce(m.number, 0), l.workstation, l.workstation_id, l.since "
    "FROM "
    "object_locks l JOIN users u ON u.uuid=l.user LEFT JOIN project_members m ON m.project=l.project AND m.user=l.user "
    "WHERE "
    "l.project=?1 AND (?2<0 OR (l.type=?2 AND l.number=?3)) ORDER BY l.type, l.number";

ObjectLock lockFrom(const Statement& statement) {
  ObjectLock lock;
  lock.objectType = static_cast<int>(statement.number(0));
  lock.number = static_cast<int>(statement.number(1));
  lock.holder = {statement.text(2), statement.text(3), statement.text(4)};
  lock.memberNumber = static_cast<int>(statement.number(5));
  lock.workstationName = statement.text(6);
  lock.workstationId = statement.text(7);
  lock.since = timeOf(statement.number(8));
  return lock;
}

std::vector<ObjectLock> readLocks(Connection& connection, const std::wstring& project, int type, int number) {
  std::vector<ObjectLock> found;
  Statement statement(connection, kLockColumns);
  statement << project << type << number;
  while (statement.row()) found.push_back(lockFrom(statement));
  return found;
}

bool isOwn(const StoreActor& actor, const std::wstring& user, const std::wstring& workstation) {
  return user == actor.user.uuid && workstation == actor.workstationId;
}

[[noreturn]] void throwLocked(const ObjectLock& lock) {
  throw StoreError{kStoreLocked, platform::formatWide(L"object %d is locked by %s at \"%s\"", lock.number,
                                                      lock.holder.name, lock.workstationName)};
}

void removeLock(Connection& connection, const std::wstring& project, const ObjectLock& lock) {
  Statement remove(connection, "DELETE FROM object_locks WHERE project=? AND type=? AND number=?");
  (remove << project << lock.objectType << lock.number).run();
}

void requireObject(int objectType, int number) {
  if (objectType < 0 || number <= 0) {
    throw StoreError{kStoreInvalidParameter,
                     platform::formatWide(L"there is no object of type %d with the number %d", objectType, number)};
  }
}

bool conflict(int held, int wanted) {
  if (held == eOndrathProjectLock_Exclusive || wanted == eOndrathProjectLock_Exclusive) return true;
  return held == eOndrathProjectLock_Write && wanted == eOndrathProjectLock_Write;
}

}  // namespace

CloudStatus CloudStore::lockObject(const StoreActor& actor, const std::wstring& project, int objectType, int number) {
  return answerOf([&] {
    requireObject(objectType, number);
    const ConnectionPool::Lease lease = impl_->pool.take();
    WriteTransaction transaction(*lease);
    requireRole(*lease, actor, project, StoreRole::Editor);
    const std::vector<ObjectLock> held = readLocks(*lease, project, objectType, number);
    if (!held.empty()) {
      const ObjectLock& lock = held.front();
      if (isOwn(actor, lock.holder.uuid, lock.workstationId)) return;
      throwLocked(lock);
    }
    Statement put(*lease,
                  "INSERT INTO object_locks(project, type, number, user, workstation_id, workstation, since) "
                  "VALUES(?, ?, ?, ?, ?, ?, ?)");
    (put << project << objectType << number << actor.user.uuid << actor.workstationId << actor.workstationName
         << nowTicks())
        .run();
    transaction.commit();
  });
}

CloudStatus CloudStore::unlockObject(const StoreActor& actor, const std::wstring& project, int objectType, int number) {
  return answerOf([&] {
    requireObject(objectType, number);
    const ConnectionPool::Lease lease = impl_->pool.take();
    WriteTransaction transaction(*lease);
    // Not Editor: who has become a viewer, and who finds the project archived, still gives back what they hold.
    requireRole(*lease, actor, project, StoreRole::Viewer);
    const std::vector<ObjectLock> held = readLocks(*lease, project, objectType, number);
    if (held.empty()) return;
    const ObjectLock& lock = held.front();
    if (!isOwn(actor, lock.holder.uuid, lock.workstationId)) throwLocked(lock);
    removeLock(*lease, project, lock);
    transaction.commit();
  });
}

CloudStatus CloudStore::breakLock(const StoreActor& actor, const std::wstring& project, const ObjectLock& seen) {
  return answerOf([&] {
    requireObject(seen.objectType, seen.number);
    const ConnectionPool::Lease lease = impl_->pool.take();
    WriteTransaction transaction(*lease);
    // An admin's right, but for one's own; weaker members are told so.
    requireRole(*lease, actor, project, seen.holder.uuid == actor.user.uuid ? StoreRole::Viewer : StoreRole::Admin);
    const std::vector<ObjectLock> held = readLocks(*lease, project, seen.objectType, seen.number);
    if (held.empty()) return;
    const ObjectLock& lock = held.front();
    const bool isSeen = lock.holder.uuid == seen.holder.uuid && lock.workstationId == seen.workstationId &&
                        platform::toTicks(lock.since) == platform::toTicks(seen.since);
    if (!isSeen) throwLocked(lock);
    removeLock(*lease, project, lock);
    transaction.commit();
  });
}

CloudStatus CloudStore::lockOf(const StoreActor& actor, const std::wstring& project, int objectType, int number,
                               std::optional<ObjectLock>& out) {
  return answerOf([&] {
    out.reset();
    requireObject(objectType, number);
    const ConnectionPool::Lease lease = impl_->pool.take();
    requireRole(*lease, actor, project, StoreRole::Viewer);
    std::vector<ObjectLock> held = readLocks(*lease, project, objectType, number);
    if (!held.empty()) out = std::move(held.front());
  });
}

CloudStatus CloudStore::locks(const StoreActor& actor, const std::wstring& project, std::vector<ObjectLock>& out) {
  return answerOf([&] {
    out.clear();
    const ConnectionPool::Lease lease = impl_->pool.take();
    requireRole(*lease, actor, project, StoreRole::Viewer);
    out = readLocks(*lease, project, -1, 0);
  });
}

void requireProjectUnlocked(Connection& connection, const StoreActor& actor, const std::wstring& project) {
  Statement statement(
      connection,
      "SELECT u.name, l.workstation FROM project_locks l JOIN users u ON u.uuid=l.user WHERE l.project=?1 AND "
      "l.kind>=2 AND NOT (l.user=?2 AND l.workstation_id=?3)");
  statement << project << actor.user.uuid << actor.workstationId;
  if (statement.row()) {
    throw StoreError{kStoreLocked, platform::formatWide(L"the project is locked by %s at \"%s\"", statement.text(0),
                                                        statement.text(1))};
  }
}

CloudStatus CloudStore::lockProject(const StoreActor& actor, const std::wstring& project, OndrathProjectLockType kind) {
  if (kind == eOndrathProjectLock_None) return unlockProject(actor, project, false);
  return answerOf([&] {
    if (kind < eOndrathProjectLock_Read || kind > eOndrathProjectLock_Exclusive) {
      throw StoreError{kStoreInvalidParameter, L"there is no project lock of that kind"};
    }
    const ConnectionPool::Lease lease = impl_->pool.take();
    WriteTransaction transaction(*lease);
    requireRole(*lease, actor, project, kind == eOndrathProjectLock_Read ? StoreRole::Viewer : StoreRole::Editor);
    {
      Statement others(
          *lease,
          "SELECT l.kind, l.user, l.workstation_id, u.name, l.workstation FROM project_locks l JOIN users u ON "
          "u.uuid=l.user WHERE l.project=?");
      others << project;
      while (others.row()) {
        if (isOwn(actor, others.text(1), others.text(2)) || !conflict(static_cast<int>(others.number(0)), kind))
          continue;
        throw StoreError{kStoreLocked, platform::formatWide(L"the project is locked by %s at \"%s\"", others.text(3),
                                                            others.text(4))};
      }
    }
    Statement put(*lease,
                  "INSERT OR REPLACE INTO project_locks(project, user, workstation_id, workstation, kind, since) "
                  "VALUES(?, ?, ?, ?, ?, ?)");
    (put << project << actor.user.uuid << actor.workstationId << actor.workstationName << static_cast<int>(kind)
         << nowTicks())
        .run();
    transaction.commit();
  });
}

CloudStatus CloudStore::unlockProject(const StoreActor& actor, const std::wstring& project, bool all) {
  return answerOf([&] {
    const ConnectionPool::Lease lease = impl_->pool.take();
    WriteTransaction transaction(*lease);
    requireRole(*lease, actor, project, all ? StoreRole::Admin : StoreRole::Viewer);
    Statement remove(*lease,
                     "DELETE FROM project_locks WHERE project=?1 AND (?2<>0 OR (user=?3 AND workstation_id=?4))");
    (remove << project << (all ? 1 : 0) << actor.user.uuid << actor.workstationId).run();
    transaction.commit();
  });
}

CloudStatus CloudStore::projectLocks(const StoreActor& actor, const std::wstring& project, std::vector<LockUser>& out) {
  return answerOf([&] {
    out.clear();
    const ConnectionPool::Lease lease = impl_->pool.take();
    requireRole(*lease, actor, project, StoreRole::Viewer);
    Statement statement(
        *lease,
        "SELECT u.uuid, u.name, u.email, l.workstation, l.since, l.kind FROM project_locks l JOIN users u ON "
        "u.uuid=l.user WHERE l.project=? ORDER BY l.since, u.uuid");
    statement << project;
    while (statement.row()) {
      out.push_back({statement.text(0), statement.text(1), statement.text(2), statement.text(3),
                     storeDateText(timeOf(statement.number(4))), static_cast<int>(statement.number(5))});
    }
  });
}

}  // namespace workstation
