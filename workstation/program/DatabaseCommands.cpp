// db update|check: the project database held against the project's objects.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <map>
#include <set>

#include "host/Headers.h"
#include "host/Project.h"
#include "host/ProjectDatabase.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "workstation/program/Commands.h"
#include "workstation/program/Context.h"
#include "workstation/program/ObjectName.h"
#include "workstation/program/Saving.h"
#include "zephor/HeaderServices.h"
#include "zephor/ProjectDatabase.h"
#include "zephor/ProjectListing.h"

namespace workstation::program {

namespace {

using namespace Quorvel::FileAccess;

constexpr const wchar_t* kDatabase = L"QuorvelProjectDB.db3";
constexpr int kProjectPath = 1;

enum class Difference : std::uint8_t {
  NoRow,
  Differs,
  Outdated,    ///< a row that an update removes
  NoObject,    ///< a row that an update leaves: its object may come yet
  Unreadable,  ///< an object whose header can't be read, which changes no row
  None,
};

struct Finding {
  ObjectName object;
  Difference difference = Difference::NoRow;
};

bool isForUpdate(const Finding& finding) {
  return finding.difference <= Difference::Outdated;
}

std::wstring textOf(Difference difference) {
  switch (difference) {
    case Difference::NoRow:
      return L"has no row";
    case Difference::Differs:
      return L"differs from its row";
    case Difference::Outdated:
      return L"row without file";
    case Difference::NoObject:
      return L"row without object";
    case Difference::Unreadable:
      return L"can't be read";
    case Difference::None:
      break;
  }
  return {};
}

/// What the three kinds of objects have of their own.
struct TeilbildKind {
  using Sets = ZP_ProjectDBTeilbildSets;
  using Row = ZP_PrjDBTeilbildRecordData;
  using Header = TeilbildHeader;
  static constexpr QuorvelFileType kType = eFileType_Teilbild;
  static constexpr ObjectType kObject = eObject_Teilbild;
  static int rows(Sets& sets, std::vector<Row>& out) { return sets.getTeilbildRecords(out, INT32_MIN, INT32_MAX, -1); }
  static std::map<int, Header> headers(const std::set<int>& numbers) {
    std::map<int, Header> found;
    for (const int number : numbers) {
      ZP_Header_Teilbild file;
      if (file.CheckOpenAndReadInfo(kProjectPath, static_cast<unsigned>(number), false) == 0)
        found[number] = file.GetInfo();
    }
    return found;
  }
  static int update(const std::set<int>& numbers, Sets& sets) {
    return WGO_UpdateTeilbildSetsDBFromServer(numbers, sets, nullptr);
  }
};

struct PlanKind {
  using Sets = ZP_ProjectDBPlanSets;
  using Row = ZP_PrjDBPlanRecordData;
  using Header = PlanHeader;
  static constexpr QuorvelFileType kType = eFileType_Plan;
  static constexpr ObjectType kObject = eObject_Plan;
  static int rows(Sets& sets, std::vector<Row>& out) { return sets.getPlanRecords(out, INT32_MIN, INT32_MAX, -1); }
  static std::map<int, Header> headers(const std::set<int>& numbers) {
    std::map<int, Header> found;
    WGO_GetPLHeadersFromOnlineServer(numbers, found);
    return found;
  }
  static int update(const std::set<int>& numbers, Sets& sets) {
    return WGO_UpdatePlanSetsDBFromServer(numbers, sets, nullptr, nullptr);
  }
};

struct ZeichnungKind {
  using Sets = ZP_ProjectDBZeichnungSets;
  using Row = ZP_PrjDBZeichnungRecordData;
  using Header = ZeichnungHeader;
  static constexpr QuorvelFileType kType = eFileType_Zeichnung;
  static constexpr ObjectType kObject = eObject_Zeichnung;
  static int rows(Sets& sets, std::vector<Row>& out) { return sets.getZeichnungRecords(out, INT32_MIN, INT32_MAX, -1); }
  static std::map<int, Header> headers(const std::set<int>& numbers) {
    std::map<int, Header> found;
    for (const int number : numbers) {
      ZP_Header_Zeichnung file;
      if (file.CheckOpenAndReadInfo(kProjectPath, static_cast<unsigned>(number)) == 0) found[number] = file.GetInfo();
    }
    return found;
  }
  static int update(const std::set<int>& numbers, Sets& sets) {
    WGO_SyncDBZeichnungsNumbersFromServer(sets);
    return WGO_UpdateZeichnungSetsDBFromServer(numbers, sets, nullptr, nullptr);
  }
};

[[noreturn]] void refuse() {
  throw CommandFailure{ExitCode::Failure,
                       L"the project database " + platform::joinPath(get_ActPrjPath(), kDatabase) +
                           L" can't be used, or is switched off in the settings; zephor doctor tells what to do"};
}

/// Numbers of the objects that are here.
template <typename Kind>
std::set<int> numbersHere() {
  std::set<int> numbers;
  if (WGO_GetExistingObjectNumbersFromServer(Kind::kObject, numbers) != 0)
    throw CommandFailure{ExitCode::Failure, L"the project's directory " + get_ActPrjPath() + L" can't be read"};
  numbers.erase(numbers.begin(), numbers.upper_bound(0));
  return numbers;
}

/// The store describes the Plans.
std::set<int> plansInStore() {
  PRJ prj = get_ActivePrj();
  std::vector<int> onServer;
  std::vector<int> onDisk;
  if (!WGO_getPLNrInfoFromProject(prj, onServer, onDisk))
    throw CommandFailure{ExitCode::Failure, L"the store does not tell which Plans it has"};
  return {onServer.begin(), onServer.end()};
}

template <typename Kind>
std::map<int, typename Kind::Row> readRows() {
  std::map<int, typename Kind::Row> byNumber;
  // A look makes no database where there is none.
  if (!platform::fileStatus(platform::joinPath(get_ActPrjPath(), kDatabase)).exists) return byNumber;
  typename Kind::Sets sets(kgunit());
  std::vector<typename Kind::Row> rows;
  if (Kind::rows(sets, rows) < 0) refuse();
  for (const auto& row : rows) byNumber.insert_or_assign(row.number(), row);
  return byNumber;
}

/// @param lacking  for a number without a header
template <typename Kind>
Difference compare(const typename Kind::Row* row, typename Kind::Header* header, Difference lacking) {
  if (header == nullptr) return lacking;
  if (row == nullptr) return Difference::NoRow;
  // One member of a Plan is the database's own.
  if constexpr (Kind::kType == eFileType_Plan) header->hostMember = row->header().hostMember;
  return row->isEqual(*header) ? Difference::None : Difference::Differs;
}

/// @param numbers  all that there are on either side
template <typename Kind>
void inspect(std::vector<Finding>& findings, std::set<int>& numbers) {
  const std::set<int> here = numbersHere<Kind>();
  const std::set<int> described = Kind::kType == eFileType_Plan ? plansInStore() : here;
  const auto rows = readRows<Kind>();
  numbers = here;
  numbers.insert(described.begin(), described.end());
  for (const auto& entry : rows) numbers.insert(entry.first);
  auto headers = Kind::headers(numbers);
  for (const int number : numbers) {
    const auto row = rows.find(number);
    const auto header = headers.find(number);
    // An object is filed under its file's number, whatever its header says.
    if (header != headers.end()) header->second.number = number;
    Difference lacking = Difference::Unreadable;
    if (!described.contains(number)) {
      lacking = Kind::kType == eFileType_Zeichnung ? Difference::Outdated : Difference::NoObject;
      // A Plan that was never sent has nothing to be held against.
      if (here.contains(number)) lacking = Difference::None;
    }
    const Difference difference = compare<Kind>(row == rows.end() ? nullptr : &row->second,
                                                header == headers.end() ? nullptr : &header->second, lacking);
    if (difference != Difference::None) findings.push_back({{Kind::kType, number}, difference});
  }
}

struct Inspection {
  std::vector<Finding> findings;
  std::set<int> teilbilder;
  std::set<int> plans;
  std::set<int> zeichnungen;
};

Inspection inspectAll() {
  Inspection seen;
  inspect<TeilbildKind>(seen.findings, seen.teilbilder);
  inspect<PlanKind>(seen.findings, seen.plans);
  inspect<ZeichnungKind>(seen.findings, seen.zeichnungen);
  return seen;
}

template <typename Kind>
void update(const std::set<int>& numbers) {
  typename Kind::Sets sets(kgunit());
  if (Kind::update(numbers, sets) < 0) refuse();
}

void tellCount(const Context& context, const std::vector<Finding>& findings) {
  if (findings.empty()) context.output().message(L"the project database is in line with the objects");
}

ExitCode checkDatabase(Context& context) {
  context.startInProject();
  const Inspection seen = inspectAll();
  for (const Finding& finding : seen.findings) {
    const wchar_t* const detail = isForUpdate(finding) ? L"zephor db update brings it in line" : L"";
    report(context, finding.object.shortName(), textOf(finding.difference), detail);
  }
  tellCount(context, seen.findings);
  const bool isBehind = std::any_of(seen.findings.begin(), seen.findings.end(), isForUpdate);
  return isBehind ? ExitCode::PartlyDone : ExitCode::Done;
}

std::wstring outcomeOf(Difference difference, bool dryRun) {
  const std::wstring done = difference == Difference::NoRow     ? L"added"
                            : difference == Difference::Differs ? L"brought in line"
                                                                : L"removed";
  return dryRun ? L"would be " + done : done;
}

ExitCode updateDatabase(Context& context) {
  context.startInProject();
  const ProjectGuard guard = context.guardProject();
  const bool dryRun = context.options().dryRun;
  const Inspection before = inspectAll();
  Inspection after;
  if (!dryRun) {
    update<TeilbildKind>(before.teilbilder);
    update<PlanKind>(before.plans);
    update<ZeichnungKind>(before.zeichnungen);
    after = inspectAll();
  }
  Tally tally;
  // What differs now counts, also where something else differed before, or nothing: others may have been at work.
  for (const Finding& finding : after.findings) {
    const bool isLeft = isForUpdate(finding);
    report(context, finding.object.shortName(), isLeft ? L"not updated" : L"kept", textOf(finding.difference));
    if (isLeft) tally.failed();
  }
  for (const Finding& finding : before.findings) {
    const bool isTold = std::any_of(after.findings.begin(), after.findings.end(),
                                    [&](const Finding& left) { return left.object == finding.object; });
    if (isTold) continue;
    if (isForUpdate(finding)) {
      report(context, finding.object.shortName(), outcomeOf(finding.difference, dryRun), L"");
      tally.done();
    } else if (dryRun) {
      report(context, finding.object.shortName(), L"kept", textOf(finding.difference));
    }
  }
  if (after.findings.empty()) tellCount(context, before.findings);
  return tally.exitCode();
}

}  // namespace

void addDatabaseCommands(CLI::App& app, Action& selected) {
  auto* group = app.add_subcommand("db", "The project database: a row for each object")->require_subcommand(1);
  group->add_subcommand("update", "Bring the rows in line with the objects")->callback([&selected] {
    selected = updateDatabase;
  });
  group->add_subcommand("check", "Tell what differs, and change nothing")->callback([&selected] {
    selected = checkDatabase;
  });
}

}  // namespace workstation::program
