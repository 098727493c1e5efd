#include "workstation/program/LeavingProject.h"

#include "host/Project.h"
#include "platform/Text.h"
#include "workstation/Session.h"
#include "workstation/program/Context.h"
#include "workstation/program/ObjectName.h"
#include "zephor/Workgroup.h"

namespace workstation::program {

namespace {

bool reachStore(Context& context, std::wstring& whyNot) {
  try {
    context.startOnline();
    return true;
  } catch (const CommandFailure& failure) {
    whyNot = failure.message;
    return false;
  }
}

/// A project's directory is named by its UUID; for a name the store is asked.
void openDirectory(Context& context, const std::wstring& nameOrUuid) {
  std::wstring error;
  if (openCache(nameOrUuid, error)) return;
  std::wstring uuid;
  std::wstring unknown;
  const bool isFound =
      !nameOrUuid.empty() && reachStore(context, unknown) && findProjectUuid(nameOrUuid, uuid, unknown);
  if (!isFound || !openCache(uuid, error))
    throw CommandFailure{ExitCode::Failure, unknown.empty() ? error : error + L" (" + unknown + L")"};
}

void askStore(Context& context, LeftProject& left) {
  if (!reachStore(context, left.whyNot)) return;
  const StoreActor actor = context.actor();
  StoreProject stored;
  std::vector<ObjectLock> locks;
  if (context.store().project(actor, left.uuid, stored) != kStoreOk ||
      context.store().locks(actor, left.uuid, locks) != kStoreOk) {
    left.whyNot = CloudStore::lastText();
    return;
  }
  if (const int code = Quorvel::FileAccess::WGO_InitForProjectOpen(get_ActivePrj())) {
    left.whyNot = L"the project can't be opened (code " + std::to_wstring(code) + L")";
    return;
  }
  left.hasStore = true;
  for (const ObjectLock& lock : locks) {
    const bool isOwn = platform::equalsIgnoreCase(lock.holder.uuid, actor.user.uuid) &&
                       platform::equalsIgnoreCase(lock.workstationId, actor.workstationId);
    if (isOwn) left.locks.push_back(lock);
  }
}

}  // namespace

LeftProject openToLeave(Context& context, const std::wstring& nameOrUuid) {
  context.startWorkstation();
  openDirectory(context, nameOrUuid);
  const PRJ project = get_ActivePrj();
  LeftProject left;
  left.uuid = project.GetOndrathProjectUuid();
  left.name = project.GetProjectDisplayName();
  if (left.name.empty()) left.name = left.uuid;
  askStore(context, left);
  return left;
}

std::wstring nameOf(const ObjectLock& lock) {
  return ObjectName{static_cast<QuorvelFileType>(lock.objectType), lock.number}.shortName();
}

}  // namespace workstation::program
