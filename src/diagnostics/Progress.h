// Progress of long work, as the transfers report it.
#pragma once

#include <memory>
#include <string>

#include "zephor/Progress.h"

namespace Quorvel::FileAccess {

namespace ConnectionLogger {

/// A floating progress bar, hidden until the work has taken two seconds or a position is forced. Its end takes 300 ms,
/// in which the full bar is seen.
/// @return empty when there is no display for it; callers go on without progress
std::shared_ptr<IProgress> CreateProgress(const std::wstring& title);

}  // namespace ConnectionLogger
}  // namespace Quorvel::FileAccess
