#include <map>

#include "host/FileTypes.h"
#include "host/Headers.h"
#include "host/ObjectFiles.h"
#include "services/DatabaseProject.h"
#include "services/RowComparison.h"
#include "services/ServedProject.h"
#include "zephor/FileServices.h"
#include "zephor/HeaderServices.h"
#include "zephor/ProjectDatabase.h"

namespace Quorvel::FileAccess {
namespace {

constexpr int kNothingDone = -1;
constexpr int kProjectPathNumber = 1;
/// The host's; what an update of rows asks for.
constexpr int kUpdateQuery = 32776;

/// Positions in a list of rows, which may grow meanwhile.
using RowsByNumber = std::map<int, std::size_t>;
template <typename Header>
using HeadersByNumber = std::map<int, Header>;

template <typename Row>
RowsByNumber vector2Map(const std::vector<Row>& rows) {
  RowsByNumber byNumber;
  for (std::size_t at = 0; at < rows.size(); ++at) byNumber[rows[at].number()] = at;
  return byNumber;
}

template <typename Value>
Value* findIn(std::map<int, Value>& values, int number) {
  const auto found = values.find(number);
  return found != values.end() ? &found->second : nullptr;
}

/// The rows to work on: the caller's, or those of the range of numbers, so that a small update reads no whole table.
/// @return false when they can't be read
template <typename Query, typename Sets, typename Row>
bool takeRows(const std::set<int>& numbers, Sets& sets, const std::vector<Row>* records, int (*run)(Query&),
              std::vector<Row>& out) {
  if (records != nullptr) {
    out = *records;
    return true;
  }
  Query query(sets, out, kUpdateQuery, -1);
  query.setRangeFilter(*numbers.begin(), *numbers.rbegin());
  return run(query) >= 0;
}

bool isFileThere(int type, int number) {
  int isThere = 0;
  lfztyp(type, number, isThere);
  return isThere != 0;
}

bool isOnServer(int number) {
  return getInetFileManager().existFile(transferObjectFileName(number, eFileType_Plan).c_str());
}

/// Adding a row is its caller's.
template <typename Row, typename Header>
void takeStep(RowStep step, int type, int number, const Header* header, Row& row) {
  const bool isCancelled = (step == RowStep::CancelIfFileIsThere && isFileThere(type, number)) ||
                           (step == RowStep::CancelIfServerLacksIt && !isOnServer(number));
  if (isCancelled) row.restorePreviousState();
  if (step == RowStep::Replace && header != nullptr) row.setNewRecord(*header);
}

template <typename Header>
void addRow(const Header& header, std::vector<ProjectRow<Header>>& rows) {
  ProjectRow<Header>& row = rows.emplace_back(header);
  row.setState(row.state() | kRowNew);
}

/// The row of a Plan that is new is marked as changed, which the host writes as well.
void addRow(const PlanHeader& header, std::vector<ZP_PrjDBPlanRecordData>& rows) {
  rows.emplace_back().setNewRecord(header);
}

/// Holds all rows against the headers. @param stepOf  answers a RowStep for a row and a header, either may be null
template <typename Row, typename Header, typename StepOf>
void compareAll(const std::set<int>& numbers, int type, HeadersByNumber<Header>& headers, std::vector<Row>& rows,
                StepOf stepOf) {
  RowsByNumber byNumber = vector2Map(rows);
  for (const int number : numbers) {
    Header* header = findIn(headers, number);
    // An object is filed under its file's number, whatever its header says.
    if (header != nullptr) header->number = number;
    const std::size_t* at = findIn(byNumber, number);
    Row* row = at != nullptr ? &rows[*at] : nullptr;
    const RowStep step = stepOf(row, header);
    if (row != nullptr) {
      takeStep(step, type, number, header, *row);
    } else if (step == RowStep::Add && header != nullptr) {
      byNumber[number] = rows.size();
      addRow(*header, rows);
    }
  }
}

template <typename Row>
int handBack(int result, const std::vector<Row>& rows, std::vector<Row>* records) {
  if (result > 0 && records != nullptr) *records = rows;
  return result;
}

HeadersByNumber<PlanHeader> planHeaders(const std::set<int>& numbers, bool fromServer, const std::set<int>* limit) {
  HeadersByNumber<PlanHeader> headers;
  if (fromServer) {
    std::set<int> wanted;
    for (const int number : numbers) {
      if (limit == nullptr || limit->contains(number)) wanted.insert(number);
    }
    WGO_GetPLHeadersFromOnlineServer(wanted, headers);
    return headers;
  }
  for (const int number : numbers) {
    ZP_Header_Plan file;
    if (file.CheckOpenAndReadInfo(kProjectPathNumber, static_cast<unsigned>(number), false) == 0) {
      headers[number] = file.GetInfo();
    }
  }
  return headers;
}

}  // namespace

int WGO_UpdateTeilbildSetsDBFromServer(const std::set<int>& numbers, ZP_ProjectDBTeilbildSets& sets,
                                       std::vector<ZP_PrjDBTeilbildRecordData>* records) {
  if (!isOfOpenProject(sets)) return kNothingDone;
  if (numbers.empty()) return 0;
  const ScopedAniCursor cursor(WGO_GetDisplayAniCursor());
  std::vector<ZP_PrjDBTeilbildRecordData> rows;
  if (!takeRows<ZP_PrjDBTeilbildRecordQuery>(numbers, sets, records, getTeilbildRecords, rows)) return kNothingDone;
  HeadersByNumber<TeilbildHeader> headers;
  for (const int number : numbers) {
    ZP_Header_Teilbild file;
    if (file.CheckOpenAndReadInfo(kProjectPathNumber, static_cast<unsigned>(number), false) == 0) {
      headers[number] = file.GetInfo();
    }
  }
  compareAll(numbers, eFileType_Teilbild, headers, rows, teilbildStep);
  return handBack(sets.applyTeilbildRecordChanges(rows), rows, records);
}

int WGO_UpdatePlanSetsDBFromServer(const std::set<int>& numbers, ZP_ProjectDBPlanSets& sets,
                                   std::vector<ZP_PrjDBPlanRecordData>* records, const std::set<int>* limit) {
  if (!isOfOpenProject(sets)) return kNothingDone;
  if (numbers.empty()) return 0;
  const ScopedAniCursor cursor(WGO_GetDisplayAniCursor());
  std::vector<ZP_PrjDBPlanRecordData> rows;
  if (!takeRows<ZP_PrjDBPlanRecordQuery>(numbers, sets, records, getPlanRecords, rows)) return kNothingDone;
  const PRJ& prj = *sets.getProjectInfo();
  const bool fromServer = prj.IsRemoteOnlineProject() || prj.IsOndrathProject();
  HeadersByNumber<PlanHeader> headers = planHeaders(numbers, fromServer, limit);
  compareAll(numbers, eFileType_Plan, headers, rows,
             [fromServer](const ZP_PrjDBPlanRecordData* row, PlanHeader* header) {
               if (fromServer && header != nullptr) *header = withHostMember(*header, row);
               return planStep(row, header, fromServer);
             });
  return handBack(sets.applyPlanRecordChanges(rows), rows, records);
}

int WGO_UpdateZeichnungSetsDBFromServer(const std::set<int>& numbers, ZP_ProjectDBZeichnungSets& sets,
                                        std::vector<ZP_PrjDBZeichnungRecordData>* records,
                                        const std::set<int>* /*limit*/) {
  if (!isOfOpenProject(sets)) return kNothingDone;
  if (numbers.empty()) return 0;
  const ScopedAniCursor cursor(WGO_GetDisplayAniCursor());
  std::vector<ZP_PrjDBZeichnungRecordData> rows;
  if (!takeRows<ZP_PrjDBZeichnungRecordQuery>(numbers, sets, records, getZeichnungRecords, rows)) return kNothingDone;
  HeadersByNumber<ZeichnungHeader> headers;
  for (const int number : numbers) {
    ZP_Header_Zeichnung file;
    if (file.CheckOpenAndReadInfo(kProjectPathNumber, static_cast<unsigned>(number)) == 0) {
      headers[number] = file.GetInfo();
    }
  }
  compareAll(numbers, eFileType_Zeichnung, headers, rows, zeichnungStep);
  return handBack(sets.applyZeichnungRecordChanges(rows), rows, records);
}

}  // namespace Quorvel::FileAccess
