#include "zephor/Workgroup.h"

#include <array>
#include <mutex>

#include "cloud/CloudCall.h"
#include "core/ServiceState.h"
#include "host/Locking.h"
#include "host/Project.h"
#include "host/System.h"
#include "host/Trace.h"
#include "host/Users.h"
#include "platform/Text.h"
#include "services/ServedProject.h"
#include "services/TransferAim.h"
#include "zephor/CloudFiles.h"
#include "zephor/FileTransfer.h"

namespace Quorvel::FileAccess {
namespace {

constexpr std::size_t kPathCharacters = 260;

void setTransferPath(WGO_PathNr number, const std::wstring& path) {
  const int pathNumber = number;
  if (auto* transfer = dynamic_cast<IZepInetFileTransferInternal*>(&getInetFileManager())) {
    transfer->setPathFromNr(path.c_str(), &pathNumber);
  }
}

void setTransferUser() {
  QuorvelUser user;
  if (lz_GetCurrentUserInfo(user) != 0) return;
  auto* transfer = dynamic_cast<IZepInetFileTransferInternal*>(&getInetFileManager());
  if (transfer == nullptr) return;
  transfer->setQuorvelUserID(user.number);
  transfer->setQuorvelUserName(user.loginName);
}

/// Root of a server of the older store; empty for a host that is none.
std::wstring serverRootOf(const std::wstring& host) {
  const CServerProperties properties(host);
  std::wstring root = properties.baseDirectory;
  while (root.size() > 1 && (root.back() == L'/' || root.back() == L'\\')) root.pop_back();
  if (!properties.hostName.empty() && !root.starts_with(L'/')) root.insert(0, 1, L'/');
  return root;
}

/// Takes the properties of a server. The default record names none, which leaves the object without a store: what the
/// cloud and no host at all need.
void initializeFor(const std::wstring& host) {
  Initialize_forIZepInetFileTransfer values = Initialize_forIZepInetFileTransfer::DefaultValues();
  if (!host.empty() && !ZSYST_IsOndrathServer(host)) values.serverName = host.c_str();
  getInetFileManager().initialize(values);
}

/// @return false when the host has no data path
bool aimAtHost(const std::wstring& host) {
  getInetFileManager().setServerName(host.c_str());
  if (host.empty()) return true;
  const std::wstring path = globalHostsManager::instance().getHostPath(host);
  if (path.empty()) return false;
  const std::wstring root = serverRootOf(host);
  setTransferPath(eServerDataPath, root.empty() ? path : root);
  if (!root.empty()) setTransferPath(eServerPrjPath, root);
  return true;
}

bool isLoggedInFor(const std::wstring& host) {
  constexpr const wchar_t* kFunction = L"Quorvel::FileAccess::wgo_InitNormalOrOndrathWorkgroupServer";
  if (!ZSYST_IsOndrathServer(host)) return true;
  if (guardedCall(kFunction, [] { return QuorvelCloudController()->Login(false, false); }) == 0) return true;
  lfperrC(L"%s: not logged in for ONDRATH server\n", kFunction);
  return false;
}

bool wgo_InitNormalOrOndrathWorkgroupServer(const std::wstring& host) {
  if (!isLoggedInFor(host)) return false;
  initializeFor(host);
  setTransferUser();
  if (aimAtHost(host)) return true;
  const CConsoleTrace trace(platform::formatWide(L"%s(\"%s\"): Host not found!\n",
                                                 L"Quorvel::FileAccess::wgo_InitNormalOrOndrathWorkgroupServer", host),
                            1);
  return false;
}

bool aimAt(const std::wstring& host, const std::wstring& project, const std::wstring& oldHost,
           const std::wstring& oldProjectDirectory) {
  ZSYST_setCurrentWorkgroupServer(host);
  if (!WGO_initWorkgroup(host.c_str())) {
    lfperrC(L"%s: problem from WGO_initWorkgroup for %s\n", L"Quorvel::FileAccess::WGO_FullInitWorkgroup", host);
    ZSYST_setCurrentWorkgroupServer(oldHost);
    // Left at the host that failed, the transfer object would make every later upload of the open project a quiet
    // success for a server that is not the cloud.
    aimTransferAt(oldHost, oldProjectDirectory);
    return false;
  }
  const IZepFileLockingAgent::ScopedSuspend suspend;
  return getInetFileManager().setProjectName(project.c_str(), false) == 0 || ltbispC(project) != 0;
}

}  // namespace

void aimTransferAt(const std::wstring& host, const std::wstring& projectDirectory) {
  initializeFor(host);
  aimAtHost(host);
  getInetFileManager().setProjectName(projectDirectory.c_str(), false);
}

std::wstring registeredName(const std::wstring& workgroupServer, const std::wstring& host) {
  const bool isServer = !host.empty() && platform::equalsIgnoreCase(CServerProperties(workgroupServer).hostName, host);
  return isServer ? workgroupServer : host;
}

bool WGO_initWorkgroup(const wchar_t* host) {
  const std::lock_guard<std::recursive_mutex> lock(serviceLock());
  std::array<wchar_t, kPathCharacters> program{};
  if (ZSYST_getPrgDirectory(program.data(), program.size())) setTransferPath(ePrgPath, program.data());
  setTransferPath(eTempPath, ZSYST_GetQuorvelFolderByTag(L"TMP"));
  return wgo_InitNormalOrOndrathWorkgroupServer(host != nullptr ? host : L"");
}

bool WGO_FullInitWorkgroup(const std::wstring& host, const std::wstring& project, std::wstring& oldHost,
                           std::wstring& oldProjectDirectory) {
  const std::wstring hostBefore = currentHost();
  const std::wstring projectBefore = currentProjectDirectory();
  const bool aimed = aimAt(host, project, hostBefore, projectBefore);
  // Last, since a caller may pass one text as both an argument and an output.
  oldHost = hostBefore;
  oldProjectDirectory = projectBefore;
  return aimed;
}

int WGO_InitForProjectOpen(const PRJ& prj) {
  constexpr const wchar_t* kFunction = L"Quorvel::FileAccess::WGO_InitForProjectOpen";
  if (prj.IsOndrathProject()) {
    const unsigned long error = WGO_OndrathLogin();
    if (error != 0) {
      const CConsoleTrace trace(
          platform::formatWide(L"\n\n%s: access to ONDRATH database: can not open project %s::%s err=%d\n\n", kFunction,
                               prj.host, prj.GetDirectoryName(), static_cast<int>(error)),
          1);
      return static_cast<int>(kNoCloudLogin);
    }
  }
  const std::wstring oldServer = ZSYST_getCurrentWorkgroupServer();
  std::wstring oldHost;
  std::wstring oldProjectDirectory;
  if (WGO_FullInitWorkgroup(prj.host, prj.GetDirectoryName(), oldHost, oldProjectDirectory)) return 0;
  // Also when the server was taken and only the project refused: the project that is open goes on.
  aimTransferAt(registeredName(oldServer, oldHost), oldProjectDirectory);
  ZSYST_setCurrentWorkgroupServer(oldServer);
  lfperrC(L"\n\n%s: init workgroup: can not open project %s::%s\n\n", kFunction, prj.host, prj.GetDirectoryName());
  return kWorkgroupInitFailed;
}

bool WGO_checkProjectAccessState(PRJ* prj) {
  return prj != nullptr;
}

bool WGO_IsProjectWithDownload(const PRJ& prj) {
  return prj.IsOndrathProject();
}

bool WGO_CheckAccessForOnlineProjectAndSwitchUser(const PRJ& /*prj*/, const QuorvelUser* /*user*/, int /*kind*/,
                                                  bool /*flag*/) {
  return false;
}

bool WGO_isOnlineProject(bool* compressed) {
  if (compressed != nullptr) *compressed = get_ActivePrj().IsCompressedProject();
  return false;
}

}  // namespace Quorvel::FileAccess
