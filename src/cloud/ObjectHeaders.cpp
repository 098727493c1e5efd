#include "cloud/ObjectHeaders.h"

#include "host/FileTypes.h"
#include "host/Files.h"
#include "host/ObjectFiles.h"
#include "host/Project.h"
#include "host/ProjectDatabase.h"
#include "platform/Paths.h"
#include "zephor/HeaderServices.h"

namespace Quorvel::FileAccess {
bool readHeader(const HeaderSource& source, int number, TeilbildHeader& header) {
  header = clearedHeader<TeilbildHeader>();
  const auto key = static_cast<unsigned>(number);
  if (source.unit > 0) return ZP_ProjectDBTeilbildSets(source.unit).getTeilbildRecord(key, header) > 0;
  const ScopedPathPut path(source.pathNumber, source.directory);
  return WGO_getTBHeader(key, &header, true, source.pathNumber);
}

bool readHeader(const HeaderSource& source, int number, PlanHeader& header) {
  header = clearedHeader<PlanHeader>();
  const auto key = static_cast<unsigned>(number);
  if (source.unit > 0) return ZP_ProjectDBPlanSets(source.unit).getPlanRecord(key, header) > 0;
  const ScopedPathPut path(source.pathNumber, source.directory);
  return WGO_getPLHeader(key, &header, true, source.pathNumber);
}

int databaseUnitOf(const std::wstring& projectUuid) {
  const int unit = kgunit();
  return unit > 0 && get_ActivePrj().GetOndrathProjectUuid() == projectUuid ? unit : 0;
}

bool loadObjectHeader(const PRJ& prj, int type, int number, const std::wstring& path, ObjectHeader& header) {
  header = std::monostate{};
  if (type != eFileType_Teilbild && type != eFileType_Plan) return true;
  const HeaderSource source{databaseUnitOf(prj.GetOndrathProjectUuid()), platform::directoryOf(path) + L'\\'};
  return type == eFileType_Teilbild ? readHeader(source, number, header.emplace<TeilbildHeader>())
                                    : readHeader(source, number, header.emplace<PlanHeader>());
}

const void* headerRecord(const ObjectHeader& header) {
  if (const auto* teilbild = std::get_if<TeilbildHeader>(&header)) return teilbild;
  return std::get_if<PlanHeader>(&header);
}

std::uint32_t headerRecordSize(const ObjectHeader& header) {
  if (std::holds_alternative<TeilbildHeader>(header)) return sizeof(TeilbildHeader);
  return std::holds_alternative<PlanHeader>(header) ? sizeof(PlanHeader) : 0;
}

std::intptr_t openHandleOf(const std::wstring& path) {
  const HANDLE handle = getOpenFileHandle_FromFileName(path);
  return handle == nullptr ? -1 : reinterpret_cast<std::intptr_t>(handle);
}

}  // namespace Quorvel::FileAccess
