#include "zephor/ProjectInformation.h"

#include "cloud/CloudCall.h"
#include "cloud/ProjectInformation.h"
#include "host/System.h"

namespace Quorvel::FileAccess {
namespace {

/// A field of the signed-in user. Nobody signed in leaves `out` as it is, as a missing connection does.
void takeUserField(const wchar_t* function, std::wstring CloudUser::*field, std::wstring& out) {
  if (!ZSYST_IsOndrathConnection()) return;
  guardedCall(function, [&] {
    CloudUser user;
    const CloudUser* signedIn = QuorvelCloudController()->GetProjectService()->GetCurrentUser(user);
    if (signedIn != nullptr) out = signedIn->*field;
    return CloudStatus{0};
  });
}

}  // namespace

bool WGO_getOndrathProjectInfoFromName(const std::wstring& name, PRJ& out) {
  return Ondrath_getProjectInfoFromName(name, out);
}

bool WGO_getOndrathProjectInfoFromUuid(const std::wstring& uuid, PRJ& out) {
  return Ondrath_getProjectInfoFromUuid(uuid, out);
}

unsigned long WGO_getProjectInfo(const std::wstring& projectUuid, std::wstring& name, std::wstring& teamName,
                                 std::wstring& teamUuid) {
  std::wstring answers[3];
  const CloudStatus status = guardedCall(L"Quorvel::FileAccess::WGO_getProjectInfo", [&] {
    return QuorvelCloudController()->GetProjectService()->GetProjectInfo(projectUuid, answers[0], answers[1],
                                                                         answers[2]);
  });
  if (status == 0) {
    name = answers[0];
    teamName = answers[1];
    teamUuid = answers[2];
  }
  return statusCode(status);
}

bool WGO_getOndrathProjectUsers(const PRJ& prj, std::vector<CloudProjectMember>& out) {
  return Ondrath_getProjectUsers(prj, out);
}

CloudStatus WGO_setProjectLock(const PRJ& prj, OndrathProjectLockType type) {
  return prj.IsOndrathProject() ? Ondrath_setProjectLock(prj, type) : 0;
}

bool WGO_removeProjectLock(const PRJ& prj, bool all) {
  return !prj.IsOndrathProject() || Ondrath_removeProjectLock(prj, all);
}

bool WGO_getProjectLocks(const PRJ& prj, std::vector<LockUser>& out) {
  return prj.IsOndrathProject() && Ondrath_getProjectLocks(prj, out);
}

bool WGO_IsCurrentUserAdmin(const PRJ& prj) {
  return prj.IsOndrathProject() && Ondrath_IsCurrentUserAdmin(prj);
}

bool WGO_IsCurrentUserEditor(const PRJ& prj) {
  return prj.IsOndrathProject() && Ondrath_IsCurrentUserEditor(prj);
}

void WGO_getUser(std::wstring& out) {
  takeUserField(L"Quorvel::FileAccess::WGO_getUser", &CloudUser::uuid, out);
}

void WGO_getCurrentUserNameOndrath(std::wstring& out) {
  takeUserField(L"Quorvel::FileAccess::WGO_getCurrentUserNameOndrath", &CloudUser::name, out);
}

void WGO_getCurrentUserEmailOndrath(std::wstring& out) {
  takeUserField(L"Quorvel::FileAccess::WGO_getCurrentUserEmailOndrath", &CloudUser::email, out);
}

}  // namespace Quorvel::FileAccess
