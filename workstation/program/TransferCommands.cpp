// save, fetch, remove: objects and other files of the project, to the store and from it.
#include <CLI/CLI.hpp>
#include <memory>

#include "host/Files.h"
#include "host/Locking.h"
#include "host/Project.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "platform/Time.h"
#include "workstation/program/Commands.h"
#include "workstation/program/Context.h"
#include "workstation/program/Objects.h"
#include "workstation/program/ProjectComparison.h"
#include "workstation/program/Saving.h"
#include "workstation/program/SendBarrier.h"
#include "workstation/program/StoredContent.h"
#include "workstation/program/SyncBase.h"
#include "workstation/store/TransferConditions.h"
#include "zephor/FileServices.h"
#include "zephor/NotUploadedFiles.h"

namespace workstation::program {

namespace {

struct Arguments {
  std::vector<std::string> items;
  bool all = false;
  bool force = false;
};

ExitCode save(Context& context, const Arguments& arguments) {
  const std::vector<ItemName> items = itemArguments(arguments.items);
  context.startInProject();
  const ProjectGuard guard = context.guardProject();
  std::vector<std::wstring> waiting;
  getNotUploadedFilesList(waiting);
  Tally tally;
  SyncBase bases(get_ActivePrj().GetOndrathProjectUuid());
  for (const auto& view : readItems(items)) saveItem(context, view, arguments.force, bases, tally);
  closeNotUploadedFilesList();
  return tally.exitCode();
}

bool wantsFetch(const ItemView& view, bool force) {
  // A damaged file here has no version to compare; it is replaced only when the user says so.
  if (view.damagedHere) return force;
  switch (view.state) {
    case ObjectState::NewerInStore:
    case ObjectState::OnlyInStore:
    case ObjectState::RemovedHere:
      return true;
    case ObjectState::ChangedHere:
    case ObjectState::ChangedOnBoth:
    case ObjectState::OlderInStore:
      return force;
    default:
      return false;
  }
}

/// True when what is here is what the store has, as far as a header tells it.
bool isBrought(const ItemView& here, const ItemView& store) {
  const bool hasHeader = store.object && store.object->type != eFileType_Zeichnung;
  return here.here && store.store && (!hasHeader || here.here == store.store);
}

/// Brings the store's version and answers how both sides stand then. The library's own verdict goes by counters alone,
/// so what it leaves is brought all the same.
ItemView bring(const ItemView& view, unsigned long& result) {
  const ItemName item{view.object, view.fileName};
  ItemView after = view;
  if (hasStoredHeader(view) && !view.damagedHere) {
    const bool done = Quorvel::FileAccess::WGO_CheckLockAndDownloadFile(view.object->number, view.object->type, false);
    after.here = readLocal(item).here;
    result = ERROR_SUCCESS;
    if (done && isBrought(after, view)) return after;
  }
  result = Quorvel::FileAccess::WGO_downloadFile(get_ActivePrj(), itemPath(view.fileName).c_str(), false);
  after.here = readLocal(item).here;
  // Somebody may have saved meanwhile; then a newer version than the one in the list has come.
  if (result == ERROR_SUCCESS && !isBrought(after, view)) after = readItems({item}).front();
  if (result == ERROR_SUCCESS && !isBrought(after, after)) result = ERROR_GEN_FAILURE;
  if (view.object && after.here) noteInDatabase(*view.object);
  return after;
}

void keep(const Context& context, const ItemView& view, const Arguments& arguments, SyncBase& bases, Tally& tally) {
  if (view.state == ObjectState::InStep && !view.damagedHere) {
    bases.put(view.fileName, {*view.here, *view.store});
    if (!arguments.all) report(context, view.label(), L"in step", L"nothing to fetch", &view);
    return tally.done();
  }
  report(context, view.label(), L"kept",
         view.damagedHere ? L"the file here is damaged; zephor fetch --force replaces it, after a copy"
                          : stateReason(view.state));
  return view.state == ObjectState::ChangedHere && arguments.all ? tally.done() : tally.failed();
}

void fetchItem(Context& context, const ItemView& view, const Arguments& arguments, SyncBase& bases, Tally& tally) {
  const std::wstring item = view.label();
  if (!view.store) {
    if (arguments.all) return;
    report(context, item, L"refused",
           view.isUntold() ? L"the store can't tell its version; zephor sync brings it when it is not here"
                           : L"the store has no such item");
    return tally.failed();
  }
  if (!wantsFetch(view, arguments.force)) return keep(context, view, arguments, bases, tally);
  if (context.options().dryRun) {
    report(context, item, L"would be fetched", stateName(view.state));
    return tally.done();
  }
  // The list was read before the first item moved; what is here may have changed since.
  const FileContent here = readLocal({view.object, view.fileName}).file;
  if (here.isKnown() ? !here.looksLike(view.file) : view.file.isKnown()) {
    report(context, item, L"kept", L"it is being changed; try again");
    return tally.failed();
  }
  const bool overwrites = view.damagedHere || view.state == ObjectState::ChangedHere ||
                          view.state == ObjectState::OlderInStore || view.state == ObjectState::ChangedOnBoth;
  if (overwrites && !backUpHere(view)) {
    report(context, item, L"kept", L"what is here could not be copied to the project's backup directory");
    return tally.failed();
  }
  unsigned long result = 0;
  const ScopedTransferConditions scope(get_ActivePrj().GetOndrathProjectUuid(), {{view.fileName, here, view.revision}});
  const ItemView now = bring(view, result);
  if (result != ERROR_SUCCESS) {
    report(context, item, L"not fetched", failureText(result));
    return tally.failed();
  }
  bases.put(view.fileName, {*now.here, *now.store});
  report(context, item, L"fetched", now.object ? platform::formatWide(L"version %u", now.here->version) : L"", &now);
  if (overwrites) context.output().message(item + L": what was here is in the project's backup directory");
  tally.done();
}

ExitCode fetch(Context& context, const Arguments& arguments) {
  const std::vector<ItemName> items = itemArguments(arguments.items);
  if (arguments.all != arguments.items.empty()) {
    throw CommandFailure{ExitCode::Usage, L"fetch needs objects, or --all"};
  }
  context.startInProject();
  const ProjectGuard guard = context.guardProject();
  Tally tally;
  const std::size_t rescued = context.options().dryRun ? 0 : rescueLeftovers(context);
  SyncBase bases(get_ActivePrj().GetOndrathProjectUuid());
  for (const auto& view : arguments.all ? readObjects() : readItems(items)) {
    fetchItem(context, view, arguments, bases, tally);
  }
  if (arguments.all && tally.doneCount() + tally.failedCount() == 0) context.output().message(L"nothing to fetch");
  return rescued == 0 || tally.exitCode() != ExitCode::Done ? tally.exitCode() : ExitCode::PartlyDone;
}

/// The deletion gives an object's lock back, whoever took it and however it ends. One that was held before is taken
/// again when the object stays. @return what is to be told when that fails
std::wstring takeLockAgain(const ItemView& view) {
  if (isLockedHere(view) || getFileLockingManager().LockObject(view.object->number, view.object->objectType(), 0) == 1)
    return {};
  return L"; your lock was given back, and could not be taken again";
}

/// What stands against a removal; empty when nothing does.
std::wstring objection(const ItemView& view, bool force) {
  if (!view.store) return L"the store has no such item";
  const bool seen = view.state == ObjectState::InStep || view.state == ObjectState::ChangedHere ||
                    view.state == ObjectState::RemovedHere;
  return seen || force ? L"" : L"the store has a version that was not fetched; fetch it, or remove --force";
}

void removeItem(Context& context, const ItemView& view, bool force, SyncBase& bases, Tally& tally) {
  const std::wstring item = view.label();
  FileLockInfo info;
  IZepFileLockingManager& locks = getFileLockingManager();
  if (view.object && locks.GetLockInfo(view.object->number, view.object->objectType(), info) &&
      !locks.IsLockedByCurrentUser(view.object->number, view.object->objectType())) {
    report(context, item, L"refused", L"locked by " + holderOf(info));
    return tally.locked();
  }
  if (const std::wstring reason = objection(view, force); !reason.empty()) {
    report(context, item, L"refused", reason);
    return tally.failed();
  }
  if (const SendBarrier barrier = sendBarrier(context); !barrier.reason.empty()) {
    report(context, item, L"refused", barrier.reason);
    return barrier.isLocked ? tally.locked() : tally.failed();
  }
  if (context.options().dryRun) {
    report(context, item, L"would be removed", L"the copy here would go to the trash");
    return tally.done();
  }
  const std::wstring path = itemPath(view.fileName);
  const bool wasLocked = isLockedHere(view);
  const ScopedTransferConditions scope(get_ActivePrj().GetOndrathProjectUuid(), {{view.fileName, {}, view.revision}});
  const unsigned long result = view.object
                                   ? Quorvel::FileAccess::WGO_deleteServerFile(view.object->number, view.object->type)
                                   : Quorvel::FileAccess::WGO_deleteServerFile(get_ActivePrj(), path.c_str());
  if (result != 0) {
    const auto known = transferCondition(get_ActivePrj().GetOndrathProjectUuid(), view.fileName);
    const bool isOvertaken = readItems({{view.object, view.fileName}}).front().revision != known->revision;
    const std::wstring lockLoss = wasLocked ? takeLockAgain(view) : L"";
    report(context, item, L"not removed", (isOvertaken ? lastSaveOf(view.fileName) : failureText(result)) + lockLoss);
    return tally.failed();
  }
  if (platform::fileStatus(path).exists && !moveFileToWindowsRecycleBin(path)) {
    context.output().error(item + L": removed from the store, but the copy here could not be moved to the trash");
  }
  bases.forget(view.fileName);
  report(context, item, L"removed", L"");
  tally.done();
}

ExitCode remove(Context& context, const Arguments& arguments) {
  const std::vector<ItemName> items = itemArguments(arguments.items);
  context.startInProject();
  const ProjectGuard guard = context.guardProject();
  Tally tally;
  SyncBase bases(get_ActivePrj().GetOndrathProjectUuid());
  for (const auto& view : readItems(items)) removeItem(context, view, arguments.force, bases, tally);
  return tally.exitCode();
}

}  // namespace

void addTransferCommands(CLI::App& app, Action& selected) {
  auto arguments = std::make_shared<Arguments>();
  auto* saveCommand = app.add_subcommand("save", "Send objects or other files of the project to the store");
  saveCommand->add_option("ITEM", arguments->items, "Objects, or files below the project's directory")->required();
  saveCommand->add_flag("--force", arguments->force,
                        "Save over a version that was not fetched, after a copy to the project's backup directory");
  saveCommand->callback(
      [&selected, arguments] { selected = [arguments](Context& context) { return save(context, *arguments); }; });
  auto* fetchCommand = app.add_subcommand("fetch", "Bring what the store has newer; local changes stay");
  fetchCommand->add_option("ITEM", arguments->items, "Objects, or files below the project's directory");
  fetchCommand->add_flag("--all", arguments->all, "All objects of the project");
  fetchCommand->add_flag("--force", arguments->force,
                         "Replace local changes too, after a copy to the project's backup directory");
  fetchCommand->callback(
      [&selected, arguments] { selected = [arguments](Context& context) { return fetch(context, *arguments); }; });
  auto* removeCommand = app.add_subcommand("remove", "Remove from the store; the copy here goes to the trash");
  removeCommand->add_option("ITEM", arguments->items, "Objects, or files below the project's directory")->required();
  removeCommand->add_flag("--force", arguments->force, "Remove a version that was not fetched");
  removeCommand->callback(
      [&selected, arguments] { selected = [arguments](Context& context) { return remove(context, *arguments); }; });
}

}  // namespace workstation::program
