// The row sets of the project database over the database file of the unit's project.
#include <string>

#include "host/Project.h"
#include "host/ProjectDatabase.h"
#include "host/System.h"
#include "host/Trace.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "workstation/objects/ObjectNames.h"
#include "workstation/objects/ProjectDatabaseFile.h"
#include "workstation/projects/OpenUnits.h"

using workstation::NumberedRow;
using workstation::ProjectDatabaseFile;
using workstation::RowChange;
using workstation::RowImage;
using workstation::RowRange;
using workstation::RowTable;

struct ProjectRowSetBase::Connection {
  PRJ project;
  std::wstring path;
  bool readOnly = false;
  /// Null for a project that is open read-only and has no database yet: its sets are empty.
  std::shared_ptr<ProjectDatabaseFile> file;
};

namespace {

constexpr const wchar_t* kDatabaseName = L"QuorvelProjectDB.db3";

template <typename Header>
struct TableOf;
template <>
struct TableOf<TeilbildHeader> {
  static constexpr RowTable kTable = RowTable::Teilbild;
  static constexpr QuorvelFileType kType = eFileType_Teilbild;
};
template <>
struct TableOf<PlanHeader> {
  static constexpr RowTable kTable = RowTable::Plan;
  static constexpr QuorvelFileType kType = eFileType_Plan;
};
template <>
struct TableOf<ZeichnungHeader> {
  static constexpr RowTable kTable = RowTable::Zeichnung;
  static constexpr QuorvelFileType kType = eFileType_Zeichnung;
};

/// The row is filed under `number`, and so is the header in it.
template <typename Header>
RowImage imageOf(int number, Header header) {
  header.number = number;
  RowImage image(sizeof header);
  std::memcpy(image.data(), &header, sizeof header);
  return image;
}

template <typename Header>
Header headerOf(const RowImage& image) {
  Header header;
  std::memcpy(static_cast<void*>(&header), image.data(), sizeof header);
  return header;
}

/// Asks the cache first when it may, then the table.
enum class Source : std::uint8_t { CacheThenTable, CacheOnly, TableOnly };

template <typename Header, typename Connection>
int getRow(const Connection* connection, unsigned number, Source source, Header& out) {
  if (connection == nullptr) return -1;
  if (!connection->file || number > INT32_MAX) return 0;
  constexpr RowTable kTable = TableOf<Header>::kTable;
  RowImage image;
  int rows = 0;
  if (source != Source::TableOnly)
    rows = connection->file->readCached(kTable, static_cast<int>(number), sizeof out, image);
  if (rows == 0 && source != Source::CacheOnly)
    rows = connection->file->read(kTable, static_cast<int>(number), sizeof out, image);
  if (rows == 1) out = headerOf<Header>(image);
  return rows;
}

template <typename Header, typename Connection>
int getRows(const Connection* connection, const RowRange& range, std::vector<NumberedRow>& out) {
  if (connection == nullptr) return -1;
  if (!connection->file) return 0;
  return connection->file->readRange(TableOf<Header>::kTable, range, sizeof(Header), out);
}

template <typename Header, typename Connection>
int getHeaders(const Connection* connection, bool all, std::vector<Header>& out) {
  std::vector<NumberedRow> rows;
  RowRange range;
  range.withPending = all;
  const int count = getRows<Header>(connection, range, rows);
  if (count < 0) return count;
  out.clear();
  for (const NumberedRow& row : rows) out.push_back(headerOf<Header>(row.header));
  return count;
}

template <typename Header, typename Connection>
int appendRows(const Connection* connection, const RowRange& range, std::vector<ProjectRow<Header>>& out) {
  std::vector<NumberedRow> rows;
  const int count = getRows<Header>(connection, range, rows);
  for (const NumberedRow& row : rows) out.emplace_back(headerOf<Header>(row.header));
  return count;
}

template <typename Connection>
int applyChanges(const Connection* connection, RowTable table, QuorvelFileType type,
                 const std::vector<RowChange>& changes) {
  if (connection == nullptr) return -1;
  if (changes.empty()) return 0;
  if (connection->readOnly || !connection->file) {
    lfperrC(L"%s: the project is open read-only, its database can't be changed\n", connection->path);
    return -1;
  }
  for (const RowChange& change : changes) {
    if (change.remove || workstation::isPossibleNumber(type, change.number)) continue;
    lfperrC(L"%s: number %d can't be stored, expected 1 to %d\n", connection->path, change.number,
            workstation::highestNumber(type));
    return -1;
  }
  return connection->file->apply(table, changes);
}

template <typename Header, typename Connection>
int setRow(const Connection* connection, unsigned number, const Header& header) {
  const int key = number <= INT32_MAX ? static_cast<int>(number) : -1;
  return applyChanges(connection, TableOf<Header>::kTable, TableOf<Header>::kType,
                      {{key, false, imageOf(key, header)}});
}

template <typename Header, typename Connection>
int applyRows(const Connection* connection, std::vector<ProjectRow<Header>>& rows) {
  std::vector<RowChange> changes;
  for (const ProjectRow<Header>& row : rows) {
    if ((row.state() & kRowDeleted) != 0) {
      changes.push_back({row.number(), true, {}});
    } else if ((row.state() & (kRowNew | kRowChanged)) != 0) {
      changes.push_back({row.number(), false, imageOf(row.number(), row.header())});
    }
  }
  const int count = applyChanges(connection, TableOf<Header>::kTable, TableOf<Header>::kType, changes);
  if (count < 0) return count;
  // Made anew, so that neither state nor previous state can bring back what has been written.
  for (ProjectRow<Header>& row : rows) row = ProjectRow<Header>(row.header());
  return count;
}

template <typename Header, typename Connection>
int deleteRows(const Connection* connection, const std::vector<ProjectRow<Header>>& rows) {
  std::vector<RowChange> changes;
  for (const ProjectRow<Header>& row : rows)
    if ((row.state() & kRowDeleted) != 0) changes.push_back({row.number(), true, {}});
  return applyChanges(connection, TableOf<Header>::kTable, TableOf<Header>::kType, changes);
}

}  // namespace

ProjectRowSetBase::ProjectRowSetBase(int unit) {
  const auto project = workstation::projectOfUnit(unit);
  const std::wstring directory = workstation::directoryOfUnit(unit);
  if (!project || directory.empty()) return;
  auto connection = std::make_unique<Connection>();
  connection->project = *project;
  connection->path = platform::joinPath(directory, kDatabaseName);
  connection->readOnly = unit != kgunit();
  if (!connection->readOnly || platform::fileStatus(connection->path).exists) {
    connection->file = ProjectDatabaseFile::acquire(connection->path, !connection->readOnly);
    if (!connection->file) return;
  }
  connection_ = std::move(connection);
}

ProjectRowSetBase::~ProjectRowSetBase() = default;

bool ProjectRowSetBase::isClientServer() const {
  int value = 0;
  return ZSYST_ZepRegGetNumber(L"HKCU", L"Settings\\ClientServerDatabase", value) && value != 0;
}

bool ProjectRowSetBase::requiresServerUpdates() const {
  return connection_ && connection_->project.IsOndrathProject();
}

const PRJ* ProjectRowSetBase::getProjectInfo() const {
  return connection_ ? &connection_->project : nullptr;
}

int ZP_ProjectDBTeilbildSets::getTeilbildRecord(unsigned number, TeilbildHeader& out) {
  return getRow(connection_.get(), number, Source::CacheThenTable, out);
}
int ZP_ProjectDBTeilbildSets::getTeilbildRecordFromCache(unsigned number, TeilbildHeader& out) {
  return getRow(connection_.get(), number, Source::CacheOnly, out);
}
int ZP_ProjectDBTeilbildSets::getTeilbildRecordFromDataBase(unsigned number, TeilbildHeader& out) {
  return getRow(connection_.get(), number, Source::TableOnly, out);
}
int ZP_ProjectDBTeilbildSets::getTeilbildRecords(std::vector<TeilbildHeader>& out, bool all) {
  return getHeaders(connection_.get(), all, out);
}
int ZP_ProjectDBTeilbildSets::getTeilbildRecords(std::vector<ZP_PrjDBTeilbildRecordData>& out, int first, int last,
                                                 int limit) {
  return appendRows(connection_.get(), {first, last, limit, true}, out);
}
int ZP_ProjectDBTeilbildSets::setTeilbildRecord(unsigned number, const TeilbildHeader& header) {
  return setRow(connection_.get(), number, header);
}
int ZP_ProjectDBTeilbildSets::applyTeilbildRecordChanges(std::vector<ZP_PrjDBTeilbildRecordData>& rows) {
  return applyRows(connection_.get(), rows);
}
int ZP_ProjectDBTeilbildSets::deleteTeilbildRecords(const std::vector<ZP_PrjDBTeilbildRecordData>& rows) {
  return deleteRows(connection_.get(), rows);
}

int ZP_ProjectDBPlanSets::getPlanRecord(unsigned number, PlanHeader& out) {
  return getRow(connection_.get(), number, Source::CacheThenTable, out);
}
int ZP_ProjectDBPlanSets::getPlanRecords(std::vector<PlanHeader>& out, bool all) {
  return getHeaders(connection_.get(), all, out);
}
int ZP_ProjectDBPlanSets::getPlanRecords(std::vector<ZP_PrjDBPlanRecordData>& out, int first, int last, int limit) {
  return appendRows(connection_.get(), {first, last, limit, true}, out);
}
int ZP_ProjectDBPlanSets::setPlanRecord(unsigned number, const PlanHeader& header) {
  return setRow(connection_.get(), number, header);
}
int ZP_ProjectDBPlanSets::applyPlanRecordChanges(std::vector<ZP_PrjDBPlanRecordData>& rows) {
  return applyRows(connection_.get(), rows);
}
int ZP_ProjectDBPlanSets::deletePlanRecords(const std::vector<ZP_PrjDBPlanRecordData>& rows) {
  return deleteRows(connection_.get(), rows);
}

int ZP_ProjectDBZeichnungSets::getZeichnungRecord(unsigned number, ZeichnungHeader& out) {
  return getRow(connection_.get(), number, Source::CacheThenTable, out);
}
int ZP_ProjectDBZeichnungSets::getZeichnungRecords(std::vector<ZeichnungHeader>& out, bool all) {
  return getHeaders(connection_.get(), all, out);
}
int ZP_ProjectDBZeichnungSets::getZeichnungRecords(std::vector<ZP_PrjDBZeichnungRecordData>& out, int first, int last,
                                                   int limit) {
  return appendRows(connection_.get(), {first, last, limit, true}, out);
}
int ZP_ProjectDBZeichnungSets::setZeichnungRecord(unsigned number, const ZeichnungHeader& header) {
  return setRow(connection_.get(), number, header);
}
int ZP_ProjectDBZeichnungSets::applyZeichnungRecordChanges(std::vector<ZP_PrjDBZeichnungRecordData>& rows) {
  return applyRows(connection_.get(), rows);
}
int ZP_ProjectDBZeichnungSets::deleteZeichnungRecords(const std::vector<ZP_PrjDBZeichnungRecordData>& rows) {
  return deleteRows(connection_.get(), rows);
}

int getTeilbildRecords(ZP_PrjDBTeilbildRecordQuery& query) {
  return query.sets().getTeilbildRecords(query.rows(), query.first(), query.last(), query.limit());
}
int getPlanRecords(ZP_PrjDBPlanRecordQuery& query) {
  return query.sets().getPlanRecords(query.rows(), query.first(), query.last(), query.limit());
}
int getZeichnungRecords(ZP_PrjDBZeichnungRecordQuery& query) {
  return query.sets().getZeichnungRecords(query.rows(), query.first(), query.last(), query.limit());
}
