// The one object of the process whose file is not to be expanded.
#pragma once

#include <cstdint>

namespace Quorvel::FileAccess {

/// Whether ScopedDisableUnzipping keeps this object's file as it is. Any thread.
bool isUnzippingDisabled(int fileType, int number);

}  // namespace Quorvel::FileAccess
