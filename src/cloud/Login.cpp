#include "cloud/CloudCall.h"
#include "host/System.h"
#include "zephor/CloudFiles.h"

namespace Quorvel::FileAccess {
namespace {

struct LoginState {
  /// A logout waits for WGO_DelayedOndrathLogout. Nothing here sets it: the other half of the hook is absent on
  /// purpose.
  unsigned char logoutPending = 0;
};

LoginState& loginState() {
  static LoginState state;
  return state;
}

}  // namespace

unsigned long WGO_OndrathLogin() {
  constexpr const wchar_t* kFunction = L"Quorvel::FileAccess::WGO_OndrathLogin";
  if (guardedCall(kFunction, [] { return QuorvelCloudController()->Login(true, false); }) != 0) {
    lfperrC(L"\n\n%s: failed to connect to Ondrath \n\n", kFunction);
    return 1;
  }
  const CloudStatus status = guardedCall(kFunction, [] {
    std::wstring state;
    bool first = false;
    bool second = false;
    return QuorvelCloudController()->GetProjectService()->GetSessionState(state, first, second);
  });
  return status == 0 ? 0 : 0x8000FFFF;
}

bool WGO_SSOLogin(bool silent) {
  return guardedCall(L"Quorvel::FileAccess::WGO_SSOLogin",
                     [&] { return QuorvelCloudController()->Login(true, silent); }) == 0;
}

WGO_LogoutAllowed WGO_CheckForLogoutInOndrathProject() {
  return ZSYST_IsOndrathConnection() ? eWGOLogout_Ask : eWGOLogout_Allowed;
}

void WGO_DelayedOndrathLogout() {
  if (loginState().logoutPending != 1) return;
  loginState().logoutPending = 0;
  guardedCall(L"Quorvel::FileAccess::WGO_DelayedOndrathLogout", [] {
    QuorvelSsoController()->Logout();
    return CloudStatus{0};
  });
}

}  // namespace Quorvel::FileAccess
