#include "workstation/program/ChangesSnapshot.h"

#include <algorithm>
#include <iterator>
#include <set>

#include "host/Project.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/program/Context.h"
#include "workstation/program/Objects.h"
#include "workstation/program/ProjectRecord.h"
#include "workstation/program/SyncBase.h"
#include "zephor/UploadFilters.h"

namespace workstation::program {

namespace {

using namespace Quorvel::FileAccess;  // NOLINT(google-build-using-namespace)

// The row of `seen_look` tells an empty base from none.
constexpr const char* kSchema =
    "CREATE TABLE IF NOT EXISTS seen_look (id INTEGER PRIMARY KEY CHECK (id = 1));"
    "CREATE TABLE IF NOT EXISTS seen_files (name TEXT PRIMARY KEY, created INTEGER NOT NULL, written INTEGER NOT NULL, "
    "size INTEGER NOT NULL) WITHOUT ROWID";

std::int64_t joined(DWORD high, DWORD low) {
  return static_cast<std::int64_t>((static_cast<std::uint64_t>(high) << 32U) | low);
}

FILETIME timeOf(std::int64_t ticks) {
  const auto value = static_cast<std::uint64_t>(ticks);
  return {static_cast<DWORD>(value & 0xFFFFFFFFU), static_cast<DWORD>(value >> 32U)};
}

/// The table of a project's base. Its failures end the command.
class BaseTable {
 public:
  explicit BaseTable(const std::wstring& projectUuid) {
    std::string error;
    database_ = openProjectRecord(projectUuid, kSchema, path_, error);
    if (!database_) fail(error);
  }

  void execute(const char* sql) const {
    if (sqlite3_exec(database_.get(), sql, nullptr, nullptr, nullptr) != SQLITE_OK) fail();
  }
  Statement prepare(const char* sql) const {
    sqlite3_stmt* raw = nullptr;
    if (sqlite3_prepare_v2(database_.get(), sql, -1, &raw, nullptr) != SQLITE_OK) fail();
    return Statement(raw);
  }
  bool step(const Statement& statement) const {
    const int result = sqlite3_step(statement.get());
    if (result != SQLITE_ROW && result != SQLITE_DONE) fail();
    return result == SQLITE_ROW;
  }
  [[noreturn]] void fail(const std::string& error) const {
    throw CommandFailure{ExitCode::Failure,
                         platform::fromUtf8("the kept look at the project in " + path_ + " can't be used: " + error)};
  }

 private:
  [[noreturn]] void fail() const { fail(sqlite3_errmsg(database_.get())); }

  std::string path_;
  Database database_;
};

/// Writes rows of the base in one transaction; without commit() nothing of it happens.
class BaseWriter {
 public:
  explicit BaseWriter(const std::wstring& projectUuid) : table_(projectUuid) {
    table_.execute("BEGIN IMMEDIATE");
    put_ = table_.prepare("INSERT OR REPLACE INTO seen_files VALUES (?1,?2,?3,?4)");
    remove_ = table_.prepare("DELETE FROM seen_files WHERE name = ?1");
  }

  void startAfresh() const { table_.execute("DELETE FROM seen_files; INSERT OR REPLACE INTO seen_look VALUES (1)"); }
  void put(const std::wstring& name, const WIN32_FIND_DATAW& file) const {
    sqlite3_stmt* const row = put_.get();
    sqlite3_bind_int64(row, 2, joined(file.ftCreationTime.dwHighDateTime, file.ftCreationTime.dwLowDateTime));
    sqlite3_bind_int64(row, 3, joined(file.ftLastWriteTime.dwHighDateTime, file.ftLastWriteTime.dwLowDateTime));
    sqlite3_bind_int64(row, 4, joined(file.nFileSizeHigh, file.nFileSizeLow));
    run(put_, name);
  }
  void remove(const std::wstring& name) const { run(remove_, name); }
  void commit() const { table_.execute("COMMIT"); }

 private:
  void run(const Statement& statement, const std::wstring& name) const {
    const std::string key = platform::toUtf8(name);
    sqlite3_bind_text(statement.get(), 1, key.data(), static_cast<int>(key.size()), SQLITE_STATIC);
    table_.step(statement);
    sqlite3_reset(statement.get());
    sqlite3_clear_bindings(statement.get());
  }

  BaseTable table_;  // closed last, which rolls back what was not committed
  Statement put_;
  Statement remove_;
};

/// @return false when no base is kept
bool readBase(const std::wstring& projectUuid, const std::wstring& directory, DirectorySnapshot& base) {
  const BaseTable table(projectUuid);
  // One transaction: both tables as one writer left them.
  table.execute("BEGIN");
  if (!table.step(table.prepare("SELECT id FROM seen_look"))) return false;
  const Statement rows = table.prepare("SELECT name, created, written, size FROM seen_files ORDER BY name");
  const std::wstring prefix = directory + L'\\';
  while (table.step(rows)) {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(rows.get(), 0));
    const std::wstring name = platform::fromUtf8(text != nullptr ? text : "");
    const std::wstring last = platform::fileNameOf(name);
    if (last.empty() || last.size() >= MAX_PATH) table.fail("a row without a file's name");
    WIN32_FIND_DATAW file{};
    last.copy(file.cFileName, last.size());
    file.ftCreationTime = timeOf(sqlite3_column_int64(rows.get(), 1));
    file.ftLastWriteTime = timeOf(sqlite3_column_int64(rows.get(), 2));
    const FILETIME size = timeOf(sqlite3_column_int64(rows.get(), 3));
    file.nFileSizeHigh = size.dwHighDateTime;
    file.nFileSizeLow = size.dwLowDateTime;
    base.try_emplace(base.end(), prefix + name, file);
  }
  return true;
}

/// What was fetched and never told by a look is missed all the same.
void findMissing(ProjectLook& look, const DirectorySnapshot& base, const WGO_FileFilter& filter) {
  std::set<std::wstring> kept;
  std::set<std::wstring> here;
  for (const auto& file : base) kept.insert(platform::toLower(nameInProject(look, file.first)));
  for (const auto& file : look.now) here.insert(platform::toLower(nameInProject(look, file.first)));
  const auto points = SyncBase(look.projectUuid).all();
  if (!points) return;
  for (const auto& point : *points) {
    std::wstring name = platform::fromUtf8(point.first);
    if (kept.contains(name) || isPrivateFile(name) || isKeptOut(filter, name)) continue;
    ++look.keptCount;
    const bool isHere = here.contains(name) || platform::fileStatus(platform::joinPath(look.directory, name)).exists;
    if (!isHere) look.missing.push_back(std::move(name));
  }
  std::sort(look.missing.begin(), look.missing.end());
}

}  // namespace

bool isKeptOut(const WGO_FileFilter& filter, const std::wstring& name) {
  std::size_t begin = 0;
  for (std::size_t end = name.find(L'\\'); end != std::wstring::npos; end = name.find(L'\\', begin)) {
    if (filter.IsDirectoryExcluded(name.substr(begin, end - begin).c_str())) return true;
    begin = end + 1;
  }
  return filter.IsFileExcluded(name.substr(begin).c_str());
}

ProjectLook lookAtProject() {
  const PRJ project = get_ActivePrj();
  ProjectLook look;
  look.projectUuid = project.GetOndrathProjectUuid();
  look.directory = project.GetFullProjectPath(true);
  WGO_FileFilter filter;
  WGO_GetPrjDirUploadFilter(filter, true);
  WGO_getFilesFromDirectory(look.directory.c_str(), look.now, &filter, true);
  if (GetLastError() != ERROR_SUCCESS) {
    throw CommandFailure{ExitCode::Failure,
                         L"the project's directory " + look.directory + L" can't be read to its end"};
  }
  const auto isPrivate = [&](const auto& file) { return isPrivateFile(nameInProject(look, file.first)); };
  std::erase_if(look.now, isPrivate);
  DirectorySnapshot base;
  look.isFirst = !readBase(look.projectUuid, look.directory, base);
  std::erase_if(base, isPrivate);
  look.keptCount = base.size();
  if (!look.isFirst) WGO_getDirectoryChanges(base, look.now, look.changes);
  std::erase_if(look.changes, [&](const WGO_FileCompareInfo& change) {
    return change.state == eFileChange_Deleted &&
           (isKeptOut(filter, nameInProject(look, change.fileName)) || platform::fileStatus(change.fileName).exists);
  });
  findMissing(look, base, filter);
  return look;
}

std::wstring nameInProject(const ProjectLook& look, const std::wstring& fullPath) {
  return fullPath.substr(look.directory.size() + 1);
}

void acceptLook(const ProjectLook& look) {
  if (!look.isFirst && look.changes.empty()) return;
  const BaseWriter writer(look.projectUuid);
  if (look.isFirst) {
    writer.startAfresh();
    for (const auto& [path, file] : look.now) writer.put(nameInProject(look, path), file);
  }
  for (const WGO_FileCompareInfo& change : look.changes) {
    const std::wstring name = nameInProject(look, change.fileName);
    if (change.state == eFileChange_Deleted) {
      writer.remove(name);
    } else {
      writer.put(name, change.newData);
    }
  }
  writer.commit();
}

void acceptSettled(ProjectLook look, const std::function<bool(const std::wstring& name)>& isSettled) {
  const auto stays = [&](const std::wstring& path) { return !isSettled(nameInProject(look, path)); };
  std::erase_if(look.now, [&](const auto& file) { return stays(file.first); });
  std::erase_if(look.changes, [&](const WGO_FileCompareInfo& change) { return stays(change.fileName); });
  acceptLook(look);
}

bool looksLost(const ProjectLook& look) {
  const auto deleted = std::count_if(look.changes.begin(), look.changes.end(),
                                     [](const auto& change) { return change.state == eFileChange_Deleted; });
  const std::size_t gone = static_cast<std::size_t>(deleted) + look.missing.size();
  const std::size_t left = look.keptCount - gone;
  return gone > 0 && left * 10 < look.keptCount && look.now.size() * 2 < look.keptCount;
}

}  // namespace workstation::program
