#include "zephor/Service.h"

#include <array>

#include "core/ServiceState.h"
#include "host/Project.h"
#include "host/System.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "zephor/FileTransfer.h"

namespace Quorvel::FileAccess {
namespace {

IZepInetFileTransferInternal& internals(IZepInetFileTransfer& manager) {
  return dynamic_cast<IZepInetFileTransferInternal&>(manager);
}

std::wstring setupPath(const wchar_t* key) {
  std::array<wchar_t, MAX_PATH> buffer{};
  if (!ZSYST_ZepRegGetSetupPath(key, buffer.data())) return {};
  buffer.back() = L'\0';
  return buffer.data();
}

/// Gives the transfer object one of the two roots from which it derives every other path.
void setRoot(int number, const std::wstring& path) {
  internals(getInetFileManager()).setPathFromNr(path.c_str(), &number);
}

}  // namespace

bool WGO_Service_Initialize(WGO_InitMode /*mode*/) {
  if (!lfnetg()) return true;
  ZSYST_setCurrentWorkgroupServer(ZSYST_getQuorvelServer());
  WGO_GetTrace();
  if (!ZSYST_IsInetConfiguration()) return true;

  ServiceState& state = serviceState();
  if (state.onlineProject == nullptr) state.onlineProject = std::make_unique<PRJ>();
  const std::wstring server = setupPath(L"Net");
  const std::wstring local = setupPath(L"LocalData");
  setRoot(eServerDataPath, server);
  setRoot(eLocalDataPath, local);
  if (IsHostAvailable(ZSYST_getQuorvelServer(), 0) != 0) return true;

  // Without its server the workstation works on local data, which needs the directory of the projects.
  constexpr int kProjects = ePrjPath;
  CreateDirectoryW(getInetFileManager().getPathFromNr(&kProjects), nullptr);
  setRoot(eLocalDataPath, local);
  setRoot(eServerDataPath, server);
  return true;
}

void WGO_Service_Uninitialize() {
  ServiceState& state = serviceState();
  if (!state.managerDestroyed) {
    try {
      internals(getInetFileManager()).releaseThreadData();
    } catch (...) {
      // The service ends whatever the connection says; nobody is left to be told.
    }
  }
  state.onlineProject.reset();
}

void WGO_Service_CreateIOTraceMsg(const wchar_t* operation, const wchar_t* path, std::wstring& out) {
  IZepInetFileTransfer& manager = getInetFileManager();
  const std::wstring server = manager.getServerName();
  switch (internals(manager).getConnectionType()) {
    case 0:
      out = platform::formatWide(L"%s: %s", operation, path);
      break;
    case 1:
      out = platform::formatWide(L"%s: ftp://%s%s", operation, server, path);
      break;
    default:
      break;
  }
}

void WGO_resetDirectoryListingCache(const std::wstring& /*directory*/) {}

}  // namespace Quorvel::FileAccess
