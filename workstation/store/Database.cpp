#include "workstation/store/Database.h"

#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <thread>
#include <utility>

#include "platform/Text.h"
#include "workstation/store/StoreError.h"

namespace workstation {

namespace {

constexpr std::chrono::seconds kLongestWait{10};
constexpr int kLongestPauseMilliseconds = 10;
constexpr std::size_t kMostConnections = 16;

CloudStatus statusOfCode(int extended, int systemError) {
  if (systemError == ENOSPC || systemError == EDQUOT || systemError == EFBIG) return kStoreDiskFull;
  // The memory that the processes share grows on the disk, too.
  if (extended == SQLITE_IOERR_SHMSIZE) return kStoreDiskFull;
  if (extended == SQLITE_IOERR_WRITE || extended == SQLITE_IOERR_FSYNC) return statusOfError(ERROR_WRITE_FAULT);
  switch (extended & 0xFF) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return kStoreTimeout;
    case SQLITE_FULL:
      return kStoreDiskFull;
    case SQLITE_READONLY:
    case SQLITE_PERM:
    case SQLITE_AUTH:
      return kStoreAccessDenied;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
      return kStoreInvalidData;
    case SQLITE_CANTOPEN:
      return kStoreNotFound;
    case SQLITE_NOMEM:
      return statusOfError(ERROR_NOT_ENOUGH_MEMORY);
    default:
      return kStoreFailure;
  }
}

/// A failure may have undone the transaction already; one that stays open costs the connection.
void rollBack(Connection& connection) {
  if (!connection.isInTransaction()) return;
  try {
    connection.execute("ROLLBACK");
  } catch (const StoreError&) {  // NOLINT(bugprone-empty-catch): the pool looks whether it is still open
  }
}

std::wstring reasonOf(CloudStatus status, const char* said) {
  if (status == kStoreTimeout) return L"another process has kept it locked for more than ten seconds";
  return platform::fromUtf8(said);
}

}  // namespace

Connection::Connection(const std::string& path, Mode mode) : path_(path) {
  const int create = mode == Mode::Create ? SQLITE_OPEN_CREATE : 0;
  const int code = sqlite3_open_v2(
      path.c_str(), &handle_, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE | create, nullptr);
  try {
    if (code != SQLITE_OK) fail(code);
    sqlite3_busy_handler(handle_, &Connection::waitForOthers, this);
    // EXTRA, or a rollback journal whose removal was not on the disk yet would undo the commit after a loss of power.
    execute("PRAGMA foreign_keys=ON; PRAGMA trusted_schema=OFF; PRAGMA synchronous=EXTRA;");
  } catch (...) {
    sqlite3_close_v2(handle_);
    throw;
  }
}

Connection::~Connection() {
  for (const auto& [sql, statement] : idle_) sqlite3_finalize(statement);
  sqlite3_close_v2(handle_);
}

/// Looks often: between two transactions of a process that writes much the database is free for moments only.
int Connection::waitForOthers(void* connection, int tries) {
  auto& since = static_cast<Connection*>(connection)->waitsSince_;
  const auto now = std::chrono::steady_clock::now();
  if (tries == 0) since = now;
  if (now - since >= kLongestWait) return 0;
  std::this_thread::sleep_for(std::chrono::milliseconds(std::min(tries + 1, kLongestPauseMilliseconds)));
  return 1;
}

void Connection::fail(int code) const {
  const int systemError = handle_ != nullptr ? sqlite3_system_errno(handle_) : 0;
  const int base = code & 0xFF;
  // The system's error stays behind from earlier calls; it tells something for these codes alone.
  const bool fromSystem = base == SQLITE_IOERR || base == SQLITE_FULL || base == SQLITE_CANTOPEN;
  const CloudStatus status = statusOfCode(code, fromSystem ? systemError : 0);
  throw StoreError{status, L"cloud store \"" + platform::fromUtf8(path_) + L"\": " +
                               reasonOf(status, handle_ != nullptr ? sqlite3_errmsg(handle_) : "not enough memory")};
}

void Connection::execute(const char* sql) {
  const int code = sqlite3_exec(handle_, sql, nullptr, nullptr, nullptr);
  if (code != SQLITE_OK) fail(code);
}

std::int64_t Connection::number(const char* sql) {
  Statement statement(*this, sql);
  return statement.row() ? statement.number(0) : 0;
}

int Connection::changes() const {
  return sqlite3_changes(handle_);
}

bool Connection::isWrittenAhead() const {
  // Through the file that is open already: closing another one would give back the locks of the whole process.
  sqlite3_file* file = nullptr;
  const int code = sqlite3_file_control(handle_, nullptr, SQLITE_FCNTL_FILE_POINTER, static_cast<void*>(&file));
  if (code != SQLITE_OK || file == nullptr || file->pMethods == nullptr) return false;
  // The versions of the format, for writing and for reading; write-ahead logging is 2.
  std::array<std::uint8_t, 2> versions{};
  constexpr sqlite3_int64 kPlace = 18;
  const int read = file->pMethods->xRead(file, versions.data(), static_cast<int>(versions.size()), kPlace);
  return read == SQLITE_OK && (versions[0] == 2 || versions[1] == 2);
}

bool Connection::isInTransaction() const {
  return sqlite3_get_autocommit(handle_) == 0;
}

sqlite3_stmt* Connection::take(const char* sql) {
  if (const auto found = idle_.find(sql); found != idle_.end()) {
    sqlite3_stmt* const statement = found->second;
    idle_.erase(found);
    return statement;
  }
  sqlite3_stmt* statement = nullptr;
  const int code = sqlite3_prepare_v3(handle_, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
  if (code != SQLITE_OK) fail(code);
  return statement;
}

void Connection::giveBack(const char* sql, sqlite3_stmt* statement) {
  sqlite3_reset(statement);
  sqlite3_clear_bindings(statement);
  if (!idle_.emplace(sql, statement).second) sqlite3_finalize(statement);
}

Statement::Statement(Connection& connection, const char* sql)
    : connection_(connection), sql_(sql), statement_(connection.take(sql)) {}

Statement::~Statement() {
  connection_.giveBack(sql_, statement_);
}

void Statement::check(int code) {
  if (code != SQLITE_OK) connection_.fail(code);
}

Statement& Statement::operator<<(std::int64_t value) {
  check(sqlite3_bind_int64(statement_, ++bound_, value));
  return *this;
}

Statement& Statement::operator<<(const std::wstring& value) {
  return *this << std::string_view(platform::toUtf8(value));
}

Statement& Statement::operator<<(std::string_view value) {
  check(sqlite3_bind_text64(statement_, ++bound_, value.data(), value.size(), SQLITE_TRANSIENT, SQLITE_UTF8));
  return *this;
}

Statement& Statement::operator<<(const std::vector<std::uint8_t>& blob) {
  check(sqlite3_bind_blob64(statement_, ++bound_, blob.empty() ? "" : static_cast<const void*>(blob.data()),
                            blob.size(), SQLITE_TRANSIENT));
  return *this;
}

bool Statement::row() {
  const int code = sqlite3_step(statement_);
  if (code == SQLITE_ROW) return true;
  if (code != SQLITE_DONE) connection_.fail(code);
  return false;
}

void Statement::run() {
  while (row()) {
  }
  sqlite3_reset(statement_);
  bound_ = 0;
}

std::int64_t Statement::number(int column) const {
  return sqlite3_column_int64(statement_, column);
}

std::string_view Statement::view(int column) const {
  const auto* const text = reinterpret_cast<const char*>(sqlite3_column_text(statement_, column));
  return text == nullptr ? std::string_view()
                         : std::string_view(text, static_cast<std::size_t>(sqlite3_column_bytes(statement_, column)));
}

std::string Statement::bytes(int column) const {
  return std::string(view(column));
}

std::wstring Statement::text(int column) const {
  return platform::fromUtf8(view(column));
}

std::vector<std::uint8_t> Statement::blob(int column) const {
  const auto* const data = static_cast<const std::uint8_t*>(sqlite3_column_blob(statement_, column));
  if (data == nullptr) return {};
  return {data, data + sqlite3_column_bytes(statement_, column)};
}

WriteTransaction::WriteTransaction(Connection& connection) : connection_(connection) {
  connection_.execute("BEGIN IMMEDIATE");
}

WriteTransaction::~WriteTransaction() {
  if (open_) rollBack(connection_);
}

void WriteTransaction::commit() {
  connection_.execute("COMMIT");
  open_ = false;
}

ReadTransaction::ReadTransaction(Connection& connection) : connection_(connection) {
  connection_.execute("BEGIN");
}

ReadTransaction::~ReadTransaction() {
  try {
    connection_.execute("COMMIT");
  } catch (const StoreError&) {
    rollBack(connection_);
  }
}

ConnectionPool::Lease ConnectionPool::take() {
  std::unique_lock lock(mutex_);
  freed_.wait(lock, [this] { return lent_ < kMostConnections; });
  ++lent_;
  std::unique_ptr<Connection> connection;
  if (!idle_.empty()) {
    connection = std::move(idle_.back());
    idle_.pop_back();
    return {*this, std::move(connection)};
  }
  lock.unlock();
  try {
    connection = std::make_unique<Connection>(path_, Connection::Mode::OpenExisting);
  } catch (...) {
    giveBack(nullptr);
    throw;
  }
  return {*this, std::move(connection)};
}

void ConnectionPool::giveBack(std::unique_ptr<Connection> connection) {
  if (connection != nullptr && connection->isInTransaction()) connection.reset();
  {
    const std::lock_guard lock(mutex_);
    --lent_;
    if (connection != nullptr) idle_.push_back(std::move(connection));
  }
  freed_.notify_one();
}

ConnectionPool::Lease::~Lease() {
  pool_.giveBack(std::move(connection_));
}

}  // namespace workstation
