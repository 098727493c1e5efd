#include "cloud/CacheNames.h"
#include "cloud/CloudCall.h"
#include "cloud/Ondrath_Services.h"
#include "cloud/ProjectCache.h"
#include "cloud/TransferQuestion.h"
#include "host/Files.h"
#include "host/System.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/ShellOperations.h"
#include "platform/UserInterface.h"
#include "zephor/Projects.h"
#include "zephor/Service.h"
#include "zephor/Workgroup.h"

namespace Quorvel::FileAccess {
namespace {

constexpr int kDirectoryFailed = 2;
constexpr int kBaseFiles = 1;
constexpr std::uint32_t kAllSteps = 0xFFFFFFFF;
constexpr const wchar_t* kMarkerFile = L"OndrathCopy.tmp";
constexpr DWORD kBlocksOverwriting = FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;

/// Gives a file the attributes back at the end that it has now. A file that is not there stays out of it.
class ScopedAttributes {
 public:
  /// @param opens  takes hidden and system from it meanwhile: with them it could not be overwritten
  ScopedAttributes(std::wstring path, bool opens) : path_(std::move(path)), before_(GetFileAttributesW(path_.c_str())) {
    if (opens && isThere() && (before_ & kBlocksOverwriting) != 0)
      SetFileAttributesW(path_.c_str(), before_ & ~kBlocksOverwriting);
  }
  ~ScopedAttributes() {
    if (isThere()) SetFileAttributesW(path_.c_str(), before_);
  }
  ScopedAttributes(const ScopedAttributes&) = delete;
  ScopedAttributes& operator=(const ScopedAttributes&) = delete;

 private:
  bool isThere() const { return before_ != INVALID_FILE_ATTRIBUTES; }

  std::wstring path_;
  DWORD before_;
};

/// The files of the shell in a project: what the user made of them outlives a load on either road.
struct ScopedShellFiles {
  ScopedShellFiles(const std::wstring& directory, bool opens)
      : design(directory + L"\\design\\desktop.ini", opens), exchange(directory + L"\\I_O\\desktop.ini", opens) {}
  ScopedAttributes design;
  ScopedAttributes exchange;
};

/// The application shows a load as it goes on; other programs of the host show nothing.
CloudTransferOptions loadOptions(const CloudCall& call, const PRJ& prj) {
  if (!isExecutedByQuorvel()) return call.options({});
  std::wstring text;
  getlocalizedMessageTextForOndrath(text, prj.GetProjectDisplayName(), 2, 0, 0, 0);
  return call.options(text, kAllSteps);
}

/// Of the exchange files only the top level outlives a full load.
void removeBimSubdirectories(const CloudCall& call, const std::wstring& directory) {
  const std::wstring bim = directory + L"\\BIM\\";
  const DWORD attributes = GetFileAttributesW((directory + L"\\BIM").c_str());
  // What lies behind a link is no part of the cache.
  if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) {
    lfperrC(L"%s: \"%s\" is a link, what is below it stays\n", call.function(), directory + L"\\BIM");
    return;
  }
  WIN32_FIND_DATAW entry{};
  const HANDLE find = FindFirstFileW((bim + L"*.*").c_str(), &entry);
  if (find == INVALID_HANDLE_VALUE) return;
  std::vector<std::wstring> found;
  // The first entry is the directory itself.
  while (FindNextFileW(find, &entry) != FALSE) {
    const bool isDirectory = (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    if (isDirectory && entry.cFileName[0] != L'.') found.emplace_back(bim + entry.cFileName);
  }
  FindClose(find);
  for (std::wstring& path : found) {
    path += L'\0';
    SHFILEOPSTRUCTW operation{};
    operation.wFunc = FO_DELETE;
    operation.pFrom = path.c_str();
    operation.fFlags = FOF_SILENT | FOF_NOCONFIRMATION | FOF_NOCONFIRMMKDIR | FOF_NOERRORUI;
    const int error = SHFileOperationW(&operation);
    if (error != 0) lfperrC(L"%s: \"%s\" could not be deleted (error %d)\n", call.function(), path.c_str(), error);
  }
}

void leaveMarker(const std::wstring& directory) {
  const std::wstring path = platform::joinPath(directory, kMarkerFile);
  const HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                  CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file != INVALID_HANDLE_VALUE) CloseHandle(file);
}

constexpr const wchar_t* kLoadFailed = L"%s: loading \"%s\" failed with 0x%08lx.\n";

CloudStatus loadWhole(const CloudCall& call, const PRJ& prj, const std::wstring& directory) {
  const ScopedShellFiles shellFiles(directory, false);
  const CloudTransferOptions options = loadOptions(call, prj);
  const CloudStatus status =
      call.run(kLoadFailed, directory, [&](ICloudProjectService& service, const std::wstring& project) {
        return service.DownloadQuorvelProjectFiles(project, directory, kCloudKindWholeProject, options);
      });
  removeBimSubdirectories(call, directory);
  leaveMarker(directory);
  return status;
}

CloudStatus loadBase(const CloudCall& call, const PRJ& prj, const std::wstring& directory) {
  const ScopedShellFiles shellFiles(directory, true);
  const CloudTransferOptions options = loadOptions(call, prj);
  return call.run(kLoadFailed, directory, [&](ICloudProjectService& service, const std::wstring& project) {
    return service.DownloadQuorvelProjectBaseFiles(project, directory, kBaseFiles, options);
  });
}

}  // namespace

int Ondrath_DownLoadProject(const PRJ& prj, int mode) {
  const CloudCall call(L"Quorvel::FileAccess::Ondrath_DownLoadProject", prj);
  if (!call.requireCloudProject()) return kDirectoryFailed;
  const std::wstring directory = cacheDirectory(call, prj);
  if (directory.empty()) return kDirectoryFailed;
  if (!platform::fileStatus(directory).exists && ldirmkc(directory) != 0) {
    lfperrC(L"%s: the directory \"%s\" could not be made\n", call.function(), directory);
    return kDirectoryFailed;
  }
  const CTimeTrace timer(WGO_GetTrace(), platform::formatWide(L"%s(): \"%s\"", call.function(), directory), 1, false,
                         true);
  const bool isFull = mode == eWGOPrjSyncMode_Full || mode == eWGOPrjSyncMode_FullBackup;
  if ((isFull ? loadWhole(call, prj, directory) : loadBase(call, prj, directory)) == 0) return 0;
  MessageBoxW(nullptr, transferFailedText().c_str(), L"Quorvel", MB_ICONHAND | MB_SETFOREGROUND);
  return kDirectoryFailed;
}

long Ondrath_EnsureLocalProjectCache(const PRJ& prj, int mode) {
  const CloudCall call(L"Quorvel::FileAccess::Ondrath_EnsureLocalProjectCache", prj);
  const CTimeTrace timer(WGO_GetTrace(), call.function(), 1, false, true);
  if (!WGO_isValidProjectVersion(prj, mode != eWGOPrjSyncMode_Full, false)) {
    return static_cast<std::int32_t>(kReleaseNotUsable);
  }
  std::wstring why;
  const CloudStatus access = !call.requireCloudProject()
                                 ? kServiceThrew
                                 : call.run([&](ICloudProjectService& service, const std::wstring& project) {
                                     return service.CheckProjectAccess(project, why);
                                   });
  if (access != 0) {
    lfperrC(L"%s: no access to \"%s\" (0x%08lx): %s\n", call.function(), call.project(), statusCode(access), why);
    return static_cast<std::int32_t>(kProjectRefused);
  }
  return Ondrath_DownLoadProject(prj, mode) == 0 ? 0 : -1;
}

}  // namespace Quorvel::FileAccess
