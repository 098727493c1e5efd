// server projects: which projects a server has.
#include <CLI/CLI.hpp>
#include <algorithm>

#include "workstation/program/ServerCommands.h"
#include "zephor/ProjectListing.h"

namespace workstation::program {

namespace {

ExitCode listProjects(Context& context, const ServerOptions& options) {
  const ServerSession session(context, options);
  // The library finds a plain directory where the host says that the server's data lie.
  if (session.isDirectory()) setHostDirectory(session.name(), session.serverPath(L""));
  std::vector<std::wstring> names;
  const std::size_t count =
      Quorvel::FileAccess::WGO_getProjectDirectoriesFromServer(session.name().c_str(), names, true);
  const DWORD error = GetLastError();
  if (count == 0 && error != ERROR_SUCCESS) {
    throw CommandFailure{ExitCode::Failure,
                         session.name() + L": the projects could not be listed: " + serverErrorText(error)};
  }
  std::sort(names.begin(), names.end());
  for (const std::wstring& name : names) context.output().result(name, {{"project", name}});
  if (names.empty()) context.output().message(session.name() + L": there are no projects");
  return ExitCode::Done;
}

}  // namespace

void addServerProjectsCommand(CLI::App& server, Action& selected, const SharedServerOptions& options) {
  auto* command = server.add_subcommand("projects", "List the projects of a server");
  addServerName(*command, options);
  command->callback(
      [&selected, options] { selected = [options](Context& context) { return listProjects(context, *options); }; });
}

}  // namespace workstation::program
