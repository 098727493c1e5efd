#include "workstation/store/Containers.h"

namespace workstation {

CloudStatus containerCacheState(CloudStore& /*store*/, const StoreActor& /*actor*/, const std::wstring& /*container*/,
                                ContainerCacheState& state) {
  state = {};
  return kStoreNotImplemented;
}

bool isContainerFileInStep(const std::wstring& /*path*/) {
  return false;
}

std::wstring subscribedContainer() {
  return {};
}

}  // namespace workstation
