// sync: the open project and the store, brought in step in both directions.
#include <CLI/CLI.hpp>
#include <optional>

#include "workstation/program/Commands.h"
#include "workstation/program/Context.h"
#include "workstation/program/ProjectSync.h"

namespace workstation::program {

namespace {

constexpr const char* kExplanation =
    "What others saved comes, what they deleted goes to the trash here, and what you changed is sent: a Teilbild or "
    "Plan\n"
    "when you hold its lock, anything else when nobody else does. What changed on both sides stays, and so does\n"
    "everything else that could be lost; each is told with its reason. Nothing is ever deleted in the store.\n"
    "Exit codes: 0 everything is in step, 3 something stayed, 1 failure. An interrupted sync is taken up by the next "
    "one.";

ExitCode sync(Context& context) {
  context.startInProject();
  const ProjectGuard guard = context.guardProject();
  std::optional<NotUploadedList> waiting;
  if (!context.options().dryRun) waiting.emplace();
  return ProjectSync(context).run();
}

}  // namespace

void addSyncCommand(CLI::App& app, Action& selected) {
  auto* command = app.add_subcommand("sync", "Bring the project here and in the store in step, in both directions");
  command->footer(kExplanation);
  command->callback([&selected] { selected = sync; });
}

}  // namespace workstation::program
