// Services of the session that the transfer object's interface does not show.
#include "ftp/AbortRequest.h"
#include "ftp/FtpConnection.h"
#include "ftp/ServerPaths.h"
#include "toolkit/Ftp2W.h"
#include "zephor/ServerStore.h"

namespace Quorvel::FileAccess {
namespace {

CZepFtpConnection& connection() {
  return dynamic_cast<CZepFtpConnection&>(getInetFileManager());
}

}  // namespace

void WGO_abortTransfers(bool abort) {
  requestAbort(abort);
}

bool WGO_isConnectionDowngraded() {
  return connection().remote().isDowngraded();
}

std::int64_t WGO_connectionRoundTrip() {
  const auto* client = dynamic_cast<const CkFtp2W*>(connection().remote().client());
  return client != nullptr ? client->roundTripMicroseconds() : 0;
}

DWORD WGO_listServerTree(const wchar_t* directory, std::vector<ServerTreeFile>& files,
                         std::vector<std::wstring>& directories) {
  files.clear();
  directories.clear();
  CZepFtpConnection& transfer = connection();
  if (!transfer.isInitialised() || directory == nullptr) return ERROR_INVALID_DATA;
  const RemoteStatus status = transfer.listTree(
      directory, true, nullptr,
      [&](const std::wstring& relative, std::vector<RemoteFileEntry>& found, std::vector<RemoteFileEntry>& /*below*/) {
        if (!relative.empty()) directories.push_back(relative);
        for (RemoteFileEntry& entry : found) files.push_back({relative, std::move(entry)});
      });
  if (!status.isSuccess()) {
    files.clear();
    directories.clear();
  }
  return codeOf(status);
}

DWORD WGO_testServerPerformance(const wchar_t* directory, std::vector<std::pair<std::int32_t, std::uint64_t>>& passes) {
  if (directory == nullptr) return ERROR_INVALID_DATA;
  return connection().WritePerformanceTest(directory, passes);
}

}  // namespace Quorvel::FileAccess
