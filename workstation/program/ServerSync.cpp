// server sync up|down, compare: a directory here and one of the server in step, by the files' times.
#include <CLI/CLI.hpp>
#include <filesystem>
#include <map>

#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/program/Arguments.h"
#include "workstation/program/ServerCommands.h"
#include "workstation/program/ServerLookup.h"
#include "workstation/program/ServerTransfer.h"
#include "workstation/program/SyncPlan.h"
#include "workstation/program/SyncUpload.h"

namespace workstation::program {

namespace {

struct SyncArguments {
  std::string directory;
  std::string local;
};

/// Both sides of a sync.
struct Sides {
  ServerPath server;
  std::wstring local;
  Tree here;
  Tree there;
  bool isOnServer = true;
};

Sides readSides(ServerSession& session, const SyncArguments& arguments, bool mustBeHere) {
  Sides sides;
  sides.server = serverPathArgument(arguments.directory);
  const std::string path = absolutePath(arguments.local);
  sides.local = platform::libraryPath(path);
  const bool isHere = platform::fileStatus(sides.local).isDirectory;
  if (isHere) {
    listLocalTree(path, true, sides.here);
  } else if (mustBeHere) {
    throw CommandFailure{ExitCode::Failure, wide(arguments.local) + L": there is no such directory here"};
  }
  const unsigned long code = listServerTree(session, sides.server.text, true, sides.there);
  sides.isOnServer = code != ERROR_PATH_NOT_FOUND;
  if (code != 0 && sides.isOnServer) {
    throw CommandFailure{ExitCode::Failure, session.name() + L": " + sides.server.text + L": " + serverErrorText(code)};
  }
  return sides;
}

Transfer transferOf(const Sides& sides, const SyncStep& step) {
  const std::wstring& below = step.source.directory;
  std::wstring local = platform::joinPath(sides.local, below);
  std::replace(local.begin(), local.end(), L'/', L'\\');
  return {step.source.path(), joinServerPath(sides.server.text, below), std::move(local), step.source, false, {}};
}

/// Tells of a step that moves nothing. @return false for a step that moves its file
bool tellOfRest(const Context& context, const SyncStep& step, bool up, Tally& tally, std::size_t& inStep) {
  const std::wstring path = step.source.path();
  const wchar_t* const notMoved = up ? L"not sent" : L"not fetched";
  switch (step.action) {
    case SyncAction::InStep:
      ++inStep;
      tally.done();
      return true;
    case SyncAction::Newer:
      reportServerItem(context, path, L"kept", up ? L"the server's is newer" : L"the one here is newer");
      tally.done();
      return true;
    case SyncAction::Differs:
      reportServerItem(context, path, notMoved,
                       L"the same time, but another size; server put or get --force settles it");
      tally.failed();
      return true;
    case SyncAction::Pending:
      reportServerItem(context, path, notMoved, L"its last upload was interrupted; sync up first");
      tally.failed();
      return true;
    case SyncAction::Move:
    case SyncAction::Resume:
    default:
      return false;
  }
}

void tellOfMoves(const Context& context, const std::vector<Transfer>& transfers, const wchar_t* done,
                 const wchar_t* notDone, Tally& tally) {
  for (const Transfer& transfer : transfers) {
    if (transfer.isDone) {
      reportServerItem(context, transfer.shown, done);
      tally.done();
    } else {
      reportServerItem(context, transfer.shown, notDone, transfer.problem);
      tally.failed();
    }
  }
}

void tellPlan(const Context& context, const std::vector<Transfer>& transfers, const wchar_t* outcome, Tally& tally) {
  for (const Transfer& transfer : transfers) {
    reportServerItem(context, transfer.shown, outcome);
    tally.done();
  }
}

void tellInStep(const ServerSession& session, std::size_t files) {
  if (files == 0) return;
  session.context().output().message(
      platform::formatWide(L"%s: %d files were in step", session.name(), static_cast<int>(files)));
}

void makeServerDirectories(const ServerSession& session, const Sides& sides) {
  std::vector<std::wstring> missing = missingDirectories(sides.here, sides.there);
  if (!sides.isOnServer) missing.insert(missing.begin(), L"");
  for (const std::wstring& directory : missing) {
    const std::wstring path = joinServerPath(sides.server.text, directory);
    if (session.internal().createServerDirectory(session.serverPath(path).c_str())) continue;
    throw CommandFailure{ExitCode::Failure, path + L": the directory could not be made on the server"};
  }
}

ExitCode syncUp(Context& context, const ServerOptions& options, const SyncArguments& arguments) {
  ServerSession session(context, options);
  const Sides sides = readSides(session, arguments, true);
  for (const std::wstring& line : sides.here.passedOver) context.output().message(line);
  Tally tally;
  std::size_t inStep = 0;
  std::vector<Upload> uploads;
  std::vector<Transfer> planned;
  for (SyncStep& step : planUp(sides.here, sides.there)) {
    // The upload that left its copy here had come to its end.
    const bool hasOldCopy = step.action == SyncAction::InStep && step.source.interrupted && !context.options().dryRun;
    if (hasOldCopy) DeleteFileW((localPathOf(transferOf(sides, step)) + kSendingSuffix).c_str());
    if (tellOfRest(context, step, true, tally, inStep)) continue;
    planned.push_back(transferOf(sides, step));
    uploads.push_back({planned.back(), std::move(step)});
  }
  if (context.options().dryRun) {
    tellPlan(context, planned, L"would be sent", tally);
  } else {
    makeServerDirectories(session, sides);
    planned.clear();
    if (!uploads.empty()) sendInStep(session, uploads);
    for (Upload& upload : uploads) planned.push_back(std::move(upload.transfer));
    tellOfMoves(context, planned, L"sent", L"not sent", tally);
  }
  tellInStep(session, inStep);
  return tally.exitCode();
}

void makeLocalDirectories(const Sides& sides) {
  SHCreateDirectoryExW(nullptr, sides.local.c_str(), nullptr);
  for (const std::wstring& directory : missingDirectories(sides.there, sides.here)) {
    const std::wstring path = platform::joinPath(sides.local, directory);
    SHCreateDirectoryExW(nullptr, path.c_str(), nullptr);
    if (platform::fileStatus(path).isDirectory) continue;
    throw CommandFailure{ExitCode::Failure,
                         platform::fromUtf8(platform::systemPath(path)) + L": the directory can't be made"};
  }
}

ExitCode syncDown(Context& context, const ServerOptions& options, const SyncArguments& arguments) {
  ServerSession session(context, options);
  const Sides sides = readSides(session, arguments, false);
  if (!sides.isOnServer) {
    throw CommandFailure{ExitCode::Failure, session.name() + L": there is no directory " + sides.server.text};
  }
  Tally tally;
  for (const std::wstring& line : sides.there.passedOver) {
    reportServerItem(context, line, L"skipped");
    tally.failed();
  }
  std::size_t inStep = 0;
  std::vector<Transfer> transfers;
  for (const SyncStep& step : planDown(sides.here, sides.there)) {
    if (!tellOfRest(context, step, false, tally, inStep)) transfers.push_back(transferOf(sides, step));
  }
  if (context.options().dryRun) {
    tellPlan(context, transfers, L"would be fetched", tally);
  } else {
    makeLocalDirectories(sides);
    if (!transfers.empty()) fetchAll(session, transfers);
    tellOfMoves(context, transfers, L"fetched", L"not fetched", tally);
  }
  tellInStep(session, inStep);
  return tally.exitCode();
}

const wchar_t* stateName(const SyncStep& step) {
  switch (step.action) {
    case SyncAction::InStep:
      return L"in step";
    case SyncAction::Newer:
      return L"newer on the server";
    case SyncAction::Differs:
      return L"same time, another size";
    case SyncAction::Resume:
    case SyncAction::Pending:
      return L"upload interrupted";
    case SyncAction::Move:
    default:
      return step.target ? L"newer here" : L"only here";
  }
}

ExitCode compare(Context& context, const ServerOptions& options, const SyncArguments& arguments) {
  ServerSession session(context, options);
  const Sides sides = readSides(session, arguments, true);
  Table table({{"state", L"STATE"}, {"name", L"NAME"}});
  for (const SyncStep& step : planUp(sides.here, sides.there))
    table.row({std::wstring(stateName(step)), step.source.path()});
  for (const SyncStep& step : planDown(sides.here, sides.there)) {
    if (!step.target) table.row({std::wstring(L"only on the server"), step.source.path()});
  }
  table.print(context.output());
  for (const Tree* const tree : {&sides.here, &sides.there}) {
    for (const std::wstring& line : tree->passedOver) context.output().message(line);
  }
  return ExitCode::Done;
}

}  // namespace

void addServerSyncCommands(CLI::App& server, Action& selected, const SharedServerOptions& options) {
  auto arguments = std::make_shared<SyncArguments>();
  const auto add = [&](CLI::App& parent, const char* name, const char* description,
                       ExitCode (*run)(Context&, const ServerOptions&, const SyncArguments&)) {
    auto* command = parent.add_subcommand(name, description);
    addServerName(*command, options);
    command->add_option("REMOTEDIR", arguments->directory, "Directory of the server (default: the base directory)");
    command->add_option("--local", arguments->local, "Directory here")->required();
    command->callback([&selected, options, arguments, run] {
      selected = [options, arguments, run](Context& context) { return run(context, *options, *arguments); };
    });
    return command;
  };
  auto* sync = server.add_subcommand("sync", "Bring directories in step; nothing is deleted")->require_subcommand(1);
  addJobsOption(*add(*sync, "up", "Send what is newer here, or missing on the server", syncUp), options);
  addJobsOption(*add(*sync, "down", "Fetch what is newer on the server, or missing here", syncDown), options);
  add(server, "compare", "Tell how a directory here and one of the server differ, by time and size", compare);
}

}  // namespace workstation::program
