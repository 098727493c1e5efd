// Which side of a transfer is newer, asked by file times.
#include <algorithm>

#include "ftp/FtpConnection.h"
#include "ftp/UpdateVerdict.h"
#include "host/Locking.h"
#include "zephor/Diagnostics.h"

namespace Quorvel::FileAccess {

using ConnectionLogger::traceFmt;

namespace {

const wchar_t* textOf(const wchar_t* text) {
  return text != nullptr ? text : L"";
}

bool isOwnLock(const std::wstring& name) {
  std::vector<FileLockInfo> own;
  getFileLockingManager().getOwnLocks(own);
  return std::any_of(own.begin(), own.end(), [&](const FileLockInfo& lock) { return lock.fileName == name; });
}

}  // namespace

UpdateVerdict CZepFtpConnection::fileNeedsUpdate(const wchar_t* name, const wchar_t* dir, const int* pathNr,
                                                 unsigned /*flags*/, std::uint32_t* lockMask) {
  const auto tell = [&](VerdictReason reason) {
    if (verbose()) traceFmt(0, verdictLine(reason), textOf(name));
  };
  // Times of an FTP server are compared by the operations that bring directories in step; this form serves servers that
  // are directories.
  if (!remote_.hostName.empty() && !remote_.userName.empty() && !remote_.password.empty()) {
    tell(VerdictReason::LocalMissing);
    return eVerdict_LocalMissing;
  }
  const std::wstring localPath = localPathOf(pathNr, dir, name);
  const std::wstring serverDirectory = serverDirectoryOf(pathNr, dir);
  std::wstring serverPath = serverDirectory + L"/" + textOf(name);
  std::replace(serverPath.begin(), serverPath.end(), L'/', L'\\');
  // A path that would leave its directory is none.
  if (localPath.empty()) {
    tell(VerdictReason::BothMissing);
    return eVerdict_BothMissing;
  }
  std::int64_t size = 0;
  FileTimeStamp local;
  FileTimeStamp server;
  local.exists = getLocalFileSizeAndTime(size, localPath.c_str(), local.time);
  // Without a directory of the server the path would begin at this machine's root.
  server.exists = !serverDirectory.empty() && getLocalFileSizeAndTime(size, serverPath.c_str(), server.time);
  // The mask of one of this session's own locks keeps the value that it has.
  if (server.exists && lockMask != nullptr && isOwnLock(textOf(name))) *lockMask = std::uint32_t{*lockMask};
  const VersionVerdict result = compareTimes(local, server);
  tell(result.reason);
  return result.verdict;
}

}  // namespace Quorvel::FileAccess
