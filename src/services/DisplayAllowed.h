// Allows the window that shows what is going on while a transfer runs.
#pragma once

#include "host/UserMessages.h"

namespace Quorvel::FileAccess {

class ScopedDisplayAllowed {
 public:
  ScopedDisplayAllowed() { setDisplayInfoWindowAllowed(1); }
  ~ScopedDisplayAllowed() { setDisplayInfoWindowAllowed(0); }
  ScopedDisplayAllowed(const ScopedDisplayAllowed&) = delete;
  ScopedDisplayAllowed& operator=(const ScopedDisplayAllowed&) = delete;
};

}  // namespace Quorvel::FileAccess
