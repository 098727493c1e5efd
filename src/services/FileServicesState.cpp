#include "services/FileServicesState.h"

#include "zephor/FileServices.h"

namespace Quorvel::FileAccess {

FileServicesState& fileServicesState() {
  static FileServicesState state;
  return state;
}

std::vector<int>& WGO_getMarkedForDelete() {
  return fileServicesState().markedForDelete;
}

void WGO_clearMarkedForDelete() {
  fileServicesState().markedForDelete.clear();
}

}  // namespace Quorvel::FileAccess
