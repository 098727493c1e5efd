// Lock files in the sub-directory "Lck" of a project on the server. What a lock means and who may hold it is the host's
// locking manager's to say.
#include <algorithm>
#include <cwchar>
#include <new>

#include "ftp/FtpConnection.h"
#include "ftp/LockContent.h"
#include "ftp/ServerPaths.h"
#include "host/Locking.h"
#include "host/Trace.h"
#include "host/Users.h"
#include "platform/Text.h"
#include "toolkit/ByteData.h"
#include "zephor/Diagnostics.h"
#include "zephor/Projects.h"
#include "zephor/Service.h"

namespace Quorvel::FileAccess {

using ConnectionLogger::traceFmt;

namespace {

constexpr const wchar_t* kLockDirectory = L"Lck";
constexpr int kAnyFileNumber = -1;
/// The object type that only the name of its lock tells more of.
constexpr int kTypeByName = 6;

const wchar_t* textOf(const wchar_t* text) {
  return text != nullptr ? text : L"";
}

RemoteStatus failedWith(DWORD error) {
  RemoteStatus status;
  status.failed = true;
  status.error = error;
  return status;
}

/// The thread's last error tells why an operation failed.
bool answerOf(const RemoteStatus& status) {
  SetLastError(codeOf(status));
  return status.isSuccess();
}

bool refuse() {
  SetLastError(ERROR_INVALID_DATA);
  return false;
}

/// @return false when there is no memory for it
bool fillContent(const wchar_t* text, CkByteData& content) {
  try {
    const std::string bytes = lockContentOf(textOf(text));
    content.append(bytes.data(), bytes.size());
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

/// True when the locking manager knows of somebody else who holds the object.
bool isHeldByOther(int objectNumber, const int* objectType, const wchar_t* name) {
  IZepFileLockingManager& manager = getFileLockingManager();
  int type = objectType != nullptr ? *objectType : 0;
  if (type == kTypeByName) {
    int typeInName = 0;
    int number = kAnyFileNumber;
    int user = 0;
    if (manager.parseLockFileName(name, typeInName, number, user)) {
      objectNumber = number;
      type = typeInName;
    }
  }
  const int owner = manager.getLockOwner(objectNumber, type, 0);
  return owner >= 0 && owner != lzbnum();
}

/// No dialog comes up on this thread while it lives.
class ScopedNoDialogs {
 public:
  explicit ScopedNoDialogs(RemoteConfiguration& remote) : remote_(remote), before_(remote.getDialogsSuppressed()) {
    remote_.setDialogsSuppressed(true);
  }
  ~ScopedNoDialogs() { remote_.setDialogsSuppressed(before_); }
  ScopedNoDialogs(const ScopedNoDialogs&) = delete;
  ScopedNoDialogs& operator=(const ScopedNoDialogs&) = delete;

 private:
  RemoteConfiguration& remote_;
  bool before_;
};

std::wstring traceName(const wchar_t* operation, const std::wstring& host, const std::wstring& directory,
                       const wchar_t* name) {
  return platform::formatWide(L"%s: \"%s%s%s", operation, host, directory, textOf(name));
}

}  // namespace

std::wstring CZepFtpConnection::lockDirectoryOf(const wchar_t* project) {
  const int pathNr = ePrjPath;
  if (!initialised_ || project == nullptr || *project == L'\0') return {};
  return serverDirectoryOf(&pathNr, (std::wstring(project) + L"/" + kLockDirectory).c_str());
}

bool CZepFtpConnection::createLockFile(int objectNumber, const int* objectType, const wchar_t* name,
                                       const wchar_t* text) {
  const std::wstring directory = lockDirectoryOf(getProjectName());
  if (directory.empty() || name == nullptr || *name == L'\0') return refuse();
  const CTimeTrace timer(timeTraceLevel(), traceName(L"createLockFile", remote_.hostName, directory, name), 1, false,
                         true);
  const RemoteStatus status =
      retry({[&](RemoteRetryContext& context) { return remote_.changeDirectory(context, directory); },
             [&](RemoteRetryContext& context) {
               CkByteData content;
               if (!fillContent(text, content)) return failedWith(ERROR_NOT_ENOUGH_MEMORY);
               if (isHeldByOther(objectNumber, objectType, name)) return failedWith(ERROR_LOCK_VIOLATION);
               // The manager may have used this thread's connection for its answer.
               if (const RemoteStatus back = remote_.changeDirectory(context, directory); !back.isSuccess()) {
                 return back;
               }
               return remote_.uploadData(context, content, name, 0);
             }});
  return answerOf(status);
}

bool CZepFtpConnection::deleteLockFile(int /*objectNumber*/, const int* /*objectType*/, const wchar_t* name) {
  const std::wstring directory = lockDirectoryOf(getProjectName());
  if (directory.empty() || name == nullptr || *name == L'\0') return refuse();
  const CTimeTrace timer(timeTraceLevel(), traceName(L"deleteLockFile", remote_.hostName, directory, name), 1, false,
                         true);
  return answerOf(retry({[&](RemoteRetryContext& context) { return remote_.changeDirectory(context, directory); },
                         [&](RemoteRetryContext& context) { return remote_.deleteFile(context, name); }}));
}

bool CZepFtpConnection::readLockFile(const wchar_t* name, std::wstring& text) {
  const std::wstring directory = lockDirectoryOf(getProjectName());
  if (directory.empty() || name == nullptr || *name == L'\0') return refuse();
  const ScopedNoDialogs silence(remote_);
  const CTimeTrace timer(timeTraceLevel(), traceName(L"readLockFile", remote_.hostName, directory, name), 1, false,
                         true);
  CkByteData data;
  std::int64_t offset = 0;
  std::int64_t size = 0;
  const RemoteStatus status =
      retry({[&](RemoteRetryContext& context) { return remote_.changeDirectory(context, directory); },
             [&](RemoteRetryContext& context) {
               data.clear();
               return remote_.readFilePart(context, name, 0, RemoteConfiguration::kWholeFile, data, offset, size);
             }});
  if (!answerOf(status)) return false;
  const auto* bytes = reinterpret_cast<const char*>(data.getData());
  text = lockTextOf({bytes, data.getSize()});
  return true;
}

bool CZepFtpConnection::lockFileExists(int /*objectNumber*/, const int* /*objectType*/, const wchar_t* /*name*/,
                                       const wchar_t* pattern) {
  const std::wstring directory = lockDirectoryOf(getProjectName());
  if (directory.empty() || pattern == nullptr) return false;
  const CTimeTrace timer(timeTraceLevel(), L"lockFileExists: \"", 1, false, true);
  std::wstring hit;
  RemoteStatus status = findLockName(directory, pattern, pattern, hit);
  // Asked for one name, a server may tell letter cases apart.
  const bool isOneName = std::wcschr(pattern, L'?') == nullptr;
  if (status.isSuccess() && hit.empty() && isOneName) status = findLockName(directory, L"*", pattern, hit);
  const bool isMissing = status.failed && status.error == ERROR_PATH_NOT_FOUND;
  SetLastError(isMissing ? 0 : codeOf(status));
  if (verbose() && !hit.empty()) traceFmt(0, L"lockFileExists: %s found\n", hit);
  if (verbose() && hit.empty() && (status.isSuccess() || isMissing)) traceFmt(0, L"lockFileExists NOT found\n");
  return !hit.empty();
}

RemoteStatus CZepFtpConnection::findLockName(const std::wstring& directory, const std::wstring& listed,
                                             const std::wstring& pattern, std::wstring& hit) {
  std::vector<std::wstring> names;
  const RemoteStatus status =
      retry({[&](RemoteRetryContext& context) { return remote_.changeDirectory(context, directory); },
             [&](RemoteRetryContext& context) {
               names.clear();
               return remote_.getFileNames(context, listed, names);
             }});
  if (!status.isSuccess()) return status;
  const auto found = std::find_if(names.begin(), names.end(),
                                  [&](const std::wstring& name) { return matchesLockPattern(name, pattern); });
  if (found != names.end()) hit = *found;
  return status;
}

std::size_t CZepFtpConnection::fillLockInfo(const wchar_t* project, std::vector<LockFileInfo>& out, int userFilter) {
  const std::wstring directory = project != nullptr && *project != L'\0' ? WGO_BuildProjectDirectoryName(project) : L"";
  return listLocks(lockDirectoryOf(directory.empty() ? getProjectName() : directory.c_str()), userFilter, out);
}

std::size_t CZepFtpConnection::fillLockInfo(const int* pathNr, int userFilter, std::vector<LockFileInfo>& out) {
  return listLocks(initialised_ ? serverDirectoryOf(pathNr, kLockDirectory) : std::wstring(), userFilter, out);
}

RemoteStatus CZepFtpConnection::listLockNames(const std::wstring& directory, std::vector<std::wstring>& names) {
  std::wstring label;
  WGO_Service_CreateIOTraceMsg(L"fillLockInfo", directory.c_str(), label);
  const CTimeTrace timer(timeTraceLevel(), label, 1, false, true);
  return retry({[&](RemoteRetryContext& context) { return remote_.changeDirectory(context, directory); },
                [&](RemoteRetryContext& context) {
                  names.clear();
                  return remote_.getFileNames(context, L"*", names);
                }});
}

std::size_t CZepFtpConnection::listLocks(const std::wstring& directory, int userFilter,
                                         std::vector<LockFileInfo>& out) {
  out.clear();
  std::vector<std::wstring> names;
  const RemoteStatus status = directory.empty() ? failedWith(ERROR_INVALID_DATA) : listLockNames(directory, names);
  if (!status.isSuccess()) names.clear();
  IZepFileLockingManager& manager = getFileLockingManager();
  for (std::wstring& name : names) {
    if (!isLockFileName(name)) continue;
    LockFileInfo info;
    if (!manager.parseLockFileName(name, info.objectType, info.objectNumber, info.userId)) continue;
    if (!isLockWanted(info.userId, userFilter, getQuorvelUserID())) continue;
    info.baseName = lockBaseNameOf(name);
    info.fileName = std::move(name);
    out.push_back(std::move(info));
  }
  // A directory that is missing holds no locks. Any other failure must not read as if nobody held one.
  SetLastError(status.error == ERROR_PATH_NOT_FOUND ? 0 : codeOf(status));
  return out.size();
}

}  // namespace Quorvel::FileAccess
