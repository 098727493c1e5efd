// status: which side of each object is newer, and why.
#include <CLI/CLI.hpp>
#include <map>
#include <memory>
#include <set>

#include "host/Locking.h"
#include "host/Project.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/Session.h"
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

std::wstring nameOf(const FileLockInfo& lock) {
  return ObjectName{fileTypeOf(lock.objectType), lock.objectNumber}.shortName();
}

std::map<std::wstring, std::wstring> lockHolders() {
  std::vector<FileLockInfo> locks;
  std::map<std::wstring, std::wstring> holders;
  if (getFileLockingManager().updateLockInfoEx(kgunit(), locks) == 0) return holders;
  for (const auto& lock : locks) holders[nameOf(lock)] = lock.userName;
  return holders;
}

/// What this user holds here: names of people may be the same.
std::set<std::wstring> ownLocks() {
  std::vector<FileLockInfo> locks;
  getFileLockingManager().getOwnLocks(locks);
  std::set<std::wstring> names;
  for (const auto& lock : locks) names.insert(nameOf(lock));
  return names;
}

void tellProject(const Context& context) {
  const PRJ project = get_ActivePrj();
  const std::wstring directory = platform::fromUtf8(platform::systemPath(project.GetFullProjectPath(true)));
  context.output().result(project.GetProjectDisplayName() + L" in " + directory + L", as " + identity().user.name,
                          {{"project", project.GetProjectDisplayName()},
                           {"uuid", project.GetOndrathProjectUuid()},
                           {"directory", directory},
                           {"user", identity().user.name}});
}

ExitCode status(Context& context, const std::vector<std::string>& arguments, bool withProject) {
  const auto objects = objectArguments(arguments);
  context.startInProject();
  if (withProject) tellProject(context);
  const std::vector<ItemView> views = objects.empty() ? readObjects() : readItems(itemsOf(objects));
  const auto holders = lockHolders();
  const auto own = ownLocks();
  std::vector<std::wstring> waiting;
  getNotUploadedFilesList(waiting);
  bool damaged = false;
  std::vector<Table::Column> columns{{"item", L"OBJECT"},  {"name", L"NAME"},        {"here", L"HERE"},
                                     {"store", L"STORE"},  {"locked", L"LOCKED BY"}, {"state", L"STATE"},
                                     {"reason", L"REASON"}};
  // For programs, which would have to read them out of the texts.
  const bool isForPrograms = context.output().json();
  if (isForPrograms) columns.insert(columns.end(), {{"yours", L""}, {"unsent", L""}});
  Table table(std::move(columns));
  for (const auto& view : views) {
    const auto holder = holders.find(view.label());
    std::wstring state = stateName(view.state);
    std::wstring reason = stateReason(view.state);
    const bool isUnsent = existsEntryInNotUploadedFilesList(view.fileName.c_str());
    if (isUnsent) {
      reason = L"could not be sent; zephor not-uploaded retry";
    }
    if (view.damagedHere) {
      damaged = true;
      state = L"damaged here";
      reason = view.store ? L"the file here is damaged; zephor fetch --force replaces it, after a copy"
                          : L"the file is damaged or no object file";
    }
    std::vector<Value> row{view.label(),
                           view.title,
                           versionOf(view.here),
                           versionOf(view.store),
                           holder == holders.end() ? std::wstring() : holder->second,
                           state,
                           reason};
    if (isForPrograms) row.insert(row.end(), {own.contains(view.label()), isUnsent});
    table.row(std::move(row));
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
  auto withProject = std::make_shared<bool>(false);
  command->add_flag("--project-line", *withProject, "First a line of the project: its name, its directory, its user");
  command->callback([&selected, arguments, withProject] {
    selected = [arguments, withProject](Context& context) { return status(context, *arguments, *withProject); };
  });
}

}  // namespace workstation::program
