#include "workstation/objects/DatabaseConnection.h"

#include <sqlite3.h>

#include "platform/Paths.h"
#include "platform/Text.h"
#include "platform/Time.h"

namespace workstation {
namespace {

constexpr int kSchemaVersion = 1;
/// "QVPD", so that another program's database is not taken for ours.
constexpr int kApplicationId = 0x51565044;
constexpr int kBusyMilliseconds = 10000;

constexpr const char* kSchema =
    "CREATE TABLE teilbild(number INTEGER PRIMARY KEY, header BLOB NOT NULL, state INTEGER NOT NULL DEFAULT 0);"
    "CREATE TABLE plan(number INTEGER PRIMARY KEY, header BLOB NOT NULL, state INTEGER NOT NULL DEFAULT 0);"
    "CREATE TABLE zeichnung(number INTEGER PRIMARY KEY, header BLOB NOT NULL, state INTEGER NOT NULL DEFAULT 0);";

}  // namespace

RowStatement::RowStatement(sqlite3* database, const std::string& sql) {
  sqlite3_prepare_v2(database, sql.c_str(), static_cast<int>(sql.size()), &statement_, nullptr);
}

RowStatement::~RowStatement() {
  sqlite3_finalize(statement_);
}

void RowStatement::bind(int index, std::int64_t value) {
  sqlite3_bind_int64(statement_, index, value);
}

void RowStatement::bind(int index, const std::vector<std::uint8_t>& blob) {
  sqlite3_bind_blob64(statement_, index, blob.data(), blob.size(), SQLITE_TRANSIENT);
}

RowStatement::Step RowStatement::step() {
  if (statement_ == nullptr) return Step::Failed;
  const int result = sqlite3_step(statement_);
  if (result == SQLITE_ROW) return Step::Row;
  // Reset at the end, so that no read transaction stays open; its answer is the step's.
  sqlite3_reset(statement_);
  return result == SQLITE_DONE ? Step::Done : Step::Failed;
}

std::int64_t RowStatement::integer(int column) {
  return sqlite3_column_int64(statement_, column);
}

std::vector<std::uint8_t> RowStatement::blob(int column) {
  const auto* bytes = static_cast<const std::uint8_t*>(sqlite3_column_blob(statement_, column));
  const auto size = static_cast<std::size_t>(sqlite3_column_bytes(statement_, column));
  return bytes == nullptr ? std::vector<std::uint8_t>() : std::vector<std::uint8_t>(bytes, bytes + size);
}

std::unique_ptr<DatabaseConnection> DatabaseConnection::open(const std::wstring& path, bool create,
                                                             std::wstring& error) {
  const std::string file = platform::systemPath(path);
  sqlite3* database = nullptr;
  const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_FULLMUTEX | (create ? SQLITE_OPEN_CREATE : 0);
  const int result = sqlite3_open_v2(file.c_str(), &database, flags, nullptr);
  std::unique_ptr<DatabaseConnection> connection(new DatabaseConnection(database));
  std::wstring problem;
  if (result == SQLITE_OK && connection->prepare(create, problem)) return connection;
  error = path + L": " + (problem.empty() ? connection->problem() : problem);
  return nullptr;
}

DatabaseConnection::~DatabaseConnection() {
  sqlite3_close_v2(database_);
}

bool DatabaseConnection::execute(const char* sql) {
  return sqlite3_exec(database_, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

int DatabaseConnection::changedRows() const {
  return sqlite3_changes(database_);
}

std::int64_t DatabaseConnection::pragma(const char* sql) {
  RowStatement statement(database_, sql);
  if (statement.step() != RowStatement::Step::Row) return -1;
  return statement.integer(0);
}

std::int64_t DatabaseConnection::dataVersion() {
  return pragma("PRAGMA data_version");
}

bool DatabaseConnection::hasMoved() const {
  int moved = 0;
  return sqlite3_file_control(database_, "main", SQLITE_FCNTL_HAS_MOVED, &moved) == SQLITE_OK && moved != 0;
}

std::wstring DatabaseConnection::problem() const {
  return platform::fromUtf8(database_ != nullptr ? sqlite3_errmsg(database_) : "out of memory");
}

bool DatabaseConnection::useWriteAheadLog() {
  // Two openers of a new file may meet here, where the library's own waiting does not act.
  constexpr int kTries = 200;
  constexpr DWORD kPauseMilliseconds = 20;
  for (int i = 0; i < kTries; ++i) {
    if (execute("PRAGMA journal_mode=WAL")) return true;
    const int code = sqlite3_errcode(database_);
    if (code != SQLITE_BUSY && code != SQLITE_LOCKED) return false;
    Sleep(kPauseMilliseconds);
  }
  return false;
}

bool DatabaseConnection::prepare(bool create, std::wstring& error) {
  sqlite3_busy_timeout(database_, kBusyMilliseconds);
  // Nothing is written to a file before it is known to be ours.
  if (!checkSchema(create, error)) return false;
  if (create && !useWriteAheadLog()) return false;
  return execute("PRAGMA synchronous=NORMAL");
}

bool DatabaseConnection::checkSchema(bool create, std::wstring& error) {
  const auto found = pragma("PRAGMA user_version");
  if (found < 0) return false;
  if (found > kSchemaVersion) {
    error = platform::formatWide(
        L"the project database has schema version %lld, expected %d; it was written by a newer "
        L"program and is left as it is",
        static_cast<long long>(found), kSchemaVersion);
    return false;
  }
  if (found == kSchemaVersion) {
    if (pragma("PRAGMA application_id") == kApplicationId) return true;
    error = L"is a database of another program";
    return false;
  }
  if (pragma("SELECT count(*) FROM sqlite_master") != 0) {
    error = platform::formatWide(L"holds tables without a schema version, expected version %d", kSchemaVersion);
    return false;
  }
  if (create) return makeSchema(error);
  error = L"holds no project database yet";
  return false;
}

bool DatabaseConnection::makeSchema(std::wstring& error) {
  if (!execute("BEGIN IMMEDIATE")) return false;
  // Another process may have made the tables while this one waited.
  bool made = pragma("PRAGMA user_version") == kSchemaVersion;
  if (!made) {
    const std::string versions = "PRAGMA application_id=" + std::to_string(kApplicationId) +
                                 ";PRAGMA user_version=" + std::to_string(kSchemaVersion) + ";";
    made = execute((kSchema + versions).c_str());
  }
  if (made && execute("COMMIT")) return true;
  error = problem();
  execute("ROLLBACK");
  return false;
}

}  // namespace workstation
