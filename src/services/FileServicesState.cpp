#include "services/FileServicesState.h"

#include "zephor/FileServices.h"

namespace Quorvel::FileAccess {

FileServicesState& fileServicesState() {
  // Never destroyed: threads that still run at the exit ask for the counts.
  static auto& state = *new FileServicesState;
  return state;
}

std::vector<int>& WGO_getMarkedForDelete() {
  return fileServicesState().markedForDelete;
}

void WGO_clearMarkedForDelete() {
  fileServicesState().markedForDelete.clear();
}

}  // namespace Quorvel::FileAccess
