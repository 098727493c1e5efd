// deleted: what was deleted from the store, and what of it is still here.
#include <CLI/CLI.hpp>
#include <memory>

#include "host/Files.h"
#include "host/ObjectFiles.h"
#include "host/Project.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "workstation/program/Commands.h"
#include "workstation/program/Context.h"
#include "workstation/program/Objects.h"
#include "workstation/program/Saving.h"
#include "workstation/program/StoreDeletions.h"
#include "workstation/program/SyncBase.h"
#include "zephor/CloudFiles.h"
#include "zephor/NotUploadedFiles.h"

namespace workstation::program {

namespace {

constexpr std::pair<ShareFileTypeID, const wchar_t*> kClasses[] = {{eShareFile_Teilbild, L"teilbild"},
                                                                   {eShareFile_Plan, L"plan"},
                                                                   {eShareFile_Resource, L"resource"},
                                                                   {eShareFile_Ordinary, L"file"},
                                                                   {eShareFile_Bim, L"bim"}};

struct Deleted {
  const wchar_t* fileClass;
  ItemView view;
  bool isHere = false;
  bool isUnsent = false;  ///< here is work that the store never had
};

/// What was deleted from the store, class by class, without what was saved there again since.
std::vector<Deleted> readDeleted(Context& context) {
  std::vector<const wchar_t*> classes;
  std::vector<ItemName> items;
  for (const auto& [type, name] : kClasses) {
    std::vector<std::wstring> files;
    Quorvel::FileAccess::WGO_getOndrathDeletedFiles(get_ActivePrj(), files, type);
    for (const std::wstring& file : files) {
      if (!platform::isSafeRelativeName(file)) continue;
      items.push_back({parseObjectName(file), file});
      classes.push_back(name);
    }
  }
  std::vector<std::wstring> waiting;
  getNotUploadedFilesList(waiting);
  // Also with nothing to read: it fails when the store can't be asked, which the lists above do not tell.
  const std::vector<ItemView> views = readItems(items);
  const StoreDeletions deletions(context);
  std::vector<Deleted> deleted;
  for (std::size_t i = 0; i < views.size(); ++i) {
    if (views[i].store) continue;
    Deleted entry{classes[i], views[i]};
    entry.isHere = platform::fileStatus(itemPath(entry.view.fileName)).exists;
    entry.isUnsent =
        entry.isHere && (entry.view.state != ObjectState::RemovedFromStore || !deletions.isTold(entry.view) ||
                         existsEntryInNotUploadedFilesList(entry.view.fileName.c_str()));
    deleted.push_back(std::move(entry));
  }
  return deleted;
}

ExitCode list(Context& context) {
  context.startInProject();
  Table table({{"item", L"OBJECT"}, {"class", L"CLASS"}, {"here", L"HERE"}, {"unsent", L"UNSENT"}, {"file", L"FILE"}});
  for (const Deleted& entry : readDeleted(context)) {
    table.row({entry.view.label(), entry.fileClass, entry.isHere, entry.isUnsent, entry.view.fileName});
  }
  if (table.empty()) context.output().message(L"nothing was deleted from the store");
  table.print(context.output());
  return ExitCode::Done;
}

void removeHere(const Context& context, const Deleted& entry, SyncBase& bases, Tally& tally) {
  const ItemView& view = entry.view;
  if (entry.isUnsent) {
    report(context, view.label(), L"kept", L"what is here was never sent");
    return tally.done();
  }
  if (context.options().dryRun) {
    report(context, view.label(), L"would be removed", L"the copy here would go to the trash");
    return tally.done();
  }
  const std::wstring path = itemPath(view.fileName);
  // The list was read before the first one moved; what is here may have changed since.
  if (readLocal({view.object, view.fileName}).here != view.here) {
    report(context, view.label(), L"kept", L"it is being changed; try again");
    return tally.failed();
  }
  const QuorvelFileType type = view.object ? view.object->type : eFileType_Unknown;
  if (!autoBackup::createBackup(path, type) || !moveFileToWindowsRecycleBin(path)) {
    report(context, view.label(), L"kept", L"no backup could be made, or it could not be moved to the trash");
    return tally.failed();
  }
  bases.forget(view.fileName);
  report(context, view.label(), L"removed", L"here; a copy is in the project's backup directory");
  tally.done();
}

ExitCode removeAll(Context& context) {
  context.startInProject();
  const ProjectGuard guard = context.guardProject();
  Tally tally;
  SyncBase bases(get_ActivePrj().GetOndrathProjectUuid());
  for (const Deleted& entry : readDeleted(context)) {
    if (entry.isHere) removeHere(context, entry, bases, tally);
  }
  if (tally.doneCount() + tally.failedCount() == 0) context.output().message(L"nothing here to remove");
  return tally.exitCode();
}

}  // namespace

void addDeletedCommand(CLI::App& app, Action& selected) {
  auto* command = app.add_subcommand("deleted", "Tell what was deleted from the store, and what of it is still here");
  auto remove = std::make_shared<bool>(false);
  command->add_flag("--remove", *remove,
                    "Move what is still here and was not changed to the trash, after a copy to the project's backup "
                    "directory");
  command->callback([&selected, remove] {
    selected = [remove](Context& context) { return *remove ? removeAll(context) : list(context); };
  });
}

}  // namespace workstation::program
