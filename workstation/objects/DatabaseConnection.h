// One connection to a project database, with its schema made or checked. Not synchronised.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "workstation/objects/DatabaseTables.h"

struct sqlite3;
struct sqlite3_stmt;

namespace workstation {

/// A prepared statement that begins anew with each use.
class RowStatement {
 public:
  RowStatement(sqlite3* database, const std::string& sql);
  ~RowStatement();
  RowStatement(const RowStatement&) = delete;
  RowStatement& operator=(const RowStatement&) = delete;

  bool isPrepared() const { return statement_ != nullptr; }
  void bind(int index, std::int64_t value);
  void bind(int index, const std::vector<std::uint8_t>& blob);
  enum class Step : std::uint8_t { Row, Done, Failed };
  Step step();
  std::int64_t integer(int column);
  std::vector<std::uint8_t> blob(int column);

 private:
  sqlite3_stmt* statement_ = nullptr;
};

class DatabaseConnection {
 public:
  /// Opens the database file, and makes it when `create` is set. A file that is no database of this kind, or one of a
  /// newer schema, is left as it is.
  /// @return null with a text that names what was found and expected
  static std::unique_ptr<DatabaseConnection> open(const std::wstring& path, bool create, std::wstring& error);
  ~DatabaseConnection();
  DatabaseConnection(const DatabaseConnection&) = delete;
  DatabaseConnection& operator=(const DatabaseConnection&) = delete;

  /// Runs statements without results. @return false with problem() set
  bool execute(const char* sql);
  /// Rows that the last statement changed.
  int changedRows() const;
  /// Differs from an earlier answer when another connection, of any process, has changed the database since. -1:
  /// unknown.
  std::int64_t dataVersion();
  /// True when the file behind the connection is no longer the one that its path names.
  bool hasMoved() const;
  std::wstring problem() const;
  sqlite3* handle() const { return database_; }

 private:
  explicit DatabaseConnection(sqlite3* database) : database_(database) {}
  bool prepare(bool create, std::wstring& error);
  bool checkSchema(bool create, std::wstring& error);
  bool makeSchema(std::wstring& error);
  bool useWriteAheadLog();
  std::int64_t pragma(const char* sql);

  sqlite3* database_;
};

}  // namespace workstation
