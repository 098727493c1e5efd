#include "cloud/CloudCall.h"
#include "host/System.h"
#include "services/ServedProject.h"
#include "services/TransferAim.h"
#include "zephor/Workgroup.h"

namespace Quorvel::FileAccess {

CScopedPrjSettings::CScopedPrjSettings(const wchar_t* host, const wchar_t* project) {
  push(host, project);
}

CScopedPrjSettings::CScopedPrjSettings(const CScopedPrjSettings&) = default;
CScopedPrjSettings& CScopedPrjSettings::operator=(const CScopedPrjSettings&) = default;

CScopedPrjSettings::~CScopedPrjSettings() {
  guardedCall(L"Quorvel::FileAccess::CScopedPrjSettings::pop", [this] {
    pop();
    return CloudStatus{0};
  });
}

void CScopedPrjSettings::push(const wchar_t* host, const wchar_t* project) {
  const std::wstring server = host != nullptr ? host : L"";
  oldWorkgroupServer_ = ZSYST_getCurrentWorkgroupServer();
  if (project != nullptr) {
    WGO_FullInitWorkgroup(server, project, oldHost_, oldProjectDirectory_);
    return;
  }
  oldHost_ = currentHost();
  oldProjectDirectory_ = currentProjectDirectory();
  WGO_initWorkgroup(server.c_str());
}

void CScopedPrjSettings::pop() {
  std::wstring host;
  std::wstring projectDirectory;
  // A server that can't be reached any more must not keep the service from pointing where it pointed before.
  // A plain directory has no address that would tell it.
  const bool isNameless = oldHost_.empty() && CServerProperties(oldWorkgroupServer_).hostName.empty();
  const std::wstring server = isNameless ? oldWorkgroupServer_ : registeredName(oldWorkgroupServer_, oldHost_);
  if (!WGO_FullInitWorkgroup(server, oldProjectDirectory_, host, projectDirectory)) {
    aimTransferAt(server, oldProjectDirectory_);
  }
  ZSYST_setCurrentWorkgroupServer(oldWorkgroupServer_);
}

}  // namespace Quorvel::FileAccess
