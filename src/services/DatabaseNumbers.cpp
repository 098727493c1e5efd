#include <algorithm>
#include <iterator>

#include "host/Files.h"
#include "host/Project.h"
#include "host/System.h"
#include "services/DatabaseProject.h"
#include "zephor/FileServices.h"
#include "zephor/ProjectDatabase.h"

namespace Quorvel::FileAccess {
namespace {

constexpr int kUnknownKind = -1;
constexpr int kProjectPathNumber = 1;
constexpr int kLoadTeilbilder = 1;
constexpr int kLoadPlans = 2;
constexpr int kLoadZeichnungen = 3;
/// The host's; what a look at the numbers alone asks for.
constexpr int kNumbersQuery = 2;

std::set<int> difference(const std::set<int>& all, const std::set<int>& without) {
  std::set<int> rest;
  std::set_difference(all.begin(), all.end(), without.begin(), without.end(), std::inserter(rest, rest.end()));
  return rest;
}

void removeRows(const std::set<int>& numbers, ZP_ProjectDBZeichnungSets& sets,
                std::vector<ZP_PrjDBZeichnungRecordData>& rows) {
  for (auto& row : rows) {
    if (numbers.contains(row.number())) row.setDelete();
  }
  sets.deleteZeichnungRecords(rows);
}

}  // namespace

bool isOfOpenProject(const ProjectRowSetBase& sets) {
  if (!sets.requiresServerUpdates()) return false;
  const PRJ* project = sets.getProjectInfo();
  if (project == nullptr || project->projectNumber != get_ActPrjNumber()) return false;
  // Projects that live on the server alone share one number.
  return !project->IsOndrathProject() || project->GetOndrathProjectUuid() == get_ActivePrj().GetOndrathProjectUuid();
}

void WGO_SyncDBZeichnungsNumbersFromServer(ZP_ProjectDBZeichnungSets& sets) {
  if (!isOfOpenProject(sets)) return;
  const ScopedAniCursor cursor(WGO_GetDisplayAniCursor());
  std::set<int> onServer;
  if (ListFilesInFolder(kProjectPathNumber, kLoadZeichnungen, onServer, ZSYST_IsInetConnection()) != 0) return;
  std::vector<ZP_PrjDBZeichnungRecordData> rows;
  ZP_PrjDBZeichnungRecordQuery query(sets, rows, kNumbersQuery, -1);
  if (getZeichnungRecords(query) < 0) return;
  onServer.erase(onServer.begin(), onServer.upper_bound(0));
  std::set<int> inRows;
  for (const auto& row : rows) inRows.insert(row.number());
  const std::set<int> added = difference(onServer, inRows);
  const std::set<int> removed = difference(inRows, onServer);
  if (!added.empty()) WGO_UpdateZeichnungSetsDBFromServer(added, sets, &rows, nullptr);
  if (!removed.empty()) removeRows(removed, sets, rows);
}

int WGO_GetExistingObjectNumbersFromServer(ObjectType objectType, std::set<int>& numbers) {
  const ScopedAniCursor cursor(WGO_GetDisplayAniCursor());
  int loadObject = 0;
  if (objectType == eObject_Teilbild) loadObject = kLoadTeilbilder;
  if (objectType == eObject_Zeichnung) loadObject = kLoadZeichnungen;
  if (objectType == eObject_Plan) loadObject = kLoadPlans;
  if (loadObject == 0) return kUnknownKind;
  return ListFilesInFolder(kProjectPathNumber, loadObject, numbers, ZSYST_IsInetConnection());
}

}  // namespace Quorvel::FileAccess
