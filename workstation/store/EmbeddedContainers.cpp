// The service's operations on resource containers.
#include <algorithm>
#include <utility>

#include "host/Trace.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/store/Bodies.h"
#include "workstation/store/ContainerCache.h"
#include "workstation/store/ContainerLook.h"
#include "workstation/store/Containers.h"
#include "workstation/store/DiskFiles.h"
#include "workstation/store/EmbeddedProjectService.h"
#include "workstation/store/StoreContainers.h"
#include "workstation/store/StoreError.h"
#include "workstation/store/TransferSteps.h"

namespace workstation {

namespace {

void requireOk(CloudStatus status) {
  if (status != kStoreOk) throw StoreError{status, CloudStore::lastText()};
}

StoreContainer containerOf(CloudStore& store, const StoreActor& actor, const std::wstring& uuid) {
  StoreContainer container;
  requireOk(store.container(actor, uuid, container));
  return container;
}

/// A directory's path without a separator at its end.
std::wstring cacheAt(std::wstring path) {
  while (!path.empty() && (path.back() == L'\\' || path.back() == L'/')) path.pop_back();
  if (!path.empty() && !platform::systemPath(path).empty()) return path;
  throw StoreError{kStoreInvalidParameter,
                   L"\"" + path + L"\" is no directory for a container's cache; expected a full path"};
}

void downloadTo(CloudStore& store, const StoreActor& actor, const std::wstring& uuid, const std::wstring& path,
                const StoreProgress& progress) {
  // Before a directory is made for it.
  containerOf(store, actor, uuid);
  ContainerCache(store, actor, uuid, path).download(progress);
}

/// Whether the cache here has, or may have, what the store does not have.
bool hasOwnWork(CloudStore& store, const StoreActor& actor, const std::wstring& uuid) {
  ContainerCacheState state;
  const bool isTold = containerCacheState(store, actor, uuid, state) == kStoreOk && state.exists;
  return !isTold || !state.changes.empty() || !state.obstacles.empty() || !state.keptCopies.empty();
}

/// Takes the cache of a container that was deleted from where it will be removed.
void bringToSafety(const std::wstring& cache) {
  if (!platform::fileStatus(cache).isDirectory) return;
  platform::TrashFailure failure;
  std::string place;
  if (platform::moveToTrash(cache, &failure, &place) != ERROR_SUCCESS) {
    place = failure.place;
    if (platform::fileStatus(cache).exists) {
      place = platform::systemPath(cache + L".deleted-" + platform::fromUtf8(randomHex(4)));
      renameReplacing(platform::systemPath(cache), place);
    }
  }
  lfperrC(L"\"%s\" has what was never committed: it is kept as \"%s\"\n", cache, platform::fromUtf8(place));
}

}  // namespace

void EmbeddedProjectService::noteContainer(const std::wstring& uuid, const std::wstring& path) {
  const std::lock_guard lock(containersMutex_);
  ContainerWork& work = containerWork_[std::this_thread::get_id()];
  work.last = uuid;
  work.isCommitNamed = false;
  if (path.empty()) return;
  std::erase_if(containerCaches_, [&](const auto& known) { return platform::equalsIgnoreCase(known.second, path); });
  containerCaches_[uuid] = path;
}

std::wstring EmbeddedProjectService::cacheOfContainer(const std::wstring& uuid) {
  {
    const std::lock_guard lock(containersMutex_);
    if (const auto known = containerCaches_.find(uuid); known != containerCaches_.end()) return known->second;
  }
  std::wstring path = containerCachePath(uuid);
  if (path.empty()) throw StoreError{statusOfError(ERROR_PATH_NOT_FOUND), L"this workstation has no data directory"};
  return path;
}

std::wstring EmbeddedProjectService::heldContainer(CloudStore& store, const StoreActor& actor, bool rollback) {
  std::vector<std::wstring> held;
  requireOk(store.heldContainers(actor, held));
  const auto isHeld = [&](const std::wstring& uuid) { return std::find(held.begin(), held.end(), uuid) != held.end(); };
  const std::lock_guard lock(containersMutex_);
  ContainerWork& work = containerWork_[std::this_thread::get_id()];
  if (isHeld(work.last)) return work.last;
  // Who commits gives the lock back next, also when the commit was refused since the lock is gone: that means no other
  // container.
  if (std::exchange(work.isCommitNamed, false)) return {};
  if (isHeld(work.locked)) return work.locked;
  const bool wasTakenAway = !std::exchange(work.locked, {}).empty();
  // Which changes are undone has to be sure.
  const bool isUnsure = rollback && (held.size() > 1 || !work.last.empty());
  return wasTakenAway || isUnsure || held.empty() ? std::wstring() : held.front();
}

CloudStatus EmbeddedProjectService::GetCORTeams(std::vector<SimpleCloudObject>& teams) {
  return run(L"GetCORTeams", [&](CloudStore& store, const StoreActor& actor) {
    teams.clear();
    std::vector<StoreTeam> found;
    const CloudStatus status = store.teams(actor, found);
    for (const StoreTeam& team : found) {
      if (team.role <= StoreRole::Admin) teams.push_back({team.uuid, team.name});
    }
    return status;
  });
}

CloudStatus EmbeddedProjectService::CreateSTD(const std::wstring& team, const std::wstring& name, std::wstring& uuid) {
  uuid.clear();
  return run(L"CreateSTD", [&](CloudStore& store, const StoreActor& actor) {
    return store.createContainer(actor, team, name, uuid);
  });
}

CloudStatus EmbeddedProjectService::DeleteSTD(const std::wstring& uuid) {
  return run(L"DeleteSTD", [&](CloudStore& store, const StoreActor& actor) {
    return answerOf([&] {
      const bool isWork = hasOwnWork(store, actor, uuid);
      requireOk(store.deleteContainer(actor, uuid));
      if (isWork) bringToSafety(containerCachePath(uuid));
      if (subscribedContainer() == uuid) rememberSubscription({});
    });
  });
}

CloudStatus EmbeddedProjectService::GetStdResContainers(std::map<std::wstring, StdResContainer>& containers) {
  containers.clear();
  return run(L"GetStdResContainers", [&](CloudStore& store, const StoreActor& actor) {
    std::vector<StoreContainer> found;
    const CloudStatus status = store.containers(actor, found);
    for (const StoreContainer& container : found) {
      containers[container.uuid] = {container.uuid, container.name, container.teamUuid};
    }
    return status;
  });
}

CloudStatus EmbeddedProjectService::GetTeamUuidByCORUuid(const std::wstring& uuid, std::wstring& team) {
  team.clear();
  return run(L"GetTeamUuidByCORUuid", [&](CloudStore& store, const StoreActor& actor) {
    return answerOf([&] { team = containerOf(store, actor, uuid).teamUuid; });
  });
}

CloudStatus EmbeddedProjectService::ConnectResourcesContainerWithLocalPath(const std::wstring& uuid,
                                                                           const std::wstring& path) {
  return run(L"ConnectResourcesContainerWithLocalPath", [&](CloudStore& store, const StoreActor& actor) {
    return answerOf([&] {
      const std::wstring cache = cacheAt(path);
      containerOf(store, actor, uuid);
      ContainerCache(store, actor, uuid, cache).connect();
      noteContainer(uuid, cache);
    });
  });
}

CloudStatus EmbeddedProjectService::CheckLockCOR(const std::wstring& uuid, const std::wstring& /*cachePath*/,
                                                 bool& locked) {
  locked = false;
  return run(L"CheckLockCOR", [&](CloudStore& store, const StoreActor& actor) {
    return answerOf([&] {
      locked = containerOf(store, actor, uuid).lock.has_value();
      noteContainer(uuid);
    });
  });
}

CloudStatus EmbeddedProjectService::CanUnlockCOR(const std::wstring& uuid, const std::wstring& /*cachePath*/,
                                                 bool& can) {
  can = false;
  return run(L"CanUnlockCOR", [&](CloudStore& store, const StoreActor& actor) {
    return answerOf([&] {
      const StoreContainer container = containerOf(store, actor, uuid);
      can = container.lock && (container.role <= StoreRole::Admin || container.lock->holder.uuid == actor.user.uuid);
    });
  });
}

// The flag says nothing to this store: there is one kind of lock.
CloudStatus EmbeddedProjectService::LockResourcesContainer(const std::wstring& uuid, int /*flag*/) {
  return run(L"LockResourcesContainer", [&](CloudStore& store, const StoreActor& actor) {
    const CloudStatus status = store.lockContainer(actor, uuid);
    if (status != kStoreOk) return status;
    noteContainer(uuid);
    const std::lock_guard lock(containersMutex_);
    containerWork_[std::this_thread::get_id()].locked = uuid;
    return status;
  });
}

CloudStatus EmbeddedProjectService::UnlockResourcesContainer(bool rollback) {
  return run(L"UnlockResourcesContainer", [&](CloudStore& store, const StoreActor& actor) {
    return answerOf([&] {
      const std::wstring uuid = heldContainer(store, actor, rollback);
      if (uuid.empty() && rollback) {
        throw StoreError{kStoreNotLocked,
                         L"the container is not locked by this user at this workstation: nothing is rolled back, what "
                         L"was changed here stays"};
      }
      // What is to be given back is given back already.
      if (uuid.empty()) return;
      const std::wstring path = rollback ? cacheOfContainer(uuid) : std::wstring();
      if (!path.empty() && platform::fileStatus(path).isDirectory)
        ContainerCache(store, actor, uuid, path).rollBack({});
      requireOk(store.unlockContainer(actor, uuid));
      const std::lock_guard lock(containersMutex_);
      std::wstring& locked = containerWork_[std::this_thread::get_id()].locked;
      if (locked == uuid) locked.clear();
    });
  });
}

CloudStatus EmbeddedProjectService::ForceUnlockCOR(const std::wstring& cachePath) {
  return run(L"ForceUnlockCOR", [&](CloudStore& store, const StoreActor& actor) {
    return answerOf([&] {
      std::wstring root;
      std::wstring relative;
      std::wstring uuid = containerOfPath(cachePath, root, relative);
      {
        const std::lock_guard lock(containersMutex_);
        for (const auto& [known, path] : containerCaches_) {
          if (platform::equalsIgnoreCase(path, cacheAt(cachePath))) uuid = known;
        }
      }
      if (uuid.empty()) {
        throw StoreError{kStoreInvalidParameter, L"\"" + cachePath + L"\" is the cache of no container"};
      }
      requireOk(store.unlockContainer(actor, uuid, true));
    });
  });
}

CloudStatus EmbeddedProjectService::UploadResourcesContainer(const ContainerUploadRequest& request) {
  return run(L"UploadResourcesContainer", [&](CloudStore& store, const StoreActor& actor) {
    return answerOf([&] {
      noteContainer(request.uuid);
      {
        const std::lock_guard lock(containersMutex_);
        containerWork_[std::this_thread::get_id()].isCommitNamed = true;
      }
      const StoreContainer container = containerOf(store, actor, request.uuid);
      // Before everything is read.
      if ((container.revision > 0 || container.lock) && !isHeldBy(container, actor)) throwLockedContainer(container);
      const std::wstring path = cacheOfContainer(request.uuid);
      if (!platform::fileStatus(path).isDirectory) {
        throw StoreError{
            statusOfError(ERROR_PATH_NOT_FOUND),
            L"the container \"" + container.name + L"\" was not downloaded here: expected it in \"" + path + L"\""};
      }
      ContainerCache(store, actor, request.uuid, path).upload(transferSteps(request.options));
    });
  });
}

CloudStatus EmbeddedProjectService::DownloadSTDResContainer(const std::wstring& uuid, const std::wstring& path,
                                                            const CloudTransferOptions& options) {
  return run(L"DownloadSTDResContainer", [&](CloudStore& store, const StoreActor& actor) {
    return answerOf([&] {
      const std::wstring cache = cacheAt(path);
      downloadTo(store, actor, uuid, cache, transferSteps(options));
      std::wstring root;
      std::wstring relative;
      const std::wstring owner = containerOfPath(cache, root, relative);
      // The cache of another container is filled with a copy; this one's stays where it is.
      noteContainer(uuid, owner.empty() || owner == uuid ? cache : std::wstring());
    });
  });
}

CloudStatus EmbeddedProjectService::SubscribeCOR(const std::wstring& uuid, const std::wstring& cachePath) {
  return run(L"SubscribeCOR", [&](CloudStore& store, const StoreActor& actor) {
    return answerOf([&] {
      const std::wstring cache = cacheAt(cachePath);
      downloadTo(store, actor, uuid, cache, {});
      noteContainer(uuid, cache);
      requireOk(store.subscribeContainer(actor, uuid));
      rememberSubscription(uuid);
    });
  });
}

CloudStatus EmbeddedProjectService::UnsubscribeCOR() {
  return run(L"UnsubscribeCOR", [&](CloudStore& store, const StoreActor& actor) {
    return answerOf([&] {
      requireOk(store.unsubscribeContainer(actor));
      rememberSubscription({});
    });
  });
}

}  // namespace workstation
