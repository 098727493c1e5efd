// What the embedded controllers work with in this process: the store directory, who works here, and who watches
// transfers.
//
// The session sets the context on the main thread before the library is used and clears it when it ends; the other
// functions may be called from any thread.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "host/Cloud.h"
#include "workstation/Export.h"
#include "workstation/store/CloudStore.h"

namespace workstation {

/// Connects the process to a store directory (a path of the system); the store is opened on first use. An empty
/// directory, or another one, ends the session in the store before.
WORKSTATION_API void setStoreContext(std::string storeDirectory, StoreActor actor);
WORKSTATION_API void clearStoreContext();
WORKSTATION_API std::string storeContextDirectory();
WORKSTATION_API StoreActor storeActor();

/// The store of the context, opened once. @return null with a status and a text that tells what is missing
WORKSTATION_API std::shared_ptr<CloudStore> currentStore(CloudStatus& status, std::wstring& error);

/// Tells the store which project this process has open (empty: none), for IsProjectInUse of others.
WORKSTATION_API void noteOpenProject(const std::wstring& projectUuid);

/// Called on the transferring thread for transfers whose options ask for progress: files done, files in all, bytes,
/// text.
using TransferProgress =
    std::function<void(std::uint32_t done, std::uint32_t total, std::uint64_t bytes, const std::wstring& text)>;
WORKSTATION_API void setTransferProgress(TransferProgress progress);

/// Bounds the threads that one download copies and checks on, the calling one included; 0: as many as suit.
WORKSTATION_API void setTransferThreads(unsigned threads);

}  // namespace workstation
