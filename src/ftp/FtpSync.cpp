// Bringing directories in step with the server, file by file on the strength of their times.
#include <memory>

#include "ftp/FtpConnection.h"
#include "ftp/ServerPaths.h"
#include "ftp/SyncDecision.h"
#include "ftp/SyncSteps.h"
#include "ftp/TreeSync.h"
#include "host/Trace.h"
#include "platform/Files.h"
#include "zephor/Diagnostics.h"
#include "zephor/Progress.h"
#include "zephor/ServerStore.h"
#include "zephor/Service.h"
#include "zephor/ThreadedTransfers.h"

namespace Quorvel::FileAccess {

using ConnectionLogger::traceFmt;

namespace {

constexpr double kBytesPerMegabyte = 1048576.0;

std::wstring textOf(const wchar_t* text) {
  return text != nullptr ? text : L"";
}

/// Shows the progress of one list as part of that of several.
class PartialProgress final : public IProgress {
 public:
  explicit PartialProgress(IProgress& whole) : whole_(whole) {}
  void setRange(std::uint64_t value) override { whole_.setRange(value); }
  void setPos(std::uint64_t value, bool force) override { whole_.setPos(done_ + value, force); }
  void setText(const std::wstring& text) override { whole_.setText(text); }
  void addDone(std::uint64_t count) { done_ += count; }

 private:
  IProgress& whole_;
  std::uint64_t done_ = 0;
};

/// The files of one directory that have to come down.
struct FetchGroup {
  std::wstring directory;  ///< below the path number
  std::vector<InetFileInfo> files;
};

std::size_t countOf(const std::vector<FetchGroup>& groups) {
  std::size_t count = 0;
  for (const FetchGroup& group : groups) count += group.files.size();
  return count;
}

void tellAmount(const std::vector<FetchGroup>& groups) {
  std::int64_t bytes = 0;
  for (const FetchGroup& group : groups) {
    for (const InetFileInfo& file : group.files) bytes += file.size;
  }
  traceFmt(0, L"Threading::WGO_DownloadFiles: %d files, amount of data: %02lf Mb", countOf(groups),
           static_cast<double>(bytes) / kBytesPerMegabyte);
}

}  // namespace

DWORD CZepFtpConnection::syncServerDirectory(const int* pathNr, const wchar_t* directory, const WGO_FileFilter* filter,
                                             int progress) {
  const std::wstring name = textOf(directory);
  const int localNr = localNumberOf(pathNr);
  const std::wstring server = serverDirectoryOf(pathNr, name.c_str());
  const std::wstring local = localPathOf(&localNr, name.c_str(), nullptr);
  if (!initialised_ || server.empty() || local.empty()) return ERROR_INVALID_DATA;
  const CTimeTrace timer(WGO_GetTrace(),
                         platform::formatWide(L"syncServerDirectory: '%s' <- '%s' ", urlOf(server, L""), local), 1,
                         false, true);
  std::vector<RemoteFileEntry> onServer;
  const DWORD listed = getServerFileInfos(server.c_str(), L"*", onServer, nullptr);
  const bool isMissing = listed == ERROR_PATH_NOT_FOUND;
  if (listed != 0 && !isMissing) return listed;
  std::vector<InetFileInfo> files;
  if (const DWORD error = newerFilesIn(local, filter, onServer, files); error != 0) return error;
  onServer = {};

  const auto bar = demandProgress(progress, synchronizingText(name));
  IProgress* shown = bar.get();
  if (bar) bar->setRange(files.size());
  SetLastError(0);
  if (files.empty()) return 0;
  if (isMissing && !createServerDirectory(server.c_str())) return lastErrorOr(ERROR_PATH_NOT_FOUND);
  return Threading::uploadList(*this, files, name.c_str(), localNr, false, &shown);
}

DWORD CZepFtpConnection::syncServerDirectoryTree(const wchar_t* directory, const int* pathNr,
                                                 const WGO_FileFilter* filter, int progress, bool recursive) {
  if (!isOnline()) return 0;
  const std::wstring name = textOf(directory);
  const int localNr = localNumberOf(pathNr);
  const std::wstring server = serverDirectoryOf(pathNr, name.c_str());
  const std::wstring local = localPathOf(&localNr, name.c_str(), nullptr);
  if (!initialised_ || server.empty() || local.empty()) return ERROR_INVALID_DATA;
  const CTimeTrace timer(WGO_GetTrace(),
                         platform::formatWide(L"syncServerDirectoryTree: '%s' -> '%s'", local, urlOf(server, L"")), 1,
                         false, true);
  SetLastError(0);
  if (!createServerDirectory(server.c_str())) return lastErrorOr(ERROR_PATH_NOT_FOUND);
  const auto bar = demandProgress(progress, L"query directories:");
  TreeSync tree(*this, {local, server, name, localNr}, filter, bar.get());
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
    return ERROR_INVALID_DATA;
  }
  const auto bar = demandProgress(progress, L"query directory files:");
  std::vector<FetchGroup> groups;
  DWORD firstError = 0;
  const auto collect = [&](const std::wstring& relative, const std::vector<RemoteFileEntry>& files) {
    FetchGroup group{joinServerPath(root, relative), {}};
    for (const RemoteFileEntry& entry : files) {
      if (isExcluded(filter, entry.name)) continue;
      const std::wstring path = localPathOf(&localNr, group.directory.c_str(), entry.name.c_str());
      std::int64_t size = 0;
      FILETIME time{};
      getLocalFileSizeAndTime(size, path.c_str(), time);
      if (path.empty()) {
        firstError = ERROR_BAD_PATHNAME;
      } else if (isToFetch(time, entry.time)) {
        group.files.push_back(infoOf(entry));
      }
    }
    if (!group.files.empty()) groups.push_back(std::move(group));
  };
  const RemoteStatus status = listTree(server, recursive, bar.get(),
                                       [&](const std::wstring& relative, std::vector<RemoteFileEntry>& files,
                                           std::vector<RemoteFileEntry>& directories) {
                                         dropExcludedDirectories(filter, directories);
                                         collect(relative, files);
                                       });
  if (!status.isSuccess()) return codeOf(status);
  if (verbose()) tellAmount(groups);

  if (bar) bar->setRange(countOf(groups));
  auto part = bar ? std::make_unique<PartialProgress>(*bar) : nullptr;
  IProgress* shown = part.get();
  for (const FetchGroup& group : groups) {
    const std::wstring local = localPathOf(&localNr, group.directory.c_str(), nullptr);
    const int made = SHCreateDirectoryExW(nullptr, local.c_str(), nullptr);
    const DWORD result =
        made == 0 || made == ERROR_ALREADY_EXISTS
            ? Threading::downloadList(*this, group.files, group.directory.c_str(), *pathNr, 0, false, &shown, localNr)
            : static_cast<DWORD>(made);
    if (firstError == 0) firstError = result;
    if (part) part->addDone(group.files.size());
  }
  return firstError;
}

DWORD WGO_syncFromServer(const wchar_t* directory, const int* pathNr, const WGO_FileFilter* filter, int progress,
                         bool recursive) {
  auto* connection = dynamic_cast<CZepFtpConnection*>(&getInetFileManager());
  return connection != nullptr ? connection->syncFromServer(directory, pathNr, filter, progress, recursive)
                               : ERROR_INVALID_DATA;
}

}  // namespace Quorvel::FileAccess
