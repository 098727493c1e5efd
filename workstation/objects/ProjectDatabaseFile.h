// A project database of this process with its header cache: one connection per file, shared by all row sets. Any
// thread.
//
// The cache is emptied as soon as another connection, of this or another process, has changed the database; an own
// change takes out the rows that it touches.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "workstation/Export.h"
#include "workstation/objects/DatabaseTables.h"

namespace workstation {

class DatabaseConnection;

using RowImage = std::vector<std::uint8_t>;

struct RowChange {
  int number = 0;
  bool remove = false;
  RowImage header;  ///< empty for a removal
};

struct NumberedRow {
  int number = 0;
  RowImage header;
};

/// Which rows a reading wants.
struct RowRange {
  int first = INT32_MIN;
  int last = INT32_MAX;
  int limit = -1;  ///< negative: no limit
  bool withPending = true;
};

class ProjectDatabaseFile {
 public:
  /// The database of a path, opened on first use. A failure is logged once until it changes.
  /// @return null when it can't be opened
  static std::shared_ptr<ProjectDatabaseFile> acquire(const std::wstring& path, bool create);

  explicit ProjectDatabaseFile(std::wstring path, std::unique_ptr<DatabaseConnection> connection);
  ~ProjectDatabaseFile();
  ProjectDatabaseFile(const ProjectDatabaseFile&) = delete;
  ProjectDatabaseFile& operator=(const ProjectDatabaseFile&) = delete;

  // Each answers rows, or -1 with a line in the error log. A header is `size` bytes; a row of another size is damaged.

  int readCached(RowTable table, int number, std::size_t size, RowImage& out);
  int read(RowTable table, int number, std::size_t size, RowImage& out);
  /// A damaged row is left out with a line in the error log.
  int readRange(RowTable table, const RowRange& range, std::size_t size, std::vector<NumberedRow>& out);
  /// All changes or none. @return rows written and removed
  int apply(RowTable table, const std::vector<RowChange>& changes);

  bool hasMoved() const;

 private:
  void dropOutdatedCache();
  int applyOne(RowTable table, const RowChange& change);
  int failed(const wchar_t* what) const;

  std::mutex mutex_;
  std::wstring path_;
  std::unique_ptr<DatabaseConnection> connection_;
  std::map<std::pair<RowTable, int>, RowImage> cache_;
  std::int64_t cacheVersion_ = -1;  ///< the connection's data version to which the cache belongs
};

/// Closes the project databases of this process that no row set is using; for closing a project and for the end.
WORKSTATION_API void closeProjectDatabases();

}  // namespace workstation
