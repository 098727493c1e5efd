// not-uploaded list|retry: what could not be sent, and sending it again.
#include <CLI/CLI.hpp>

#include "host/Project.h"
#include "workstation/program/Commands.h"
#include "workstation/program/Context.h"
#include "workstation/program/Objects.h"
#include "workstation/program/Saving.h"
#include "workstation/program/SyncBase.h"
#include "zephor/NotUploadedFiles.h"

namespace workstation::program {

namespace {

ExitCode list(Context& context) {
  context.startInProject();
  std::vector<std::wstring> names;
  getNotUploadedFilesList(names);
  Table table({{"item", L"OBJECT"}, {"file", L"FILE"}});
  for (const auto& name : names) {
    const auto object = parseObjectName(name);
    table.row({object ? object->shortName() : name, name});
  }
  if (table.empty()) context.output().message(L"nothing is waiting in the list");
  table.print(context.output());
  return ExitCode::Done;
}

ExitCode retry(Context& context) {
  context.startInProject();
  const ProjectGuard guard = context.guardProject();
  std::vector<std::wstring> names;
  getNotUploadedFilesList(names);
  if (names.empty()) context.output().message(L"nothing is waiting in the list");
  Tally tally;
  SyncBase bases(get_ActivePrj().GetOndrathProjectUuid());
  std::vector<ObjectName> objects;
  for (const auto& name : names) {
    if (const auto object = parseObjectName(name)) objects.push_back(*object);
  }
  for (const auto& view : readItems(itemsOf(objects))) {
    saveItem(context, view, false, bases, tally);
    // What is gone here, or in step by another road, has nothing left to send.
    const bool settled = view.state == ObjectState::InStep || (!view.here && !view.damagedHere);
    if (settled && !context.options().dryRun) removeEntryFromNotUploadedFilesList(view.fileName.c_str());
  }
  closeNotUploadedFilesList();
  return tally.exitCode();
}

}  // namespace

void addNotUploadedCommands(CLI::App& app, Action& selected) {
  auto* command = app.add_subcommand("not-uploaded", "What could not be sent")->require_subcommand(1);
  command->add_subcommand("list", "List it")->callback([&selected] { selected = list; });
  command->add_subcommand("retry", "Send it again")->callback([&selected] { selected = retry; });
}

}  // namespace workstation::program
