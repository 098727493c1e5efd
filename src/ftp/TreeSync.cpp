#include "ftp/TreeSync.h"

#include <set>
#include <utility>

#include "ftp/FtpConnection.h"
#include "ftp/LocalDirectories.h"
#include "ftp/ServerPaths.h"
#include "ftp/SyncSteps.h"
#include "platform/Paths.h"
#include "zephor/Progress.h"
#include "zephor/ThreadedTransfers.h"

namespace Quorvel::FileAccess {

TreeSync::TreeSync(CZepFtpConnection& connection, Roots roots, const WGO_FileFilter* filter, IProgress* progress)
    : connection_(connection), roots_(std::move(roots)), filter_(filter), progress_(progress), directories_{L""} {}

DWORD TreeSync::list(bool recursive) {
  if (recursive) {
    const auto excludes = [&](const std::wstring& name) { return isDirectoryExcluded(filter_, name); };
    if (const DWORD error = listLocalDirectories(roots_.local, excludes, directories_); error != 0) return error;
  }
  const std::set<std::wstring> local(directories_.begin(), directories_.end());
  return codeOf(connection_.listTree(roots_.server, recursive, progress_,
                                     [&](const std::wstring& relative, std::vector<RemoteFileEntry>& files,
                                         std::vector<RemoteFileEntry>& directories) {
                                       dropExcludedDirectories(filter_, directories);
                                       if (local.contains(relative)) settle(relative, files);
                                     }));
}

void TreeSync::settle(const std::wstring& relative, const std::vector<RemoteFileEntry>& onServer) {
  keep(newerFilesIn(platform::joinPath(roots_.local, relative), filter_, onServer, known_[relative]));
}

DWORD TreeSync::send() {
  if (progress_ != nullptr) progress_->setRange(directories_.size());
  std::uint64_t done = 0;
  const auto advance = [&] {
    if (progress_ != nullptr) progress_->setPos(++done, false);
  };
  for (const std::wstring& relative : directories_) {
    const auto known = known_.find(relative);
    if (known == known_.end()) continue;
    sendKnown(relative, known->second);
    advance();
  }
  for (const std::wstring& relative : directories_) {
    if (known_.contains(relative)) continue;
    sendNew(relative);
    advance();
  }
  return firstError_;
}

void TreeSync::sendKnown(const std::wstring& relative, const std::vector<InetFileInfo>& files) {
  if (progress_ != nullptr) progress_->setText(synchronizingText(joinServerPath(roots_.directory, relative)));
  upload(relative, files);
}

void TreeSync::sendNew(const std::wstring& relative) {
  SetLastError(0);
  if (!connection_.createServerDirectory(joinServerPath(roots_.server, relative).c_str())) {
    keep(lastErrorOr(ERROR_PATH_NOT_FOUND));
    return;
  }
  std::vector<InetFileInfo> files;
  keep(newerFilesIn(platform::joinPath(roots_.local, relative), filter_, {}, files));
  upload(relative, files);
}

void TreeSync::upload(const std::wstring& relative, const std::vector<InetFileInfo>& files) {
  if (files.empty()) return;
  const std::wstring directory = joinServerPath(roots_.directory, relative);
  keep(Threading::uploadList(connection_, files, directory.c_str(), roots_.localPathNr, false, nullptr));
  keep(GetLastError());
}

void TreeSync::keep(DWORD error) {
  if (firstError_ == 0) firstError_ = error;
}

}  // namespace Quorvel::FileAccess
