#include <utility>

#include "platform/UserInterface.h"
#include "services/FileServicesState.h"
#include "zephor/FileServices.h"

namespace Quorvel::FileAccess {

ScopedAniCursor::ScopedAniCursor(bool show) {
  if (!show) return;
  counted_ = true;
  changed_ = fileServicesState().busyCursors++ == 0;
  if (changed_) platform::userInterface().setBusyCursor(true);
}

ScopedAniCursor::~ScopedAniCursor() {
  if (changed_) platform::userInterface().setBusyCursor(false);
  if (counted_) --fileServicesState().busyCursors;
}

bool WGO_GetDisplayAniCursor() {
  return fileServicesState().displayBusyCursor;
}

bool WGO_SetDisplayAniCursor(bool show) {
  return std::exchange(fileServicesState().displayBusyCursor, show);
}

// The interface in place draws its own busy cursor.
void* WGO_GetAniCursor() {
  return nullptr;
}

}  // namespace Quorvel::FileAccess
