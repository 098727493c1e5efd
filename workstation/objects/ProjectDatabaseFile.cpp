#include "workstation/objects/ProjectDatabaseFile.h"

#include <sqlite3.h>

#include "host/Trace.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "workstation/objects/DatabaseConnection.h"

namespace workstation {
namespace {

struct Registry {
  std::mutex mutex;
  std::map<std::wstring, std::shared_ptr<ProjectDatabaseFile>> files;
  std::map<std::wstring, std::wstring> lastErrors;
};

Registry& registry() {
  static Registry instance;
  return instance;
}

std::string statementOn(RowTable table, const char* before, const char* behind) {
  return std::string(before) + tableName(table) + behind;
}

}  // namespace

std::shared_ptr<ProjectDatabaseFile> ProjectDatabaseFile::acquire(const std::wstring& path, bool create) {
  Registry& all = registry();
  const std::wstring key = platform::toLower(path);
  const std::lock_guard lock(all.mutex);
  const auto found = all.files.find(key);
  if (found != all.files.end()) {
    if (!found->second->hasMoved()) return found->second;
    // The project was removed, or removed and made again: what is known of the old file is worth nothing.
    all.files.erase(found);
  }
  std::wstring error;
  auto connection = DatabaseConnection::open(path, create, error);
  if (!connection) {
    std::wstring& last = all.lastErrors[key];
    if (last != error) lfperrC(L"%s\n", error);
    last = error;
    return nullptr;
  }
  all.lastErrors.erase(key);
  auto file = std::make_shared<ProjectDatabaseFile>(path, std::move(connection));
  all.files.emplace(key, file);
  return file;
}

ProjectDatabaseFile::ProjectDatabaseFile(std::wstring path, std::unique_ptr<DatabaseConnection> connection)
    : path_(std::move(path)), connection_(std::move(connection)) {}

ProjectDatabaseFile::~ProjectDatabaseFile() = default;

bool ProjectDatabaseFile::hasMoved() const {
  return connection_->hasMoved();
}

int ProjectDatabaseFile::failed(const wchar_t* what) const {
  lfperrC(L"%s: %s: %s\n", path_, what, connection_->problem());
  return -1;
}

void ProjectDatabaseFile::dropOutdatedCache() {
  const std::int64_t version = connection_->dataVersion();
  if (version == cacheVersion_ && version >= 0) return;
  cache_.clear();
  cacheVersion_ = version;
}

int ProjectDatabaseFile::readCached(RowTable table, int number, std::size_t size, RowImage& out) {
  const std::lock_guard lock(mutex_);
  dropOutdatedCache();
  const auto found = cache_.find({table, number});
  if (found == cache_.end() || found->second.size() != size) return 0;
  out = found->second;
  return 1;
}

int ProjectDatabaseFile::read(RowTable table, int number, std::size_t size, RowImage& out) {
  const std::lock_guard lock(mutex_);
  // Before the row is read: a change that comes between the two then empties the cache at the next look.
  dropOutdatedCache();
  RowStatement statement(connection_->handle(), statementOn(table, "SELECT header FROM ", " WHERE number=?"));
  if (!statement.isPrepared()) return failed(L"a row can't be read");
  statement.bind(1, number);
  const RowStatement::Step step = statement.step();
  if (step == RowStatement::Step::Failed) return failed(L"a row can't be read");
  if (step == RowStatement::Step::Done) return 0;
  RowImage image = statement.blob(0);
  if (image.size() != size) {
    lfperrC(L"%s: table %s, row %d: %llu bytes, expected %llu\n", path_, platform::fromUtf8(tableName(table)), number,
            static_cast<unsigned long long>(image.size()), static_cast<unsigned long long>(size));
    return -1;
  }
  cache_[{table, number}] = image;
  out = std::move(image);
  return 1;
}

int ProjectDatabaseFile::readRange(RowTable table, const RowRange& range, std::size_t size,
                                   std::vector<NumberedRow>& out) {
  const std::lock_guard lock(mutex_);
  RowStatement statement(connection_->handle(),
                         statementOn(table, "SELECT number, header FROM ",
                                     " WHERE number BETWEEN ? AND ? AND (?<>0 OR state=0) ORDER BY number LIMIT ?"));
  if (!statement.isPrepared()) return failed(L"rows can't be read");
  statement.bind(1, range.first);
  statement.bind(2, range.last);
  statement.bind(3, range.withPending ? 1 : 0);
  statement.bind(4, range.limit);
  std::vector<NumberedRow> rows;
  for (;;) {
    const RowStatement::Step step = statement.step();
    if (step == RowStatement::Step::Done) break;
    if (step == RowStatement::Step::Failed) return failed(L"rows can't be read");
    NumberedRow row{static_cast<int>(statement.integer(0)), statement.blob(1)};
    if (row.header.size() == size) {
      rows.push_back(std::move(row));
      continue;
    }
    lfperrC(L"%s: table %s, row %d: %llu bytes, expected %llu; it is left out\n", path_,
            platform::fromUtf8(tableName(table)), row.number, static_cast<unsigned long long>(row.header.size()),
            static_cast<unsigned long long>(size));
  }
  out = std::move(rows);
  return static_cast<int>(out.size());
}

int ProjectDatabaseFile::applyOne(RowTable table, const RowChange& change) {
  const std::string sql = change.remove
                              ? statementOn(table, "DELETE FROM ", " WHERE number=?")
                              : statementOn(table, "INSERT OR REPLACE INTO ", "(number, header) VALUES(?, ?)");
  RowStatement statement(connection_->handle(), sql);
  if (!statement.isPrepared()) return -1;
  statement.bind(1, change.number);
  if (!change.remove) statement.bind(2, change.header);
  return statement.step() == RowStatement::Step::Done ? connection_->changedRows() : -1;
}

int ProjectDatabaseFile::apply(RowTable table, const std::vector<RowChange>& changes) {
  const std::lock_guard lock(mutex_);
  if (!connection_->execute("BEGIN IMMEDIATE")) return failed(L"rows can't be written");
  int count = 0;
  for (const RowChange& change : changes) {
    const int rows = applyOne(table, change);
    if (rows < 0) {
      const int answer = failed(L"a row can't be written");
      connection_->execute("ROLLBACK");
      return answer;
    }
    count += rows;
    cache_.erase({table, change.number});
  }
  if (connection_->execute("COMMIT")) return count;
  const int answer = failed(L"rows can't be written");
  connection_->execute("ROLLBACK");
  return answer;
}

void closeProjectDatabases() {
  Registry& all = registry();
  const std::lock_guard lock(all.mutex);
  std::erase_if(all.files, [](const auto& entry) { return entry.second.use_count() == 1; });
}

}  // namespace workstation
