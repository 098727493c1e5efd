// What becomes of a database row when it is held against the header of its object. Pure: reads nothing, decides all.
#pragma once

#include <cstdint>

#include "host/ProjectDatabase.h"

namespace Quorvel::FileAccess {

enum class RowStep : std::uint8_t {
  None,
  CancelIfFileIsThere,    ///< a pending change, when the host has a file that gave no header
  CancelIfServerLacksIt,  ///< a pending change, when the server has no such file
  Replace,
  Add,
};

// Row and header are null when they are absent.

RowStep teilbildStep(const ZP_PrjDBTeilbildRecordData* row, const TeilbildHeader* header);
/// @param fromServer  the project is on a server, and so is the header
RowStep planStep(const ZP_PrjDBPlanRecordData* row, const PlanHeader* header, bool fromServer);
RowStep zeichnungStep(const ZP_PrjDBZeichnungRecordData* row, const ZeichnungHeader* header);

/// A server's header with the member that the database alone keeps; 0 without a row.
PlanHeader withHostMember(PlanHeader header, const ZP_PrjDBPlanRecordData* row);

}  // namespace Quorvel::FileAccess
