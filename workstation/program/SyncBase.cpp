#include "workstation/program/SyncBase.h"

#include <sqlite3.h>

#include <cstdio>

#include "platform/Files.h"
#include "platform/Paths.h"

namespace workstation::program {

namespace {

constexpr const wchar_t* kStateDirectory = L"C:\\State";
constexpr int kBusyMilliseconds = 10000;
constexpr const char* kSchema =
    "CREATE TABLE IF NOT EXISTS base (type INTEGER, number INTEGER, version INTEGER NOT NULL, modified INTEGER NOT "
    "NULL, "
    "crc INTEGER NOT NULL, PRIMARY KEY (type, number)) WITHOUT ROWID";

struct Finalizer {
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Statement = std::unique_ptr<sqlite3_stmt, Finalizer>;

Statement prepare(sqlite3* database, const char* sql, const ObjectName& object) {
  sqlite3_stmt* raw = nullptr;
  if (database == nullptr || sqlite3_prepare_v2(database, sql, -1, &raw, nullptr) != SQLITE_OK) return nullptr;
  Statement statement(raw);
  sqlite3_bind_int(raw, 1, object.type);
  sqlite3_bind_int(raw, 2, object.number);
  return statement;
}

}  // namespace

void SyncBase::Closer::operator()(sqlite3* database) const {
  sqlite3_close(database);
}

SyncBase::SyncBase(const std::wstring& projectUuid) {
  SHCreateDirectoryExW(nullptr, kStateDirectory, nullptr);
  const std::string path = platform::systemPath(platform::joinPath(kStateDirectory, projectUuid + L".db3"));
  sqlite3* raw = nullptr;
  const int result = sqlite3_open(path.c_str(), &raw);
  database_.reset(raw);
  if (result == SQLITE_OK) sqlite3_busy_timeout(raw, kBusyMilliseconds);
  if (result != SQLITE_OK || sqlite3_exec(raw, kSchema, nullptr, nullptr, nullptr) != SQLITE_OK) {
    std::fprintf(stderr, "zephor: %s can't be used (%s); states are told by version counters alone\n", path.c_str(),
                 sqlite3_errmsg(raw));
    database_.reset();
  }
}

std::optional<VersionStamp> SyncBase::get(const ObjectName& object) const {
  const Statement statement =
      prepare(database_.get(), "SELECT version, modified, crc FROM base WHERE type = ?1 AND number = ?2", object);
  if (!statement || sqlite3_step(statement.get()) != SQLITE_ROW) return std::nullopt;
  return VersionStamp{static_cast<std::uint32_t>(sqlite3_column_int64(statement.get(), 0)),
                      sqlite3_column_int64(statement.get(), 1),
                      static_cast<std::uint32_t>(sqlite3_column_int64(statement.get(), 2))};
}

void SyncBase::put(const ObjectName& object, const VersionStamp& stamp) {
  const Statement statement =
      prepare(database_.get(), "INSERT OR REPLACE INTO base VALUES (?1, ?2, ?3, ?4, ?5)", object);
  if (!statement) return;
  sqlite3_bind_int64(statement.get(), 3, stamp.version);
  sqlite3_bind_int64(statement.get(), 4, stamp.modified);
  sqlite3_bind_int64(statement.get(), 5, stamp.contentCrc);
  sqlite3_step(statement.get());
}

void SyncBase::forget(const ObjectName& object) {
  const Statement statement = prepare(database_.get(), "DELETE FROM base WHERE type = ?1 AND number = ?2", object);
  if (statement) sqlite3_step(statement.get());
}

}  // namespace workstation::program
