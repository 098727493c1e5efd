#include "toolkit/DirectoryClient.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cwctype>
#include <new>
#include <optional>
#include <vector>

#include "platform/Files.h"
#include "platform/Messages.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "platform/Time.h"
#include "toolkit/ArrivingFile.h"
#include "toolkit/ByteData.h"
#include "toolkit/DirectoryListing.h"
#include "toolkit/OpenFile.h"
#include "toolkit/Progress.h"
#include "toolkit/RemotePaths.h"
#include "toolkit/StringW.h"
#include "toolkit/TransferMeter.h"

namespace Quorvel::FileAccess {

namespace {

constexpr std::int32_t kDefaultPiece = 256 * 1024;
constexpr std::int32_t kPieceForNone = 65535;
constexpr std::int32_t kSmallestPiece = 300;
constexpr std::int32_t kLargestPiece = 3000000;

// Reply codes that an FTP server gives in the same case.
constexpr int kOk = 200;
constexpr int kFeatures = 211;
constexpr int kFileStatus = 213;
constexpr int kTransferDone = 226;
constexpr int kActionDone = 250;
constexpr int kCreated = 257;
constexpr int kRestarts = 350;
constexpr int kAborted = 426;
constexpr int kBusy = 450;
constexpr int kLocalError = 451;
constexpr int kNoSpace = 452;
constexpr int kUnknownCommand = 500;
constexpr int kBadArgument = 501;
constexpr int kUnavailable = 550;
constexpr int kNameRefused = 553;

int replyCodeOf(DWORD error) {
  switch (error) {
    case ERROR_NOT_CONNECTED:
      return 0;
    case ERROR_OPERATION_ABORTED:
      return kAborted;
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
      return kBusy;
    case ERROR_NOT_ENOUGH_MEMORY:
    case ERROR_READ_FAULT:
    case ERROR_WRITE_FAULT:
      return kLocalError;
    case ERROR_DISK_FULL:
      return kNoSpace;
    case ERROR_INVALID_NAME:
    case ERROR_FILENAME_EXCED_RANGE:
      return kNameRefused;
    default:
      return kUnavailable;
  }
}

std::wstring textOf(DWORD error) {
  std::array<wchar_t, 512> buffer{};
  const DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error, 0,
                                      buffer.data(), static_cast<DWORD>(buffer.size()), nullptr);
  std::wstring text(buffer.data(), length);
  text.erase(text.find_last_not_of(L"\r\n ") + 1);
  return platform::formatWide(L"%s (error %u)", text, error);
}

class DirectoryClient final : public IRemoteClient {
 public:
  bool Connect() override;
  bool Disconnect() override;
  bool get_IsConnected() override { return isConnected_; }
  std::int32_t get_ConnectFailReason() const override { return eConnect_Ok; }
  std::wstring lastErrorText() const override { return operation_ + L"\n" + replyText_ + L"\n"; }
  int lastReplyCode() const override { return replyCode_; }
  std::wstring lastReplyText() const override { return replyText_; }
  bool Feat(CkStringW& out) override;
  bool Quote(const wchar_t* command) override;
  bool ChangeRemoteDir(const wchar_t* path) override;
  bool CreateRemoteDir(const wchar_t* name) override;
  bool RemoveRemoteDir(const wchar_t* path) override;
  bool DeleteTree() override;
  bool DeleteRemoteFile(const wchar_t* name) override;
  bool RenameRemoteFile(const wchar_t* oldName, const wchar_t* newName) override;
  bool GetFile(const wchar_t* remote, const wchar_t* local) override;
  bool PutFile(const wchar_t* local, const wchar_t* remote) override;
  bool GetRemoteFileBinaryData(const wchar_t* remote, CkByteData& out) override;
  bool PutFileFromBinaryData(const wchar_t* remote, const CkByteData& data) override;
  std::int32_t GetSizeByName(const wchar_t* name) override;
  std::int64_t GetSizeByName64(const wchar_t* name) override;
  void ClearDirCache() override { listing_.reset(); }
  void put_ListPattern(const wchar_t* pattern) override;
  std::int32_t get_NumFilesAndDirs() override;
  bool GetFilename(std::int32_t index, CkStringW& name) override;
  bool GetIsDirectory(std::int32_t index) override;
  std::int64_t GetSize64(std::int32_t index) override;
  bool GetLastModifiedFTime(std::int32_t index, FILETIME& time) override;
  bool GetLastModifiedTime(std::int32_t index, SYSTEMTIME& time) override;
  void setEventCallback(CkFtp2ProgressW* receiver) override { receiver_ = receiver; }
  // Every piece of the work takes less time than a heartbeat, and each asks whether to go on.
  void put_HeartbeatMs(std::int32_t /*milliseconds*/) override {}
  void put_SendBufferSize(std::int32_t bytes) override;
  std::int64_t bytesOfLastTransfer() const override { return bytesOfLastTransfer_; }

 private:
  /// Opens an operation. @return false, with the failure told, when there is no connection
  bool begin(const wchar_t* operation, const wchar_t* subject, const wchar_t* second = nullptr);
  bool reply(int code, const std::wstring& text);
  bool fail(DWORD error, const std::wstring& path);
  /// Fails with the thread's last error.
  bool failed(const std::wstring& path) { return fail(GetLastError(), path); }
  /// Library path of a name below the current directory; empty, with the failure told, when the name leaves it.
  std::wstring fileOf(const wchar_t* name);
  std::wstring directoryOf(const wchar_t* path);
  bool isAbortWanted() const;
  template <typename Sink>
  bool send(const OpenFile& source, const std::wstring& sourcePath, std::uint64_t expected, TransferMeter& meter,
            const Sink& sink);
  bool arrive(ArrivingFile& file, const std::wstring& path, TransferMeter& meter);
  const DirectoryEntry* entryAt(std::int32_t index) const;

  bool isConnected_ = false;
  std::wstring current_ = L"\\";
  std::wstring operation_;
  int replyCode_ = 0;
  std::wstring replyText_;
  std::uint64_t restart_ = 0;  // where the next read into memory begins
  std::wstring pattern_ = L"*";
  std::optional<std::vector<DirectoryEntry>> listing_;
  CkFtp2ProgressW* receiver_ = nullptr;
  std::int32_t piece_ = kDefaultPiece;
  std::vector<char> buffer_;
  std::int64_t bytesOfLastTransfer_ = 0;
};

bool DirectoryClient::begin(const wchar_t* operation, const wchar_t* subject, const wchar_t* second) {
  operation_ = operation;
  for (const wchar_t* argument : {subject, second}) {
    if (argument != nullptr) operation_ += platform::formatWide(L" \"%s\"", argument);
  }
  operation_ += platform::formatWide(L" in \"%s\"", current_);
  replyCode_ = 0;
  replyText_.clear();
  return isConnected_ || fail(ERROR_NOT_CONNECTED, current_);
}

bool DirectoryClient::reply(int code, const std::wstring& text) {
  replyCode_ = code;
  replyText_ = code == 0 ? text : std::to_wstring(code) + L" " + text;
  if (receiver_ != nullptr) {
    receiver_->setLastMessage(replyText_.c_str());
    receiver_->onReply(code, replyText_.c_str());
  }
  return code >= 200 && code < 300;
}

bool DirectoryClient::fail(DWORD error, const std::wstring& path) {
  return reply(replyCodeOf(error), platform::formatWide(L"\"%s\": %s", path, textOf(error)));
}

std::wstring DirectoryClient::fileOf(const wchar_t* name) {
  if (isNameBelow(name)) return platform::joinPath(current_, name);
  fail(ERROR_INVALID_NAME, name != nullptr ? name : L"");
  return {};
}

std::wstring DirectoryClient::directoryOf(const wchar_t* path) {
  const std::wstring result = resolveDirectory(current_, path);
  if (result.empty()) fail(ERROR_INVALID_NAME, path != nullptr ? path : L"");
  return result;
}

bool DirectoryClient::isAbortWanted() const {
  bool abort = false;
  if (receiver_ != nullptr) receiver_->onAbortCheck(abort);
  return abort;
}

bool DirectoryClient::Connect() {
  isConnected_ = true;
  current_ = L"\\";
  restart_ = 0;
  listing_.reset();
  begin(L"Connect", nullptr);
  return reply(kOk, L"ready");
}

bool DirectoryClient::Disconnect() {
  begin(L"Disconnect", nullptr);
  isConnected_ = false;
  listing_.reset();
  return true;
}

bool DirectoryClient::Feat(CkStringW& out) {
  if (!begin(L"Feat", nullptr)) return false;
  reply(kFeatures, L"features\n REST STREAM\n SIZE\n UTF8\n211 end");
  out.setString(replyText_);
  return true;
}

bool DirectoryClient::Quote(const wchar_t* command) {
  if (!begin(L"Quote", command)) return false;
  const std::wstring text = platform::toUpper(command != nullptr ? command : L"");
  if (text == L"NOOP") return reply(kOk, L"nothing done");
  constexpr std::wstring_view kRestart = L"REST ";
  if (text.rfind(kRestart, 0) != 0) return reply(kUnknownCommand, L"a plain directory knows no such command");
  const std::string digits = platform::toUtf8(text.substr(kRestart.size()));
  std::int64_t offset = 0;
  const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), offset);
  const bool isOffset = result.ec == std::errc() && result.ptr == digits.data() + digits.size() && offset >= 0;
  if (!isOffset) return reply(kBadArgument, L"REST needs an offset in bytes");
  restart_ = static_cast<std::uint64_t>(offset);
  return reply(kRestarts, platform::formatWide(L"the next read begins at %lld", static_cast<long long>(offset)));
}

bool DirectoryClient::ChangeRemoteDir(const wchar_t* path) {
  if (!begin(L"ChangeRemoteDir", path)) return false;
  const std::wstring wanted = directoryOf(path);
  if (wanted.empty()) return false;
  const std::wstring directory = asOnDisk(wanted);
  const platform::FileStatus status = platform::fileStatus(directory);
  if (!status.exists) return fail(ERROR_PATH_NOT_FOUND, wanted);
  if (!status.isDirectory) return fail(ERROR_DIRECTORY, wanted);
  if (directory != current_) listing_.reset();
  current_ = directory;
  return reply(kActionDone, L"directory changed");
}

bool DirectoryClient::CreateRemoteDir(const wchar_t* name) {
  if (!begin(L"CreateRemoteDir", name)) return false;
  const std::wstring path = directoryOf(name);
  if (path.empty()) return false;
  return CreateDirectoryW(path.c_str(), nullptr) != FALSE ? reply(kCreated, L"directory made") : failed(path);
}

bool DirectoryClient::RemoveRemoteDir(const wchar_t* path) {
  if (!begin(L"RemoveRemoteDir", path)) return false;
  const std::wstring directory = directoryOf(path);
  if (directory.empty()) return false;
  return RemoveDirectoryW(directory.c_str()) != FALSE ? reply(kActionDone, L"directory removed") : failed(directory);
}

bool DirectoryClient::DeleteTree() {
  if (!begin(L"DeleteTree", nullptr)) return false;
  // A whole volume is never what is meant.
  if (isVolume(current_)) return fail(ERROR_ACCESS_DENIED, current_);
  std::vector<DirectoryEntry> entries;
  if (const DWORD error = listDirectory(current_, L"*", Arriving::Shown, entries)) return fail(error, current_);
  listing_.reset();
  for (const DirectoryEntry& entry : entries) {
    const std::wstring path = platform::joinPath(current_, entry.name);
    if (isAbortWanted()) return fail(ERROR_OPERATION_ABORTED, path);
    if (const DWORD error = removeEntry(path, entry)) return fail(error, path);
  }
  return reply(kActionDone, L"emptied");
}

bool DirectoryClient::DeleteRemoteFile(const wchar_t* name) {
  if (!begin(L"DeleteRemoteFile", name)) return false;
  const std::wstring path = fileOf(name);
  if (path.empty()) return false;
  return DeleteFileW(path.c_str()) != FALSE ? reply(kActionDone, L"deleted") : failed(path);
}

bool DirectoryClient::RenameRemoteFile(const wchar_t* oldName, const wchar_t* newName) {
  if (!begin(L"RenameRemoteFile", oldName, newName)) return false;
  const std::wstring from = fileOf(oldName);
  const std::wstring to = from.empty() ? std::wstring() : fileOf(newName);
  if (to.empty()) return false;
  const bool isMoved = MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING) != FALSE;
  return isMoved ? reply(kActionDone, L"renamed") : failed(from + L"\" to \"" + to);
}

/// Reads a source to its end and gives it to `sink`, which answers false to stop with the thread's last error.
///
/// @param expected  bytes that the source has to give
template <typename Sink>
bool DirectoryClient::send(const OpenFile& source, const std::wstring& sourcePath, std::uint64_t expected,
                           TransferMeter& meter, const Sink& sink) {
  buffer_.resize(static_cast<std::size_t>(piece_));
  std::uint64_t done = 0;
  for (;;) {
    if (isAbortWanted()) return fail(ERROR_OPERATION_ABORTED, sourcePath);
    DWORD count = 0;
    if (!source.read(buffer_.data(), static_cast<DWORD>(buffer_.size()), count)) return failed(sourcePath);
    if (count == 0) break;
    done += count;
    if (!sink(buffer_.data(), count)) return false;
    bytesOfLastTransfer_ = meter.add(count);
    // One that grows without end would be read without end.
    if (done > expected) break;
  }
  if (done == expected) return true;
  return reply(kLocalError,
               platform::formatWide(L"\"%s\" changed while it was read: %llu bytes instead of %llu", sourcePath,
                                    static_cast<unsigned long long>(done), static_cast<unsigned long long>(expected)));
}

bool DirectoryClient::GetFile(const wchar_t* remote, const wchar_t* local) {
  restart_ = 0;
  bytesOfLastTransfer_ = 0;
  if (!begin(L"GetFile", remote, local)) return false;
  const std::wstring path = fileOf(remote);
  if (path.empty()) return false;
  const std::wstring target = local != nullptr ? local : L"";
  const OpenFile source(path, GENERIC_READ, kShareAll, OPEN_EXISTING);
  if (!source.isOpen()) return failed(path);
  // Made anew, the local file would take what is to be read with it.
  const std::wstring opened = platform::pathOfHandle(source.handle());
  if (platform::equalsIgnoreCase(opened, platform::weaklyCanonical(target))) return fail(ERROR_SHARING_VIOLATION, path);
  OpenFile file(target, GENERIC_WRITE, FILE_SHARE_READ, CREATE_ALWAYS);
  if (!file.isOpen()) return failed(target);
  TransferMeter meter(receiver_);
  const auto sink = [&](const char* data, DWORD size) { return file.write(data, size) || failed(target); };
  if (!send(source, path, source.size(), meter, sink)) return false;
  return file.close() ? reply(kTransferDone, L"sent") : failed(target);
}

bool DirectoryClient::PutFile(const wchar_t* local, const wchar_t* remote) {
  restart_ = 0;
  bytesOfLastTransfer_ = 0;
  if (!begin(L"PutFile", local, remote)) return false;
  const std::wstring path = fileOf(remote);
  if (path.empty()) return false;
  const std::wstring sourcePath = local != nullptr ? local : L"";
  const OpenFile source(sourcePath, GENERIC_READ, kShareAll, OPEN_EXISTING);
  if (!source.isOpen()) return failed(sourcePath);
  ArrivingFile file(path);
  if (!file.isOpen()) return failed(path);
  TransferMeter meter(receiver_);
  const auto sink = [&](const char* data, DWORD size) { return file.write(data, size) || failed(path); };
  if (!send(source, sourcePath, source.size(), meter, sink)) return false;
  return arrive(file, path, meter);
}

bool DirectoryClient::arrive(ArrivingFile& file, const std::wstring& path, TransferMeter& meter) {
  listing_.reset();
  if (!file.takePlace()) return failed(path);
  return reply(kTransferDone, platform::formatWide(L"%lld bytes received", static_cast<long long>(meter.bytes())));
}

bool DirectoryClient::GetRemoteFileBinaryData(const wchar_t* remote, CkByteData& out) {
  const std::uint64_t offset = restart_;
  restart_ = 0;
  bytesOfLastTransfer_ = 0;
  if (!begin(L"GetRemoteFileBinaryData", remote)) return false;
  const std::wstring path = fileOf(remote);
  if (path.empty()) return false;
  const OpenFile source(path, GENERIC_READ, kShareAll, OPEN_EXISTING);
  if (!source.isOpen()) return failed(path);
  const std::uint64_t size = source.size();
  if (offset > 0 && !source.seek(offset)) return failed(path);
  TransferMeter meter(receiver_);
  const auto sink = [&](const char* data, DWORD count) {
    try {
      out.append(data, count);
      return true;
    } catch (const std::bad_alloc&) {
      return fail(ERROR_NOT_ENOUGH_MEMORY, path);
    }
  };
  const bool isSent = send(source, path, size > offset ? size - offset : 0, meter, sink);
  return isSent && reply(kTransferDone, L"sent");
}

bool DirectoryClient::PutFileFromBinaryData(const wchar_t* remote, const CkByteData& data) {
  restart_ = 0;
  bytesOfLastTransfer_ = 0;
  if (!begin(L"PutFileFromBinaryData", remote)) return false;
  const std::wstring path = fileOf(remote);
  if (path.empty()) return false;
  ArrivingFile file(path);
  if (!file.isOpen()) return failed(path);
  TransferMeter meter(receiver_);
  for (std::size_t done = 0; done < data.getSize();) {
    if (isAbortWanted()) return fail(ERROR_OPERATION_ABORTED, path);
    const auto count =
        static_cast<DWORD>(std::min<std::size_t>(data.getSize() - done, static_cast<std::size_t>(piece_)));
    if (!file.write(data.getData() + done, count)) return failed(path);
    done += count;
    bytesOfLastTransfer_ = meter.add(count);
  }
  return arrive(file, path, meter);
}

std::int32_t DirectoryClient::GetSizeByName(const wchar_t* name) {
  const std::int64_t size = GetSizeByName64(name);
  return size > INT32_MAX ? -1 : static_cast<std::int32_t>(size);
}

std::int64_t DirectoryClient::GetSizeByName64(const wchar_t* name) {
  if (!begin(L"GetSizeByName", name)) return -1;
  const std::wstring path = fileOf(name);
  if (path.empty()) return -1;
  std::vector<DirectoryEntry> found;
  const DWORD error = findEntry(path, found);
  const bool isFile = error == ERROR_SUCCESS && !found.empty() && found[0].size >= 0;
  if (!isFile) {
    fail(error != ERROR_SUCCESS ? error : ERROR_FILE_NOT_FOUND, path);
    return -1;
  }
  reply(kFileStatus, std::to_wstring(found[0].size));
  return found[0].size;
}

void DirectoryClient::put_ListPattern(const wchar_t* pattern) {
  const std::wstring wanted = pattern != nullptr && *pattern != L'\0' ? pattern : L"*";
  if (wanted != pattern_) listing_.reset();
  pattern_ = wanted;
}

std::int32_t DirectoryClient::get_NumFilesAndDirs() {
  if (!isConnected_ || !listing_) {
    if (!begin(L"list", pattern_.c_str())) return -1;
    std::vector<DirectoryEntry> entries;
    const bool isWildcard = pattern_.find_first_of(L"*?") != std::wstring::npos;
    const std::wstring path = isWildcard ? current_ : fileOf(pattern_.c_str());
    if (path.empty()) return -1;
    const DWORD error =
        isWildcard ? listDirectory(path, pattern_, Arriving::Hidden, entries) : findEntry(path, entries);
    if (error != ERROR_SUCCESS) {
      fail(error, path);
      return -1;
    }
    if (receiver_ != nullptr) receiver_->onEndListing(current_.c_str(), static_cast<std::int32_t>(entries.size()));
    reply(kTransferDone, platform::formatWide(L"%u entries", static_cast<unsigned>(entries.size())));
    listing_ = std::move(entries);
  }
  return static_cast<std::int32_t>(listing_->size());
}

const DirectoryEntry* DirectoryClient::entryAt(std::int32_t index) const {
  const bool isThere = listing_ && index >= 0 && static_cast<std::size_t>(index) < listing_->size();
  return isThere ? &(*listing_)[static_cast<std::size_t>(index)] : nullptr;
}

bool DirectoryClient::GetFilename(std::int32_t index, CkStringW& name) {
  const DirectoryEntry* entry = entryAt(index);
  if (entry == nullptr) return false;
  name.setString(entry->name);
  return true;
}

bool DirectoryClient::GetIsDirectory(std::int32_t index) {
  const DirectoryEntry* entry = entryAt(index);
  return entry != nullptr && entry->isDirectory;
}

std::int64_t DirectoryClient::GetSize64(std::int32_t index) {
  const DirectoryEntry* entry = entryAt(index);
  return entry != nullptr ? entry->size : -1;
}

bool DirectoryClient::GetLastModifiedFTime(std::int32_t index, FILETIME& time) {
  const DirectoryEntry* entry = entryAt(index);
  if (entry == nullptr) return false;
  time = entry->time;
  return true;
}

bool DirectoryClient::GetLastModifiedTime(std::int32_t index, SYSTEMTIME& time) {
  const DirectoryEntry* entry = entryAt(index);
  SYSTEMTIME utc{};
  return entry != nullptr && FileTimeToSystemTime(&entry->time, &utc) != FALSE &&
         SystemTimeToTzSpecificLocalTime(nullptr, &utc, &time) != FALSE;
}

void DirectoryClient::put_SendBufferSize(std::int32_t bytes) {
  piece_ = bytes < 1 ? kPieceForNone : std::clamp(bytes, kSmallestPiece, kLargestPiece);
}

}  // namespace

std::unique_ptr<IRemoteClient> makeDirectoryClient() {
  return std::make_unique<DirectoryClient>();
}

}  // namespace Quorvel::FileAccess
