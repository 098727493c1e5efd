// server locks: who holds which object of a project on a server.
#include <CLI/CLI.hpp>

#include "host/Users.h"
#include "platform/Text.h"
#include "workstation/program/ObjectName.h"
#include "workstation/program/Objects.h"
#include "workstation/program/ServerCommands.h"

namespace workstation::program {

using namespace Quorvel::FileAccess;

namespace {

struct LockArguments {
  std::string project;
};

ExitCode listLocks(Context& context, const ServerOptions& options, const LockArguments& arguments) {
  const ServerSession session(context, options);
  session.internal().setQuorvelUserID(lzbnum());
  const std::wstring project = wide(arguments.project);
  std::vector<LockFileInfo> others;
  std::vector<LockFileInfo> own;
  session.locking().fillLockInfo(project.c_str(), others, -1);
  session.locking().fillLockInfo(project.c_str(), own, lzbnum());
  Table table({{"item", L"OBJECT"}, {"user", L"USER"}, {"own", L"OWN"}, {"file", L"FILE"}});
  for (const auto* const list : {&own, &others}) {
    for (const LockFileInfo& lock : *list) {
      const ObjectName object{fileTypeOf(lock.objectType), lock.objectNumber};
      table.row({object.shortName(), std::int64_t{lock.userId}, list == &own, lock.fileName});
    }
  }
  table.print(context.output());
  return ExitCode::Done;
}

}  // namespace

void addServerLockCommands(CLI::App& server, Action& selected, const SharedServerOptions& options) {
  auto arguments = std::make_shared<LockArguments>();
  auto* locks = server.add_subcommand("locks", "List who holds which object of a project on the server");
  addServerName(*locks, options);
  locks->add_option("PROJECT", arguments->project, "Name of the project")->required();
  locks->callback([&selected, options, arguments] {
    selected = [options, arguments](Context& context) { return listLocks(context, *options, *arguments); };
  });
}

}  // namespace workstation::program
