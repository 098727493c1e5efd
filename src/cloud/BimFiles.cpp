// The exchange files of a project: bringing them, and taking out what one side does not have any more.
#include <atomic>
#include <set>

#include "cloud/CacheNames.h"
#include "cloud/CloudCall.h"
#include "cloud/Ondrath_Services.h"
#include "cloud/ProjectCache.h"
#include "cloud/TransferQuestion.h"
#include "host/Files.h"
#include "host/System.h"
#include "host/UserMessages.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "zephor/ProjectCache.h"
#include "zephor/Service.h"

namespace Quorvel::FileAccess {
namespace {

constexpr const wchar_t* kLayoutStructure = L"Quorvel_BIM_LayoutStructure.xml";

/// Whether the folder has been brought in full. Of the process, whatever project is open.
std::atomic<bool>& broughtInFull() {
  static std::atomic<bool> brought{false};
  return brought;
}

/// The exchange files that the server has at the folder's top level. @return false when it does not tell
bool serverTopLevel(const CloudCall& call, std::vector<std::wstring>& names) {
  constexpr const wchar_t* kFailed = L"%s: listing the BIM files of \"%s\" failed with 0x%08lx.\n";
  names.clear();
  std::vector<std::wstring> listed;
  const CloudStatus status =
      call.run(kFailed, call.project(), [&](ICloudProjectService& service, const std::wstring& project) {
        return service.GetQuorvelProjectResourceFiles(project, listed, kCloudKindBim);
      });
  if (status != 0) return false;
  for (std::wstring& name : listed) {
    if (isBimTopLevelName(name)) names.push_back(std::move(name));
  }
  return true;
}

std::vector<std::wstring> localExchangeFiles(const std::wstring& directory) {
  std::vector<std::wstring> names;
  WIN32_FIND_DATAW entry{};
  const HANDLE find = FindFirstFileW((directory + L"BIM\\*.xml").c_str(), &entry);
  if (find == INVALID_HANDLE_VALUE) return names;
  do {
    if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
      names.push_back(L"BIM\\" + std::wstring(entry.cFileName));
  } while (FindNextFileW(find, &entry) != FALSE);
  FindClose(find);
  return names;
}

}  // namespace

bool Ondrath_DownloadBIMFiles(const PRJ& prj, bool full) {
  const CloudCall call(L"Quorvel::FileAccess::Ondrath_DownloadBIMFiles", prj);
  const std::wstring directory = call.requireCloudProject() ? cacheDirectory(call, prj) : std::wstring();
  if (directory.empty()) return false;
  const CTimeTrace timer(WGO_GetTrace(), call.function(), 1, false, true);
  const CloudTransferOptions options = call.options({});
  for (;;) {
    std::vector<std::wstring> failed;
    const CloudStatus status = call.run([&](ICloudProjectService& service, const std::wstring& project) {
      return service.DownloadQuorvelProjectBwsFiles(project, directory, full, failed, options);
    });
    if (status == 0) return true;
    lfperrC(L"%s: DownloadQuorvelProjectBwsFiles failed with %d.\n", call.function(), status);
    if (Msg2usr_IsDeny() || !userWantsRetry(status, failed)) return false;
  }
}

void resetBimDownload() {
  broughtInFull() = false;
}

bool WGO_downloadBimDir(const PRJ& prj, bool fromStart) {
  if (!prj.IsOndrathProject()) return true;
  if (fromStart && broughtInFull()) return true;
  const CTimeTrace timer(
      WGO_GetTrace(),
      platform::formatWide(L"%s: %s", L"Quorvel::FileAccess::WGO_downloadBimDir", prj.GetProjectDisplayName()), 1,
      false, true);
  const bool full = fromStart || !broughtInFull();
  const bool brought = Ondrath_DownloadBIMFiles(prj, full);
  if (full && brought) broughtInFull() = true;
  return brought;
}

bool WGO_syncBimDir(bool fromStart) {
  return WGO_downloadBimDir(get_ActivePrj(), fromStart);
}

void Ondrath_CleanLocalBimFiles(const PRJ& prj) {
  const CloudCall call(L"Quorvel::FileAccess::Ondrath_CleanLocalBimFiles", prj);
  if (!call.requireCloudProject() || !requireOpenProject(call)) return;
  std::vector<std::wstring> names;
  // Without the server's word nothing is known to be gone.
  if (!serverTopLevel(call, names)) return;
  std::set<std::wstring> onServer;
  for (const std::wstring& name : names) onServer.insert(platform::toLower(name));
  const std::wstring directory = lfinigC(1);
  for (const std::wstring& name : localExchangeFiles(directory)) {
    if (onServer.contains(platform::toLower(name))) continue;
    const std::optional<std::wstring> place = placeInDirectory(directory, name);
    if (!place || _wunlink(place->c_str()) != 0) {
      lfperrC(L"%s: \"%s\" could not be deleted\n", call.function(), directory + name);
    } else if (getFileAccessTrace() > 0) {
      const CConsoleTrace trace(
          platform::formatWide(L"\"%s\" doesn't exist on the server and was deleted in local cache now.\n", name), 1);
    }
  }
}

void Ondrath_DeleteBwsFiles(const PRJ& prj) {
  const CloudCall call(L"Quorvel::FileAccess::Ondrath_DeleteBwsFiles", prj);
  const std::wstring directory = call.requireCloudProject() ? cacheDirectory(call, prj) : std::wstring();
  if (directory.empty()) return;
  std::vector<std::wstring> names;
  serverTopLevel(call, names);
  for (const std::wstring& name : names) {
    if (platform::findIgnoreCase(name, kLayoutStructure) != std::wstring::npos) continue;
    Ondrath_deleteFile(prj, platform::joinPath(directory, name));
  }
}

bool WGO_deleteBWSFiles() {
  if (ZSYST_IsOndrathConnection()) Ondrath_DeleteBwsFiles(get_ActivePrj());
  return true;
}

}  // namespace Quorvel::FileAccess
