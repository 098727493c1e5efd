#include <mutex>

#include "platform/UserInterface.h"
#include "services/FileServicesState.h"
#include "zephor/FileServices.h"

namespace Quorvel::FileAccess {

ScopedAniCursor::ScopedAniCursor(bool show) {
  if (!show) return;
  counted_ = true;
  // Count and cursor change together, or two threads could leave the wrong one behind.
  const std::lock_guard guard(fileServicesState().cursorLock);
  if (fileServicesState().busyCursors++ == 0) platform::userInterface().setBusyCursor(true);
}

ScopedAniCursor::~ScopedAniCursor() {
  // On several threads the guard that set the cursor need not be the last to end.
  if (!counted_) return;
  const std::lock_guard guard(fileServicesState().cursorLock);
  if (--fileServicesState().busyCursors == 0) platform::userInterface().setBusyCursor(false);
}

bool WGO_GetDisplayAniCursor() {
  return fileServicesState().displayBusyCursor;
}

bool WGO_SetDisplayAniCursor(bool show) {
  return fileServicesState().displayBusyCursor.exchange(show);
}

// The user interface draws a busy cursor of its own: this platform has none to hand out.
void* WGO_GetAniCursor() {
  return nullptr;
}

}  // namespace Quorvel::FileAccess
