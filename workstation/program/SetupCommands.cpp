// store create|info|set|sweep, init: making a store and a workstation.
#include <unistd.h>
#include <CLI/CLI.hpp>
#include <memory>
#include <string>

#include "host/Guid.h"
#include "platform/Text.h"
#include "workstation/Session.h"
#include "workstation/program/Arguments.h"
#include "workstation/program/Commands.h"
#include "workstation/program/Context.h"
#include "workstation/store/CloudStore.h"

namespace workstation::program {

namespace {

constexpr const char* kSessionTimeout = "session_timeout_seconds";
constexpr std::int64_t kUsualTimeout = 120;
// A process tells of itself at least every 15 seconds; one that is a beat late must not count as gone.
constexpr std::int64_t kShortestTimeout = 30;
constexpr std::int64_t kLongestTimeout = 86400;

ExitCode createStore(Context& context, const std::string& argument) {
  const std::string directory = absolutePath(argument);
  const std::wstring shown = wide(directory);
  if (context.options().dryRun) {
    context.output().result(L"would make a store in " + shown, {{"action", L"create"}, {"store", shown}});
    return ExitCode::Done;
  }
  std::wstring error;
  if (CloudStore::create(directory, error) != kStoreOk) throw CommandFailure{ExitCode::Failure, error};
  context.output().result(L"made a store in " + shown, {{"store", shown}});
  return ExitCode::Done;
}

ExitCode storeInfo(Context& context) {
  context.startOnline();
  CloudStore& store = context.store();
  const StoreActor actor = context.actor();
  std::vector<StoreTeam> teams;
  std::vector<StoreProject> projects;
  CloudStatus status = store.teams(actor, teams);
  if (status == kStoreOk) status = store.projects(actor, L"", false, projects);
  std::int64_t files = 0;
  std::int64_t bytes = 0;
  for (const auto& project : projects) {
    std::vector<StoredFile> list;
    if (status == kStoreOk) status = store.files(actor, project.uuid, kAllClasses, list);
    files += static_cast<std::int64_t>(list.size());
    for (const auto& file : list) bytes += file.size;
  }
  if (status != kStoreOk) throw CommandFailure{ExitCode::Failure, CloudStore::lastText()};
  const auto teamCount = static_cast<std::int64_t>(teams.size());
  const auto projectCount = static_cast<std::int64_t>(projects.size());
  const std::wstring directory = wide(store.directory());
  context.output().result(
      platform::formatWide(L"store %s, as %s <%s>: %lld teams, %lld projects, %lld files, %lld bytes, session "
                           L"time-out %lld seconds",
                           directory, actor.user.name, actor.user.email, teamCount, projectCount, files, bytes,
                           store.setting(kSessionTimeout, kUsualTimeout)),
      {{"store", directory},
       {"user", actor.user.email},
       {"teams", teamCount},
       {"projects", projectCount},
       {"files", files},
       {"bytes", bytes},
       {"session_timeout", store.setting(kSessionTimeout, kUsualTimeout)}});
  return ExitCode::Done;
}

ExitCode setTimeout(Context& context, std::int64_t seconds) {
  context.startOnline();
  const bool dryRun = context.options().dryRun;
  if (!dryRun && context.store().setSetting(kSessionTimeout, seconds) != kStoreOk)
    throw CommandFailure{ExitCode::Failure, CloudStore::lastText()};
  context.output().result(platform::formatWide(L"a process that was not heard of for %lld seconds %s as gone",
                                               static_cast<long long>(seconds), dryRun ? L"would count" : L"counts"),
                          {{"session_timeout", seconds}});
  return ExitCode::Done;
}

ExitCode sweepStore(Context& context) {
  context.startOnline();
  SweepResult swept;
  if (context.options().dryRun) {
    context.output().result(L"would remove what no file refers to and is older than an hour", {{"action", L"sweep"}});
    return ExitCode::Done;
  }
  if (context.store().sweep(swept) != kStoreOk) throw CommandFailure{ExitCode::Failure, CloudStore::lastText()};
  const auto bodies = static_cast<std::int64_t>(swept.bodies);
  const auto leftovers = static_cast<std::int64_t>(swept.leftovers);
  const auto bytes = static_cast<std::int64_t>(swept.bytes);
  context.output().result(
      platform::formatWide(L"removed %lld bodies and %lld leftovers, %lld bytes", bodies, leftovers, bytes),
      {{"bodies", bodies}, {"leftovers", leftovers}, {"bytes", bytes}});
  return ExitCode::Done;
}

struct InitArguments {
  std::string name;
  std::string email;
  std::string workstationName;
  bool replace = false;
};

std::wstring machineName() {
  char buffer[256] = {};
  if (::gethostname(buffer, sizeof buffer - 1) != 0) return L"workstation";
  return platform::fromUtf8(buffer);
}

ExitCode initWorkstation(Context& context, const InitArguments& arguments) {
  const GlobalOptions& options = context.options();
  if (options.store.empty()) throw CommandFailure{ExitCode::Usage, L"init needs the store: --store DIRECTORY"};
  if (arguments.email.find('@') == std::string::npos || arguments.email.size() > 63) {
    throw CommandFailure{ExitCode::Usage, wide(arguments.email) +
                                              L" is no e-mail address (expected name@domain, at most 63 characters)"};
  }
  WorkstationConfiguration configuration;
  std::wstring error;
  configuration.storeDirectory = absolutePath(options.store);
  CloudStatus status = kStoreOk;
  const auto store = CloudStore::open(configuration.storeDirectory, status, error);
  if (!store) throw CommandFailure{ExitCode::NotLoggedIn, error};

  WorkstationConfiguration present;
  std::wstring ignored;
  const bool isThere = readConfiguration(options.workstation, present, ignored);
  // A workstation that was made for servers only takes a store without losing anything.
  const bool isForServersOnly = isThere && present.storeDirectory.empty() && present.identity.user.email.empty();
  if (!arguments.replace && isThere && !isForServersOnly) {
    throw CommandFailure{ExitCode::Failure, L"this is the workstation of " + present.identity.user.name + L" <" +
                                                present.identity.user.email + L"> already; --replace makes it anew"};
  }
  CloudUser& user = configuration.identity.user;
  if (store->findUser(wide(arguments.email), user) != kStoreOk) user = {};
  user.name = wide(arguments.name);
  user.email = wide(arguments.email);
  configuration.language = options.language;
  configuration.identity.workstationName =
      arguments.workstationName.empty() ? machineName() : wide(arguments.workstationName);
  configuration.identity.workstationId = Quorvel::Cad::Service::ZP_GUIDValueProvider::printGUID(GetGUID());
  if (options.dryRun) {
    context.output().result(L"would make a workstation for " + user.name + L" <" + user.email + L">",
                            {{"action", L"init"}});
    return ExitCode::Done;
  }
  if (store->registerUser(user) != kStoreOk) throw CommandFailure{ExitCode::Failure, CloudStore::lastText()};
  if (!writeConfiguration(options.workstation, configuration, arguments.replace || isForServersOnly, error)) {
    throw CommandFailure{ExitCode::Failure, error};
  }
  context.output().result(L"made a workstation for " + user.name + L" <" + user.email + L">",
                          {{"user", user.email}, {"uuid", user.uuid}, {"store", wide(configuration.storeDirectory)}});
  return ExitCode::Done;
}

}  // namespace

void addSetupCommands(CLI::App& app, Action& selected) {
  auto* store = app.add_subcommand("store", "The store that the team shares")->require_subcommand(1);
  auto* create = store->add_subcommand("create", "Make a store in a directory");
  auto* directory = create->add_option("DIRECTORY", "Directory, made if it is missing")->required();
  create->callback([&selected, directory] {
    selected = [path = directory->as<std::string>()](Context& context) { return createStore(context, path); };
  });
  store->add_subcommand("info", "Tell what the store holds for this user")->callback([&selected] {
    selected = storeInfo;
  });
  auto* set = store->add_subcommand("set", "Change a setting of the store")->require_subcommand(1);
  auto* timeout = set->add_subcommand("session-timeout", "Seconds after which a silent process counts as gone");
  auto* seconds = timeout->add_option("SECONDS", "Between 30 and 86400")
                      ->required()
                      ->check(CLI::Range(kShortestTimeout, kLongestTimeout));
  timeout->callback([&selected, seconds] {
    selected = [value = seconds->as<std::int64_t>()](Context& context) { return setTimeout(context, value); };
  });
  store->add_subcommand("sweep", "Remove bodies that no file refers to")->callback([&selected] {
    selected = sweepStore;
  });

  auto* init = app.add_subcommand("init", "Make a workstation and make its user known to the store");
  auto arguments = std::make_shared<InitArguments>();
  init->add_option("--name", arguments->name, "Name of the person")->required();
  init->add_option("--email", arguments->email, "E-mail address of the person")->required();
  init->add_option("--workstation-name", arguments->workstationName, "Name shown to others (default: the machine's)");
  init->add_flag("--replace", arguments->replace, "Replace the settings of a workstation that exists");
  init->callback([&selected, arguments] {
    selected = [arguments](Context& context) { return initWorkstation(context, *arguments); };
  });
}

}  // namespace workstation::program
