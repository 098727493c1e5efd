// The one loop around every operation of the transfer object.
#pragma once

#include <functional>
#include <initializer_list>

#include "ftp/RemoteConfiguration.h"

namespace Quorvel::FileAccess {

struct RetrySettings;

using RemoteStep = std::function<RemoteStatus(RemoteRetryContext&)>;

/// Runs the steps on the calling thread's connection, which it brings up first, until the last one succeeds, one of
/// them ends it, or the retries are used up. A step that asks for a retry or fails skips the rest of its pass. The
/// first retry of an operation drops the connection, which may be stale.
/// @return the status of the step that ended the loop; an operation whose steps were all done answers success
RemoteStatus runWithRetries(RemoteConfiguration& remote, const RetrySettings& settings,
                            std::initializer_list<RemoteStep> steps);

}  // namespace Quorvel::FileAccess
