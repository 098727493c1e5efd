// lock, unlock, locks.
#include <CLI/CLI.hpp>
#include <memory>
#include <optional>

#include "host/Locking.h"
#include "host/Project.h"
#include "host/Trace.h"
#include "workstation/objects/LockText.h"
#include "workstation/program/Agreement.h"
#include "workstation/program/Commands.h"
#include "workstation/program/Context.h"
#include "workstation/program/ObjectLocks.h"
#include "workstation/program/Objects.h"
#include "workstation/program/People.h"
#include "workstation/program/Saving.h"
#include "workstation/store/CloudStore.h"

namespace workstation::program {

namespace {

/// Who changes an old version would have to choose between two works at the end.
void warnOfNewer(const Context& context, const std::vector<ObjectName>& objects) {
  if (objects.empty()) return;
  for (const auto& view : readItems(itemsOf(objects))) {
    const bool isNewer = view.state == ObjectState::NewerInStore || view.state == ObjectState::OnlyInStore ||
                         view.state == ObjectState::ChangedOnBoth;
    if (isNewer)
      context.output().message(view.label() + L": the store has another version; fetch it before you change it");
  }
}

ExitCode lock(Context& context, const std::vector<std::string>& arguments) {
  const auto objects = objectArguments(arguments);
  context.startInProject();
  std::vector<ObjectName> locked;
  const ExitCode code = lockObjects(context, objects, locked);
  warnOfNewer(context, locked);
  return code;
}

bool isAgreed(const ObjectName& object, const std::wstring& holder) {
  const std::wstring question = object.shortName() + L" is locked by " + holder +
                                L". Take the lock away? What was changed there and not saved may meet somebody else's "
                                L"version then.";
  return agrees(question);
}

/// For the lock of a workstation that is lost.
void takeLockAway(Context& context, const ObjectName& object, Tally& tally) {
  const std::wstring project = get_ActivePrj().GetOndrathProjectUuid();
  std::optional<ObjectLock> lock;
  check(context.store().lockOf(context.actor(), project, object.type, object.number, lock));
  const std::wstring name = object.shortName();
  if (!lock) {
    report(context, name, L"not locked", L"");
    return tally.done();
  }
  FileLockInfo info;
  info.userName = lock->holder.name;
  info.workstation = lock->workstationName;
  info.time = lockTimeText(lock->since);
  const std::wstring holder = holderOf(info);
  if (context.options().dryRun) {
    report(context, name, L"would be unlocked", L"locked by " + holder);
    return tally.done();
  }
  const StoreActor actor = context.actor();
  const bool isOwn = lock->holder.uuid == actor.user.uuid && lock->workstationId == actor.workstationId;
  if (!isOwn && !isAgreed(object, holder)) {
    report(context, name, L"stays locked", L"by " + holder + L"; nobody said yes, --yes does");
    return tally.locked();
  }
  const CloudStatus status = context.store().breakLock(actor, project, *lock);
  if (status != kStoreOk) {
    report(context, name, L"could not be unlocked", CloudStore::lastText());
    return status == kStoreLocked ? tally.locked() : tally.failed();
  }
  lfperrC(L"unlock --force: the lock of %s in %s was taken away from %s\n", name,
          get_ActivePrj().GetProjectDisplayName(), holder);
  report(context, name, L"unlocked", L"it was locked by " + holder);
  tally.done();
}

ExitCode unlock(Context& context, const std::vector<std::string>& arguments, bool force) {
  const auto objects = objectArguments(arguments);
  context.startInProject();
  if (force) {
    Tally tally;
    for (const ObjectName& object : objects) takeLockAway(context, object, tally);
    return tally.exitCode();
  }
  const ExitCode code = unlockObjects(context, objects);
  if (code == ExitCode::LockedByOther)
    context.output().message(
        L"zephor unlock --force takes a lock away that is yours from elsewhere; owners and admins take any");
  return code;
}

ExitCode list(Context& context) {
  context.startInProject();
  return listLocks(context);
}

}  // namespace

void addLockCommands(CLI::App& app, Action& selected) {
  auto arguments = std::make_shared<std::vector<std::string>>();
  auto* lockCommand = app.add_subcommand("lock", "Lock objects, so that nobody else changes them");
  lockCommand->add_option("OBJECT", *arguments)->required();
  lockCommand->callback(
      [&selected, arguments] { selected = [arguments](Context& context) { return lock(context, *arguments); }; });
  auto* unlockCommand = app.add_subcommand("unlock", "Give the locks of objects back");
  unlockCommand->add_option("OBJECT", *arguments)->required();
  auto force = std::make_shared<bool>(false);
  unlockCommand->add_flag("--force", *force, "Also yours from another workstation; anybody's, for owners and admins");
  unlockCommand->callback([&selected, arguments, force] {
    selected = [arguments, force](Context& context) { return unlock(context, *arguments, *force); };
  });
  app.add_subcommand("locks", "List who holds which object")->callback([&selected] { selected = list; });
}

}  // namespace workstation::program
