// Bringing directories in step with the server, file by file on the strength of their times.
#include <functional>
#include <map>
#include <set>

#include "core/LastError.h"
#include "ftp/FtpConnection.h"
#include "ftp/ServerPaths.h"
#include "ftp/SyncDecision.h"
#include "ftp/SyncSteps.h"
#include "ftp/TreeSync.h"
#include "host/Trace.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "platform/Time.h"
#include "zephor/Diagnostics.h"
#include "zephor/Progress.h"
#include "zephor/ServerStore.h"
#include "zephor/Service.h"
#include "zephor/ThreadedTransfers.h"

namespace Quorvel::FileAccess {

using ConnectionLogger::traceFmt;

namespace {

constexpr double kBytesPerMegabyte = 1048576.0;
constexpr const wchar_t* kSyncFromServer = L"Quorvel::FileAccess::CZepFtpConnection::syncFromServer";

std::wstring textOf(const wchar_t* text) {
  return text != nullptr ? text : L"";
}

void tellAmount(const std::vector<Threading::ServerFile>& files) {
  std::int64_t bytes = 0;
  for (const Threading::ServerFile& each : files) bytes += each.file.size;
  traceFmt(0, L"Threading::WGO_DownloadFiles: %d files, amount of data: %02lf Mb", files.size(),
           static_cast<double>(bytes) / kBytesPerMegabyte);
}

/// Of directories that would be one here only the first is gone into: files of the others would replace its own.
void dropNamesakes(const std::wstring& parent, std::vector<RemoteFileEntry>& directories) {
  std::set<std::wstring> names;
  std::erase_if(directories, [&](const RemoteFileEntry& entry) {
    const bool isFirst = names.insert(platform::toLower(entry.name)).second;
    if (!isFirst) {
      lfperrC(L"syncFromServer: %s/%s is left out: another directory has that name here\n", parent, entry.name);
    }
    return !isFirst;
  });
}

/// Makes the directories of a list here. What can't have one is dropped from the list.
/// @return 0, or why the first could not be made
DWORD makeLocalPlaces(const std::function<std::wstring(const std::wstring&)>& localOf,
                      std::vector<Threading::ServerFile>& files) {
  DWORD firstError = 0;
  std::map<std::wstring, bool> places;
  std::erase_if(files, [&](const Threading::ServerFile& each) {
    const auto [place, isNew] = places.try_emplace(each.directory, true);
    if (isNew) {
      const int made = SHCreateDirectoryExW(nullptr, localOf(each.directory).c_str(), nullptr);
      place->second = made == 0 || made == ERROR_ALREADY_EXISTS;
      if (!place->second && firstError == 0) firstError = static_cast<DWORD>(made);
    }
    return !place->second;
  });
  return firstError;
}

}  // namespace

std::wstring CZepFtpConnection::syncLabelOf(const std::wstring& server, const std::wstring& local) const {
  return platform::formatWide(L"syncServerDirectory: '%s' <- '%s' ", urlOf(server, L""), local);
}

void CZepFtpConnection::traceInStep(const std::wstring& server, const std::wstring& local) const {
  const CTimeTrace timer(timeTraceLevel(), syncLabelOf(server, local), 1, false, true);
}

DWORD CZepFtpConnection::syncServerDirectory(const int* pathNr, const wchar_t* directory, const WGO_FileFilter* filter,
                                             int progress) {
  const std::wstring name = textOf(directory);
  const int localNr = localNumberOf(pathNr);
  const std::wstring server = serverDirectoryOf(pathNr, name.c_str());
  const std::wstring local = localPathOf(&localNr, name.c_str(), nullptr);
  if (!initialised_ || server.empty() || local.empty()) return answered(ERROR_INVALID_DATA);
  const CTimeTrace timer(timeTraceLevel(), syncLabelOf(server, local), 1, false, true);
  std::vector<RemoteFileEntry> onServer;
  const DWORD listed = getServerFileInfos(server.c_str(), L"*", onServer, nullptr);
  const bool isMissing = listed == ERROR_PATH_NOT_FOUND;
  if (listed != 0 && !isMissing) return listed;
  std::vector<InetFileInfo> files;
  if (const DWORD error = newerFilesIn(local, filter, onServer, files); error != 0) return error;

  const auto bar = demandProgress(progress, synchronizingText(name));
  IProgress* shown = bar.get();
  if (bar) bar->setRange(files.size());
  SetLastError(0);
  if (files.empty()) return 0;
  if (isMissing) {
    if (!createServerDirectory(server.c_str())) return lastErrorOr(ERROR_PATH_NOT_FOUND);
    // It may have been there all along, or somebody else may have made it: what is in it now decides.
    if (const DWORD error = getServerFileInfos(server.c_str(), L"*", onServer, nullptr); error != 0) return error;
    files.clear();
    if (const DWORD error = newerFilesIn(local, filter, onServer, files); error != 0) return error;
    SetLastError(0);
  }
  onServer = {};
  return Threading::uploadList(*this, files, name.c_str(), localNr, false, &shown);
}

DWORD CZepFtpConnection::syncServerDirectoryTree(const wchar_t* directory, const int* pathNr,
                                                 const WGO_FileFilter* filter, int progress, bool recursive) {
  if (!isOnline()) return 0;
  const std::wstring name = textOf(directory);
  const int localNr = localNumberOf(pathNr);
  const std::wstring server = serverDirectoryOf(pathNr, name.c_str());
  const std::wstring local = localPathOf(&localNr, name.c_str(), nullptr);
  if (!initialised_ || server.empty() || local.empty()) return answered(ERROR_INVALID_DATA);
  const CTimeTrace timer(timeTraceLevel(),
                         platform::formatWide(L"syncServerDirectoryTree: '%s' -> '%s'", local, urlOf(server, L"")), 1,
                         false, true);
  SetLastError(0);
  if (!createServerDirectory(server.c_str())) return lastErrorOr(ERROR_PATH_NOT_FOUND);
  const auto bar = demandProgress(progress, L"query directories:");
  TreeSync tree(*this, {local, server, name, *pathNr}, filter, bar.get());
  if (const DWORD error = tree.list(recursive); error != 0) return error;
  // Callers read the answer as that of the listings; how the uploads went stands in the last error.
  SetLastError(tree.send());
  return 0;
}

DWORD CZepFtpConnection::syncFromServer(const wchar_t* directory, const int* pathNr, const WGO_FileFilter* filter,
                                        int progress, bool recursive) {
  const std::wstring root = textOf(directory);
  const int localNr = localNumberOf(pathNr);
  const std::wstring server = serverDirectoryOf(pathNr, root.c_str());
  if (!initialised_ || server.empty() || localPathOf(&localNr, root.c_str(), nullptr).empty()) {
    return answered(ERROR_INVALID_DATA);
  }
  const auto localOf = [&](const std::wstring& below) { return localPathOf(&localNr, below.c_str(), nullptr); };
  const auto bar = demandProgress(progress, L"query directory files:");
  std::vector<Threading::ServerFile> wanted;
  DWORD firstError = 0;
  const auto collect = [&](const std::wstring& relative, const std::vector<RemoteFileEntry>& files) {
    const std::wstring below = joinServerPath(root, relative);
    std::set<std::wstring> names;
    for (const RemoteFileEntry& entry : files) {
      if (isExcluded(filter, entry.name)) continue;
      if (!names.insert(platform::toLower(entry.name)).second) {
        lfperrC(L"%s: %s/%s is left out: another file has that name here\n", kSyncFromServer, below, entry.name);
        continue;
      }
      const std::wstring path = localPathOf(&localNr, below.c_str(), entry.name.c_str());
      if (path.empty()) firstError = ERROR_BAD_PATHNAME;
      if (!path.empty() && isNewerThere(path, entry)) wanted.push_back({below, infoOf(entry)});
    }
  };
  const RemoteStatus status = listTree(server, recursive, bar.get(),
                                       [&](const std::wstring& relative, std::vector<RemoteFileEntry>& files,
                                           std::vector<RemoteFileEntry>& directories) {
                                         dropExcludedDirectories(filter, directories);
                                         dropNamesakes(joinServerPath(root, relative), directories);
                                         collect(relative, files);
                                       });
  if (!status.isSuccess()) return codeOf(status);
  if (verbose()) tellAmount(wanted);

  const DWORD notMade = makeLocalPlaces(localOf, wanted);
  if (firstError == 0) firstError = notMade;
  if (bar) bar->setRange(wanted.size());
  IProgress* shown = bar.get();
  const DWORD result = Threading::downloadList(*this, wanted, *pathNr, 0, false, &shown, localNr);
  return firstError != 0 ? firstError : result;
}

bool CZepFtpConnection::isNewerThere(const std::wstring& local, const RemoteFileEntry& entry) {
  std::int64_t size = 0;
  FILETIME time{};
  const bool isHere = getLocalFileSizeAndTime(size, local.c_str(), time);
  if (platform::toTicks(entry.time) != 0) return isToFetch(time, entry.time);
  // Which side is newer can't be told; a file that is missing can't lose anything.
  if (isHere) lfperrC(L"%s: the server tells no time of %s, which stays as it is\n", kSyncFromServer, local);
  return !isHere;
}

DWORD WGO_syncFromServer(const wchar_t* directory, const int* pathNr, const WGO_FileFilter* filter, int progress,
                         bool recursive) {
  auto* connection = dynamic_cast<CZepFtpConnection*>(&getInetFileManager());
  return connection != nullptr ? connection->syncFromServer(directory, pathNr, filter, progress, recursive)
                               : ERROR_INVALID_DATA;
}

}  // namespace Quorvel::FileAccess
