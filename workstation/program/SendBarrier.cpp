#include "workstation/program/SendBarrier.h"

#include <vector>

#include "host/Cloud.h"
#include "host/Project.h"
#include "platform/Text.h"
#include "workstation/Session.h"
#include "workstation/program/Context.h"
#include "workstation/store/CloudStore.h"

namespace workstation::program {

SendBarrier sendBarrier(Context& context) {
  const std::wstring uuid = get_ActivePrj().GetOndrathProjectUuid();
  const CloudStatus status = context.store().mayChange(context.actor(), uuid);
  if (status == kStoreOk) return {};
  SendBarrier barrier{CloudStore::lastText(), status == kStoreLocked};
  StoreProject project;
  std::vector<LockUser> locks;
  if (context.store().project(context.actor(), uuid, project) != kStoreOk) return barrier;
  if (project.role == StoreRole::Viewer) return {L"you are a viewer in this project"};
  if (!barrier.isLocked || context.store().projectLocks(context.actor(), uuid, locks) != kStoreOk) return barrier;
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
