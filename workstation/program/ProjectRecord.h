// The database in which this workstation remembers a project, with a table for each thing that is remembered. Losing it
// loses no work. It belongs to one directory: what was remembered of another one of the same name, which was taken away
// or put back from a copy, is forgotten when the record is opened, so that nobody takes its files for deleted here.
#pragma once

#include <sqlite3.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace workstation::program {

struct DatabaseCloser {
  void operator()(sqlite3* database) const { sqlite3_close(database); }
};
using Database = std::unique_ptr<sqlite3, DatabaseCloser>;

struct StatementFinalizer {
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Statement = std::unique_ptr<sqlite3_stmt, StatementFinalizer>;

/// Opens (or makes) the record of a project and runs `schema` on it. Waits for other processes of this workstation.
/// @param path   where the record lies, for messages
/// @param error  why there is none
/// @return null when it can't be used
Database openProjectRecord(const std::wstring& projectUuid, const char* schema, std::string& path, std::string& error);

/// Sets all that this workstation remembers of a project aside while its directory goes, so that nothing is remembered
/// wherever the process ends. A directory that stays gets its records back.
class RecordsSetAside {
 public:
  /// Throws CommandFailure when a record can't be set aside; nothing is then.
  explicit RecordsSetAside(const std::wstring& projectUuid);
  ~RecordsSetAside();
  RecordsSetAside(const RecordsSetAside&) = delete;
  RecordsSetAside& operator=(const RecordsSetAside&) = delete;
  /// The directory has gone.
  void forget();

 private:
  void putBack();

  std::vector<std::pair<std::string, std::string>> moved_;  // from, to
};

}  // namespace workstation::program
