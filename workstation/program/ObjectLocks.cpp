#include "workstation/program/ObjectLocks.h"

#include <algorithm>

#include "host/Locking.h"
#include "host/Project.h"
#include "workstation/objects/LockingState.h"
#include "workstation/program/Context.h"
#include "workstation/program/Objects.h"

namespace workstation::program {

namespace {

void report(const Context& context, const ObjectName& object, const wchar_t* outcome, const std::wstring& detail) {
  std::wstring text = object.shortName() + L": " + outcome;
  if (!detail.empty()) text += L" " + detail;
  context.output().result(text, {{"item", object.shortName()}, {"outcome", std::wstring(outcome)}, {"detail", detail}});
}

/// True when this session has something to give back, even where somebody else's lock stands beside it.
bool hasOwnLock(const ObjectName& object) {
  std::vector<FileLockInfo> own;
  getFileLockingManager().getOwnLocks(own);
  return std::any_of(own.begin(), own.end(), [&](const FileLockInfo& lock) {
    return lock.objectNumber == object.number && lock.objectType == object.objectType();
  });
}

}  // namespace

ExitCode lockObjects(const Context& context, const std::vector<ObjectName>& objects, std::vector<ObjectName>& locked) {
  IZepFileLockingManager& manager = getFileLockingManager();
  Tally tally;
  for (const auto& object : objects) {
    const bool dryRun = context.options().dryRun;
    if (!dryRun && manager.LockObject(object.number, object.objectType(), 0) == 1) {
      report(context, object, L"locked", L"");
      locked.push_back(object);
      tally.done();
      continue;
    }
    FileLockInfo info;
    takeLockingError();
    if (manager.GetLockInfo(object.number, object.objectType(), info) &&
        !manager.IsLockedByCurrentUser(object.number, object.objectType())) {
      report(context, object, L"locked by", holderOf(info));
      tally.locked();
    } else if (dryRun && !takeLockingError()) {
      report(context, object, L"would be locked", L"");
      tally.done();
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
    takeLockingError();
    const bool isHeld = manager.GetLockInfo(object.number, object.objectType(), info);
    if (!isHeld && takeLockingError()) {
      report(context, object, L"could not be unlocked", L"the locks can't be read");
      tally.failed();
    } else if (!isHeld) {
      report(context, object, L"not locked", L"");
      tally.done();
    } else if (!hasOwnLock(object)) {
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
