// Resource containers of the store: which there are, who may do what, locks and subscriptions.
#include "workstation/store/StoreContainers.h"
#include "platform/Text.h"
#include "workstation/store/StoreImpl.h"

namespace workstation {

namespace {

constexpr const char* kContainerColumns =
    "SELECT c.uuid, c.name, c.team, t.name, m.role, c.revision, c.changed, u.name, (SELECT count(*) FROM "
    "container_files f WHERE f.container=c.uuid), (SELECT coalesce(sum(f.size), 0) FROM container_files f WHERE "
    "f.container=c.uuid), h.uuid, h.name, h.email, l.workstation, l.workstation_id, l.since FROM containers c JOIN "
    "team_members m ON m.team=c.team JOIN teams t ON t.uuid=c.team JOIN users u ON u.uuid=c.changer LEFT JOIN "
    "container_locks l ON l.container=c.uuid LEFT JOIN users h ON h.uuid=l.user WHERE m.user=?1 AND c.deleted=0 AND "
    "(?2='' OR c.uuid=?2) ORDER BY t.name, t.uuid, c.name_key";

std::vector<StoreContainer> readContainers(Connection& connection, const StoreActor& actor, const std::wstring& uuid) {
  std::vector<StoreContainer> found;
  Statement row(connection, kContainerColumns);
  row << actor.user.uuid << uuid;
  while (row.row()) {
    StoreContainer container;
    container.uuid = row.text(0);
    container.name = row.text(1);
    container.teamUuid = row.text(2);
    container.teamName = row.text(3);
    container.role = static_cast<StoreRole>(row.number(4));
    container.revision = row.number(5);
    container.changed = timeOf(row.number(6));
    container.changerName = row.text(7);
    container.files = row.number(8);
    container.bytes = row.number(9);
    if (const std::wstring holder = row.text(10); !holder.empty()) {
      container.lock =
          ContainerLock{{holder, row.text(11), row.text(12)}, row.text(13), row.text(14), timeOf(row.number(15))};
    }
    found.push_back(std::move(container));
  }
  return found;
}

}  // namespace

bool isHeldBy(const StoreContainer& container, const StoreActor& actor) {
  return container.lock && container.lock->holder.uuid == actor.user.uuid &&
         container.lock->workstationId == actor.workstationId;
}

StoreContainer requireContainer(Connection& connection, const StoreActor& actor, const std::wstring& uuid,
                                StoreRole weakest) {
  std::vector<StoreContainer> found;
  if (!uuid.empty()) found = readContainers(connection, actor, uuid);
  if (found.empty()) throw StoreError{kStoreNotFound, L"this user has no resource container \"" + uuid + L"\""};
  if (found.front().role > weakest) {
    throw StoreError{kStoreAccessDenied, L"this user's role in the team \"" + found.front().teamName +
                                             L"\" does not allow that for the container \"" + found.front().name +
                                             L"\""};
  }
  return std::move(found.front());
}

void throwLockedContainer(const StoreContainer& container) {
  if (!container.lock) {
    throw StoreError{kStoreLocked,
                     L"the container \"" + container.name + L"\" is not locked here: lock it before it is changed"};
  }
  throw StoreError{kStoreLocked,
                   platform::formatWide(L"the container \"%s\" is locked by %s at \"%s\" since %s UTC", container.name,
                                        container.lock->holder.name, container.lock->workstationName,
                                        storeDateText(container.lock->since))};
}

void releaseContainerLocks(Connection& connection, const std::wstring& team, const std::wstring& user) {
  Statement locks(
      connection,
      "DELETE FROM container_locks WHERE user=? AND container IN (SELECT uuid FROM containers WHERE team=?)");
  (locks << user << team).run();
}

CloudStatus CloudStore::createContainer(const StoreActor& actor, const std::wstring& team, const std::wstring& name,
                                        std::wstring& uuid) {
  return answerOf([&] {
    requireDisplayName(name, L"container name");
    const std::wstring made = newUuid();
    const ConnectionPool::Lease lease = impl_->pool.take();
    WriteTransaction transaction(*lease);
    requireTeamRole(*lease, actor, team, StoreRole::Admin);
    {
      Statement same(*lease, "SELECT 1 FROM containers WHERE team=? AND name_key=? AND deleted=0");
      same << team << platform::toLower(name);
      if (same.row()) throw StoreError{kStoreExists, L"the team has a container \"" + name + L"\" already"};
    }
    Statement put(*lease,
                  "INSERT INTO containers(uuid, team, name, name_key, changed, changer) VALUES(?, ?, ?, ?, ?, ?)");
    (put << made << team << name << platform::toLower(name) << nowTicks() << actor.user.uuid).run();
    transaction.commit();
    uuid = made;
  });
}

CloudStatus CloudStore::deleteContainer(const StoreActor& actor, const std::wstring& uuid) {
  return answerOf([&] {
    const ConnectionPool::Lease lease = impl_->pool.take();
    WriteTransaction transaction(*lease);
    const StoreContainer container = requireContainer(*lease, actor, uuid, StoreRole::Admin);
    if (container.lock && !isHeldBy(container, actor)) throwLockedContainer(container);
    Statement mark(*lease, "UPDATE containers SET deleted=1, deleted_at=? WHERE uuid=?");
    (mark << nowTicks() << uuid).run();
    Statement lock(*lease, "DELETE FROM container_locks WHERE container=?");
    (lock << uuid).run();
    Statement subscriptions(*lease, "DELETE FROM container_subscriptions WHERE container=?");
    (subscriptions << uuid).run();
    transaction.commit();
  });
}

CloudStatus CloudStore::containers(const StoreActor& actor, std::vector<StoreContainer>& out) {
  return answerOf([&] {
    out.clear();
    const ConnectionPool::Lease lease = impl_->pool.take();
    out = readContainers(*lease, actor, L"");
  });
}

CloudStatus CloudStore::container(const StoreActor& actor, const std::wstring& uuid, StoreContainer& out) {
  return answerOf([&] {
    out = {};
    const ConnectionPool::Lease lease = impl_->pool.take();
    out = requireContainer(*lease, actor, uuid, StoreRole::Viewer);
  });
}

CloudStatus CloudStore::lockContainer(const StoreActor& actor, const std::wstring& uuid) {
  return answerOf([&] {
    const ConnectionPool::Lease lease = impl_->pool.take();
    WriteTransaction transaction(*lease);
    const StoreContainer container = requireContainer(*lease, actor, uuid, StoreRole::Editor);
    if (isHeldBy(container, actor)) return;
    if (container.lock) throwLockedContainer(container);
    Statement put(
        *lease,
        "INSERT INTO container_locks(container, user, workstation_id, workstation, since) VALUES(?, ?, ?, ?, ?)");
    (put << uuid << actor.user.uuid << actor.workstationId << actor.workstationName << nowTicks()).run();
    transaction.commit();
  });
}

CloudStatus CloudStore::unlockContainer(const StoreActor& actor, const std::wstring& uuid, bool force) {
  return answerOf([&] {
    const ConnectionPool::Lease lease = impl_->pool.take();
    WriteTransaction transaction(*lease);
    const StoreContainer container = requireContainer(*lease, actor, uuid, StoreRole::Viewer);
    if (!container.lock) return;
    const bool mayTake =
        force && (container.role <= StoreRole::Admin || container.lock->holder.uuid == actor.user.uuid);
    if (!mayTake && !isHeldBy(container, actor)) throwLockedContainer(container);
    Statement remove(*lease, "DELETE FROM container_locks WHERE container=?");
    (remove << uuid).run();
    transaction.commit();
  });
}

CloudStatus CloudStore::heldContainers(const StoreActor& actor, std::vector<std::wstring>& out) {
  return answerOf([&] {
    out.clear();
    const ConnectionPool::Lease lease = impl_->pool.take();
    Statement row(*lease,
                  "SELECT container FROM container_locks WHERE user=? AND workstation_id=? ORDER BY since DESC");
    row << actor.user.uuid << actor.workstationId;
    while (row.row()) out.push_back(row.text(0));
  });
}

CloudStatus CloudStore::subscribeContainer(const StoreActor& actor, const std::wstring& uuid) {
  return answerOf([&] {
    const ConnectionPool::Lease lease = impl_->pool.take();
    WriteTransaction transaction(*lease);
    requireContainer(*lease, actor, uuid, StoreRole::Viewer);
    Statement put(
        *lease,
        "INSERT OR REPLACE INTO container_subscriptions(user, workstation_id, container, since) VALUES(?, ?, ?, ?)");
    (put << actor.user.uuid << actor.workstationId << uuid << nowTicks()).run();
    transaction.commit();
  });
}

CloudStatus CloudStore::unsubscribeContainer(const StoreActor& actor) {
  return answerOf([&] {
    const ConnectionPool::Lease lease = impl_->pool.take();
    Statement remove(*lease, "DELETE FROM container_subscriptions WHERE user=? AND workstation_id=?");
    (remove << actor.user.uuid << actor.workstationId).run();
  });
}

}  // namespace workstation
