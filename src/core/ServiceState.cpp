#include "core/ServiceState.h"

#include "host/Project.h"
#include "zephor/FileTransfer.h"
#include "zephor/Service.h"

namespace Quorvel::FileAccess {

ServiceState::ServiceState() = default;
ServiceState::~ServiceState() = default;

ServiceState& serviceState() {
  // Never destroyed: exit hooks and detached threads still ask for it.
  static auto& state = *new ServiceState;
  return state;
}

std::recursive_mutex& serviceLock() {
  return serviceState().lock;
}

}  // namespace Quorvel::FileAccess
