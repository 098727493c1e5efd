#include "cloud/CacheNames.h"
#include "cloud/CloudCall.h"
#include "host/Files.h"
#include "host/System.h"
#include "platform/Files.h"
#include "platform/ShellOperations.h"
#include "platform/UserInterface.h"
#include "zephor/ProjectCache.h"

namespace Quorvel::FileAccess {
namespace {

/// Runs beside the library without anybody to close a box.
constexpr const wchar_t* kUnattendedProgram = L"Zephor_CloudStorage_ApplicationTests.exe";

/// Empty when the workstation's data or the server is not known.
std::wstring cachePath(const PRJ& prj) {
  const std::wstring data = ZSYST_getLocalDataDirectory();
  const std::wstring server = ZSYST_getLocalDataServerRoot(prj.host);
  if (data.empty() || server.empty()) return {};
  return platform::formatWide(L"%s\\Prj\\%s\\%s", data, server, WGO_BuildProjectDirectoryName(prj.GetDirectoryName()));
}

}  // namespace

bool WGO_ProjectCacheExists(const PRJ& prj) {
  if (!prj.IsOndrathProject()) return true;
  const std::wstring path = cachePath(prj);
  return !path.empty() && _waccess(path.c_str(), 0) == 0;
}

bool WGO_deleteLocalProjectCache(const PRJ& prj, bool quiet) {
  if (!prj.IsOndrathProject()) return true;
  const CloudCall call(L"Quorvel::FileAccess::WGO_deleteLocalProjectCache", prj);
  const std::wstring directory = cacheDirectory(call, prj);
  if (directory.empty()) return false;
  // Nothing was ever loaded here, or somebody else was faster.
  if (!platform::fileStatus(directory).exists) return true;
  const std::wstring list = directory + L'\0';
  SHFILEOPSTRUCTW operation{};
  operation.wFunc = FO_DELETE;
  operation.pFrom = list.c_str();
  operation.fFlags =
      quiet ? FOF_SILENT | FOF_NOCONFIRMATION | FOF_ALLOWUNDO | FOF_NOCONFIRMMKDIR : FOF_ALLOWUNDO | FOF_SIMPLEPROGRESS;
  const int moved = SHFileOperationW(&operation);
  if (moved == 0 && operation.fAnyOperationsAborted == FALSE) DeleteFileW(projectFilesRecord(directory).c_str());
  if (moved == 0 || operation.fAnyOperationsAborted != FALSE) return moved == 0;
  lfperrC(L"%s: \"%s\" could not be moved to the recycle bin (error %d)\n", call.function(), directory, moved);
  const int removed = ldirrmc(directory);
  if (removed == 0) DeleteFileW(projectFilesRecord(directory).c_str());
  if (removed == 0 || isAppRunning(kUnattendedProgram)) return removed == 0;
  const std::wstring text = platform::formatWide(L"Error %d %s", removed, directory);
  MessageBoxW(nullptr, text.c_str(), L"Quorvel", MB_ICONINFORMATION);
  return false;
}

}  // namespace Quorvel::FileAccess
