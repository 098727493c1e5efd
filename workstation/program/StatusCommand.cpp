// status: which side of each object is newer, and why.
#include <CLI/CLI.hpp>
#include <map>
#include <memory>

#include "host/Locking.h"
#include "host/Project.h"
#include "workstation/program/Commands.h"
#include "workstation/program/Context.h"
#include "workstation/program/Objects.h"
#include "zephor/NotUploadedFiles.h"

namespace workstation::program {

namespace {

/// An object's counter; of a Zeichnung the store tells no counter, only that it has one.
Value versionOf(const std::optional<VersionStamp>& stamp) {
  if (!stamp) return std::monostate();
  return static_cast<std::int64_t>(stamp->version);
}

std::map<std::wstring, std::wstring> lockHolders() {
  std::vector<FileLockInfo> locks;
  std::map<std::wstring, std::wstring> holders;
  if (getFileLockingManager().updateLockInfoEx(kgunit(), locks) == 0) return holders;
  for (const auto& lock : locks) {
    holders[ObjectName{fileTypeOf(lock.objectType), lock.objectNumber}.shortName()] = lock.userName;
  }
  return holders;
}

ExitCode status(Context& context, const std::vector<std::string>& arguments) {
  const auto objects = objectArguments(arguments);
  context.startInProject();
  const std::vector<ItemView> views = objects.empty() ? readObjects() : readItems(itemsOf(objects));
  const auto holders = lockHolders();
  std::vector<std::wstring> waiting;
  getNotUploadedFilesList(waiting);
  bool damaged = false;
  Table table({{"item", L"OBJECT"},
               {"name", L"NAME"},
               {"here", L"HERE"},
               {"store", L"STORE"},
               {"locked", L"LOCKED BY"},
               {"state", L"STATE"},
               {"reason", L"REASON"}});
  for (const auto& view : views) {
    const auto holder = holders.find(view.label());
    std::wstring state = stateName(view.state);
    std::wstring reason = stateReason(view.state);
    if (existsEntryInNotUploadedFilesList(view.fileName.c_str())) {
      reason = L"could not be sent; zephor not-uploaded retry";
    }
    if (view.damagedHere) {
      damaged = true;
      state = L"damaged here";
      reason = view.store ? L"the file here is damaged; zephor fetch --force replaces it, after a copy"
                          : L"the file is damaged or no object file";
    }
    table.row({view.label(), view.title, versionOf(view.here), versionOf(view.store),
               holder == holders.end() ? std::wstring() : holder->second, state, reason});
  }
  if (table.empty()) context.output().message(L"the project has no objects yet");
  table.print(context.output());
  return damaged ? ExitCode::PartlyDone : ExitCode::Done;
}

}  // namespace

void addStatusCommand(CLI::App& app, Action& selected) {
  auto* command = app.add_subcommand("status", "Tell which side of each object is newer, and why");
  auto arguments = std::make_shared<std::vector<std::string>>();
  command->add_option("OBJECT", *arguments, "Objects (default: all)");
  command->callback(
      [&selected, arguments] { selected = [arguments](Context& context) { return status(context, *arguments); }; });
}

}  // namespace workstation::program
