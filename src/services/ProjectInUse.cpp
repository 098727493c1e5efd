// Whether somebody works in a project: sessions of a cloud project, lock files of any other.
#include <algorithm>

#include "cloud/CloudCall.h"
#include "host/Locking.h"
#include "host/Users.h"
#include "platform/Text.h"
#include "services/ServedProject.h"
#include "zephor/ProjectInformation.h"
#include "zephor/Service.h"
#include "zephor/Workgroup.h"

namespace Quorvel::FileAccess {
namespace {

constexpr const wchar_t* kInUse = L"Quorvel::FileAccess::WGO_isProjectInUse";
constexpr int kNotOpen = -1;

bool isCloudProjectInUse(const PRJ& prj, bool ignoreOwn) {
  const CTimeTrace timer(WGO_GetTrace(), platform::formatWide(L"%s: %s", kInUse, prj.GetOndrathProjectName()), 1, false,
                         true);
  bool inUse = true;
  const CloudStatus status =
      CloudCall(kInUse, prj).run([&](ICloudProjectService& service, const std::wstring& project) {
        return service.IsProjectInUse(prj.GetOndrathTeamUuid(), project, ignoreOwn, inUse);
      });
  return status == 0 && inUse;
}

bool hasLocks(const PRJ& prj, bool ignoreOwn) {
  const CTimeTrace timer(
      WGO_GetTrace(), platform::formatWide(L"%s():lockManager.updateLockInfoEx() \"%s\"", kInUse, prj.GetProjectName()),
      1, false, true);
  const CScopedPrjSettings settings(prj.host, prj.GetDirectoryName());
  if (!isAimedAt(prj.host, prj.GetDirectoryName())) return false;
  QuorvelUser user;
  lz_GetCurrentUserInfo(user);
  std::vector<FileLockInfo> locks;
  const int result = getFileLockingManager().updateLockInfoEx(kgunit(), locks);
  const bool counts = std::any_of(locks.begin(), locks.end(), [&](const FileLockInfo& lock) {
    return !ignoreOwn || lock.userNumber != user.number;
  });
  return counts && result != 0;
}

/// A project open for the project database while it lives.
class OpenForTest {
 public:
  explicit OpenForTest(const PRJ& prj) {
    ZP_Header_Project header;
    header.SetInfo(prj);
    handle_ = tempProjectOpen(header);
  }
  ~OpenForTest() {
    if (isOpen()) tempProjectClose(handle_);
  }
  OpenForTest(const OpenForTest&) = delete;
  OpenForTest& operator=(const OpenForTest&) = delete;

  bool isOpen() const { return handle_ != kNotOpen; }

 private:
  int handle_ = kNotOpen;
};

}  // namespace

bool WGO_isProjectInUse(const PRJ& prj, bool ignoreOwn) {
  return prj.IsOndrathProject() ? isCloudProjectInUse(prj, ignoreOwn) : hasLocks(prj, ignoreOwn);
}

bool WGO_isProjectInUseEx(const PRJ& prj, bool ignoreOwn) {
  if (kgunit() != kNotOpen || prj.IsOndrathProject()) return WGO_isProjectInUse(prj, ignoreOwn);
  const OpenForTest open(prj);
  return open.isOpen() && WGO_isProjectInUse(prj, ignoreOwn);
}

}  // namespace Quorvel::FileAccess
