#include "toolkit/DirectoryClient.h"

#include <array>
#include <charconv>

#include "platform/Files.h"
#include "platform/Messages.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "platform/Time.h"
#include "toolkit/PlainDirectory.h"
#include "toolkit/Progress.h"
#include "toolkit/RemotePaths.h"
#include "toolkit/StringW.h"

namespace Quorvel::FileAccess {

namespace {

int replyCodeOf(DWORD error) {
  switch (error) {
    case ERROR_NOT_CONNECTED:
      return 0;
    case ERROR_OPERATION_ABORTED:
      return eReply_Aborted;
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
      return eReply_Busy;
    case ERROR_NOT_ENOUGH_MEMORY:
    case ERROR_READ_FAULT:
    case ERROR_WRITE_FAULT:
      return eReply_LocalError;
    case ERROR_DISK_FULL:
      return eReply_NoSpace;
    case ERROR_INVALID_NAME:
    case ERROR_FILENAME_EXCED_RANGE:
      return eReply_NameRefused;
    default:
      return eReply_Unavailable;
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

}  // namespace

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
  std::wstring result = resolveDirectory(current_, path);
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
  return reply(eReply_Ok, L"ready");
}

bool DirectoryClient::Disconnect() {
  begin(L"Disconnect", nullptr);
  isConnected_ = false;
  listing_.reset();
  return true;
}

bool DirectoryClient::Feat(CkStringW& out) {
  if (!begin(L"Feat", nullptr)) return false;
  reply(eReply_Features, L"features\n REST STREAM\n SIZE\n UTF8\n211 end");
  out.setString(replyText_);
  return true;
}

bool DirectoryClient::Quote(const wchar_t* command) {
  if (!begin(L"Quote", command)) return false;
  const std::wstring text = platform::toUpper(command != nullptr ? command : L"");
  if (text == L"NOOP") return reply(eReply_Ok, L"nothing done");
  constexpr std::wstring_view kRestart = L"REST ";
  if (text.rfind(kRestart, 0) != 0) return reply(eReply_UnknownCommand, L"a plain directory knows no such command");
  const std::string digits = platform::toUtf8(text.substr(kRestart.size()));
  std::int64_t offset = 0;
  const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), offset);
  const bool isOffset = result.ec == std::errc() && result.ptr == digits.data() + digits.size() && offset >= 0;
  if (!isOffset) return reply(eReply_BadArgument, L"REST needs an offset in bytes");
  restart_ = static_cast<std::uint64_t>(offset);
  return reply(eReply_Restarts, platform::formatWide(L"the next read begins at %lld", static_cast<long long>(offset)));
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
  return reply(eReply_ActionDone, L"directory changed");
}

bool DirectoryClient::CreateRemoteDir(const wchar_t* name) {
  if (!begin(L"CreateRemoteDir", name)) return false;
  const std::wstring path = directoryOf(name);
  if (path.empty()) return false;
  return CreateDirectoryW(path.c_str(), nullptr) != FALSE ? reply(eReply_Created, L"directory made") : failed(path);
}

bool DirectoryClient::RemoveRemoteDir(const wchar_t* path) {
  if (!begin(L"RemoveRemoteDir", path)) return false;
  const std::wstring directory = directoryOf(path);
  if (directory.empty()) return false;
  return RemoveDirectoryW(directory.c_str()) != FALSE ? reply(eReply_ActionDone, L"directory removed")
                                                      : failed(directory);
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
  return reply(eReply_ActionDone, L"emptied");
}

bool DirectoryClient::DeleteRemoteFile(const wchar_t* name) {
  if (!begin(L"DeleteRemoteFile", name)) return false;
  const std::wstring path = fileOf(name);
  if (path.empty()) return false;
  return DeleteFileW(path.c_str()) != FALSE ? reply(eReply_ActionDone, L"deleted") : failed(path);
}

bool DirectoryClient::RenameRemoteFile(const wchar_t* oldName, const wchar_t* newName) {
  if (!begin(L"RenameRemoteFile", oldName, newName)) return false;
  const std::wstring from = fileOf(oldName);
  const std::wstring to = from.empty() ? std::wstring() : fileOf(newName);
  if (to.empty()) return false;
  const bool isMoved = MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING) != FALSE;
  return isMoved ? reply(eReply_ActionDone, L"renamed") : failed(from + L"\" to \"" + to);
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
  reply(eReply_FileStatus, std::to_wstring(found[0].size));
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
    reply(eReply_TransferDone, platform::formatWide(L"%u entries", static_cast<unsigned>(entries.size())));
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

std::unique_ptr<IRemoteClient> makeDirectoryClient() {
  return std::make_unique<DirectoryClient>();
}

}  // namespace Quorvel::FileAccess
