// What the service keeps for the whole process.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>

class PRJ;

namespace Quorvel::FileAccess {

class IWGOAccess;
class IZepInetFileTransfer;

constexpr int kTraceLevelUnknown = -1;

/// Created on demand, alive until the process ends. All but the trace level belong to the host's main thread.
struct ServiceState {
  ServiceState();
  ~ServiceState();

  std::unique_ptr<IZepInetFileTransfer> manager;  ///< see getInetFileManager
  bool managerCreated = false;                    ///< until the exit hook has run
  bool managerDestroyed = false;                  ///< by the exit hook
  std::unique_ptr<PRJ> onlineProject;
  std::unique_ptr<IWGOAccess> access;
  std::atomic<int> traceLevel{kTraceLevelUnknown};
  std::recursive_mutex lock;
};

ServiceState& serviceState();

/// The one service-wide lock; WGO_initWorkgroup alone takes it.
std::recursive_mutex& serviceLock();

}  // namespace Quorvel::FileAccess
