#include "ftp/TreeSync.h"

#include <utility>

#include "ftp/FtpConnection.h"
#include "ftp/LocalDirectories.h"
#include "ftp/ServerPaths.h"
#include "ftp/SyncSteps.h"
#include "platform/Paths.h"
#include "zephor/Progress.h"

namespace Quorvel::FileAccess {

TreeSync::TreeSync(CZepFtpConnection& connection, Roots roots, const WGO_FileFilter* filter, IProgress* progress)
    : connection_(connection), roots_(std::move(roots)), filter_(filter), progress_(progress), directories_{L""} {}

DWORD TreeSync::list(bool recursive) {
  const RemoteStatus status =
      connection_.listTree(roots_.server, recursive, progress_,
                           [&](const std::wstring& relative, std::vector<RemoteFileEntry>& files,
                               std::vector<RemoteFileEntry>& directories) {
                             dropExcludedDirectories(filter_, directories);
                             known_.emplace(relative, hasNewerFiles(relative, files));
                           });
  if (!status.isSuccess()) return codeOf(status);
  const auto excludes = [&](const std::wstring& name) { return isDirectoryExcluded(filter_, name); };
  return recursive ? listLocalDirectories(roots_.local, excludes, directories_) : 0;
}

bool TreeSync::hasNewerFiles(const std::wstring& relative, const std::vector<RemoteFileEntry>& onServer) const {
  std::vector<InetFileInfo> files;
  // A directory that can't be read is looked at again when its turn comes, and told of then.
  const DWORD error = newerFilesIn(platform::joinPath(roots_.local, relative), filter_, onServer, files);
  return error != 0 || !files.empty();
}

DWORD TreeSync::send() {
  for (const std::wstring& relative : directories_) {
    const auto known = known_.find(relative);
    if (known == known_.end()) continue;
    if (!known->second) {
      connection_.traceInStep(joinServerPath(roots_.server, relative), platform::joinPath(roots_.local, relative));
      continue;
    }
    if (progress_ != nullptr) progress_->setText(synchronizingText(joinServerPath(roots_.directory, relative)));
    bringInStep(relative);
  }
  if (progress_ != nullptr) progress_->setRange(directories_.size());
  std::uint64_t done = 0;
  for (const std::wstring& relative : directories_) {
    if (known_.contains(relative)) continue;
    sendNew(relative);
    if (progress_ != nullptr) progress_->setPos(++done, false);
  }
  return firstError_;
}

void TreeSync::sendNew(const std::wstring& relative) {
  SetLastError(0);
  if (connection_.createServerDirectory(joinServerPath(roots_.server, relative).c_str())) {
    bringInStep(relative);
  } else {
    keep(lastErrorOr(ERROR_PATH_NOT_FOUND));
  }
}

void TreeSync::bringInStep(const std::wstring& relative) {
  const std::wstring directory = joinServerPath(roots_.directory, relative);
  SetLastError(0);
  keep(connection_.syncServerDirectory(&roots_.pathNr, directory.c_str(), filter_, 0));
  keep(GetLastError());
}

void TreeSync::keep(DWORD error) {
  if (firstError_ == 0) firstError_ = error;
}

}  // namespace Quorvel::FileAccess
