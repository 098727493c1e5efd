// save, fetch, remove: objects and other files of the project, to the store and from it.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>

#include "host/Files.h"
#include "host/Locking.h"
#include "host/ObjectFiles.h"
#include "host/Project.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/objects/ObjectFile.h"
#include "workstation/program/Commands.h"
#include "workstation/program/Context.h"
#include "workstation/program/Objects.h"
#include "workstation/program/Saving.h"
#include "workstation/program/SyncBase.h"
#include "zephor/FileServices.h"
#include "zephor/NotUploadedFiles.h"

namespace workstation::program {

namespace {

constexpr unsigned long kMissing = 2;

struct Arguments {
  std::vector<std::string> items;
  bool all = false;
  bool force = false;
};

/// What the arguments name: objects, and other files of the project by their relative names.
struct Items {
  std::vector<ObjectName> objects;
  std::vector<std::wstring> files;
};

Items itemsOf(const std::vector<std::string>& arguments) {
  Items items;
  for (const auto& argument : arguments) {
    const std::wstring text = wide(argument);
    if (const auto object = parseObjectName(text)) {
      if (std::find(items.objects.begin(), items.objects.end(), *object) == items.objects.end()) {
        items.objects.push_back(*object);
      }
      continue;
    }
    std::wstring name = text;
    for (wchar_t& c : name) c = c == L'/' ? L'\\' : c;
    if (!platform::isSafeRelativeName(name)) {
      throw CommandFailure{
          ExitCode::Usage,
          text + L" names neither an object (tb12, pb3, ze7) nor a file below the project's directory"};
    }
    items.files.push_back(name);
  }
  return items;
}

// ---- save

void saveFile(Context& context, const std::wstring& name, Tally& tally) {
  const PRJ project = get_ActivePrj();
  if (!platform::fileStatus(lfinigC(1) + name).exists) {
    report(context, name, L"refused", L"there is no such file in the project's directory");
    return tally.failed();
  }
  if (context.options().dryRun) {
    report(context, name, L"would be saved", L"");
    return tally.done();
  }
  const unsigned long result = Quorvel::FileAccess::WGO_uploadFile(project, name.c_str(), false);
  if (result != 0) {
    report(context, name, L"not saved", platform::formatWide(L"code %lu", result));
    return tally.failed();
  }
  report(context, name, L"saved", L"");
  tally.done();
}

ExitCode save(Context& context, const Arguments& arguments) {
  const Items items = itemsOf(arguments.items);
  context.startInProject();
  std::vector<std::wstring> waiting;
  getNotUploadedFilesList(waiting);
  Tally tally;
  SyncBase bases(get_ActivePrj().GetOndrathProjectUuid());
  if (!items.objects.empty()) {
    for (const auto& view : readObjects(items.objects)) saveObject(context, view, arguments.force, bases, tally);
  }
  for (const auto& name : items.files) saveFile(context, name, tally);
  closeNotUploadedFilesList();
  return tally.exitCode();
}

// ---- fetch

bool wantsFetch(ObjectState state, bool force) {
  switch (state) {
    case ObjectState::NewerInStore:
    case ObjectState::OnlyInStore:
    case ObjectState::RemovedHere:
      return true;
    case ObjectState::ChangedHere:
    case ObjectState::ChangedOnBoth:
      return force;
    default:
      return false;
  }
}

unsigned long download(const ObjectName& object, bool overwrite) {
  if (object.type == eFileType_Zeichnung || overwrite) {
    return Quorvel::FileAccess::WGO_downloadFile(get_ActivePrj(), objectPath(object).c_str(), false);
  }
  return Quorvel::FileAccess::WGO_CheckLockAndDownloadFile(object.number, object.type, false) ? 0 : ERROR_GEN_FAILURE;
}

void fetchObject(Context& context, const ObjectView& view, const Arguments& arguments, SyncBase& bases, Tally& tally) {
  const ObjectName& object = view.object;
  const std::wstring item = object.shortName();
  // A damaged file here has no version to compare; it is replaced only when the user says so.
  const bool damaged = view.damagedHere && view.store;
  if (!view.store) {
    if (arguments.all) return;
    report(context, item, L"refused", L"the store has no such object");
    return tally.failed();
  }
  if (damaged ? !arguments.force : !wantsFetch(view.state, arguments.force)) {
    if (view.state == ObjectState::InStep) {
      bases.put(object, *view.here);
      if (!arguments.all) report(context, item, L"in step", L"nothing to fetch");
      return tally.done();
    }
    report(context, item, L"kept",
           damaged ? L"the file here is damaged; fetch --force replaces it" : stateReason(view.state));
    return view.state == ObjectState::ChangedHere && arguments.all ? tally.done() : tally.failed();
  }
  if (context.options().dryRun) {
    report(context, item, L"would be fetched", stateName(view.state));
    return tally.done();
  }
  const bool overwrite = damaged || view.state == ObjectState::ChangedHere || view.state == ObjectState::ChangedOnBoth;
  if (overwrite && platform::fileStatus(objectPath(object)).exists) {
    if (!autoBackup::createBackup(objectPath(object), object.type)) {
      report(context, item, L"kept", L"what is here could not be copied to the project's backup directory");
      return tally.failed();
    }
    context.output().message(item + L": what was here is in the project's backup directory");
  }
  const unsigned long result = download(object, overwrite);
  const ObjectView now = readLocal(object);
  if (result != 0 || !now.here) {
    report(context, item, L"not fetched", platform::formatWide(L"code %lu", result));
    return tally.failed();
  }
  bases.put(object, *now.here);
  report(context, item, L"fetched", platform::formatWide(L"version %u", now.here->version));
  tally.done();
}

void fetchFile(Context& context, const std::wstring& name, Tally& tally) {
  if (context.options().dryRun) {
    report(context, name, L"would be fetched", L"");
    return tally.done();
  }
  const unsigned long result =
      Quorvel::FileAccess::WGO_downloadFile(get_ActivePrj(), (lfinigC(1) + name).c_str(), false);
  if (result != 0) {
    report(context, name, L"not fetched",
           result == kMissing ? L"the store has no such file" : platform::formatWide(L"code %lu", result));
    return tally.failed();
  }
  report(context, name, L"fetched", L"");
  tally.done();
}

ExitCode fetch(Context& context, const Arguments& arguments) {
  const Items items = itemsOf(arguments.items);
  if (arguments.all != arguments.items.empty()) throw CommandFailure{ExitCode::Usage, L"fetch needs objects, or --all"};
  context.startInProject();
  Tally tally;
  SyncBase bases(get_ActivePrj().GetOndrathProjectUuid());
  if (arguments.all || !items.objects.empty()) {
    for (const auto& view : arguments.all ? readObjects() : readObjects(items.objects)) {
      fetchObject(context, view, arguments, bases, tally);
    }
  }
  for (const auto& name : items.files) fetchFile(context, name, tally);
  if (arguments.all && tally.doneCount() + tally.failedCount() == 0) context.output().message(L"nothing to fetch");
  return tally.exitCode();
}

// ---- remove

void removeItem(Context& context, const std::wstring& item, const std::wstring& path, const ObjectName* object,
                SyncBase& bases, Tally& tally) {
  if (context.options().dryRun) {
    report(context, item, L"would be removed", L"the copy here would go to the trash");
    return tally.done();
  }
  const unsigned long result = object != nullptr
                                   ? Quorvel::FileAccess::WGO_deleteServerFile(object->number, object->type)
                                   : Quorvel::FileAccess::WGO_deleteServerFile(get_ActivePrj(), path.c_str());
  if (result != 0) {
    report(context, item, L"not removed", platform::formatWide(L"code %lu", result));
    return tally.failed();
  }
  if (platform::fileStatus(path).exists && !moveFileToWindowsRecycleBin(path)) {
    context.output().error(item + L": removed from the store, but the copy here could not be moved to the trash");
  }
  if (object != nullptr) bases.forget(*object);
  report(context, item, L"removed", L"");
  tally.done();
}

ExitCode remove(Context& context, const Arguments& arguments) {
  const Items items = itemsOf(arguments.items);
  context.startInProject();
  Tally tally;
  SyncBase bases(get_ActivePrj().GetOndrathProjectUuid());
  for (const auto& object : items.objects) {
    FileLockInfo info;
    if (getFileLockingManager().GetLockInfo(object.number, object.objectType(), info) &&
        !getFileLockingManager().IsLockedByCurrentUser(object.number, object.objectType())) {
      report(context, object.shortName(), L"refused", L"locked by " + holderOf(info));
      tally.locked();
      continue;
    }
    removeItem(context, object.shortName(), objectPath(object), &object, bases, tally);
  }
  for (const auto& name : items.files) removeItem(context, name, lfinigC(1) + name, nullptr, bases, tally);
  return tally.exitCode();
}

}  // namespace

void addTransferCommands(CLI::App& app, Action& selected) {
  auto arguments = std::make_shared<Arguments>();
  auto* saveCommand = app.add_subcommand("save", "Send objects or other files of the project to the store");
  saveCommand->add_option("OBJECT", arguments->items, "Objects, or files below the project's directory")->required();
  saveCommand->add_flag("--force", arguments->force, "Save over a version that was not fetched");
  saveCommand->callback(
      [&selected, arguments] { selected = [arguments](Context& context) { return save(context, *arguments); }; });
  auto* fetchCommand = app.add_subcommand("fetch", "Bring what the store has newer; local changes stay");
  fetchCommand->add_option("OBJECT", arguments->items, "Objects, or files below the project's directory");
  fetchCommand->add_flag("--all", arguments->all, "All objects of the project");
  fetchCommand->add_flag("--force", arguments->force,
                         "Replace local changes too, after a copy to the project's backup directory");
  fetchCommand->callback(
      [&selected, arguments] { selected = [arguments](Context& context) { return fetch(context, *arguments); }; });
  auto* removeCommand = app.add_subcommand("remove", "Remove from the store; the copy here goes to the trash");
  removeCommand->add_option("OBJECT", arguments->items, "Objects, or files below the project's directory")->required();
  removeCommand->callback(
      [&selected, arguments] { selected = [arguments](Context& context) { return remove(context, *arguments); }; });
}

}  // namespace workstation::program
