// server locks, lock, unlock: objects of a project that is on a server.
#include <CLI/CLI.hpp>

#include "host/Users.h"
#include "workstation/program/ObjectLocks.h"
#include "workstation/program/Objects.h"
#include "workstation/program/ServerCommands.h"

namespace workstation::program {

namespace {

struct LockArguments {
  std::string project;
  std::vector<std::string> objects;
};

/// Makes the project the one that the locking manager works for. Throws CommandFailure when the server has no such
/// project.
void serveProject(const ServerSession& session, const std::string& project) {
  session.internal().setQuorvelUserID(lzbnum());
  const bool isName = session.transfer().setProjectName(wide(project).c_str(), false) == 0;
  const std::wstring directory = session.transfer().getProjectName();
  const bool isPlain = isName && directory.find_first_of(L"/\\") == std::wstring::npos && directory.front() != L'.';
  if (isPlain && session.transfer().existDirectory(session.serverPath(directory).c_str())) return;
  throw CommandFailure{ExitCode::Failure,
                       session.name() + L": there is no project " + wide(project) + L" (directory " + directory + L")"};
}

ExitCode list(Context& context, const ServerOptions& options, const LockArguments& arguments) {
  const ServerSession session(context, options);
  serveProject(session, arguments.project);
  return listLocks(context);
}

ExitCode lock(Context& context, const ServerOptions& options, const LockArguments& arguments) {
  const auto objects = objectArguments(arguments.objects);
  const ServerSession session(context, options);
  serveProject(session, arguments.project);
  std::vector<ObjectName> locked;
  return lockObjects(context, objects, locked);
}

ExitCode unlock(Context& context, const ServerOptions& options, const LockArguments& arguments) {
  const auto objects = objectArguments(arguments.objects);
  const ServerSession session(context, options);
  serveProject(session, arguments.project);
  return unlockObjects(context, objects);
}

}  // namespace

void addServerLockCommands(CLI::App& server, Action& selected, const SharedServerOptions& options) {
  auto arguments = std::make_shared<LockArguments>();
  const auto add = [&](const char* name, const char* description,
                       ExitCode (*run)(Context&, const ServerOptions&, const LockArguments&)) {
    auto* command = server.add_subcommand(name, description);
    addServerName(*command, options);
    command->add_option("PROJECT", arguments->project, "Name of the project on the server")->required();
    command->callback([&selected, options, arguments, run] {
      selected = [options, arguments, run](Context& context) { return run(context, *options, *arguments); };
    });
    return command;
  };
  add("locks", "List who holds which object of a project on the server", list);
  add("lock", "Lock objects of a project on the server", lock)
      ->add_option("OBJECT", arguments->objects, "Objects")
      ->required();
  add("unlock", "Give the locks of objects back", unlock)
      ->add_option("OBJECT", arguments->objects, "Objects")
      ->required();
}

}  // namespace workstation::program
