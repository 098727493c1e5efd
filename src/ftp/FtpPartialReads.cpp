// Pieces of large files, read through a handle.
#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <mutex>
#include <set>
#include <string_view>

#include "diagnostics/CheckedNarrow.h"
#include "ftp/FtpConnection.h"
#include "ftp/ServerPaths.h"
#include "platform/Time.h"
#include "toolkit/ByteData.h"

namespace Quorvel::FileAccess {

struct CPartialDownload {
  std::array<char, 32> tag{};
  std::int64_t position = 0;
  std::int64_t size = 0;  ///< when it was opened
  std::wstring directory;
  std::wstring name;
};

namespace {

constexpr std::string_view kAlive = "CPartialDownload";
constexpr std::string_view kDeleted = "Deleted";

void setTag(CPartialDownload& record, std::string_view text) {
  record.tag.fill('\0');
  std::copy(text.begin(), text.end(), record.tag.begin());
}

/// The handles that are open. A tag can only be read while its memory is ours, which a closed handle's is not.
struct OpenRecords {
  std::mutex mutex;
  std::set<const CPartialDownload*> records;
};

OpenRecords& openRecords() {
  static OpenRecords open;
  return open;
}

bool isAlive(const CPartialDownload* record) {
  OpenRecords& open = openRecords();
  const std::lock_guard lock(open.mutex);
  return open.records.contains(record) && record->tag.data() == kAlive;
}

}  // namespace

CPartialDownload* CZepFtpConnection::openFile(const wchar_t* name, const wchar_t* dir, const int* pathNr) {
  const std::wstring directory = serverDirectoryOf(pathNr, dir);
  if (!initialised_ || name == nullptr || directory.empty()) {
    SetLastError(ERROR_INVALID_DATA);
    return nullptr;
  }
  remote_.notifyDirectory(directory);
  RemoteFileEntry entry;
  const RemoteStatus status =
      retry({[&](RemoteRetryContext& context) { return remote_.changeDirectory(context, directory); },
             [&](RemoteRetryContext& context) { return remote_.getConnectionFile(context, name, entry); }});
  if (!status.isSuccess()) {
    SetLastError(codeOf(status));
    return nullptr;
  }
  auto record = std::make_unique<CPartialDownload>();
  setTag(*record, kAlive);
  record->size = std::max<std::int64_t>(entry.size, 0);
  record->directory = directory;
  record->name = name;
  OpenRecords& open = openRecords();
  const std::lock_guard lock(open.mutex);
  open.records.insert(record.get());
  return record.release();
}

int CZepFtpConnection::seekFile(CPartialDownload* record, long long offset, int origin) {
  constexpr int kFromStart = 0;
  constexpr int kFromPosition = 1;
  constexpr int kFromEnd = 2;
  if (!initialised_) SetLastError(ERROR_INVALID_DATA);
  if (!initialised_ || !isAlive(record) || origin < kFromStart || origin > kFromEnd) return -1;
  std::int64_t base = 0;
  if (origin == kFromPosition) base = record->position;
  if (origin == kFromEnd) base = record->size;
  std::int64_t position = 0;
  if (__builtin_add_overflow(base, offset, &position) || position < 0) return -1;
  record->position = position;
  return 1;
}

std::size_t CZepFtpConnection::readFilePartial(CPartialDownload* record, void* buffer, std::size_t size) {
  if (!initialised_ || buffer == nullptr || !isAlive(record)) return 0;
  const auto wanted = checkedNarrow<std::uint32_t>(size, "FtpConnection");
  const auto position = checkedNarrow<std::uint32_t>(record->position, "FtpConnection");
  const std::int64_t left = std::max<std::int64_t>(record->size - position, 0);
  const std::int64_t count = std::min<std::int64_t>(wanted, left);
  if (count == 0) return 0;

  CkByteData data;
  std::int64_t receivedOffset = 0;
  std::int64_t receivedSize = 0;
  const RemoteStatus status =
      retry({[&](RemoteRetryContext& context) { return remote_.changeDirectory(context, record->directory); },
             [&](RemoteRetryContext& context) {
               return remote_.readFilePart(context, record->name, position, count, data, receivedOffset, receivedSize);
             }});
  if (!status.isSuccess()) {
    SetLastError(codeOf(status));
    return 0;
  }
  std::memcpy(buffer, data.getData() + receivedOffset, static_cast<std::size_t>(receivedSize));
  return static_cast<std::size_t>(receivedSize);
}

DWORD CZepFtpConnection::closeFile(CPartialDownload* record) {
  const DWORD otherwise = initialised_ ? ERROR_SUCCESS : ERROR_INVALID_DATA;
  if (!isAlive(record)) return initialised_ ? ERROR_INVALID_HANDLE : ERROR_INVALID_DATA;
  OpenRecords& open = openRecords();
  {
    const std::lock_guard lock(open.mutex);
    if (open.records.erase(record) == 0) return ERROR_INVALID_HANDLE;
  }
  const std::unique_ptr<CPartialDownload> owned(record);
  setTag(*owned, kDeleted);
  return otherwise;
}

}  // namespace Quorvel::FileAccess
