// project create|list|members|add|remove|set, close.
#include <CLI/CLI.hpp>
#include <map>
#include <memory>

#include "host/Project.h"
#include "platform/Text.h"
#include "workstation/Session.h"
#include "workstation/program/CacheContent.h"
#include "workstation/program/Commands.h"
#include "workstation/program/Context.h"
#include "workstation/program/LeavingProject.h"
#include "workstation/program/People.h"
#include "workstation/program/ProjectFromFolder.h"
#include "workstation/store/CloudStore.h"
#include "zephor/Portal.h"

namespace workstation::program {

namespace {

ExitCode createProject(Context& context, const std::string& nameArgument, const std::string& teamArgument,
                       const std::string& folder) {
  context.startOnline();
  if (!folder.empty())
    return createProjectFrom(context, findTeam(context, wide(teamArgument)), wide(nameArgument), folder);
  const StoreTeam team = findTeam(context, wide(teamArgument));
  const std::wstring name = wide(nameArgument);
  std::wstring uuid;
  if (!context.options().dryRun) check(context.store().createProject(context.actor(), team.uuid, name, uuid));
  context.output().result((context.options().dryRun ? L"would make the project " : L"made the project ") + name +
                              L" in the team " + team.name,
                          {{"project", name}, {"team", team.name}, {"uuid", uuid}});
  return ExitCode::Done;
}

ExitCode listProjects(Context& context, bool all) {
  context.startOnline();
  std::vector<StoreProject> projects;
  check(context.store().projects(context.actor(), L"", false, projects));
  std::map<std::wstring, std::wstring> filter;
  if (!all) Quorvel::FileAccess::WGO_ReadOndrathTeamFilter(filter);
  const std::size_t hidden =
      filter.empty() ? 0
                     : std::erase_if(projects, [&](const auto& project) { return !filter.contains(project.teamUuid); });
  Table table({{"project", L"PROJECT"}, {"team", L"TEAM"}, {"role", L"ROLE"}, {"uuid", L"UUID"}});
  for (const auto& project : projects)
    table.row({project.name, project.teamName, roleName(project.role), project.uuid});
  table.print(context.output());
  if (hidden > 0)
    context.output().message(counted(hidden, L"project", L"projects") +
                             L" of other teams not shown (project list --all, team filter)");
  return ExitCode::Done;
}

ExitCode listMembers(Context& context) {
  context.startInProject();
  std::vector<StoreMember> members;
  check(context.store().members(context.actor(), get_ActivePrj().GetOndrathProjectUuid(), members));
  printMembers(context, members);
  return ExitCode::Done;
}

ExitCode changeMember(Context& context, const std::string& person, const std::string& role) {
  context.startInProject();
  const PRJ project = get_ActivePrj();
  const std::wstring uuid = project.GetOndrathProjectUuid();
  if (!context.options().dryRun) {
    check(role.empty() ? context.store().removeMember(context.actor(), uuid, wide(person))
                       : context.store().addMember(context.actor(), uuid, wide(person), roleOf(role)));
  }
  reportMember(context, wide(person), project.GetProjectDisplayName(), wide(role));
  return ExitCode::Done;
}

/// The descriptor lies on this workstation alone, and so does what it says.
ExitCode setProject(Context& context, const std::string& compressed) {
  context.startInProject();
  const ProjectGuard guard = context.guardProject();
  PRJ project = get_ActivePrj();
  project.compressed = compressed == "on";
  if (!context.options().dryRun) {
    const int code = NetID_WritePrjInfoByPath(project.GetFullProjectPath(true), project, 0);
    if (code != 0)
      throw CommandFailure{ExitCode::Failure,
                           L"the project's descriptor can't be written (error " + std::to_wstring(code) + L")"};
    set_ActivePrj(project);
  }
  const std::wstring name = project.GetProjectDisplayName();
  const std::wstring state = project.compressed ? L"compressed" : L"as they are";
  context.output().result(
      name + (context.options().dryRun ? L": Teilbilder would be saved " : L": Teilbilder are saved ") + state +
          L" from this workstation",
      {{"project", name}, {"compressed", project.compressed}});
  return ExitCode::Done;
}

/// For people who leave: nobody else gets what was not sent, and nobody changes what stays locked.
void tellWhatStays(Context& context) {
  try {
    const LeftProject left = openToLeave(context, L"");
    if (!left.hasStore) {
      context.output().message(L"what was not sent can't be told: " + left.whyNot);
      return;
    }
    const CacheContent content = readCache(context);
    if (const std::uint64_t unsent = content.unsent.size() - content.backups; unsent > 0) {
      context.output().message(counted(unsent, L"item here is", L"items here are") +
                               L" not in the store (zephor cache info). To send, open the project again: zephor sync");
    }
    std::wstring locks;
    for (const ObjectLock& lock : left.locks) locks += (locks.empty() ? L"" : L", ") + nameOf(lock);
    if (!locks.empty()) context.output().message(L"you still hold the locks of " + locks);
  } catch (const CommandFailure& failure) {
    context.output().message(L"what was not sent can't be told: " + failure.message);
  }
}

ExitCode close(Context& context) {
  context.startWorkstation();
  const std::wstring wanted = wide(context.options().project);
  if (!wanted.empty() && !isLastProject(wanted))
    throw CommandFailure{ExitCode::Failure, L"the project " + wanted + L" is not open, and nothing was closed"};
  std::wstring name;
  std::wstring error;
  std::wstring nothing;
  if (openCache(L"", nothing)) tellWhatStays(context);
  if (context.options().dryRun) {
    context.output().result(L"would close the project", {{"action", L"close"}});
    return ExitCode::Done;
  }
  closeProject();
  if (!forgetLastProject(name, error)) throw CommandFailure{ExitCode::Failure, error};
  if (name.empty()) throw CommandFailure{ExitCode::Failure, L"no project is open"};
  context.output().result(L"closed " + name, {{"project", name}});
  return ExitCode::Done;
}

}  // namespace

void addProjectCommands(CLI::App& app, Action& selected) {
  auto* project = app.add_subcommand("project", "Projects and their members")->require_subcommand(1);
  struct Arguments {
    std::string name;
    std::string team;
    std::string folder;
    std::string person;
    std::string role = "editor";
    std::string compressed;
    bool all = false;
  };
  auto arguments = std::make_shared<Arguments>();

  auto* create = project->add_subcommand("create", "Make a project in a team; its maker owns it");
  create->add_option("NAME", arguments->name)->required();
  create->add_option("--team", arguments->team, "Name or UUID of the team")->required();
  create->add_option("--from", arguments->folder, "Directory of an unpacked project, whose files it gets");
  create->callback([&selected, arguments] {
    selected = [arguments](Context& context) {
      return createProject(context, arguments->name, arguments->team, arguments->folder);
    };
  });
  auto* list = project->add_subcommand("list", "List this user's projects");
  list->add_flag("--all", arguments->all, "Whatever the filter of teams says");
  list->callback([&selected, arguments] {
    selected = [arguments](Context& context) { return listProjects(context, arguments->all); };
  });
  project->add_subcommand("members", "List the members of the project")->callback([&selected] {
    selected = listMembers;
  });
  auto* add = project->add_subcommand("add", "Add a member, or change the role");
  add->add_option("EMAIL", arguments->person)->required();
  add->add_option("--role", arguments->role)
      ->check(CLI::IsMember({"admin", "editor", "viewer"}))
      ->capture_default_str();
  add->callback([&selected, arguments] {
    selected = [arguments](Context& context) { return changeMember(context, arguments->person, arguments->role); };
  });
  auto* remove = project->add_subcommand("remove", "Take a member out of the project");
  remove->add_option("EMAIL", arguments->person)->required();
  remove->callback([&selected, arguments] {
    selected = [arguments](Context& context) { return changeMember(context, arguments->person, ""); };
  });

  auto* set = project->add_subcommand("set", "Set how this workstation works in the project");
  set->add_option("--compressed", arguments->compressed, "on: Teilbilder are compressed when they are saved")
      ->required()
      ->check(CLI::IsMember({"on", "off"}));
  set->callback([&selected, arguments] {
    selected = [arguments](Context& context) { return setProject(context, arguments->compressed); };
  });

  app.add_subcommand("close", "Close the project")->callback([&selected] { selected = close; });
}

}  // namespace workstation::program
