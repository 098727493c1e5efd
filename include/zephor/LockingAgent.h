// The switch of the agent that keeps the host's picture of locks fresh.
#pragma once

#include "zephor/Export.h"

namespace Quorvel::FileAccess {

/// Whether the agent runs: the user's setting `Settings\FileLockingAgent`, which is written with its default, on, when
/// it is missing. False without a network.
ZEPHOR_API bool WGO_GetFileLockingAgend();
/// Starts or stops the agent and keeps the choice. Without a network nothing changes.
/// @return whether it ran before
ZEPHOR_API bool WGO_SetFileLockingAgend(bool run);

}  // namespace Quorvel::FileAccess
