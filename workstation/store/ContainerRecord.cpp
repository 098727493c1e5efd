#include "workstation/store/ContainerRecord.h"

#include "host/Trace.h"
#include "platform/Text.h"
#include "workstation/store/Database.h"
#include "workstation/store/DiskFiles.h"
#include "workstation/store/StoreError.h"

namespace workstation {

namespace {

// A loss of power may cost the last rows; contents are compared then.
constexpr const char* kSchema =
    "PRAGMA synchronous=NORMAL;"
    "CREATE TABLE IF NOT EXISTS cache(key TEXT PRIMARY KEY, value NOT NULL) WITHOUT ROWID;"
    "CREATE TABLE IF NOT EXISTS files(key TEXT PRIMARY KEY, name TEXT NOT NULL, size INTEGER NOT NULL DEFAULT -1, "
    "modified INTEGER NOT NULL DEFAULT 0, sha256 TEXT NOT NULL DEFAULT '', revision INTEGER NOT NULL DEFAULT 0, "
    "next_size INTEGER NOT NULL DEFAULT -1, next_modified INTEGER NOT NULL DEFAULT 0, next_sha256 TEXT NOT NULL "
    "DEFAULT "
    "'', way INTEGER NOT NULL DEFAULT 0) WITHOUT ROWID;";

}  // namespace

std::string containerRecordPath(const std::string& root) {
  return root + "/" + kServiceDirectory + "/record.db3";
}

ContainerRecord::ContainerRecord(const std::string& root) {
  const std::string path = containerRecordPath(root);
  try {
    open(path);
  } catch (const StoreError& error) {
    if (error.status != kStoreInvalidData) throw;
    lfperrC(L"\"%s\" is damaged and is made anew; the files of the cache are compared by their contents\n",
            platform::fromUtf8(path));
    connection_.reset();
    removeFile(path);
    open(path);
  }
}

ContainerRecord::~ContainerRecord() = default;

void ContainerRecord::open(const std::string& path) {
  connection_ = std::make_unique<Connection>(path, Connection::Mode::Create);
  connection_->execute(kSchema);
}

std::wstring ContainerRecord::container() {
  Statement row(*connection_, "SELECT value FROM cache WHERE key='container'");
  return row.row() ? row.text(0) : std::wstring();
}

std::int64_t ContainerRecord::revision() {
  return connection_->number("SELECT value FROM cache WHERE key='revision'");
}

std::int64_t ContainerRecord::version() {
  return connection_->number("PRAGMA data_version");
}

void ContainerRecord::bind(const std::wstring& container) {
  if (this->container() == container) return;
  WriteTransaction transaction(*connection_);
  connection_->execute("DELETE FROM files; DELETE FROM cache");
  Statement put(*connection_, "INSERT INTO cache(key, value) VALUES('container', ?)");
  (put << container).run();
  transaction.commit();
}

void ContainerRecord::forget() {
  WriteTransaction transaction(*connection_);
  connection_->execute("DELETE FROM files; DELETE FROM cache WHERE key='revision'");
  transaction.commit();
}

SettledFiles ContainerRecord::files() {
  SettledFiles files;
  Statement row(
      *connection_,
      "SELECT key, name, size, modified, sha256, revision, next_size, next_modified, next_sha256, way FROM files");
  while (row.row()) {
    files.emplace(row.bytes(0), SettledFile{row.text(1),
                                            {row.number(2), row.number(3), row.bytes(4)},
                                            row.number(5),
                                            {row.number(6), row.number(7), row.bytes(8)},
                                            static_cast<FileWay>(row.number(9))});
  }
  return files;
}

void ContainerRecord::announce(const std::vector<Announced>& files) {
  if (files.empty()) return;
  WriteTransaction transaction(*connection_);
  Statement put(*connection_,
                "INSERT INTO files(key, name, next_size, next_modified, next_sha256, way) VALUES(?, ?, ?, ?, ?, ?) ON "
                "CONFLICT(key) DO UPDATE SET next_size=excluded.next_size, next_modified=excluded.next_modified, "
                "next_sha256=excluded.next_sha256, way=excluded.way");
  for (const auto& [name, content, way] : files) {
    (put << platform::toLower(name) << name << content.size << content.modified << std::string_view(content.sha256)
         << static_cast<int>(way))
        .run();
  }
  transaction.commit();
}

void ContainerRecord::settle(const std::vector<SettledFile>& files, const std::vector<std::wstring>& gone,
                             std::int64_t revision) {
  WriteTransaction transaction(*connection_);
  Statement put(*connection_,
                "INSERT OR REPLACE INTO files(key, name, size, modified, sha256, revision) VALUES(?, ?, ?, ?, ?, ?)");
  for (const SettledFile& file : files) {
    (put << platform::toLower(file.name) << file.name << file.content.size << file.content.modified
         << std::string_view(file.content.sha256) << file.revision)
        .run();
  }
  Statement remove(*connection_, "DELETE FROM files WHERE key=?");
  for (const std::wstring& name : gone) (remove << platform::toLower(name)).run();
  if (revision != 0) {
    Statement now(*connection_, "INSERT OR REPLACE INTO cache(key, value) VALUES('revision', ?)");
    (now << revision).run();
  }
  transaction.commit();
}

}  // namespace workstation
