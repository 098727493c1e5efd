// Files fetched from the server, and how they take the place of what was there.
#include <optional>
#include <utility>

#include "core/LastError.h"
#include "diagnostics/ErrorBox.h"
#include "ftp/FtpConnection.h"
#include "ftp/RemoteFailure.h"
#include "ftp/ServerPaths.h"
#include "host/ObjectFiles.h"
#include "host/Trace.h"
#include "host/UserMessages.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Time.h"
#include "zephor/Diagnostics.h"
#include "zephor/Service.h"

namespace Quorvel::FileAccess {

using ConnectionLogger::traceFmt;

/// One download: what, from where, to where.
struct CZepFtpConnection::Fetch {
  const wchar_t* function;
  const wchar_t* name;
  const wchar_t* dir;
  const int* localPathNr;
  std::wstring server;
  std::wstring local;
  std::optional<int> hostFile;  ///< open file of the host that goes on in what was fetched

  std::wstring part() const { return local + L".part"; }
  /// What only passes through keeps the time of its arrival.
  bool takesServerTime() const { return localPathNr == nullptr || *localPathNr != eTempPath; }
};

namespace {

constexpr std::int32_t kFinishedDownload = 4;

/// Keeps every other download of one target away, those of other processes as well, from before the part's first byte
/// until it has taken its place. Its handle denies reading, which a second guard needs and a transfer does not.
class PartGuard {
 public:
  explicit PartGuard(const std::wstring& part)
      : handle_(CreateFileW(part.c_str(), GENERIC_READ, FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_ALWAYS,
                            FILE_ATTRIBUTE_NORMAL, nullptr)),
        isHeldByOther_(handle_ == INVALID_HANDLE_VALUE && GetLastError() == ERROR_SHARING_VIOLATION) {}
  ~PartGuard() { release(); }
  PartGuard(const PartGuard&) = delete;
  PartGuard& operator=(const PartGuard&) = delete;

  bool isHeldByOther() const { return isHeldByOther_; }
  void release() {
    if (handle_ != INVALID_HANDLE_VALUE) CloseHandle(std::exchange(handle_, INVALID_HANDLE_VALUE));
  }

 private:
  HANDLE handle_;  ///< none where no part can be made; the transfer tells why
  bool isHeldByOther_;
};

/// Makes the local directory of a file that is going to be fetched.
void makeLocalDirectory(const std::wstring& path) {
  const std::wstring directory = platform::directoryOf(path);
  if (!directory.empty() && !platform::fileStatus(directory).isDirectory) {
    SHCreateDirectoryExW(nullptr, directory.c_str(), nullptr);
  }
}

bool isThere(const std::wstring& path) {
  return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

/// A move onto its own name changes nothing, and is refused where any other would be.
bool isMovable(const std::wstring& path) {
  return MoveFileW(path.c_str(), path.c_str()) != FALSE;
}

}  // namespace

bool CZepFtpConnection::askAgain(const std::wstring& text, const wchar_t* caption) {
  const DWORD error = GetLastError();
  const bool may = retrySettings_.top().interactive && !remote_.getDialogsSuppressed() && !Msg2usr_IsDeny();
  const bool again = may && ConnectionLogger::ShowErrorBox(text, caption, kRetryBox, {}) == IDRETRY;
  SetLastError(error);
  return again;
}

bool CZepFtpConnection::replaceTarget(const std::wstring& part, const std::wstring& target) {
  constexpr const wchar_t* kCaption = L"Download File";
  for (;;) {
    if (!isThere(part)) {
      SetLastError(ERROR_FILE_NOT_FOUND);
      return false;
    }
    // In one step, so that there is no moment without either file.
    if (MoveFileExW(part.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING) != FALSE) return true;
    const DWORD error = GetLastError();
    const std::wstring text = isThere(target) && isMovable(part)
                                  ? L"Failed to delete file " + target
                                  : platform::formatWide(L"Failed to rename file %s to %s", part, target);
    SetLastError(error);
    if (!askAgain(text, kCaption)) return false;
  }
}

RemoteStatus CZepFtpConnection::fetch(const Fetch& what, RemoteFileEntry& entry) {
  const bool traced = WGO_GetTrace() >= 1;
  const std::wstring url = urlOf(what.server, what.name);
  if (traced) traceFmt(3, L"\n[%s]:\nfrom: %s\nto %s ...", what.function, url, what.local);
  const ULONGLONG begin = GetTickCount64();
  CTimeTrace timer(timeTraceLevel(), platform::formatWide(L"%s: '%s' -> '%s'", what.function, url, what.local), 1,
                   false, true);
  const CScopedDisplayInfo info(L"downloading: " + url);
  RemoteStatus status =
      retry({[&](RemoteRetryContext& context) { return remote_.changeDirectory(context, what.server); },
             [&](RemoteRetryContext& context) {
               // Asked before the content: a time that is newer than what was fetched would hide the newer file for
               // good.
               if (!what.takesServerTime()) return RemoteStatus{};
               const RemoteStatus asked = remote_.getConnectionFile(context, what.name, entry);
               // A listing that is kept may be older than the file.
               const bool isUnknown = remote_.keepsListing() && asked.failed && asked.error == ERROR_FILE_NOT_FOUND;
               return isUnknown ? RemoteStatus{} : asked;
             },
             [&](RemoteRetryContext& context) { return remote_.downloadFile(context, what.name, what.part()); }});
  if (status.failed && status.error == ERROR_SUCCESS) status.error = ERROR_FILE_NOT_FOUND;
  timer.setBytesRead(remote_.bytesTransferred);
  if (traced) {
    constexpr double kBytesPerMegabyte = 1048576.0;
    std::int64_t size = 0;
    FILETIME time{};
    getLocalFileSizeAndTime(size, what.part().c_str(), time);
    traceFmt(3, L"%s: %s -- filesize: %.3lf Mb, ellapsed time: %d ms\n", what.function,
             status.isSuccess() ? L"\"success\"" : platform::formatWide(L"\"Error: %d\"", status.error),
             static_cast<double>(size) / kBytesPerMegabyte, static_cast<std::int64_t>(GetTickCount64() - begin));
  }
  return status;
}

DWORD CZepFtpConnection::fetchAndReplace(const Fetch& what, RemoteFileEntry& entry) {
  const std::wstring part = what.part();
  makeLocalDirectory(part);
  PartGuard guard(part);
  if (guard.isHeldByOther()) {
    lfperrC(L"%s: %s is being fetched already\n", what.function, what.local);
    return ERROR_SHARING_VIOLATION;
  }
  if (const DWORD code = codeOf(fetch(what, entry)); code != ERROR_SUCCESS) {
    DeleteFileW(part.c_str());
    return code;
  }
  // From here on the part is whole, and stays when it can't take its place.
  if (!what.hostFile) return replaceTarget(part, what.local) ? ERROR_SUCCESS : GetLastError();
  guard.release();
  return lcfile_ReConnect(*what.hostFile, part) == 0 ? ERROR_SUCCESS : ERROR_INVALID_DATA;
}

DWORD CZepFtpConnection::download(const Fetch& what, int* number, int objectNumber) {
  if (what.local.empty() || what.server.empty()) return answered(ERROR_INVALID_DATA);
  RemoteFileEntry entry;
  const DWORD code = fetchAndReplace(what, entry);
  if (number != nullptr) *number = static_cast<int>(code);
  if (code == ERROR_SUCCESS) {
    if (what.takesServerTime()) updateFileTime(what.name, what.dir, what.localPathNr, &entry);
    TransferRecord record;
    record.objectNumber = objectNumber;
    record.kind = kFinishedDownload;
    addTransferRecord(record);
  }
  SetLastError(code);
  return code;
}

DWORD CZepFtpConnection::downloadFile(const wchar_t* name, const wchar_t* dir, const int* serverPathNr,
                                      const int* localPathNr, int* number, int objectNumber, unsigned /*flags*/) {
  if (!initialised_ || name == nullptr) return answered(ERROR_INVALID_DATA);
  return download({L"Quorvel::FileAccess::CZepFtpConnection::downloadFile", name, dir, localPathNr,
                   serverDirectoryOf(serverPathNr, dir), localPathOf(localPathNr, dir, name), std::nullopt},
                  number, objectNumber);
}

DWORD CZepFtpConnection::downloadToOpenFile(int hostFile, const wchar_t* name, const wchar_t* dir,
                                            const int* serverPathNr, const int* localPathNr, int* number,
                                            int objectNumber, unsigned /*flags*/) {
  if (!initialised_ || name == nullptr) return answered(ERROR_INVALID_DATA);
  return download({L"Quorvel::FileAccess::CZepFtpConnection::downloadToOpenFile", name, dir, localPathNr,
                   serverDirectoryOf(serverPathNr, dir), localPathOf(localPathNr, dir, name), hostFile},
                  number, objectNumber);
}

}  // namespace Quorvel::FileAccess
