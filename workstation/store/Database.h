// The store's database: connections in the mode that the store needs, statements, transactions. Failures are thrown as
// StoreError.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace workstation {

/// One connection, which syncs each commit to the disk; used by one thread at a time.
class Connection {
 public:
  enum class Mode : std::uint8_t { OpenExisting, Create };
  Connection(const std::string& path, Mode mode);
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  /// Runs statements that give no rows.
  void execute(const char* sql);
  std::int64_t number(const char* sql);
  /// Rows that the last statement changed.
  int changes() const;
  /// True when the file says that write-ahead logging is in use. Takes no lock and makes no file.
  bool isWrittenAhead() const;
  /// True while a transaction is open; at rest that is a failure from which the connection did not recover.
  bool isInTransaction() const;
  [[noreturn]] void fail(int code) const;

 private:
  friend class Statement;
  static int waitForOthers(void* connection, int tries);
  sqlite3_stmt* take(const char* sql);
  void giveBack(const char* sql, sqlite3_stmt* statement);

  std::string path_;
  sqlite3* handle_ = nullptr;
  std::chrono::steady_clock::time_point waitsSince_;
  std::unordered_map<const char*, sqlite3_stmt*> idle_;  // prepared statements by the address of their literal
};

/// One use of a statement. `sql` is a literal: its address is the key under which the prepared form is kept.
class Statement {
 public:
  Statement(Connection& connection, const char* sql);
  ~Statement();
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  // Values of the parameters from the first on.
  Statement& operator<<(std::int64_t value);
  Statement& operator<<(int value) { return *this << static_cast<std::int64_t>(value); }
  Statement& operator<<(const std::wstring& value);
  Statement& operator<<(std::string_view value);
  Statement& operator<<(const std::vector<std::uint8_t>& blob);

  /// Steps to the next row. @return false at the end
  bool row();
  /// Runs to the end and makes the statement ready for new parameters.
  void run();

  std::int64_t number(int column) const;
  std::wstring text(int column) const;
  std::string bytes(int column) const;
  std::vector<std::uint8_t> blob(int column) const;

 private:
  void check(int code);
  /// Until the next row or column that is read.
  std::string_view view(int column) const;

  Connection& connection_;
  const char* sql_;
  sqlite3_stmt* statement_;
  int bound_ = 0;
};

/// A transaction that writes, alone from its beginning; undone unless it is committed.
class WriteTransaction {
 public:
  explicit WriteTransaction(Connection& connection);
  ~WriteTransaction();
  WriteTransaction(const WriteTransaction&) = delete;
  WriteTransaction& operator=(const WriteTransaction&) = delete;
  void commit();

 private:
  Connection& connection_;
  bool open_ = true;
};

/// A transaction that reads one state of the store.
class ReadTransaction {
 public:
  explicit ReadTransaction(Connection& connection);
  ~ReadTransaction();
  ReadTransaction(const ReadTransaction&) = delete;
  ReadTransaction& operator=(const ReadTransaction&) = delete;

 private:
  Connection& connection_;
};

/// Connections for all threads, 16 at most; a thread has one for as long as it holds the lease, and never asks for a
/// second meanwhile. One that is given back inside a transaction is closed.
class ConnectionPool {
 public:
  explicit ConnectionPool(std::string path) : path_(std::move(path)) {}

  class Lease {
   public:
    Lease(ConnectionPool& pool, std::unique_ptr<Connection> connection)
        : pool_(pool), connection_(std::move(connection)) {}
    ~Lease();
    Lease(const Lease&) = delete;
    Lease& operator=(const Lease&) = delete;
    Connection& operator*() const { return *connection_; }

   private:
    ConnectionPool& pool_;
    std::unique_ptr<Connection> connection_;
  };
  Lease take();

 private:
  void giveBack(std::unique_ptr<Connection> connection);

  std::string path_;
  std::mutex mutex_;
  std::condition_variable freed_;
  std::size_t lent_ = 0;
  std::vector<std::unique_ptr<Connection>> idle_;
};

}  // namespace workstation
