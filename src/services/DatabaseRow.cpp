#include "services/DatabaseRow.h"

#include "host/FileTypes.h"
#include "host/ObjectFiles.h"
#include "host/Project.h"
#include "host/ProjectDatabase.h"
#include "zephor/HeaderServices.h"

namespace Quorvel::FileAccess {
namespace {

constexpr int kProjectPathNumber = 1;

void noteTeilbild(int number) {
  const auto rowNumber = static_cast<unsigned>(number);
  TeilbildHeader header;
  const bool read = WGO_getTBHeader(rowNumber, &header, true, kProjectPathNumber);
  ZP_ProjectDBTeilbildSets rows(kgunit());
  // A header that can't be read leaves the row, and its version is told as unknown.
  if (read && !rows.isClientServer()) rows.setTeilbildRecord(rowNumber, header);
  if (kgdrin(number) == -1) kgobcr(number);
  SelectionList_UpdateVersionInfo(eFileType_Teilbild, number, header.versionCounter);
}

void noteZeichnung(int number) {
  if (number <= 0) return;
  const auto rowNumber = static_cast<unsigned>(number);
  ZP_ProjectDBZeichnungSets rows(kgunit());
  ZeichnungHeader header;
  if (rows.isClientServer() || !WGO_getZEHeader(rowNumber, &header, true)) return;
  rows.setZeichnungRecord(rowNumber, header);
}

void notePlan(int number) {
  const auto rowNumber = static_cast<unsigned>(number);
  ZP_ProjectDBPlanSets rows(kgunit());
  PlanHeader header;
  if (rows.isClientServer() || !WGO_getPLHeader(rowNumber, &header, true, kProjectPathNumber)) return;
  rows.setPlanRecord(rowNumber, header);
}

}  // namespace

void noteDownloadedObject(int number, int fileType) {
  if (fileType == eFileType_Teilbild) {
    noteTeilbild(number);
  } else if (fileType == eFileType_Zeichnung) {
    noteZeichnung(number);
  } else if (fileType == eFileType_Plan) {
    notePlan(number);
  }
}

}  // namespace Quorvel::FileAccess
