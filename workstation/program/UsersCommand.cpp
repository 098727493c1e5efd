// users: who is in the project, and who has it open.
#include <CLI/CLI.hpp>

#include "host/Project.h"
#include "workstation/Session.h"
#include "workstation/program/Commands.h"
#include "workstation/program/Context.h"
#include "workstation/program/People.h"
#include "workstation/projects/CurrentUser.h"
#include "workstation/store/CloudStore.h"
#include "zephor/ProjectInformation.h"

namespace workstation::program {

namespace {

/// Names of the workstations at which a user has the project open.
std::wstring placesOf(const std::wstring& userUuid, const std::vector<OpenSession>& sessions) {
  std::wstring places;
  for (const OpenSession& session : sessions) {
    if (session.userUuid == userUuid) places += (places.empty() ? L"" : L", ") + session.workstationName;
  }
  return places;
}

ExitCode users(Context& context) {
  context.startInProject();
  const PRJ project = get_ActivePrj();
  const std::wstring uuid = project.GetOndrathProjectUuid();
  std::vector<CloudProjectMember> members;
  if (!Quorvel::FileAccess::WGO_getOndrathProjectUsers(project, members)) {
    throw CommandFailure{ExitCode::Failure, L"the members of " + project.GetProjectDisplayName() + L" can't be read: " +
                                                CloudStore::lastText()};
  }
  std::vector<OpenSession> sessions;
  check(context.store().openSessions(context.actor(), uuid, sessions));
  const std::vector<QuorvelUser> list = projectUsers(project);
  Table table({{"name", L"NAME"},
               {"email", L"E-MAIL"},
               {"role", L"ROLE"},
               {"number", L"NUMBER"},
               {"you", L"YOU"},
               {"openAt", L"OPEN AT"}});
  for (const CloudProjectMember& member : members) {
    const auto listed = numberIn(list, member.uuid);
    const Value number = listed ? Value(std::int64_t{*listed}) : Value();
    table.row({member.name, member.email, roleName(static_cast<StoreRole>(member.role)), number,
               member.uuid == identity().user.uuid, placesOf(member.uuid, sessions)});
  }
  table.print(context.output());
  return ExitCode::Done;
}

}  // namespace

void addUsersCommand(CLI::App& app, Action& selected) {
  app.add_subcommand("users", "List the members of the project, and who has it open")->callback([&selected] {
    selected = users;
  });
}

}  // namespace workstation::program
