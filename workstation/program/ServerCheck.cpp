// server check: whether a server can be worked with, and what it can do.
#include <unistd.h>

#include <CLI/CLI.hpp>

#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Synchronisation.h"
#include "platform/Text.h"
#include "platform/Time.h"
#include "platform/UserInterface.h"
#include "workstation/program/ServerCommands.h"
#include "workstation/program/ServerPassword.h"
#include "zephor/ServerStore.h"

namespace workstation::program {

using namespace Quorvel::FileAccess;

namespace {

struct CheckArguments {
  bool write = false;
  bool speed = false;
};

/// @param fallback  the answer where nobody can be asked
bool askYesNo(const Context& context, const std::wstring& question, bool fallback) {
  const GlobalOptions& options = context.options();
  if (!options.yes && !options.no && ::isatty(STDIN_FILENO) == 0) return fallback;
  return platform::userInterface().messageBox({nullptr, question, L"zephor", MB_YESNO, {}, {}}) == IDYES;
}

const wchar_t* precisionText(TimePrecision precision) {
  switch (precision) {
    case TimePrecision::Days:
      return L"days";
    case TimePrecision::Seconds:
      return L"seconds";
    case TimePrecision::Milliseconds:
      return L"milliseconds or finer";
    case TimePrecision::None:
    default:
      return L"not known";
  }
}

const wchar_t* renameText(RenameOnto answer) {
  if (answer == RenameOnto::Replaces) return L"replaces it";
  return answer == RenameOnto::Refused ? L"refused" : L"not tried (--write tries it)";
}

void printAbilities(const Context& context, const ServerAbilities& abilities) {
  const auto yesNo = [](bool can) { return std::wstring(can ? L"yes" : L"no"); };
  Table table({{"ability", L"ABILITY"}, {"answer", L"ANSWER"}, {"meaning", L"MEANING"}});
  table.row({std::wstring(L"TLS"), abilities.tls ? abilities.tlsVersion : std::wstring(L"no"),
             std::wstring(abilities.tls ? L"password and files travel encrypted"
                                        : L"password and files travel unprotected")});
  table.row({std::wstring(L"REST"), yesNo(abilities.rest), std::wstring(L"a piece of a file is read from its offset")});
  table.row({std::wstring(L"MLSD"), yesNo(abilities.mlsd), std::wstring(L"exact listings")});
  table.row({std::wstring(L"MDTM"), yesNo(abilities.mdtm), std::wstring(L"exact times of single files")});
  table.row({std::wstring(L"MFMT"), yesNo(abilities.mfmt), std::wstring(L"times can be set")});
  table.row({std::wstring(L"UTF8"), yesNo(abilities.utf8), std::wstring(L"names in every script")});
  table.row({std::wstring(L"time precision"), std::wstring(precisionText(abilities.timePrecision)),
             std::wstring(L"of the files' times")});
  table.row({std::wstring(L"rename onto a name"), std::wstring(renameText(abilities.renameOnto)),
             std::wstring(L"when the new name exists")});
  table.row({std::wstring(L"round trip"),
             platform::formatWide(L"%.2f ms", static_cast<double>(abilities.roundTripMicroseconds) / 1000.0),
             std::wstring(L"of a command and its reply")});
  table.print(context.output());
}

/// The EPSV mode in the settings hinders listings; another one works.
ExitCode adviseEpsv(const Context& context, const ServerMap::value_type& server, int mode) {
  const std::wstring word = mode == 1 ? L"on" : L"off";
  const std::wstring advice = server.first + L": listings work with --epsv " + word + L" only";
  if (!context.options().dryRun && askYesNo(context, advice + L". Store that?", false)) {
    ServerSettings changed = server.second;
    changed.epsvMode = mode;
    std::wstring error;
    if (!putServer(server.first, changed, error)) throw CommandFailure{ExitCode::Failure, error};
    reportServerItem(context, server.first, L"changed", L"EPSV is " + word + L" now");
    return ExitCode::Done;
  }
  throw CommandFailure{ExitCode::Failure, advice + L"; set it with server add --replace, or answer yes here"};
}

ExitCode checkConnection(const Context& context, const ServerMap::value_type& server,
                         const CServerProperties& properties) {
  const int code = CheckConnection_ofServerProperties(properties);
  const int detail = DataForCheckConnection_fromError(code);
  const std::wstring& name = server.first;
  switch (code) {
    case 0:
      reportServerItem(context, name, L"connected");
      return ExitCode::Done;
    case kCheckNoConnection:
      throw connectFailure(name, detail);
    case kCheckNoBaseDirectory:
      throw CommandFailure{ExitCode::Failure,
                           name + L": the base directory " + properties.baseDirectory + L" is not there"};
    case kCheckSlow:
      context.output().error(platform::formatWide(L"zephor: %s: connecting took longer than its limit of %d ms", name,
                                                  properties.connectLimitMilliseconds));
      return ExitCode::PartlyDone;
    case kCheckNoListing:
      throw CommandFailure{ExitCode::Failure,
                           name +
                               L": the server answers, but no data connection comes about; a firewall "
                               L"may stand between"};
    case kCheckOtherEpsvMode:
      return adviseEpsv(context, server, detail);
    default:
      throw CommandFailure{ExitCode::Failure, platform::formatWide(L"%s: the check failed (code 0x%x)", name,
                                                                   static_cast<unsigned>(code))};
  }
}

/// Makes a small file of its own, in whose time the precision shows.
TimePrecision probePrecision(const std::wstring& directory) {
  const std::wstring path =
      platform::joinPath(directory, platform::formatWide(L"zephor-probe-%u.tmp", GetCurrentProcessId()));
  const HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) throw CommandFailure{ExitCode::Failure, path + L": can't be written"};
  const FILETIME odd{123456789, 31000000};
  SetFileTime(file, nullptr, nullptr, &odd);
  CloseHandle(file);
  const FILETIME kept = platform::fileStatus(path).writeTime;
  DeleteFileW(path.c_str());
  return CompareFileTime(&kept, &odd) == 0 ? TimePrecision::Milliseconds : TimePrecision::Seconds;
}

ExitCode checkDirectory(const Context& context, const ServerMap::value_type& server, bool mayWrite) {
  const std::wstring& directory = server.second.baseDirectory;
  const std::wstring shown = platform::fromUtf8(platform::systemPath(directory));
  if (!platform::fileStatus(directory).isDirectory) {
    throw CommandFailure{ExitCode::Failure, server.first + L": the directory " + shown + L" is not there"};
  }
  reportServerItem(context, server.first, L"connected", L"a plain directory, " + shown);
  if (!mayWrite) return ExitCode::Done;
  Table table({{"ability", L"ABILITY"}, {"answer", L"ANSWER"}, {"meaning", L"MEANING"}});
  table.row({std::wstring(L"time precision"), std::wstring(precisionText(probePrecision(directory))),
             std::wstring(L"of the files' times")});
  table.print(context.output());
  return ExitCode::Done;
}

ExitCode testSpeed(const ServerSession& session) {
  std::vector<std::pair<std::int32_t, std::uint64_t>> passes;
  const DWORD result = WGO_testServerPerformance(session.serverPath(L"").c_str(), passes);
  Table table({{"buffer", L"SEND BUFFER"}, {"milliseconds", L"MILLISECONDS"}, {"mebibytesPerSecond", L"MiB/s"}});
  constexpr std::uint64_t kMebibytes = 100;
  for (const auto& [buffer, milliseconds] : passes) {
    const std::uint64_t speed = kMebibytes * 1000 / std::max<std::uint64_t>(milliseconds, 1);
    table.row({std::int64_t{buffer}, static_cast<std::int64_t>(milliseconds), static_cast<std::int64_t>(speed)});
  }
  table.print(session.context().output());
  session.transfer().deleteServerPath(session.serverPath(L"performance.test").c_str());
  if (result == 0) return ExitCode::Done;
  throw CommandFailure{ExitCode::Failure,
                       session.name() + L": the speed could not be measured: " + serverErrorText(result)};
}

ExitCode checkServer(Context& context, const ServerOptions& options, const CheckArguments& arguments) {
  const ServerMap::value_type server = findServer(context, options.name);
  const bool mayWrite =
      !context.options().dryRun &&
      (arguments.write ||
       askYesNo(context, L"May two small files be made on " + server.first + L" and deleted again?", false));
  ExitCode code = ExitCode::Done;
  if (server.second.isDirectory) {
    code = checkDirectory(context, server, mayWrite);
  } else {
    setServerPassword(server.first, passwordFor(server.first, server.second, options.passwordFile));
    const CServerProperties properties(server.first);
    code = checkConnection(context, server, properties);
    ServerAbilities abilities;
    const int reason = WGO_describeServer(properties, mayWrite, abilities);
    if (reason > 0) throw connectFailure(server.first, reason);
    if (reason < 0) throw CommandFailure{ExitCode::Failure, server.first + L": the base directory is not there"};
    if (!abilities.tls && (properties.explicitTls || properties.protocol == L"FTPS")) {
      context.output().error(L"zephor: warning: " + server.first +
                             L" refused TLS; the password and all files travel unprotected");
    }
    printAbilities(context, abilities);
  }
  if (!arguments.speed || context.options().dryRun) return code;
  return testSpeed(ServerSession(context, options));
}

}  // namespace

void addServerCheckCommand(CLI::App& server, Action& selected, const SharedServerOptions& options) {
  auto arguments = std::make_shared<CheckArguments>();
  auto* command = server.add_subcommand("check", "Test the connection to a server and tell what it can do");
  addServerName(*command, options);
  command->add_flag("--write", arguments->write,
                    "Make two small files on the server, and delete them, to find out more");
  command->add_flag("--speed", arguments->speed,
                    "Send 100 MiB several times, with growing buffers, and tell how long it took");
  command->callback([&selected, options, arguments] {
    selected = [options, arguments](Context& context) { return checkServer(context, *options, *arguments); };
  });
}

}  // namespace workstation::program
