#include "workstation/store/CacheRecord.h"

#include <algorithm>

#include "host/Project.h"
#include "host/Trace.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/store/DiskFiles.h"
#include "workstation/store/Gathering.h"
#include "workstation/store/StoreImpl.h"

namespace workstation {

namespace {

constexpr const wchar_t* kDirectory = L"C:\\State";
constexpr std::size_t kMostNotedAtOnce = 1000;
constexpr const wchar_t* kEnding = L".cache.db3";
// A loss of power may cost the last rows, which then count as changes on both sides.
constexpr const char* kSchema =
    "PRAGMA synchronous=NORMAL;"
    "CREATE TABLE IF NOT EXISTS cache(key TEXT PRIMARY KEY, value INTEGER NOT NULL) WITHOUT ROWID;"
    "CREATE TABLE IF NOT EXISTS files(name TEXT PRIMARY KEY, size INTEGER NOT NULL DEFAULT -1, modified INTEGER NOT "
    "NULL DEFAULT 0, sha256 TEXT NOT NULL DEFAULT '', next_size INTEGER NOT NULL DEFAULT -1, next_modified INTEGER NOT "
    "NULL DEFAULT 0, next_sha256 TEXT NOT NULL DEFAULT '') WITHOUT ROWID;";

FileContent contentAt(const Statement& row, int column) {
  return {row.number(column), row.number(column + 1), row.bytes(column + 2)};
}

/// What one thread has to note.
struct Settled {
  const std::wstring& project;
  const std::wstring& directory;
  CacheRecord::Files files;
};

/// Notes those in front that are of one cache, in one transaction. @return how many
std::size_t settleFirst(const std::vector<Settled*>& waiting) {
  const Settled& first = *waiting.front();
  std::size_t count = 0;
  // A failure was told to the log where it was met; the record's loss costs time and no work.
  (void)caughtFrom([&] {
    CacheRecord::Files files;
    for (const Settled* settled : waiting) {
      if (settled->project != first.project || settled->directory != first.directory) break;
      files.insert(files.end(), settled->files.begin(), settled->files.end());
      ++count;
    }
    if (const auto record = CacheRecord::of(first.project, first.directory)) record->settle(files);
  });
  return std::max<std::size_t>(count, 1);
}

}  // namespace

bool isCacheOf(const std::wstring& project, const std::wstring& directory) {
  std::wstring cache;
  if (make_prj_dir(PRJ({}, {}, {}, project, true), cache) != 0) return false;
  const std::wstring place = platform::weaklyCanonical(cache);
  return !place.empty() && platform::equalsIgnoreCase(place, platform::weaklyCanonical(directory));
}

FileContent contentOf(const StoredFile& file) {
  return {file.size, ticksOf(file.modified), file.sha256};
}

LoadVerdict loadVerdict(const FileContent& here, const FileContent& stored, const SeenFile* seen, bool mayKeep) {
  const bool isUnchangedHere =
      !here.isKnown() || (seen != nullptr && (seen->settled.looksLike(here) || seen->announced.looksLike(here)));
  if (isUnchangedHere) return LoadVerdict::Bring;
  if (!mayKeep) return LoadVerdict::BringAfterBackup;
  const bool isOldNews = seen != nullptr && seen->settled.looksLike(stored) && seen->settled.sha256 == stored.sha256;
  return isOldNews ? LoadVerdict::Leave : LoadVerdict::KeepBoth;
}

CacheRecord::CacheRecord(std::wstring directory, std::int64_t born) : directory_(std::move(directory)), born_(born) {}
CacheRecord::~CacheRecord() = default;

std::unique_ptr<CacheRecord> CacheRecord::of(const std::wstring& project, const std::wstring& directory) {
  if (project.empty() || !isCacheOf(project, directory)) return nullptr;
  const platform::FileStatus status = platform::fileStatus(directory);
  if (!status.isDirectory) return nullptr;
  std::unique_ptr<CacheRecord> record(new CacheRecord(directory, ticksOf(status.creationTime)));
  const std::wstring path = platform::joinPath(kDirectory, project + kEnding);
  record->guarded([&] {
    SHCreateDirectoryExW(nullptr, kDirectory, nullptr);
    try {
      record->open(platform::systemPath(path));
    } catch (const StoreError& error) {
      if (error.status != kStoreInvalidData) throw;
      lfperrC(L"%s is damaged and is made anew; the next load is a full one\n", path);
      record->connection_.reset();
      removeFile(platform::systemPath(path));
      record->open(platform::systemPath(path));
    }
  });
  return record;
}

void CacheRecord::open(const std::string& path) {
  connection_ = std::make_unique<Connection>(path, Connection::Mode::Create);
  connection_->execute(kSchema);
  const std::int64_t born = connection_->number("SELECT value FROM cache WHERE key='born'");
  if (born == born_) {
    whole_ = connection_->number("SELECT value FROM cache WHERE key='whole'") != 0;
    return;
  }
  WriteTransaction transaction(*connection_);
  connection_->execute("DELETE FROM files; DELETE FROM cache");
  Statement put(*connection_, "INSERT INTO cache(key, value) VALUES('born', ?)");
  (put << born_).run();
  transaction.commit();
}

/// A record that fails has told all that it can: from then on it knows nothing.
template <typename Work>
void CacheRecord::guarded(Work&& work) {
  const CloudStatus status = answerOf(std::forward<Work>(work));
  if (status == kStoreOk) return;
  lfperrC(L"what the cache had can't be remembered: %s\n", CloudStore::lastText());
  whole_ = false;
  files_.emplace();
  connection_.reset();
}

void CacheRecord::setWhole() {
  if (whole_ || connection_ == nullptr) return;
  guarded([&] {
    connection_->execute("INSERT OR REPLACE INTO cache(key, value) VALUES('whole', 1)");
    whole_ = true;
  });
}

void CacheRecord::load() {
  files_.emplace();
  if (connection_ == nullptr) return;
  guarded([&] {
    Statement row(*connection_, "SELECT * FROM files");
    while (row.row()) files_->emplace(row.text(0), SeenFile{contentAt(row, 1), contentAt(row, 4)});
  });
}

const SeenFile* CacheRecord::find(const std::wstring& name) {
  if (!files_) load();
  const auto found = files_->find(platform::toLower(name));
  return found == files_->end() ? nullptr : &found->second;
}

std::optional<SeenFile> CacheRecord::ask(const std::wstring& name) {
  std::optional<SeenFile> seen;
  if (connection_ == nullptr) return seen;
  guarded([&] {
    Statement row(*connection_, "SELECT * FROM files WHERE name=?");
    row << platform::toLower(name);
    if (row.row()) seen = SeenFile{contentAt(row, 1), contentAt(row, 4)};
  });
  return seen;
}

void CacheRecord::forget(const std::vector<std::wstring>& names) {
  if (names.empty() || connection_ == nullptr) return;
  guarded([&] {
    WriteTransaction transaction(*connection_);
    Statement remove(*connection_, "DELETE FROM files WHERE name=?");
    for (const std::wstring& name : names) (remove << platform::toLower(name)).run();
    transaction.commit();
  });
  if (!files_) return;
  for (const std::wstring& name : names) files_->erase(platform::toLower(name));
}

void CacheRecord::give(const char* sql, const Files& files) {
  if (files.empty() || connection_ == nullptr) return;
  guarded([&] {
    WriteTransaction transaction(*connection_);
    for (const auto& [name, content] : files) {
      Statement put(*connection_, sql);
      (put << platform::toLower(name) << content.size << content.modified << content.sha256).run();
    }
    transaction.commit();
  });
}

void CacheRecord::announce(const Files& files) {
  give(
      "INSERT INTO files(name, next_size, next_modified, next_sha256) VALUES(?, ?, ?, ?) ON CONFLICT(name) DO UPDATE "
      "SET next_size=excluded.next_size, next_modified=excluded.next_modified, next_sha256=excluded.next_sha256",
      files);
}

void CacheRecord::settle(const Files& files) {
  if (files.empty()) return;
  guarded([&] {
    std::vector<std::wstring> names;
    names.reserve(files.size());
    for (const auto& file : files) names.push_back(file.first);
    requireDurable(directory_, names);
  });
  give("INSERT OR REPLACE INTO files(name, size, modified, sha256) VALUES(?, ?, ?, ?)", files);
  if (!files_) return;
  for (const auto& [name, content] : files) files_->insert_or_assign(platform::toLower(name), SeenFile{content, {}});
}

void noteSettled(const std::wstring& project, const std::wstring& directory, const std::vector<StoredFile>& files) {
  static Gathering<Settled> gathering(kMostNotedAtOnce);
  Settled settled{project, directory, {}};
  for (const StoredFile& file : files) {
    const FileClass fileClass = classOfName(file.name);
    if (fileClass != FileClass::Teilbild && fileClass != FileClass::Plan)
      settled.files.emplace_back(file.name, contentOf(file));
  }
  if (!settled.files.empty()) gathering.run(settled, settleFirst);
}

}  // namespace workstation
