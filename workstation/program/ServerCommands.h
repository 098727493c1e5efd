// The commands below `zephor server`, each group in a file of its own.
#pragma once

#include <memory>
#include <string>

#include "workstation/program/Commands.h"
#include "workstation/program/ServerSession.h"

namespace workstation::program {

/// Options of the group as they were typed, shared by its commands.
using SharedServerOptions = std::shared_ptr<ServerOptions>;

void addServerCheckCommand(CLI::App& server, Action& selected, const SharedServerOptions& options);
void addServerFileCommands(CLI::App& server, Action& selected, const SharedServerOptions& options);
void addServerCatCommand(CLI::App& server, Action& selected, const SharedServerOptions& options);
void addServerGetCommand(CLI::App& server, Action& selected, const SharedServerOptions& options);
void addServerPutCommand(CLI::App& server, Action& selected, const SharedServerOptions& options);
void addServerSyncCommands(CLI::App& server, Action& selected, const SharedServerOptions& options);
void addServerProjectsCommand(CLI::App& server, Action& selected, const SharedServerOptions& options);
void addServerLockCommands(CLI::App& server, Action& selected, const SharedServerOptions& options);

/// Adds the option NAME that every command of a server has.
void addServerName(CLI::App& command, const SharedServerOptions& options);
/// Adds --jobs.
void addJobsOption(CLI::App& command, const SharedServerOptions& options);

/// One line that tells how an item ended.
void reportServerItem(const Context& context, const std::wstring& item, const wchar_t* outcome,
                      const std::wstring& detail = {});

}  // namespace workstation::program
