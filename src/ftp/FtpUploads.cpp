// Files sent to the server.
#include <utility>

#include "core/LastError.h"
#include "ftp/FtpConnection.h"
#include "ftp/ServerPaths.h"
#include "host/Trace.h"
#include "host/UserMessages.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Time.h"
#include "zephor/Diagnostics.h"
#include "zephor/Service.h"

namespace Quorvel::FileAccess {
namespace {

/// A snapshot that stays beside a file while the file is sent. It may fail, as for a file that is open elsewhere.
class SideCopy {
 public:
  explicit SideCopy(const std::wstring& path) : copy_(path + L".upload") {
    CopyFileW(path.c_str(), copy_.c_str(), FALSE);
  }
  ~SideCopy() { DeleteFileW(copy_.c_str()); }
  SideCopy(const SideCopy&) = delete;
  SideCopy& operator=(const SideCopy&) = delete;

 private:
  std::wstring copy_;
};

/// A time that no file has now. Clocks that differ a little make no difference to it.
FILETIME aheadOfNow() {
  constexpr std::uint64_t kTicksPerMinute = 600'000'000;
  FILETIME now{};
  GetSystemTimeAsFileTime(&now);
  return platform::fromTicks(platform::toTicks(now) + kTicksPerMinute);
}

}  // namespace

std::wstring CZepFtpConnection::urlOf(const std::wstring& directory, const std::wstring& name) const {
  return L"//" + joinServerPath(joinServerPath(remote_.hostName, directory), name);
}

DWORD CZepFtpConnection::uploadFile(const wchar_t* name, const wchar_t* dir, const int* pathNr, bool silent) {
  if (!initialised_ || name == nullptr) return answered(ERROR_INVALID_DATA);
  const std::wstring local = localPathOf(pathNr, dir, name);
  const std::wstring server = serverDirectoryOf(pathNr, dir);
  if (local.empty() || server.empty()) return answered(ERROR_INVALID_DATA);

  const std::wstring url = urlOf(server, name);
  CTimeTrace timer(timeTraceLevel(), platform::formatWide(L"uploadFile: '%s' <- '%s'", url, local), 1, false, true);
  const ScopedSilence silence(retrySettings_, silent);
  RemoteStatus status;
  RemoteFileEntry entry;
  {
    const CScopedDisplayInfo info(L"uploading: " + url);
    const SideCopy copy(local);
    status = sendUntilUnchanged(local, server, name, entry.time);
  }
  timer.setBytesRead(remote_.bytesTransferred);
  // The answer is the time stamp's success, not the transfer's: callers have always read it so.
  const bool isTimeSet = updateFileTime(name, dir, pathNr, &entry);
  SetLastError(codeOf(status));
  return isTimeSet ? ERROR_SUCCESS : ERROR_WRITE_FAULT;
}

RemoteStatus CZepFtpConnection::sendUntilUnchanged(const std::wstring& local, const std::wstring& server,
                                                   const std::wstring& name, FILETIME& time) {
  constexpr int kMostRepeats = 3;
  const auto stateOf = [this](const std::wstring& path) {
    std::int64_t size = 0;
    FILETIME written{};
    getLocalFileSizeAndTime(size, path.c_str(), written);
    return std::pair(size, platform::toTicks(written));
  };
  time = FILETIME{};
  remote_.forgetPart();
  for (int repeats = 0; repeats <= kMostRepeats; ++repeats) {
    const auto before = stateOf(local);
    const RemoteStatus status =
        retry({[&](RemoteRetryContext& context) { return remote_.changeDirectory(context, server); },
               [&](RemoteRetryContext& context) { return remote_.uploadFile(context, local, name); }});
    if (!status.isSuccess()) {
      // What did not arrive must not look equal to what is there. A part on the server is newer than this file and
      // would even come back in its place.
      if (remote_.mayHaveLeftPart()) time = aheadOfNow();
      return status;
    }
    FILETIME onServer{};
    getServerFileSizeAndTime(nullptr, joinServerPath(server, name).c_str(), &onServer);
    // What was saved meanwhile would look equal to what was sent; so this is looked at last.
    if (stateOf(local) == before) {
      time = onServer;
      return status;
    }
  }
  lfperrC(L"%s: %s changes while it is sent\n", L"Quorvel::FileAccess::CZepFtpConnection::uploadFile", local);
  time = aheadOfNow();
  return {.failed = true, .error = ERROR_WRITE_FAULT};
}

DWORD CZepFtpConnection::uploadFreeFile(const wchar_t* fullPath, const wchar_t* dir, const int* pathNr, bool silent) {
  constexpr const wchar_t* kFunction = L"Quorvel::FileAccess::CZepFtpConnection::uploadFreeFile";
  if (!initialised_ || fullPath == nullptr) return answered(ERROR_INVALID_DATA);
  const std::wstring local = fullPath;
  const std::wstring name = platform::fileNameOf(local);
  const std::wstring server = serverDirectoryOf(pathNr, dir);
  if (name.empty() || server.empty()) return answered(ERROR_INVALID_DATA);
  if (WGO_GetTrace() >= 1) {
    ConnectionLogger::traceFmt(3, L"\n\n%s() from: \"%s\" to \"%s\\%s\" ...", kFunction, local, server, name);
  }

  const ScopedSilence silence(retrySettings_, silent);
  const CScopedDisplayInfo info(L"uploading: " + urlOf(server, name));
  const auto send = [&] {
    const RemoteStatus made = makeServerDirectory(server);
    if (!made.isSuccess()) return made;
    return retry({[&](RemoteRetryContext& context) { return remote_.changeDirectory(context, server); },
                  [&](RemoteRetryContext& context) { return remote_.uploadFile(context, local, name); }});
  };
  RemoteStatus status = send();
  // Deleted by somebody since this connection last worked in it, which the refused transfer has shown.
  if (status.failed && status.error == ERROR_PATH_NOT_FOUND) status = send();
  const DWORD code = codeOf(status);
  if (code != ERROR_SUCCESS) {
    const CConsoleTrace trace(platform::formatWide(L"\n\n%s(): copy \"%s\" to \"%s\" failed with error: %d!\n\n",
                                                   kFunction, local, server, code),
                              1);
  }
  SetLastError(code);
  return code;
}

}  // namespace Quorvel::FileAccess
