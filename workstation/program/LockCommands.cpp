// lock, unlock, locks.
#include <CLI/CLI.hpp>
#include <memory>

#include "host/Locking.h"
#include "workstation/program/Commands.h"
#include "workstation/program/Context.h"
#include "workstation/program/ObjectName.h"
#include "workstation/program/Objects.h"

namespace workstation::program {

namespace {

void report(const Context& context, const ObjectName& object, const wchar_t* outcome, const std::wstring& detail) {
  std::wstring text = object.shortName() + L": " + outcome;
  if (!detail.empty()) text += L" " + detail;
  context.output().result(text, {{"item", object.shortName()}, {"outcome", std::wstring(outcome)}, {"detail", detail}});
}

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

ExitCode lockObjects(Context& context, const std::vector<std::string>& arguments) {
  const auto objects = objectArguments(arguments);
  context.startInProject();
  IZepFileLockingManager& manager = getFileLockingManager();
  Tally tally;
  std::vector<ObjectName> locked;
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
  warnOfNewer(context, locked);
  return tally.exitCode();
}

ExitCode unlockObjects(Context& context, const std::vector<std::string>& arguments) {
  const auto objects = objectArguments(arguments);
  context.startInProject();
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

ExitCode listLocks(Context& context) {
  context.startInProject();
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

}  // namespace

void addLockCommands(CLI::App& app, Action& selected) {
  auto arguments = std::make_shared<std::vector<std::string>>();
  auto* lock = app.add_subcommand("lock", "Lock objects, so that nobody else changes them");
  lock->add_option("OBJECT", *arguments)->required();
  lock->callback([&selected, arguments] {
    selected = [arguments](Context& context) { return lockObjects(context, *arguments); };
  });
  auto* unlock = app.add_subcommand("unlock", "Give the locks of objects back");
  unlock->add_option("OBJECT", *arguments)->required();
  unlock->callback([&selected, arguments] {
    selected = [arguments](Context& context) { return unlockObjects(context, *arguments); };
  });
  app.add_subcommand("locks", "List who holds which object")->callback([&selected] { selected = listLocks; });
}

}  // namespace workstation::program
