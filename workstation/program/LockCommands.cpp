// lock, unlock, locks.
#include <CLI/CLI.hpp>
#include <memory>

#include "workstation/program/Commands.h"
#include "workstation/program/Context.h"
#include "workstation/program/ObjectLocks.h"
#include "workstation/program/Objects.h"

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

ExitCode unlock(Context& context, const std::vector<std::string>& arguments) {
  const auto objects = objectArguments(arguments);
  context.startInProject();
  return unlockObjects(context, objects);
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
  unlockCommand->callback(
      [&selected, arguments] { selected = [arguments](Context& context) { return unlock(context, *arguments); }; });
  app.add_subcommand("locks", "List who holds which object")->callback([&selected] { selected = list; });
}

}  // namespace workstation::program
