// server add, list, remove: the servers that this workstation knows.
#include "workstation/program/ServerCommands.h"

#include <pwd.h>
#include <unistd.h>

#include <CLI/CLI.hpp>

#include "host/Guid.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/Session.h"
#include "workstation/program/Arguments.h"
#include "workstation/program/ServerPassword.h"

namespace workstation::program {

namespace {

struct AddArguments {
  std::string name;
  std::string host;
  std::string directory;
  std::string user = "anonymous";
  std::string protocol = "ftpes";
  std::string base;
  std::string certificates;
  std::string epsv = "auto";
  std::string description;
  double connectLimit = kUsualConnectLimit / 1000.0;
  double readLimit = kUsualReadLimit / 1000.0;
  bool noPasswordStored = false;
  bool replace = false;
};

std::wstring nameOfSystemUser() {
  const passwd* const entry = ::getpwuid(::getuid());
  if (entry == nullptr) return L"user";
  const std::string full = entry->pw_gecos != nullptr ? entry->pw_gecos : "";
  const std::string name = full.substr(0, full.find(','));
  return platform::fromUtf8(name.empty() ? entry->pw_name : name);
}

/// Servers need no store: where there is no workstation yet, one without a store is made for the system's user.
void startOrMakeWorkstation(Context& context) {
  WorkstationConfiguration configuration;
  std::wstring problem;
  const std::string& directory = context.options().workstation;
  if (!context.options().dryRun && !readConfiguration(directory, configuration, problem)) {
    configuration = {};
    configuration.identity.user.name = nameOfSystemUser();
    // One that exists and can't be read is left alone; the start tells what is wrong with it.
    if (writeConfiguration(directory, configuration, false, problem)) {
      context.output().message(L"made a workstation without a store for " + configuration.identity.user.name);
    }
  }
  context.startWorkstation();
}

/// Characters that would end a command to the server or a line of a table.
void refuseControls(const char* option, const std::string& text) {
  for (const wchar_t c : wide(text)) {
    if (c < 0x20 || c == 0x7F) {
      throw CommandFailure{ExitCode::Usage, wide(option) + L": expected a text without control characters"};
    }
  }
}

ServerSettings directorySettings(const AddArguments& arguments) {
  ServerSettings server;
  server.isDirectory = true;
  server.description = wide(arguments.description);
  server.baseDirectory = platform::libraryPath(absolutePath(arguments.directory));
  if (!platform::fileStatus(server.baseDirectory).isDirectory) {
    throw CommandFailure{ExitCode::Failure, wide(arguments.directory) + L": there is no such directory"};
  }
  return server;
}

ServerSettings serverSettings(const AddArguments& arguments) {
  ServerSettings server;
  server.description = wide(arguments.description);
  server.hostName = wide(arguments.host);
  if (server.hostName.find_first_of(L" /\\@") != std::wstring::npos) {
    throw CommandFailure{ExitCode::Usage,
                         L"--host " + server.hostName + L": expected a host name or address, with :port or not"};
  }
  server.protocol = arguments.protocol == "ftps" ? L"FTPS" : L"FTP";
  server.explicitTls = arguments.protocol == "ftpes";
  server.userName = wide(arguments.user);
  server.baseDirectory = wide(arguments.base);
  if (!arguments.certificates.empty()) server.certificateFile = fileArgument(arguments.certificates);
  server.epsvMode = arguments.epsv == "auto" ? 2 : (arguments.epsv == "on" ? 1 : 0);
  constexpr double kMilliseconds = 1000.0;
  server.connectLimitMilliseconds = static_cast<int>(arguments.connectLimit * kMilliseconds);
  server.readLimitMilliseconds = static_cast<int>(arguments.readLimit * kMilliseconds);
  return server;
}

/// What is to be kept of the password; empty for none.
std::wstring passwordToStore(const AddArguments& arguments, const ServerOptions& options) {
  const bool isAnonymous = arguments.user == "anonymous" || arguments.user == "ftp";
  if (arguments.noPasswordStored) return {};
  if (!options.passwordFile.empty()) return readPasswordFile(options.passwordFile);
  std::wstring password = passwordOfEnvironment();
  if (password.empty() && !isAnonymous) promptForPassword(wide(arguments.name), password);
  return password;
}

ExitCode addServer(Context& context, const AddArguments& arguments, const ServerOptions& options) {
  if (arguments.host.empty() == arguments.directory.empty()) {
    throw CommandFailure{ExitCode::Usage, L"server add needs either --host or --directory"};
  }
  for (const auto& [option, text] : {std::pair{"NAME", &arguments.name},
                                     {"--host", &arguments.host},
                                     {"--user", &arguments.user},
                                     {"--base", &arguments.base},
                                     {"--description", &arguments.description}}) {
    refuseControls(option, *text);
  }
  ServerSettings server = arguments.host.empty() ? directorySettings(arguments) : serverSettings(arguments);
  startOrMakeWorkstation(context);
  const std::wstring name = wide(arguments.name);
  if (!arguments.replace && knownServers().contains(name)) {
    throw CommandFailure{ExitCode::Failure, L"there is a server " + name + L" already; --replace replaces it"};
  }
  if (context.options().dryRun) {
    reportServerItem(context, name, L"would be added");
    return ExitCode::Done;
  }
  if (!server.isDirectory) server.password = passwordToStore(arguments, options);
  std::wstring error;
  if (!putServer(name, server, error)) throw CommandFailure{ExitCode::Failure, error};
  reportServerItem(context, name, L"added");
  const bool asksLater = !server.isDirectory && server.password.empty() && server.userName != L"anonymous";
  if (asksLater) {
    context.output().message(
        L"no password is stored; it is asked for at use, or comes from --password-file or ZEPHOR_SERVER_PASSWORD");
  }
  return ExitCode::Done;
}

std::wstring protocolName(const ServerSettings& server) {
  if (server.isDirectory) return L"directory";
  if (server.protocol == L"FTPS") return L"ftps";
  return server.explicitTls ? L"ftpes" : L"ftp";
}

ExitCode listServers(Context& context) {
  context.startWorkstation();
  Table table({{"server", L"SERVER"},
               {"protocol", L"PROTOCOL"},
               {"host", L"HOST"},
               {"user", L"USER"},
               {"base", L"BASE"},
               {"passwordStored", L"PASSWORD STORED"}});
  for (const auto& [name, server] : knownServers()) {
    if (server.isDirectory) {
      const std::wstring directory = platform::fromUtf8(platform::systemPath(server.baseDirectory));
      table.row({name, protocolName(server), std::monostate{}, std::monostate{}, directory, std::monostate{}});
    } else {
      const std::wstring base = server.baseDirectory.empty() ? L"/" : server.baseDirectory;
      table.row({name, protocolName(server), server.hostName, server.userName, base, !server.password.empty()});
    }
  }
  if (table.empty()) context.output().message(L"no server is known; add one: zephor server add");
  table.print(context.output());
  return ExitCode::Done;
}

ExitCode removeServerCommand(Context& context, const std::string& argument) {
  const std::wstring name = findServer(context, argument).first;
  if (context.options().dryRun) {
    reportServerItem(context, name, L"would be removed");
    return ExitCode::Done;
  }
  std::wstring error;
  if (!removeServer(name, error)) throw CommandFailure{ExitCode::Failure, error};
  reportServerItem(context, name, L"removed");
  return ExitCode::Done;
}

void addAddCommand(CLI::App& server, Action& selected, const SharedServerOptions& options) {
  auto arguments = std::make_shared<AddArguments>();
  auto* command = server.add_subcommand("add", "Make a server, or a plain directory in its place, known here");
  command->add_option("NAME", arguments->name, "Name of the server on this workstation")->required();
  command->add_option("--host", arguments->host, "Host name or address, with :port or not");
  command->add_option("--directory", arguments->directory, "A plain directory that serves as the server");
  command->add_option("--user", arguments->user, "User on the server (default: anonymous)");
  command->add_option("--protocol", arguments->protocol, "ftp, ftpes (explicit TLS, the default), ftps (implicit TLS)")
      ->check(CLI::IsMember({"ftp", "ftpes", "ftps"}));
  command->add_option("--base", arguments->base, "Directory on the server that paths are relative to (default: /)");
  command->add_option("--certificates", arguments->certificates,
                      "PEM file of certificates to trust beside the system's");
  command->add_option("--epsv", arguments->epsv, "Extended passive mode (default: auto)")
      ->check(CLI::IsMember({"on", "off", "auto"}));
  command->add_option("--connect-limit", arguments->connectLimit, "Seconds for connecting (default: 10)")
      ->check(CLI::Range(1.0, 3600.0));
  command->add_option("--read-limit", arguments->readLimit, "Seconds without any progress (default: 30)")
      ->check(CLI::Range(1.0, 3600.0));
  command->add_option("--description", arguments->description, "A text for people");
  command->add_flag("--no-password-stored", arguments->noPasswordStored, "Keep no password; it is asked for at use");
  command->add_flag("--replace", arguments->replace, "Replace a server of that name");
  command->callback([&selected, arguments, options] {
    selected = [arguments, options](Context& context) { return addServer(context, *arguments, *options); };
  });
}

}  // namespace

void addServerName(CLI::App& command, const SharedServerOptions& options) {
  command.add_option("NAME", options->name, "Name of the server, see server list")->required();
}

void addJobsOption(CLI::App& command, const SharedServerOptions& options) {
  command.add_option("--jobs", options->jobs, "Connections at once, 1 to 64 (default: auto, by the server's distance)");
}

void reportServerItem(const Context& context, const std::wstring& item, const wchar_t* outcome,
                      const std::wstring& detail) {
  context.output().result(item + L": " + outcome + (detail.empty() ? L"" : L" (" + detail + L")"),
                          {{"item", item}, {"outcome", std::wstring(outcome)}, {"detail", detail}});
}

void addServerCommands(CLI::App& app, Action& selected) {
  auto* server = app.add_subcommand("server", "Servers of the older store: FTP, FTPS and plain directories");
  server->require_subcommand(1);
  auto options = std::make_shared<ServerOptions>();
  server->add_option("--password-file", options->passwordFile,
                     "File with the password in its first line, that only its user may read");
  addAddCommand(*server, selected, options);
  server->add_subcommand("list", "List the servers that are known here")->callback([&selected] {
    selected = listServers;
  });
  auto* remove = server->add_subcommand("remove", "Forget a server; nothing is deleted on it");
  addServerName(*remove, options);
  remove->callback([&selected, options] {
    selected = [options](Context& context) { return removeServerCommand(context, options->name); };
  });
  addServerCheckCommand(*server, selected, options);
  addServerFileCommands(*server, selected, options);
  addServerCatCommand(*server, selected, options);
  addServerGetCommand(*server, selected, options);
  addServerPutCommand(*server, selected, options);
  addServerSyncCommands(*server, selected, options);
  addServerProjectsCommand(*server, selected, options);
  addServerLockCommands(*server, selected, options);
}

}  // namespace workstation::program
