#include "workstation/program/SyncBase.h"

#include <cstdio>

#include "host/Project.h"
#include "platform/Durable.h"
#include "platform/Paths.h"
#include "platform/Text.h"

namespace workstation::program {

namespace {

constexpr int kStampColumns = 5;
constexpr const char* kSchema =
    "CREATE TABLE IF NOT EXISTS sync_points (name TEXT PRIMARY KEY, here_version INTEGER, here_modified INTEGER, "
    "here_check INTEGER, here_guid1 INTEGER, here_guid2 INTEGER, store_version INTEGER, store_modified INTEGER, "
    "store_check INTEGER, store_guid1 INTEGER, store_guid2 INTEGER) WITHOUT ROWID";

constexpr const char* kPut = "INSERT OR REPLACE INTO sync_points VALUES (?1,?2,?3,?4,?5,?6,?7,?8,?9,?10,?11)";
constexpr const char* kForget = "DELETE FROM sync_points WHERE name = ?1";

void bindName(sqlite3_stmt* statement, const std::wstring& name) {
  const std::string key = platform::toUtf8(platform::toLower(name));
  sqlite3_bind_text(statement, 1, key.data(), static_cast<int>(key.size()), SQLITE_TRANSIENT);
}

Statement prepare(sqlite3* database, const char* sql) {
  sqlite3_stmt* raw = nullptr;
  if (database == nullptr || sqlite3_prepare_v2(database, sql, -1, &raw, nullptr) != SQLITE_OK) return nullptr;
  return Statement(raw);
}

Statement prepare(sqlite3* database, const char* sql, const std::wstring& name) {
  Statement statement = prepare(database, sql);
  if (statement) bindName(statement.get(), name);
  return statement;
}

VersionStamp readStamp(sqlite3_stmt* row, int first) {
  VersionStamp stamp;
  stamp.version = static_cast<std::uint32_t>(sqlite3_column_int64(row, first));
  stamp.modified = sqlite3_column_int64(row, first + 1);
  stamp.check = static_cast<std::uint32_t>(sqlite3_column_int64(row, first + 2));
  stamp.guidFirst = static_cast<std::uint64_t>(sqlite3_column_int64(row, first + 3));
  stamp.guidSecond = static_cast<std::uint64_t>(sqlite3_column_int64(row, first + 4));
  return stamp;
}

void bindStamp(sqlite3_stmt* statement, int first, const VersionStamp& stamp) {
  sqlite3_bind_int64(statement, first, stamp.version);
  sqlite3_bind_int64(statement, first + 1, stamp.modified);
  sqlite3_bind_int64(statement, first + 2, stamp.check);
  sqlite3_bind_int64(statement, first + 3, static_cast<sqlite3_int64>(stamp.guidFirst));
  sqlite3_bind_int64(statement, first + 4, static_cast<sqlite3_int64>(stamp.guidSecond));
}

SyncPoint readPoint(sqlite3_stmt* row) {
  return {readStamp(row, 1), readStamp(row, 1 + kStampColumns)};
}

void bindPoint(sqlite3_stmt* statement, const SyncPoint& point) {
  bindStamp(statement, 2, point.here);
  bindStamp(statement, 2 + kStampColumns, point.store);
}

}  // namespace

SyncBase::SyncBase(const std::wstring& projectUuid) : projectUuid_(projectUuid) {
  std::string path;
  std::string error;
  database_ = openProjectRecord(projectUuid, kSchema, path, error);
  if (!database_) {
    std::fprintf(stderr, "zephor: %s can't be used (%s); what differs counts as changed on both sides\n", path.c_str(),
                 error.c_str());
  }
}

std::optional<SyncPoint> SyncBase::get(const std::wstring& name) const {
  const Statement statement = prepare(database_.get(), "SELECT * FROM sync_points WHERE name = ?1", name);
  if (!statement || sqlite3_step(statement.get()) != SQLITE_ROW) return std::nullopt;
  return readPoint(statement.get());
}

std::optional<std::vector<std::pair<std::string, SyncPoint>>> SyncBase::all() const {
  std::vector<std::pair<std::string, SyncPoint>> points;
  if (!database_) return points;
  const Statement row = prepare(database_.get(), "SELECT * FROM sync_points ORDER BY name");
  if (!row) return std::nullopt;
  int result = SQLITE_DONE;
  while ((result = sqlite3_step(row.get())) == SQLITE_ROW) {
    const auto* const name = reinterpret_cast<const char*>(sqlite3_column_text(row.get(), 0));
    points.emplace_back(name != nullptr ? name : "", readPoint(row.get()));
  }
  if (result != SQLITE_DONE) return std::nullopt;
  return points;
}

void SyncBase::put(const std::wstring& name, const SyncPoint& point) {
  put({{name, point}});
}

template <typename Write>
void SyncBase::writeTogether(const char* sql, const Write& write) {
  const Statement statement = prepare(database_.get(), sql);
  if (!statement || sqlite3_exec(database_.get(), "BEGIN IMMEDIATE", nullptr, nullptr, nullptr) != SQLITE_OK) return;
  write(statement.get());
  // What could not be written is found to be missing by the next comparison.
  if (sqlite3_exec(database_.get(), "COMMIT", nullptr, nullptr, nullptr) != SQLITE_OK) {
    sqlite3_exec(database_.get(), "ROLLBACK", nullptr, nullptr, nullptr);
  }
}

void SyncBase::put(const std::vector<std::pair<std::wstring, SyncPoint>>& points) {
  std::wstring directory;
  if (points.empty() || make_prj_dir(PRJ({}, {}, {}, projectUuid_, true), directory) != 0) return;
  std::vector<std::wstring> names;
  names.reserve(points.size());
  for (const auto& point : points) names.push_back(point.first);
  if (const DWORD failure = platform::makeDurable(directory, names)) {
    std::fprintf(stderr, "zephor: %s can't be synced (error %u); what is in step of it is not noted\n",
                 platform::systemPath(directory).c_str(), failure);
    return;
  }
  writeTogether(kPut, [&](sqlite3_stmt* statement) {
    for (const auto& [name, point] : points) {
      bindName(statement, name);
      bindPoint(statement, point);
      sqlite3_step(statement);
      sqlite3_reset(statement);
    }
  });
}

void SyncBase::forget(const std::vector<std::string>& keys) {
  writeTogether(kForget, [&](sqlite3_stmt* statement) {
    for (const std::string& key : keys) {
      sqlite3_bind_text(statement, 1, key.data(), static_cast<int>(key.size()), SQLITE_STATIC);
      sqlite3_step(statement);
      sqlite3_reset(statement);
    }
  });
}

void SyncBase::forget(const std::wstring& name) {
  const Statement statement = prepare(database_.get(), kForget, name);
  if (statement) sqlite3_step(statement.get());
}

}  // namespace workstation::program
