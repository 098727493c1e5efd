// Renaming and deleting files.
#include "core/LastError.h"
#include "ftp/FtpConnection.h"
#include "ftp/ServerPaths.h"
#include "ftp/SyncSteps.h"
#include "host/Trace.h"
#include "platform/Files.h"
#include "platform/Text.h"

namespace Quorvel::FileAccess {
namespace {

/// Names that differ in letter case only: many systems take such a rename for none, so it goes in two steps.
bool differOnlyInCase(const std::wstring& oldName, const std::wstring& newName) {
  return oldName != newName && _wcsicmp(oldName.c_str(), newName.c_str()) == 0;
}

std::wstring intermediateOf(const std::wstring& newName) {
  return newName + L"_";
}

bool isMissing(DWORD error) {
  return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
}

bool isThere(const std::wstring& path) {
  return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

/// True when a rename of a local file would hit upon another.
bool isTaken(const std::wstring& from, const std::wstring& to) {
  return isThere(from) && isThere(differOnlyInCase(from, to) ? intermediateOf(to) : to);
}

/// @return 0, also when there is no such file, or the error
DWORD renameLocally(const std::wstring& from, const std::wstring& to) {
  if (GetFileAttributesW(from.c_str()) == INVALID_FILE_ATTRIBUTES && isMissing(GetLastError())) return ERROR_SUCCESS;
  if (!differOnlyInCase(from, to)) return MoveFileW(from.c_str(), to.c_str()) != FALSE ? ERROR_SUCCESS : GetLastError();
  const std::wstring intermediate = intermediateOf(to);
  if (MoveFileW(from.c_str(), intermediate.c_str()) == FALSE) return GetLastError();
  if (MoveFileW(intermediate.c_str(), to.c_str()) != FALSE) return ERROR_SUCCESS;
  const DWORD error = GetLastError();
  MoveFileW(intermediate.c_str(), from.c_str());
  return error;
}

}  // namespace

RemoteStatus CZepFtpConnection::renameOnServer(const std::wstring& directory, const std::wstring& oldName,
                                               const std::wstring& newName) {
  const auto go = [&](RemoteRetryContext& context) { return remote_.changeDirectory(context, directory); };
  if (!differOnlyInCase(oldName, newName)) {
    return retry({go, [&](RemoteRetryContext& context) { return remote_.renameFile(context, oldName, newName); }});
  }
  const std::wstring intermediate = intermediateOf(newName);
  bool isHalfway = false;  // a pass that is repeated must not look for the old name again
  const RemoteStatus status =
      retry({go,
             [&](RemoteRetryContext& context) {
               if (isHalfway) return RemoteStatus{};
               const RemoteStatus first = remote_.renameFile(context, oldName, intermediate);
               isHalfway = first.isSuccess();
               return first;
             },
             [&](RemoteRetryContext& context) { return remote_.renameFile(context, intermediate, newName); }});
  if (status.failed && isHalfway) {
    const ScopedSilence silence(retrySettings_, true);
    const RemoteStatus back =
        retry({go, [&](RemoteRetryContext& context) { return remote_.renameFile(context, intermediate, oldName); }});
    if (!back.isSuccess()) {
      lfperrC(L"%s: %s is left as %s in %s\n", L"Quorvel::FileAccess::CZepFtpConnection::renameFile", oldName,
              intermediate, urlOf(directory, L""));
    }
  }
  return status;
}

DWORD CZepFtpConnection::renameFile(const wchar_t* oldName, const wchar_t* newName, const wchar_t* dir,
                                    const int* pathNr) {
  if (!initialised_ || oldName == nullptr || newName == nullptr) return answered(ERROR_INVALID_DATA);
  const std::wstring server = serverDirectoryOf(pathNr, dir);
  if (server.empty()) return answered(ERROR_INVALID_DATA);
  const CTimeTrace timer(timeTraceLevel(), platform::formatWide(L"renameFile: \"%s\" -> \"%s\"", oldName, newName), 1,
                         false, true);
  const int localNr = localNumberOf(pathNr);
  const std::wstring from = localPathOf(&localNr, dir, oldName);
  const std::wstring to = localPathOf(&localNr, dir, newName);
  const bool isHere = !from.empty() && !to.empty();
  // Looked at first: the same file must not go by two names.
  DWORD code = ERROR_ALREADY_EXISTS;
  if (from == to || !isHere || !isTaken(from, to)) {
    code = codeOf(renameOnServer(server, oldName, newName));
    if (code == ERROR_SUCCESS && isHere) code = renameLocally(from, to);
  }
  SetLastError(code);
  return code;
}

RemoteStatus CZepFtpConnection::deleteIn(const std::wstring& directory, const std::wstring& name) {
  const CTimeTrace timer(timeTraceLevel(), L"deleteFile: \"" + urlOf(directory, name), 1, false, true);
  return retry({[&](RemoteRetryContext& context) { return remote_.changeDirectory(context, directory); },
                [&](RemoteRetryContext& context) { return remote_.deleteFile(context, name); }});
}

DWORD CZepFtpConnection::deleteFile(const wchar_t* name, const wchar_t* dir, const int* pathNr) {
  if (!initialised_ || name == nullptr || *name == L'\0') return answered(ERROR_INVALID_DATA);
  const std::wstring server = serverDirectoryOf(pathNr, dir);
  if (server.empty()) return answered(ERROR_INVALID_DATA);
  return answered(codeOf(deleteIn(server, name)));
}

bool CZepFtpConnection::deleteServerPath(const wchar_t* path) {
  if (!initialised_ || path == nullptr) return false;
  const ServerPath parts = splitServerPath(path);
  if (parts.directory.empty() || parts.name.empty() || hasDotComponent(path)) return false;
  return deleteIn(parts.directory, parts.name).isSuccess();
}

}  // namespace Quorvel::FileAccess
