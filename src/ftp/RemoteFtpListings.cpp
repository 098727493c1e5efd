// The primitives that read listings, and the search for one file.
#include <utility>

#include "ftp/RemoteFailure.h"
#include "ftp/RemoteThreadData.h"
#include "host/Trace.h"
#include "platform/Text.h"
#include "platform/Time.h"
#include "toolkit/StringW.h"
#include "zephor/Service.h"

namespace Quorvel::FileAccess {
namespace {

RemoteStatus noClient() {
  SetLastError(ERROR_INVALID_PARAMETER);
  return {.failed = true, .error = ERROR_INVALID_PARAMETER};
}

RemoteStatus fileNotFound() {
  SetLastError(ERROR_FILE_NOT_FOUND);
  return {.failed = true, .error = ERROR_FILE_NOT_FOUND};
}

/// @return entries of a fresh listing; negative on failure
std::int32_t list(IRemoteClient& client, const std::wstring& pattern) {
  client.ClearDirCache();
  client.put_ListPattern(pattern.c_str());
  return client.get_NumFilesAndDirs();
}

std::wstring nameAt(IRemoteClient& client, std::int32_t index) {
  CkString name;
  return client.GetFilename(index, name) ? name.text() : std::wstring();
}

/// Local time of this machine as the client gives it, back in UTC.
/// @return false for a time that is none; a local time that has no counterpart gives 0
bool timeOverLocal(IRemoteClient& client, std::int32_t index, FILETIME& time) {
  time = FILETIME{};
  SYSTEMTIME local{};
  if (!client.GetLastModifiedTime(index, local)) return false;
  SYSTEMTIME utc{};
  if (TzSpecificLocalTimeToSystemTime(nullptr, &local, &utc) == FALSE) return true;
  return SystemTimeToFileTime(&utc, &time) != FALSE;
}

std::vector<std::wstring> namesOf(std::vector<RemoteFileEntry>&& entries) {
  std::vector<std::wstring> names;
  names.reserve(entries.size());
  for (RemoteFileEntry& entry : entries) names.push_back(std::move(entry.name));
  return names;
}

}  // namespace

RemoteStatus RemoteFtp::getEntries(RemoteRetryContext& context, const std::wstring& pattern,
                                   std::vector<RemoteFileEntry>* files, std::vector<RemoteFileEntry>* directories,
                                   bool namesOnly) {
  if (files != nullptr) files->clear();
  if (directories != nullptr) directories->clear();
  IRemoteClient* used = client();
  if (used == nullptr) return noClient();
  const RemoteFailure& failure = files != nullptr ? failure::kGetFiles : failure::kGetDirectories;
  const std::int32_t count = list(*used, pattern);
  if (count < 0) return failed(context, failure, placeOf(pattern));
  for (std::int32_t index = 0; index < count; ++index) {
    std::vector<RemoteFileEntry>* kind = used->GetIsDirectory(index) ? directories : files;
    if (kind == nullptr) continue;
    RemoteFileEntry entry;
    entry.name = nameAt(*used, index);
    if (entry.name.empty()) continue;
    if (!namesOnly) {
      entry.size = used->GetSize64(index);
      used->GetLastModifiedFTime(index, entry.time);
    }
    kind->push_back(std::move(entry));
  }
  // The times may be asked for only now.
  if (!namesOnly && !used->get_IsConnected()) return failed(context, failure, placeOf(pattern));
  return {};
}

RemoteStatus RemoteFtp::getFileInfos(RemoteRetryContext& context, const std::wstring& pattern,
                                     std::vector<RemoteFileEntry>& out) {
  return getEntries(context, pattern, &out, nullptr);
}

RemoteStatus RemoteFtp::getFileNames(RemoteRetryContext& context, const std::wstring& pattern,
                                     std::vector<std::wstring>& out) {
  std::vector<RemoteFileEntry> entries;
  const RemoteStatus status = getEntries(context, pattern, &entries, nullptr, true);
  out = namesOf(std::move(entries));
  return status;
}

RemoteStatus RemoteFtp::getDirectoryInfos(RemoteRetryContext& context, std::vector<RemoteFileEntry>& out) {
  return getEntries(context, L"*", nullptr, &out);
}

RemoteStatus RemoteFtp::getDirectoryNames(RemoteRetryContext& context, std::vector<std::wstring>& out) {
  std::vector<RemoteFileEntry> entries;
  const RemoteStatus status = getEntries(context, L"*", nullptr, &entries, true);
  out = namesOf(std::move(entries));
  return status;
}

bool RemoteFtp::entryTime(IRemoteClient& client, std::int32_t index, FILETIME& time) const {
  // A directory's times are finer than a calendar time holds.
  if (isDirectoryStore()) return client.GetLastModifiedFTime(index, time);
  if (!timeOverLocal(client, index, time)) return false;
  // In the hour that clocks show twice the way back may lead to the other pass: one file and its listing have one time.
  FILETIME exact{};
  if (client.GetLastModifiedFTime(index, exact)) time = exact;
  return true;
}

RemoteStatus RemoteFtp::getConnectionFile(RemoteRetryContext& context, const std::wstring& name, RemoteFileEntry& out) {
  out = RemoteFileEntry{};
  if (client() == nullptr) return noClient();
  return listingCacheOn_ ? findInCache(context, name, out) : findOnServer(context, name, out);
}

RemoteStatus RemoteFtp::findInCache(RemoteRetryContext& context, const std::wstring& name, RemoteFileEntry& out) {
  const CTimeTrace timer(WGO_GetTrace(), L"RemoteFtp::getConnectionFile(cached)", 1, false, true);
  if (const ThreadData* data = find()) listingCache_.notify(data->directory);
  if (listingCache_.isEmpty()) {
    const RemoteStatus status = fillCache(context);
    if (!status.isSuccess()) return status;
  }
  std::optional<RemoteFileEntry> found = listingCache_.find(name);
  if (!found) return fileNotFound();
  out = std::move(*found);
  return {};
}

RemoteStatus RemoteFtp::fillCache(RemoteRetryContext& context) {
  IRemoteClient& used = *client();
  const std::int32_t count = list(used, L"*");
  if (count < 0) return failed(context, failure::kGetFileData, placeOf(L"*"));
  std::vector<RemoteFileEntry> entries;
  for (std::int32_t index = 0; index < count; ++index) {
    RemoteFileEntry entry;
    entry.size = used.GetSize64(index);
    if (entry.size < 0 || used.GetIsDirectory(index) || !entryTime(used, index, entry.time)) continue;
    entry.name = nameAt(used, index);
    entries.push_back(std::move(entry));
  }
  if (!used.get_IsConnected()) return failed(context, failure::kGetFileData, placeOf(L"*"));
  listingCache_.fill(std::move(entries));
  return {};
}

RemoteStatus RemoteFtp::findOnServer(RemoteRetryContext& context, const std::wstring& name, RemoteFileEntry& out) {
  const CTimeTrace timer(WGO_GetTrace(), L"RemoteFtp::getConnectionFile(from file)", 1, false, true);
  IRemoteClient& used = *client();
  std::int32_t count = list(used, name);
  std::int32_t index = 0;
  if (count == 0) {
    // Some servers do not match a bare name. What is found then may be another file that ends like this one.
    count = list(used, L"*" + name);
    while (index < count && !platform::equalsIgnoreCase(nameAt(used, index), name)) ++index;
  }
  if (count < 0) return failed(context, failure::kGetFileData, placeOf(name));
  if (index >= count || used.GetIsDirectory(index)) return fileNotFound();
  out.name = nameAt(used, index);
  out.size = used.GetSize64(index);
  if (!entryTime(used, index, out.time) && !used.get_IsConnected()) {
    return failed(context, failure::kGetFileData, placeOf(name));
  }
  return {};
}

}  // namespace Quorvel::FileAccess
