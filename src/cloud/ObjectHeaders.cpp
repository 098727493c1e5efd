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

bool loadTeilbildHeader(unsigned number, const std::wstring& directory, TeilbildHeader& header) {
  header = clearedHeader<TeilbildHeader>();
  const int unit = kgunit();
  if (unit > 0) return ZP_ProjectDBTeilbildSets(unit).getTeilbildRecord(number, header) > 0;
  const ScopedPathPut path(kProjectPathNumber, directory);
  return WGO_getTBHeader(number, &header, true, kProjectPathNumber);
}

bool loadPlanHeader(unsigned number, const std::wstring& directory, PlanHeader& header) {
  header = clearedHeader<PlanHeader>();
  const int unit = kgunit();
  if (unit > 0) return ZP_ProjectDBPlanSets(unit).getPlanRecord(number, header) > 0;
  const ScopedPathPut path(kProjectPathNumber, directory);
  return WGO_getPLHeader(number, &header, true, kProjectPathNumber);
}

}  // namespace

bool loadObjectHeader(int type, int number, const std::wstring& path, ObjectHeader& header) {
  header = std::monostate{};
  const std::wstring directory = platform::directoryOf(path) + L'\\';
  if (type == eFileType_Teilbild) {
    return loadTeilbildHeader(static_cast<unsigned>(number), directory, header.emplace<TeilbildHeader>());
  }
  if (type == eFileType_Plan) {
    return loadPlanHeader(static_cast<unsigned>(number), directory, header.emplace<PlanHeader>());
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
