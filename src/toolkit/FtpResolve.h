// From a host's name to its addresses, within a budget of time.
#pragma once

#include <string>
#include <vector>

#include "toolkit/FtpLoop.h"

namespace Quorvel::FileAccess {

struct FtpResolved {
  FtpWaited waited = FtpWaited::Ready;
  std::vector<std::string> addresses;  ///< numeric, in the system's order; empty: not found
  std::string error;
};

/// An address stands for itself and asks nobody.
FtpResolved resolveHost(FtpLoop& loop, const std::string& name, FtpLoop::Clock::time_point deadline);

}  // namespace Quorvel::FileAccess
