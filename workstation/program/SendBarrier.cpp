#include "workstation/program/SendBarrier.h"

#include <vector>

#include "host/Cloud.h"
#include "host/Project.h"
#include "platform/Text.h"
#include "workstation/Session.h"
#include "workstation/program/Context.h"
#include "workstation/program/People.h"
#include "workstation/store/CloudStore.h"

namespace workstation::program {

SendBarrier sendBarrier(Context& context) {
  const std::wstring uuid = get_ActivePrj().GetOndrathProjectUuid();
  StoreProject project;
  std::vector<LockUser> locks;
  // A store that can't tell is asked once more by the transfer itself, which tells why.
  if (context.store().project(context.actor(), uuid, project) != kStoreOk) return {};
  if (project.role > StoreRole::Editor) {
    return {L"you may not change this project: your role in it is " + roleName(project.role)};
  }
  if (context.store().projectLocks(context.actor(), uuid, locks) != kStoreOk) return {};
  for (const LockUser& lock : locks) {
    const bool isOwn = lock.uuid == identity().user.uuid && lock.workstation == identity().workstationName;
    if (isOwn || lock.kind < eOndrathProjectLock_Write) continue;
    return {
        platform::formatWide(L"the project is locked by %s on %s since %s UTC", lock.name, lock.workstation, lock.time),
        true};
  }
  return {};
}

}  // namespace workstation::program
