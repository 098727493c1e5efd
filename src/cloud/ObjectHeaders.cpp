#include "cloud/ObjectHeaders.h"

#include "host/FileTypes.h"
#include "host/Files.h"
#include "host/Project.h"
#include "host/ProjectDatabase.h"
#include "platform/Paths.h"
#include "zephor/HeaderServices.h"

namespace Quorvel::FileAccess {
namespace {

/// The open project's directory; the header is read from there as from any directory put in its place.
constexpr int kProjectPathNumber = 1;

/// The unit of the project's database; 0 when the database in the core is another project's, or none is open.
int databaseUnitOf(const PRJ& prj) {
  const int unit = kgunit();
  return unit > 0 && get_ActivePrj().GetOndrathProjectUuid() == prj.GetOndrathProjectUuid() ? unit : 0;
}

bool loadTeilbildHeader(int unit, unsigned number, const std::wstring& directory, TeilbildHeader& header) {
  header = clearedHeader<TeilbildHeader>();
  if (unit > 0) return ZP_ProjectDBTeilbildSets(unit).getTeilbildRecord(number, header) > 0;
  const ScopedPathPut path(kProjectPathNumber, directory);
  return WGO_getTBHeader(number, &header, true, kProjectPathNumber);
}

bool loadPlanHeader(int unit, unsigned number, const std::wstring& directory, PlanHeader& header) {
  header = clearedHeader<PlanHeader>();
  if (unit > 0) return ZP_ProjectDBPlanSets(unit).getPlanRecord(number, header) > 0;
  const ScopedPathPut path(kProjectPathNumber, directory);
  return WGO_getPLHeader(number, &header, true, kProjectPathNumber);
}

}  // namespace

bool loadObjectHeader(const PRJ& prj, int type, int number, const std::wstring& path, ObjectHeader& header) {
  header = std::monostate{};
  const std::wstring directory = platform::directoryOf(path) + L'\\';
  if (type == eFileType_Teilbild) {
    return loadTeilbildHeader(databaseUnitOf(prj), static_cast<unsigned>(number), directory,
                              header.emplace<TeilbildHeader>());
  }
  if (type == eFileType_Plan) {
    return loadPlanHeader(databaseUnitOf(prj), static_cast<unsigned>(number), directory, header.emplace<PlanHeader>());
  }
  return true;
}

const void* headerRecord(const ObjectHeader& header) {
  if (const auto* teilbild = std::get_if<TeilbildHeader>(&header)) return teilbild;
  return std::get_if<PlanHeader>(&header);
}

std::uint32_t headerRecordSize(const ObjectHeader& header) {
  if (std::holds_alternative<TeilbildHeader>(header)) return sizeof(TeilbildHeader);
  return std::holds_alternative<PlanHeader>(header) ? sizeof(PlanHeader) : 0;
}

}  // namespace Quorvel::FileAccess
