#include "workstation/program/ProjectRecord.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <system_error>

#include "host/Project.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/program/Context.h"

namespace workstation::program {

namespace {

constexpr const wchar_t* kStateDirectory = L"C:\\State";
constexpr const char* kAside = ".aside";
constexpr int kBusyMilliseconds = 10000;

/// What tells a project's directory from any other one that has its name, before it or after it: when it was made. A
/// file system that does not tell gives its number, which another directory may get one day. Empty without directory.
std::string directoryIdentity(const std::wstring& projectUuid) {
  std::wstring directory;
  if (make_prj_dir(PRJ({}, {}, {}, projectUuid, true), directory) != 0) return {};
  struct statx status {};
  const std::string path = platform::systemPath(directory);
  if (::statx(AT_FDCWD, path.c_str(), 0, STATX_BTIME | STATX_INO, &status) != 0) return {};
  const bool hasTime = (status.stx_mask & STATX_BTIME) != 0 && status.stx_btime.tv_sec != 0;
  if (!hasTime) return "number " + std::to_string(status.stx_ino);
  return "made " + std::to_string(status.stx_btime.tv_sec) + '.' + std::to_string(status.stx_btime.tv_nsec);
}

bool execute(sqlite3* database, const std::string& sql) {
  return sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK;
}

/// Texts of a query's first column.
bool readTexts(sqlite3* database, const char* sql, std::vector<std::string>& texts) {
  sqlite3_stmt* raw = nullptr;
  if (sqlite3_prepare_v2(database, sql, -1, &raw, nullptr) != SQLITE_OK) return false;
  const Statement rows(raw);
  int result = sqlite3_step(raw);
  for (; result == SQLITE_ROW; result = sqlite3_step(raw)) {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(raw, 0));
    texts.emplace_back(text != nullptr ? text : "");
  }
  return result == SQLITE_DONE;
}

bool isOf(sqlite3* database, const std::string& identity, bool& known) {
  std::vector<std::string> kept;
  if (!readTexts(database, "SELECT directory FROM record_of", kept)) return false;
  known = !identity.empty() && kept.size() == 1 && kept.front() == identity;
  return true;
}

/// Empties every table and notes whose record it is from now on.
bool startAfresh(sqlite3* database, const std::string& identity) {
  std::vector<std::string> tables;
  if (!readTexts(database, "SELECT name FROM sqlite_master WHERE type='table' AND name NOT LIKE 'sqlite_%'", tables))
    return false;
  std::string sql;
  for (const std::string& table : tables) sql += "DELETE FROM \"" + table + "\";";
  if (!execute(database, sql)) return false;
  return identity.empty() || execute(database, "INSERT INTO record_of VALUES ('" + identity + "')");
}

/// The record belongs to the directory that is there now, or else is emptied.
bool bindToDirectory(sqlite3* database, const std::wstring& projectUuid) {
  bool isBound = false;
  const std::string identity = directoryIdentity(projectUuid);
  if (!execute(database, "CREATE TABLE IF NOT EXISTS record_of (directory TEXT NOT NULL)")) return false;
  if (!isOf(database, identity, isBound)) return false;
  if (isBound) return true;
  if (!execute(database, "BEGIN IMMEDIATE")) return false;
  // Another process may have been faster.
  if (!isOf(database, identity, isBound) || (!isBound && !startAfresh(database, identity))) {
    execute(database, "ROLLBACK");
    return false;
  }
  return execute(database, "COMMIT");
}

}  // namespace

Database openProjectRecord(const std::wstring& projectUuid, const char* schema, std::string& path, std::string& error) {
  SHCreateDirectoryExW(nullptr, kStateDirectory, nullptr);
  path = platform::systemPath(platform::joinPath(kStateDirectory, projectUuid + L".db3"));
  sqlite3* raw = nullptr;
  // Each record is used by the one thread that opened it.
  const int result =
      sqlite3_open_v2(path.c_str(), &raw, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
  Database database(raw);
  if (result == SQLITE_OK) sqlite3_busy_timeout(raw, kBusyMilliseconds);
  if (result == SQLITE_OK && bindToDirectory(raw, projectUuid) && execute(raw, schema)) return database;
  error = raw != nullptr ? sqlite3_errmsg(raw) : "out of memory";
  return nullptr;
}

RecordsSetAside::RecordsSetAside(const std::wstring& projectUuid) {
  for (const wchar_t* const ending : {L".db3", L".cache.db3"}) {
    const std::string base = platform::systemPath(platform::joinPath(kStateDirectory, projectUuid + ending));
    // What was never brought into the database goes with it, or it would be taken for that of the next one.
    for (const char* const part : {"", "-wal", "-journal", "-shm"}) {
      const std::string from = base + part;
      const std::string to = base + kAside + part;
      ::remove(to.c_str());
      if (::rename(from.c_str(), to.c_str()) == 0) {
        moved_.emplace_back(from, to);
      } else if (errno != ENOENT) {
        const std::string reason = std::generic_category().message(errno);
        putBack();
        throw CommandFailure{
            ExitCode::Failure,
            platform::formatWide(L"%s can't be set aside: %s", platform::fromUtf8(from), platform::fromUtf8(reason))};
      }
    }
  }
}

RecordsSetAside::~RecordsSetAside() {
  putBack();
}

void RecordsSetAside::putBack() {
  for (const auto& [from, to] : moved_) ::rename(to.c_str(), from.c_str());
  moved_.clear();
}

void RecordsSetAside::forget() {
  for (const auto& [from, to] : moved_) ::remove(to.c_str());
  moved_.clear();
}

}  // namespace workstation::program
