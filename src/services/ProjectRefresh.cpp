#include "cloud/CloudCall.h"
#include "services/UserList.h"
#include "zephor/ProjectCache.h"
#include "zephor/Workgroup.h"

namespace Quorvel::FileAccess {

long WGO_refreshProjectCacheFromServer(PRJ& prj) {
  if (!prj.IsOndrathProject()) return 0;
  const CloudCall call(L"Quorvel::FileAccess::WGO_refreshProjectCacheFromServer", prj);
  bool full = false;
  // A service that can't tell leaves it at the light load, which meets the same service and answers for itself.
  call.run(L"%s: the state of the cache of \"%s\" is not known: 0x%08lx.\n", call.project(),
           [&](ICloudProjectService& service, const std::wstring& project) {
             return service.RefreshProjectCache(project, full);
           });
  const long synchronised = WGO_syncPrjDir(prj, full ? eWGOPrjSyncMode_Full : eWGOPrjSyncMode_Refresh);
  if (synchronised < 0) return synchronised;
  return Ondrath_InitWorkgroup(prj) ? 0 : kWorkgroupInitAfterRefreshFailed;
}

}  // namespace Quorvel::FileAccess
