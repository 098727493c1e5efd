#include "zephor/Portal.h"

#include <functional>

#include "cloud/CloudCall.h"
#include "cloud/CloudPaths.h"
#include "cloud/Ondrath_Services.h"
#include "cloud/PortalLinks.h"
#include "platform/Messages.h"
#include "platform/Paths.h"
#include "platform/UserInterface.h"
#include "zephor/Service.h"

namespace Quorvel::FileAccess {
namespace {

constexpr std::intptr_t kHighestShellError = 32;

/// Makes the link from the portal's address and the session's token.
using LinkMaker = std::function<std::wstring(const std::wstring& portal, const std::wstring& token)>;

bool openInBrowser(HWND parent, const std::wstring& link) {
  const auto code =
      reinterpret_cast<std::intptr_t>(ShellExecuteW(nullptr, L"open", link.c_str(), nullptr, nullptr, SW_SHOWNORMAL));
  if (code > kHighestShellError) return true;
  std::wstring text;
  if (getShellExecuteErrorText(code, text) && !text.empty()) {
    MessageBoxW(parent, text.c_str(), L"Quorvel", MB_ICONINFORMATION);
  }
  return false;
}

bool browse(const wchar_t* function, HWND parent, const LinkMaker& linkOf) {
  std::wstring link;
  const CloudStatus status = guardedCall(function, [&] {
    ICloudController& controller = *QuorvelCloudController();
    const CloudStatus login = controller.Login(false, false);
    if (login != 0) return login;
    std::wstring token;
    std::wstring portal;
    std::wstring firstContext;
    std::wstring secondContext;
    controller.GetAccessToken(token);
    controller.GetPortalUrl(portal);
    controller.GetTeamContext(firstContext, secondContext);
    link = linkOf(portal, token);
    return CloudStatus{0};
  });
  return status == 0 && openInBrowser(parent, link);
}

}  // namespace

bool browseOndrathPortal(HWND parent) {
  return browse(L"Quorvel::FileAccess::browseOndrathPortal", parent, portalLink);
}

bool browseOndrathProject(HWND parent, const PRJ& prj, bool viewer) {
  if (!prj.IsOndrathProject()) return false;
  const std::wstring team = prj.GetOndrathTeamUuid();
  const std::wstring project = prj.GetOndrathProjectUuid();
  return browse(L"Quorvel::FileAccess::browseOndrathProject", parent,
                [&](const std::wstring& portal, const std::wstring& token) {
                  return viewer ? viewerLink(portal, team, project) : dashboardLink(portal, token, team, project);
                });
}

bool WGO_CreateOndrathModel(const PRJ& prj, int number, const std::wstring& text) {
  const CloudCall call(L"Quorvel::FileAccess::WGO_CreateOndrathModel", prj);
  if (!call.requireCloudProject()) return false;
  const CTimeTrace timer(WGO_GetTrace(), L"Ondrath CreateModel", 1, false, true);
  const CloudStatus status = call.run([&](ICloudProjectService& service, const std::wstring&) {
    std::wstring model;
    return service.CreateModel(text, number, prj.GetProjectDisplayName(), model);
  });
  if (status >= 0) return true;
  lfperrC(L"%s: cannot create Ondrath quorvel model %d/%s.\n", call.function(), number, text);
  return false;
}

void Ondrath_triggerProjectItemChangedNotification(const PRJ& prj, const std::wstring& fullName) {
  const CloudCall call(L"Quorvel::FileAccess::Ondrath_triggerProjectItemChangedNotification", prj);
  if (!call.requireCloudProject() || fullName.empty()) return;
  std::wstring base;
  std::wstring relative;
  if (!splitAtProjectDirectory(call.project(), fullName, base, relative)) relative = platform::fileNameOf(fullName);
  const CTimeTrace timer(WGO_GetTrace(), L"Ondrath TriggerProjectItemChangedNotification", 1, false, true);
  // A failure is silent: the change is on the server either way.
  call.run([&](ICloudProjectService& service, const std::wstring& project) {
    return service.TriggerProjectItemChangedNotification(project, relative);
  });
}

}  // namespace Quorvel::FileAccess
