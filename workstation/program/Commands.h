// The commands of the program, each group in a file of its own. A group adds its commands to the parser; a command that
// was given leaves in `selected` what is to be run.
#pragma once

#include <functional>

#include "workstation/program/ExitCode.h"

namespace CLI {
class App;
}

namespace workstation::program {

class Context;
using Action = std::function<ExitCode(Context&)>;

void addSetupCommands(CLI::App& app, Action& selected);
void addTeamCommands(CLI::App& app, Action& selected);
/// Behind addTeamCommands: adds to its group.
void addTeamFilterCommand(CLI::App& app, Action& selected);
void addProjectCommands(CLI::App& app, Action& selected);
/// Behind addProjectCommands: both add to its group.
void addProjectLockCommands(CLI::App& app, Action& selected);
void addProjectDeletion(CLI::App& app, Action& selected);
void addOpenCommand(CLI::App& app, Action& selected);
void addUsersCommand(CLI::App& app, Action& selected);
void addObjectCommands(CLI::App& app, Action& selected);
void addLockCommands(CLI::App& app, Action& selected);
void addTransferCommands(CLI::App& app, Action& selected);
void addProjectFileCommands(CLI::App& app, Action& selected);
void addChangesCommand(CLI::App& app, Action& selected);
void addPushCommand(CLI::App& app, Action& selected);
void addSyncCommand(CLI::App& app, Action& selected);
void addWatchCommand(CLI::App& app, Action& selected);
void addBackgroundCommands(CLI::App& app, Action& selected);
void addServerCommands(CLI::App& app, Action& selected);
void addCompressionCommands(CLI::App& app, Action& selected);
void addInfoCommand(CLI::App& app, Action& selected);
void addCacheCommands(CLI::App& app, Action& selected);
void addStatusCommand(CLI::App& app, Action& selected);
void addDeletedCommand(CLI::App& app, Action& selected);
void addNotUploadedCommands(CLI::App& app, Action& selected);
void addFilterCommands(CLI::App& app, Action& selected);
void addStdCommands(CLI::App& app, Action& selected);
void addDatabaseCommands(CLI::App& app, Action& selected);
void addPortalCommand(CLI::App& app, Action& selected);
void addLoginCommand(CLI::App& app, Action& selected);
void addDoctorCommand(CLI::App& app, Action& selected);
void addDesktopCommand(CLI::App& app, Action& selected);
/// `pack`, `unpack`, `inspect`.
void addArchiveCommands(CLI::App& app, Action& selected);
void addCompletionCommand(CLI::App& app, Action& selected);

}  // namespace workstation::program
