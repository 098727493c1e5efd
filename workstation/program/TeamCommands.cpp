// team create|list|members|add|remove.
#include <CLI/CLI.hpp>
#include <memory>

#include "platform/Text.h"
#include "workstation/program/Commands.h"
#include "workstation/program/Context.h"
#include "workstation/program/People.h"
#include "workstation/store/CloudStore.h"

namespace workstation::program {

namespace {

ExitCode createTeam(Context& context, const std::string& argument) {
  context.startOnline();
  const std::wstring name = wide(argument);
  std::wstring uuid;
  if (!context.options().dryRun) check(context.store().createTeam(context.actor(), name, uuid));
  context.output().result((context.options().dryRun ? L"would make the team " : L"made the team ") + name,
                          {{"team", name}, {"uuid", uuid}});
  return ExitCode::Done;
}

ExitCode listTeams(Context& context) {
  context.startOnline();
  std::vector<StoreTeam> teams;
  check(context.store().teams(context.actor(), teams));
  Table table({{"team", L"TEAM"}, {"role", L"ROLE"}, {"uuid", L"UUID"}});
  for (const auto& team : teams) table.row({team.name, roleName(team.role), team.uuid});
  table.print(context.output());
  return ExitCode::Done;
}

ExitCode listMembers(Context& context, const std::string& argument) {
  context.startOnline();
  const StoreTeam team = findTeam(context, wide(argument));
  std::vector<StoreMember> members;
  check(context.store().teamMembers(context.actor(), team.uuid, members));
  printMembers(context, members);
  return ExitCode::Done;
}

ExitCode changeMember(Context& context, const std::string& teamArgument, const std::string& person,
                      const std::string& role) {
  context.startOnline();
  const StoreTeam team = findTeam(context, wide(teamArgument));
  const bool remove = role.empty();
  if (!context.options().dryRun) {
    check(remove ? context.store().removeTeamMember(context.actor(), team.uuid, wide(person))
                 : context.store().addTeamMember(context.actor(), team.uuid, wide(person), roleOf(role)));
  }
  reportMember(context, wide(person), team.name, wide(role));
  return ExitCode::Done;
}

}  // namespace

void addTeamCommands(CLI::App& app, Action& selected) {
  auto* team = app.add_subcommand("team", "Teams and their members")->alias("teams")->require_subcommand(1);
  struct Arguments {
    std::string team;
    std::string person;
    std::string role = "editor";
  };
  auto arguments = std::make_shared<Arguments>();

  auto* create = team->add_subcommand("create", "Make a team; its maker owns it");
  create->add_option("NAME", arguments->team)->required();
  create->callback([&selected, arguments] {
    selected = [arguments](Context& context) { return createTeam(context, arguments->team); };
  });
  team->add_subcommand("list", "List this user's teams")->callback([&selected] { selected = listTeams; });
  auto* members = team->add_subcommand("members", "List the members of a team");
  members->add_option("TEAM", arguments->team, "Name or UUID")->required();
  members->callback([&selected, arguments] {
    selected = [arguments](Context& context) { return listMembers(context, arguments->team); };
  });
  auto* add = team->add_subcommand("add", "Add a member, or change the role");
  add->add_option("TEAM", arguments->team, "Name or UUID")->required();
  add->add_option("EMAIL", arguments->person)->required();
  add->add_option("--role", arguments->role)
      ->check(CLI::IsMember({"admin", "editor", "viewer"}))
      ->capture_default_str();
  add->callback([&selected, arguments] {
    selected = [arguments](Context& context) {
      return changeMember(context, arguments->team, arguments->person, arguments->role);
    };
  });
  auto* remove = team->add_subcommand("remove", "Take a member out of the team and its projects");
  remove->add_option("TEAM", arguments->team, "Name or UUID")->required();
  remove->add_option("EMAIL", arguments->person)->required();
  remove->callback([&selected, arguments] {
    selected = [arguments](Context& context) { return changeMember(context, arguments->team, arguments->person, ""); };
  });
}

}  // namespace workstation::program
