#include "services/RowComparison.h"

namespace Quorvel::FileAccess {
namespace {

/// @param lacking  for a row without a header
template <typename Row, typename Header>
RowStep compare(const Row* row, const Header* header, RowStep lacking) {
  if (row == nullptr) return header == nullptr ? RowStep::None : RowStep::Add;
  if (header == nullptr) return lacking;
  return row->isEqual(*header) ? RowStep::None : RowStep::Replace;
}

}  // namespace

RowStep teilbildStep(const ZP_PrjDBTeilbildRecordData* row, const TeilbildHeader* header) {
  return compare(row, header, RowStep::CancelIfFileIsThere);
}

RowStep planStep(const ZP_PrjDBPlanRecordData* row, const PlanHeader* header, bool fromServer) {
  return compare(row, header, fromServer ? RowStep::CancelIfServerLacksIt : RowStep::CancelIfFileIsThere);
}

RowStep zeichnungStep(const ZP_PrjDBZeichnungRecordData* row, const ZeichnungHeader* header) {
  return compare(row, header, RowStep::CancelIfFileIsThere);
}

PlanHeader withHostMember(PlanHeader header, const ZP_PrjDBPlanRecordData* row) {
  header.hostMember = row != nullptr ? row->header().hostMember : std::uint16_t{0};
  return header;
}

}  // namespace Quorvel::FileAccess
