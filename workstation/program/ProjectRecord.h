// The database in which this workstation remembers a project, with a table for each thing that is remembered. Losing it
// loses no work.
#pragma once

#include <sqlite3.h>

#include <memory>
#include <string>

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

}  // namespace workstation::program
