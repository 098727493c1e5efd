// team filter: the teams whose projects this workstation lists.
#include <CLI/CLI.hpp>
#include <map>
#include <memory>

#include "workstation/program/Commands.h"
#include "workstation/program/Context.h"
#include "workstation/program/People.h"
#include "zephor/Portal.h"

namespace workstation::program {

namespace {

using namespace Quorvel::FileAccess;

struct Arguments {
  std::vector<std::string> teams;
  bool clear = false;
};

ExitCode filterTeams(Context& context, const Arguments& arguments) {
  if (arguments.clear && !arguments.teams.empty())
    throw CommandFailure{ExitCode::Usage, L"--clear takes no team: afterwards the projects of all teams are listed"};
  context.startOnline();
  const bool changes = arguments.clear || !arguments.teams.empty();
  std::map<std::wstring, std::wstring> filter;
  if (!changes) WGO_ReadOndrathTeamFilter(filter);
  for (const std::string& name : arguments.teams) {
    const StoreTeam team = findTeam(context, wide(name));
    filter.insert_or_assign(team.uuid, team.name);
  }
  if (changes && !context.options().dryRun && !WGO_WriteOndrathTeamFilter(filter))
    throw CommandFailure{ExitCode::Failure, L"the filter of teams can't be written, and stays as it was"};
  if (filter.empty()) context.output().message(L"no filter: the projects of all teams are listed");
  Table table({{"team", L"TEAM"}, {"uuid", L"UUID"}});
  for (const auto& [uuid, name] : filter) table.row({name, uuid});
  table.print(context.output());
  return ExitCode::Done;
}

}  // namespace

void addTeamFilterCommand(CLI::App& app, Action& selected) {
  auto* command = app.get_subcommand("team")->add_subcommand(
      "filter", "Show, or set, the teams whose projects this workstation lists");
  auto arguments = std::make_shared<Arguments>();
  command->add_option("TEAM", arguments->teams, "Names or UUIDs of the teams; they take the place of those before");
  command->add_flag("--clear", arguments->clear, "List the projects of all teams again");
  command->callback([&selected, arguments] {
    selected = [arguments](Context& context) { return filterTeams(context, *arguments); };
  });
}

}  // namespace workstation::program
