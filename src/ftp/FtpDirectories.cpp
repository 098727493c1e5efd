// Directories of the server, and the question whether something is there.
#include "core/LastError.h"
#include "ftp/FtpConnection.h"
#include "ftp/ServerPaths.h"
#include "host/System.h"
#include "host/Trace.h"
#include "platform/Text.h"
#include "zephor/Diagnostics.h"

namespace Quorvel::FileAccess {

bool CZepFtpConnection::isOnline() {
  // The properties of the server before are still there when the object goes on without one.
  return (initialised_ && !remote_.hostName.empty()) || ZSYST_IsInetServer(getServerName());
}

bool CZepFtpConnection::existFile(const wchar_t* name) {
  if (!isOnline()) return true;
  if (!initialised_ || name == nullptr) return false;
  constexpr const wchar_t* kProjectEnding = L".prj";
  std::wstring path = name;
  if (platform::endsWithIgnoreCase(path, kProjectEnding)) path += L"/Project1.Dat.xml";
  const ServerPath parts = splitServerPath(path);
  bool found = false;
  const RemoteStatus status =
      retry({[&](RemoteRetryContext& context) {
               return parts.directory.empty() ? RemoteStatus{} : remote_.changeDirectory(context, parts.directory);
             },
             [&](RemoteRetryContext& context) { return remote_.remoteFileExists(context, parts.name, found); }});
  found = found && status.isSuccess();
  if (verbose()) {
    ConnectionLogger::traceFmt(0, L"existFile: %s%s", path, found ? L" found.\n" : L" NOT found.\n");
  }
  return found;
}

bool CZepFtpConnection::existDirectory(const wchar_t* path) {
  if (!initialised_ || path == nullptr) return false;
  const std::wstring directory = path;
  const RemoteStatus status = retry({[&](RemoteRetryContext& context) {
    remote_.doubtDirectory();
    return remote_.changeDirectory(context, directory);
  }});
  if (verbose()) {
    ConnectionLogger::traceFmt(0, L"existDirectory: %s%s", directory,
                               status.isSuccess() ? L" found.\n" : L" NOT found.\n");
  }
  return status.isSuccess();
}

RemoteStatus CZepFtpConnection::goToOrMake(RemoteRetryContext& context, const std::wstring& path) {
  RemoteStatus status = remote_.changeDirectory(context, path);
  if (!status.failed || status.error != ERROR_PATH_NOT_FOUND) return status;
  status = remote_.createDirectory(context, path);
  return status.isSuccess() ? remote_.changeDirectory(context, path) : status;
}

RemoteStatus CZepFtpConnection::makeServerDirectory(const std::wstring& path) {
  constexpr const wchar_t* kFunction = L"Quorvel::FileAccess::CZepFtpConnection::createServerDirectory";
  const std::vector<std::wstring> components = componentPaths(path);
  const RemoteStatus status = retry({[&](RemoteRetryContext& context) {
    // Most of the time it is there, and often it is the current one already.
    RemoteStatus made = remote_.changeDirectory(context, path);
    if (!made.failed || made.error != ERROR_PATH_NOT_FOUND) return made;
    for (const std::wstring& component : components) {
      made = goToOrMake(context, component);
      if (!made.isSuccess()) break;
    }
    return made;
  }});
  if (!status.isSuccess()) {
    const CConsoleTrace trace(
        platform::formatWide(L"\n\n%s(): \"%s\" failed with error: %d!\n\n", kFunction, path, codeOf(status)), 1);
  }
  return status;
}

bool CZepFtpConnection::createServerDirectory(const wchar_t* path) {
  if (!initialised_ || path == nullptr || *path == L'\0') return false;
  return makeServerDirectory(path).isSuccess();
}

DWORD CZepFtpConnection::deleteServerDirectory(const wchar_t* path, const wchar_t* dir, const int* pathNr) {
  if (!initialised_ || path == nullptr || *path == L'\0') return answered(ERROR_INVALID_DATA);
  std::wstring whole = path;
  if (pathNr != nullptr && dir != nullptr) whole = joinServerPath(dir, path);
  // Neither a root nor what a number names is deleted, nor what the path does not name outright.
  if (componentPaths(whole).empty() || hasDotComponent(whole)) return answered(ERROR_INVALID_DATA);
  if (pathNr != nullptr) whole = serverDirectoryOf(pathNr, whole.c_str());
  if (whole.empty()) return answered(ERROR_INVALID_DATA);
  const CTimeTrace timer(timeTraceLevel(), L"deleteServerDirectory: \"" + urlOf(whole, L""), 1, false, true);
  return answered(
      codeOf(retry({[&](RemoteRetryContext& context) { return remote_.deleteDirectory(context, whole); }})));
}

}  // namespace Quorvel::FileAccess
