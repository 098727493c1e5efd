// Files fetched from the server, and how they take the place of what was there.
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
  std::wstring part;
};

namespace {

constexpr std::int32_t kFinishedDownload = 4;

/// Makes the local directory of a file that is going to be fetched.
void makeLocalDirectory(const std::wstring& path) {
  const std::wstring directory = platform::directoryOf(path);
  if (!directory.empty() && !platform::fileStatus(directory).isDirectory) {
    SHCreateDirectoryExW(nullptr, directory.c_str(), nullptr);
  }
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
    if (GetFileAttributesW(part.c_str()) == INVALID_FILE_ATTRIBUTES) {
      SetLastError(ERROR_FILE_NOT_FOUND);
      return false;
    }
    // In one step, so that there is no moment without either file.
    if (MoveFileExW(part.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING) != FALSE) return true;
    if (GetFileAttributesW(target.c_str()) != INVALID_FILE_ATTRIBUTES && DeleteFileW(target.c_str()) == FALSE) {
      if (askAgain(L"Failed to delete file " + target, kCaption)) continue;
      return false;
    }
    if (MoveFileW(part.c_str(), target.c_str()) != FALSE) return true;
    if (!askAgain(platform::formatWide(L"Failed to rename file %s to %s", part, target), kCaption)) return false;
  }
}

RemoteStatus CZepFtpConnection::fetch(const Fetch& what) {
  const bool traced = WGO_GetTrace() >= 1;
  const std::wstring url = urlOf(what.server, what.name);
  if (traced) traceFmt(3, L"\n[%s]:\nfrom: %s\nto %s ...", what.function, url, what.local);
  const ULONGLONG begin = GetTickCount64();
  CTimeTrace timer(timeTraceLevel(), platform::formatWide(L"%s: '%s' -> '%s'", what.function, url, what.local), 1,
                   false, true);
  const CScopedDisplayInfo info(L"downloading: " + url);
  makeLocalDirectory(what.part);
  const RemoteStatus status =
      retry({[&](RemoteRetryContext& context) { return remote_.changeDirectory(context, what.server); },
             [&](RemoteRetryContext& context) { return remote_.downloadFile(context, what.name, what.part); }});
  timer.setBytesRead(remote_.bytesTransferred);
  if (traced) {
    constexpr double kBytesPerMegabyte = 1048576.0;
    std::int64_t size = 0;
    FILETIME time{};
    getLocalFileSizeAndTime(size, what.part.c_str(), time);
    traceFmt(3, L"%s: %s -- filesize: %.3lf Mb, ellapsed time: %d ms\n", what.function,
             status.isSuccess() ? L"\"success\"" : platform::formatWide(L"\"Error: %d\"", status.error),
             static_cast<double>(size) / kBytesPerMegabyte, static_cast<std::int64_t>(GetTickCount64() - begin));
  }
  return status;
}

DWORD CZepFtpConnection::finishDownload(const Fetch& what, const RemoteStatus& status, int* number, int objectNumber,
                                        const std::function<DWORD()>& takePlace) {
  DWORD code = codeOf(status);
  if (status.isSuccess()) code = takePlace();
  if (number != nullptr) *number = static_cast<int>(code);
  if (code != ERROR_SUCCESS) {
    DeleteFileW(what.part.c_str());
    SetLastError(code);
    return code;
  }
  if (what.localPathNr == nullptr || *what.localPathNr != eTempPath) {
    updateFileTime(what.name, what.dir, what.localPathNr, nullptr);
  }
  TransferRecord record;
  record.objectNumber = objectNumber;
  record.kind = kFinishedDownload;
  addTransferRecord(record);
  SetLastError(ERROR_SUCCESS);
  return ERROR_SUCCESS;
}

DWORD CZepFtpConnection::downloadFile(const wchar_t* name, const wchar_t* dir, const int* serverPathNr,
                                      const int* localPathNr, int* number, int objectNumber, unsigned /*flags*/) {
  if (!initialised_ || name == nullptr) return ERROR_INVALID_DATA;
  const std::wstring local = localPathOf(localPathNr, dir, name);
  const Fetch what{L"downloadFile", name, dir, localPathNr, serverDirectoryOf(serverPathNr, dir), local,
                   local + L".part"};
  if (what.local.empty() || what.server.empty()) return ERROR_INVALID_DATA;
  return finishDownload(what, fetch(what), number, objectNumber, [&]() -> DWORD {
    return replaceTarget(what.part, what.local) ? ERROR_SUCCESS : GetLastError();
  });
}

DWORD CZepFtpConnection::downloadToOpenFile(int hostFile, const wchar_t* name, const wchar_t* dir,
                                            const int* serverPathNr, const int* localPathNr, int* number,
                                            int objectNumber, unsigned /*flags*/) {
  if (!initialised_ || name == nullptr) return ERROR_INVALID_DATA;
  const std::wstring local = localPathOf(localPathNr, dir, name);
  const Fetch what{L"downloadToOpenFile", name, dir, localPathNr, serverDirectoryOf(serverPathNr, dir), local,
                   local + L".part"};
  if (what.local.empty() || what.server.empty()) return ERROR_INVALID_DATA;
  return finishDownload(what, fetch(what), number, objectNumber, [&]() -> DWORD {
    return lcfile_ReConnect(hostFile, what.part) == 0 ? ERROR_SUCCESS : ERROR_INVALID_DATA;
  });
}

}  // namespace Quorvel::FileAccess
