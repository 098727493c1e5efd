// Versions of project objects on both sides, and the verdict which side is newer.
#pragma once

#include <optional>

#include "platform/WindowsTypes.h"
#include "zephor/FileTransfer.h"

namespace Quorvel::FileAccess {

/// As WGO_getTBVersionCounter for a Plan; `guid` is always zero.
bool GetPlanVersionCounter(unsigned number, unsigned& counter, GUID& guid, bool fromServer);

/// Which way the open project's object has to move. Counters are compared in order, so that a newer local version is
/// never overwritten. A Zeichnung has no counter: what exists counts as one and the same version.
/// @param fileType  0, 28 or 33
UpdateVerdict objectVerdict(int number, int fileType);

/// User number of who saved the local file of a Teilbild or Plan last; nothing when its header can't be read, and for a
/// Zeichnung.
std::optional<int> lastLocalWriter(int number, int fileType);

}  // namespace Quorvel::FileAccess
