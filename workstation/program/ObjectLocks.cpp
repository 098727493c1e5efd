#include "workstation/program/ObjectLocks.h"

#include "host/Locking.h"
#include "host/Project.h"
#include "workstation/program/Context.h"
#include "workstation/program/Objects.h"

namespace workstation::program {

namespace {

void report(const Context& context, const ObjectName& object, const wchar_t* outcome, const std::wstring& detail) {
  std::wstring text = object.shortName() + L": " + outcome;
  if (!detail.empty()) text += L" " + detail;
  context.output().result(text, {{"item", object.shortName()}, {"outcome", std::wstring(outcome)}, {"detail", detail}});
}

}  // namespace

ExitCode lockObjects(const Context& context, const std::vector<ObjectName>& objects, std::vector<ObjectName>& locked) {
  IZepFileLockingManager& manager = getFileLockingManager();
  Tally tally;
  for (const auto& object : objects) {
    FileLockInfo info;
    const auto heldByOther = [&] {
      return manager.GetLockInfo(object.number, object.objectType(), info) &&
             !manager.IsLockedByCurrentUser(object.number, object.objectType());
    };
    const bool free = !heldByOther();
    if (free && context.options().dryRun) {
      report(context, object, L"would be locked", L"");
      tally.done();
    } else if (free && manager.LockObject(object.number, object.objectType(), 0) == 1) {
      report(context, object, L"locked", L"");
      locked.push_back(object);
      tally.done();
    } else if (!free || heldByOther()) {
      report(context, object, L"locked by", holderOf(info));
      tally.locked();
    } else {
      report(context, object, L"could not be locked", L"");
      tally.failed();
    }
  }
  return tally.exitCode();
}

ExitCode unlockObjects(const Context& context, const std::vector<ObjectName>& objects) {
  IZepFileLockingManager& manager = getFileLockingManager();
  Tally tally;
  for (const auto& object : objects) {
    FileLockInfo info;
    if (!manager.GetLockInfo(object.number, object.objectType(), info)) {
      report(context, object, L"not locked", L"");
      tally.done();
    } else if (!manager.IsLockedByCurrentUser(object.number, object.objectType())) {
      report(context, object, L"locked by", holderOf(info));
      tally.locked();
    } else if (context.options().dryRun) {
      report(context, object, L"would be unlocked", L"");
      tally.done();
    } else if (manager.UnlockObject(object.number, object.objectType(), 0) == 1) {
      report(context, object, L"unlocked", L"");
      tally.done();
    } else {
      report(context, object, L"could not be unlocked", L"");
      tally.failed();
    }
  }
  return tally.exitCode();
}

ExitCode listLocks(const Context& context) {
  std::vector<FileLockInfo> locks;
  if (getFileLockingManager().updateLockInfoEx(kgunit(), locks) == 0) {
    throw CommandFailure{ExitCode::Failure, L"the locks of the project can't be read"};
  }
  Table table(
      {{"item", L"OBJECT"}, {"user", L"LOCKED BY"}, {"workstation", L"WORKSTATION"}, {"since", L"SINCE (UTC)"}});
  for (const auto& lock : locks) {
    const ObjectName object{fileTypeOf(lock.objectType), lock.objectNumber};
    table.row({object.shortName(), lock.userName, lock.workstation, lock.time});
  }
  table.print(context.output());
  return ExitCode::Done;
}

}  // namespace workstation::program
