// What the lock scope guards and error marks of the process say, for the program and for tests. Any thread.
#pragma once

#include "workstation/Export.h"

namespace workstation {

/// True while this thread opens and closes files without touching locks.
WORKSTATION_API bool areLocksIgnored();
/// True between start() and stop() of the locking agent.
WORKSTATION_API bool isLockingAgentRunning();
/// Whether a locking error was recorded on this thread since the last call; the call takes it away.
WORKSTATION_API bool takeLockingError();

}  // namespace workstation
