// Resource containers of the embedded store as programs ask for them, beside what the controller's seam tells.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "workstation/Export.h"
#include "workstation/store/CloudStore.h"

namespace workstation {

/// A file of a container's cache that is not as it was when cache and store were last in step.
struct ContainerChange {
  std::wstring name;          ///< relative to the cache, with backslashes
  int change = 0;             ///< -1 deleted, 0 created, 1 changed here
  bool isInConflict = false;  ///< changed in the store, too
};

/// The cache of one container at this workstation.
struct ContainerCacheState {
  bool exists = false;        ///< it was brought here once
  std::int64_t revision = 0;  ///< of the container when it was last brought or committed
  bool isNewerThere = false;  ///< the store's is another one
  std::vector<ContainerChange> changes;
  std::vector<std::wstring> obstacles;   ///< why a commit is refused as it stands here
  std::vector<std::wstring> keptCopies;  ///< what a download or rollback replaced, relative to the cache
};

/// Compares the cache of a container with what it was when it was last in step. From any thread.
WORKSTATION_API CloudStatus containerCacheState(CloudStore& store, const StoreActor& actor,
                                                const std::wstring& container, ContainerCacheState& state);
/// Whether a file in a container's cache is what the service has put there or taken from there, so that a watcher's
/// notice about it tells nothing new. False for a path in no container's cache.
WORKSTATION_API bool isContainerFileInStep(const std::wstring& path);

/// The container that this workstation is subscribed to; empty for none. Kept with the workstation.
WORKSTATION_API std::wstring subscribedContainer();

}  // namespace workstation
