// Putting a group of files: bodies first, each under its hash, then one sync, then one transaction for all records. A
// crash before the transaction leaves bodies that nobody refers to; after it everything stands.
#include <optional>

#include "host/FileTypes.h"
#include "host/ObjectFiles.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "platform/Time.h"
#include "workstation/store/DiskFiles.h"
#include "workstation/store/StoreImpl.h"

namespace workstation {

namespace {

bool isOpenHandle(HANDLE handle) {
  return handle != nullptr && handle != INVALID_HANDLE_VALUE;
}

/// A source file that is read once from its beginning, by its path or through an open handle, whose position comes
/// back.
class Source {
 public:
  explicit Source(const FilePut& put) : name_(put.path.empty() ? put.name : put.path) {
    if (isOpenHandle(put.handle)) {
      handle_ = put.handle;
      SetLastError(ERROR_SUCCESS);
      position_ = SetFilePointer(handle_, 0, &positionHigh_, FILE_CURRENT);
      if (position_ == INVALID_SET_FILE_POINTER && GetLastError() != ERROR_SUCCESS) fail(L"was closed meanwhile");
      rewind();
      return;
    }
    handle_ = CreateFileW(put.path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                          nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    owned_ = true;
    if (handle_ == INVALID_HANDLE_VALUE) fail(L"can't be opened");
  }
  ~Source() {
    if (owned_) {
      CloseHandle(handle_);
    } else {
      SetFilePointer(handle_, static_cast<LONG>(position_), &positionHigh_, FILE_BEGIN);
    }
  }
  Source(const Source&) = delete;
  Source& operator=(const Source&) = delete;

  struct State {
    std::uint64_t size = 0;
    FILETIME created{};
    FILETIME modified{};
    bool operator==(const State& other) const {
      return size == other.size && ticksOf(modified) == ticksOf(other.modified);
    }
  };
  State state() const {
    State now;
    DWORD high = 0;
    SetLastError(ERROR_SUCCESS);
    const DWORD low = GetFileSize(handle_, &high);
    if (low == INVALID_FILE_SIZE && GetLastError() != ERROR_SUCCESS) fail(L"has no size");
    now.size = (static_cast<std::uint64_t>(high) << 32U) | low;
    if (GetFileTime(handle_, &now.created, nullptr, &now.modified) == FALSE) fail(L"has no time");
    return now;
  }
  std::size_t read(std::uint8_t* buffer, std::size_t size) {
    DWORD got = 0;
    if (ReadFile(handle_, buffer, static_cast<DWORD>(size), &got, nullptr) == FALSE) fail(L"can't be read");
    return got;
  }
  void rewind() {
    LONG high = 0;
    SetFilePointer(handle_, 0, &high, FILE_BEGIN);
  }

 private:
  [[noreturn]] void fail(const wchar_t* what) const {
    const DWORD code = GetLastError();
    throw StoreError{statusOfError(code != ERROR_SUCCESS ? code : ERROR_READ_FAULT),
                     platform::formatWide(L"\"%s\" %s (error %u)", name_, what, code)};
  }

  const std::wstring& name_;
  HANDLE handle_ = INVALID_HANDLE_VALUE;
  bool owned_ = false;
  DWORD position_ = 0;
  LONG positionHigh_ = 0;
};

/// A file of the group on its way in.
struct Arrival {
  std::size_t index = 0;  ///< in the caller's list
  std::wstring name;
  PlacedBody body;
  Source::State state;
};

/// True for failures of the store itself, which no other file of the group would escape.
bool concernsStore(CloudStatus status) {
  return status == kStoreDiskFull || status == kStoreTimeout || status == statusOfError(ERROR_NOT_ENOUGH_MEMORY);
}

void readContent(const Bodies& bodies, const FilePut& put, Arrival& arrival) {
  Source source(put);
  for (int tries = 0; tries < 2; ++tries) {
    if (tries > 0) source.rewind();
    arrival.state = source.state();
    waitForLaterTime(ticksOf(arrival.state.modified));
    arrival.body = bodies.take([&](std::uint8_t* buffer, std::size_t size) { return source.read(buffer, size); });
    if (arrival.state != source.state() || arrival.state.size != arrival.body.size) continue;
    const FileContent read{static_cast<std::int64_t>(arrival.state.size), ticksOf(arrival.state.modified), {}};
    if (!put.expectedSource.isKnown() || read.looksLike(put.expectedSource)) return;
    throw StoreError{kStoreChanged, L"\"" + arrival.name + L"\" was changed here meanwhile"};
  }
  throw StoreError{kStoreInUse, L"\"" + arrival.name + L"\" kept changing while it was read"};
}

/// Reads a file that is open in the core with the core held off from it, from the content as from the position.
/// @return false when the handle is not the core's of that file: it was closed meanwhile, and what the handle names by
/// now may be another file
bool readQuiesced(const Bodies& bodies, const FilePut& put, Arrival& arrival) {
  struct Call {
    const Bodies& bodies;
    const FilePut& put;
    Arrival& arrival;
    std::optional<CloudStatus> status;
  };
  if (getOpenFileHandle_FromFileName(put.path) != put.handle) return false;
  Call call{bodies, put, arrival, std::nullopt};
  const auto work = [](HANDLE /*file*/, void* arguments) -> unsigned long {
    Call& asked = *static_cast<Call*>(arguments);
    asked.status = answerOf([&] { readContent(asked.bodies, asked.put, asked.arrival); });
    return ERROR_SUCCESS;
  };
  lcfile_doLowlevelOnFile(put.handle, work, &call);
  if (!call.status) return false;
  if (*call.status != kStoreOk) throw StoreError{*call.status, CloudStore::lastText()};
  return true;
}

/// A handle that was closed meanwhile may name another file by now.
bool isHandleOf(HANDLE handle, const std::wstring& path) {
  if (!isOpenHandle(handle)) return false;
  const std::wstring opened = platform::pathOfHandle(handle);
  return !opened.empty() &&
         platform::equalsIgnoreCase(platform::weaklyCanonical(opened), platform::weaklyCanonical(path));
}

Arrival receive(const Bodies& bodies, const FilePut& put) {
  Arrival arrival;
  if (!normaliseStoreName(put.name, arrival.name)) {
    throw StoreError{kStoreInvalidName, L"\"" + put.name + L"\" is not a valid name of a file of a project"};
  }
  if (isOpenHandle(put.handle) && readQuiesced(bodies, put, arrival)) return arrival;
  FilePut source = put;
  if (!isHandleOf(put.handle, put.path)) source.handle = nullptr;
  readContent(bodies, source, arrival);
  return arrival;
}

/// @return the file's revision
std::int64_t putRecord(Connection& connection, const StoreActor& actor, const std::wstring& project, const FilePut& put,
                       const Arrival& arrival) {
  const std::wstring key = platform::toLower(arrival.name);
  Statement record(
      connection,
      "INSERT INTO files(project, name_key, name, class, uuid, size, created, modified, uploaded, uploader, "
      "workstation, sha256, header) VALUES(?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?) ON CONFLICT(project, name_key) "
      "DO UPDATE SET name=excluded.name, class=excluded.class, size=excluded.size, created=CASE deleted WHEN 0 "
      "THEN created ELSE excluded.created END, modified=excluded.modified, uploaded=excluded.uploaded, "
      "uploader=excluded.uploader, workstation=excluded.workstation, sha256=excluded.sha256, "
      "header=excluded.header, deleted=0, revision=revision+1 RETURNING id, revision");
  record << project << key << arrival.name << static_cast<int>(classOfName(arrival.name)) << newUuid()
         << static_cast<std::int64_t>(arrival.body.size) << ticksOf(arrival.state.created)
         << ticksOf(arrival.state.modified) << nowTicks() << actor.user.uuid << actor.workstationName
         << arrival.body.sha256 << put.header;
  record.row();
  const std::int64_t id = record.number(0);
  const std::int64_t revision = record.number(1);
  record.run();
  Statement forget(connection, "DELETE FROM file_metadata WHERE file=?");
  (forget << id).run();
  Statement pair(connection, "INSERT OR REPLACE INTO file_metadata(file, key, value) VALUES(?, ?, ?)");
  for (const auto& [metadataKey, value] : put.metadata) (pair << id << metadataKey << value).run();
  return revision;
}

StoredFile storedFrom(const Arrival& arrival, std::int64_t revision) {
  StoredFile file;
  file.name = arrival.name;
  file.size = static_cast<std::int64_t>(arrival.body.size);
  file.modified = arrival.state.modified;
  file.revision = revision;
  file.sha256 = arrival.body.sha256;
  return file;
}

CloudStatus firstFailure(const std::vector<CloudStatus>& statuses) {
  for (const CloudStatus status : statuses) {
    if (status != kStoreOk) return status;
  }
  return kStoreOk;
}

}  // namespace

void requireObjectFree(Connection& connection, const StoreActor& actor, const std::wstring& project,
                       const std::wstring& name, bool needsOwnLock) {
  QuorvelFileType type = eFileType_Unknown;
  int number = -1;
  if (name.find(L'\\') != std::wstring::npos) return;
  if (!GetTypeFromFilePathName(name, type, number) || number <= 0) return;
  Statement statement(
      connection,
      "SELECT u.name, l.workstation, l.user=?4 AND l.workstation_id=?5 FROM object_locks l JOIN users u ON "
      "u.uuid=l.user WHERE l.project=?1 AND l.type=?2 AND l.number=?3");
  statement << project << static_cast<int>(type) << number << actor.user.uuid << actor.workstationId;
  if (!statement.row()) {
    if (!needsOwnLock) return;
    throw StoreError{kStoreLocked, L"\"" + name + L"\" is not locked any more: the lock was taken away"};
  }
  if (statement.number(2) == 0) {
    throw StoreError{kStoreLocked, platform::formatWide(L"\"%s\" is locked by %s at \"%s\"", name, statement.text(0),
                                                        statement.text(1))};
  }
}

CloudStatus CloudStore::mayChange(const StoreActor& actor, const std::wstring& project) {
  return answerOf([&] {
    const ConnectionPool::Lease lease = impl_->pool.take();
    requireRole(*lease, actor, project, StoreRole::Editor);
    requireProjectUnlocked(*lease, actor, project);
  });
}

CloudStatus CloudStore::putFiles(const StoreActor& actor, const std::wstring& project,
                                 const std::vector<FilePut>& files, std::vector<CloudStatus>& statuses,
                                 const StoreProgress& progress, std::vector<StoredFile>* stored) {
  statuses.assign(files.size(), kStoreOk);
  if (stored != nullptr) stored->assign(files.size(), {});
  std::wstring firstText;
  const auto note = [&](std::size_t index, const StoreError& error) {
    if (firstText.empty()) firstText = error.text;
    statuses[index] = error.status;
  };
  const CloudStatus whole = answerOf([&] {
    {
      const ConnectionPool::Lease lease = impl_->pool.take();
      requireRole(*lease, actor, project, StoreRole::Editor);
      requireProjectUnlocked(*lease, actor, project);
    }
    const std::optional<DiskLock> noSweep = DiskLock::take(impl_->bodies.lockPath(), DiskLock::Kind::Shared);
    std::vector<Arrival> arrivals;
    std::vector<PlacedBody> placed;
    std::uint64_t bytes = 0;
    for (std::size_t i = 0; i < files.size(); ++i) {
      try {
        Arrival arrival = receive(impl_->bodies, files[i]);
        arrival.index = i;
        bytes += arrival.body.size;
        placed.push_back(arrival.body);
        arrivals.push_back(std::move(arrival));
      } catch (const StoreError& error) {
        if (concernsStore(error.status)) throw;
        note(i, error);
      }
      if (progress) progress(static_cast<std::uint32_t>(i + 1), static_cast<std::uint32_t>(files.size()), bytes);
    }
    if (arrivals.empty()) return;
    impl_->commits.commit(placed, [&](Connection& connection) {
      requireRole(connection, actor, project, StoreRole::Editor);
      requireProjectUnlocked(connection, actor, project);
      bool changed = false;
      for (const Arrival& arrival : arrivals) {
        try {
          const FilePut& put = files[arrival.index];
          requireObjectFree(connection, actor, project, arrival.name, put.needsOwnLock);
          requireRevision(connection, project, arrival.name, put.expectedRevision);
        } catch (const StoreError& error) {
          if (error.status != kStoreLocked && error.status != kStoreChanged) throw;
          note(arrival.index, error);
          continue;
        }
        const std::int64_t revision = putRecord(connection, actor, project, files[arrival.index], arrival);
        if (stored != nullptr) (*stored)[arrival.index] = storedFrom(arrival, revision);
        changed = true;
      }
      if (changed) countChange(connection, project);
    });
  });
  if (whole != kStoreOk) {
    statuses.assign(files.size(), whole);
    if (stored != nullptr) stored->assign(files.size(), {});
    return whole;
  }
  const CloudStatus first = firstFailure(statuses);
  if (first != kStoreOk) setLastStoreText(firstText);
  return first;
}

}  // namespace workstation
