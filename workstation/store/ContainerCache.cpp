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

CloudStatus CloudStore::containers(const StoreActor& /*actor*/, std::vector<StoreContainer>& out) {
  out.clear();
  return kStoreNotImplemented;
}

CloudStatus CloudStore::container(const StoreActor& /*actor*/, const std::wstring& /*uuid*/, StoreContainer& out) {
  out = {};
  return kStoreNotImplemented;
}

}  // namespace workstation
