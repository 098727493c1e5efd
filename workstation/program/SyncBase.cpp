#include "workstation/program/SyncBase.h"

#include <cstdio>

#include "platform/Text.h"

namespace workstation::program {

namespace {

constexpr int kStampColumns = 5;
constexpr const char* kSchema =
    "CREATE TABLE IF NOT EXISTS sync_points (name TEXT PRIMARY KEY, here_version INTEGER, here_modified INTEGER, "
    "here_check INTEGER, here_guid1 INTEGER, here_guid2 INTEGER, store_version INTEGER, store_modified INTEGER, "
    "store_check INTEGER, store_guid1 INTEGER, store_guid2 INTEGER) WITHOUT ROWID";

Statement prepare(sqlite3* database, const char* sql, const std::wstring& name) {
  sqlite3_stmt* raw = nullptr;
  if (database == nullptr || sqlite3_prepare_v2(database, sql, -1, &raw, nullptr) != SQLITE_OK) return nullptr;
  Statement statement(raw);
  const std::string key = platform::toUtf8(platform::toLower(name));
  sqlite3_bind_text(raw, 1, key.data(), static_cast<int>(key.size()), SQLITE_TRANSIENT);
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

}  // namespace

SyncBase::SyncBase(const std::wstring& projectUuid) {
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
  return SyncPoint{readStamp(statement.get(), 1), readStamp(statement.get(), 1 + kStampColumns)};
}

void SyncBase::put(const std::wstring& name, const SyncPoint& point) {
  const Statement statement =
      prepare(database_.get(), "INSERT OR REPLACE INTO sync_points VALUES (?1,?2,?3,?4,?5,?6,?7,?8,?9,?10,?11)", name);
  if (!statement) return;
  bindStamp(statement.get(), 2, point.here);
  bindStamp(statement.get(), 2 + kStampColumns, point.store);
  sqlite3_step(statement.get());
}

std::vector<std::wstring> SyncBase::names() const {
  std::vector<std::wstring> names;
  sqlite3_stmt* raw = nullptr;
  if (!database_ ||
      sqlite3_prepare_v2(database_.get(), "SELECT name FROM sync_points", -1, &raw, nullptr) != SQLITE_OK) {
    return names;
  }
  const Statement row(raw);
  while (sqlite3_step(raw) == SQLITE_ROW) {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(raw, 0));
    if (text != nullptr) names.push_back(platform::fromUtf8(text));
  }
  return names;
}

void SyncBase::forget(const std::wstring& name) {
  const Statement statement = prepare(database_.get(), "DELETE FROM sync_points WHERE name = ?1", name);
  if (statement) sqlite3_step(statement.get());
}

}  // namespace workstation::program
