// server get: files and directories of a server come here.
#include <CLI/CLI.hpp>
#include <map>
#include <set>

#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "platform/Time.h"
#include "workstation/program/Arguments.h"
#include "workstation/program/ServerCommands.h"
#include "workstation/program/ServerLookup.h"
#include "workstation/program/ServerTransfer.h"

namespace workstation::program {

using Quorvel::FileAccess::RemoteFileEntry;

namespace {

struct GetArguments {
  std::vector<std::string> files;
  std::string to = ".";
  bool recursive = false;
  bool force = false;
};

/// Why a file that is here stays as it is; empty when it may be replaced.
std::wstring reasonToKeep(const Transfer& transfer) {
  const platform::FileStatus here = platform::fileStatus(localPathOf(transfer));
  if (!here.exists) return {};
  if (here.isDirectory) return L"a directory here has that name";
  const int order = CompareFileTime(&here.writeTime, &transfer.file.time);
  if (order > 0) return L"the file here is newer; --force replaces it";
  const bool isSameSize = here.size == static_cast<std::uint64_t>(transfer.file.size);
  return order == 0 && !isSameSize ? L"the file here has the same time and another size; --force replaces it" : L"";
}

bool isInStep(const Transfer& transfer) {
  const platform::FileStatus here = platform::fileStatus(localPathOf(transfer));
  return here.exists && !here.isDirectory && here.size == static_cast<std::uint64_t>(transfer.file.size) &&
         CompareFileTime(&here.writeTime, &transfer.file.time) == 0;
}

/// Collects what the arguments name.
class Collector {
 public:
  Collector(ServerSession& session, const GetArguments& arguments, Tally& tally)
      : session_(session),
        arguments_(arguments),
        tally_(tally),
        target_(platform::libraryPath(absolutePath(arguments.to))) {}

  void take(const ServerPath& path) {
    std::vector<RemoteFileEntry> found;
    if (!path.text.empty()) findServerFiles(session_, path, found);
    for (const RemoteFileEntry& entry : found)
      addFile(path.directory(), L"", {L"", entry.name, entry.size, entry.time, false});
    if (!found.empty()) return;
    const bool isDirectory = !hasWildcards(path.name()) && isServerDirectory(session_, path);
    if (!isDirectory) return fail(path.text, L"not fetched", L"the server has no such file");
    if (!arguments_.recursive)
      return fail(path.text.empty() ? L"/" : path.text, L"not fetched", L"it is a directory; -r fetches it");
    takeTree(path);
  }

  std::vector<Transfer> transfers;
  std::vector<std::wstring> directories;  ///< to be made here, as library paths

 private:
  void fail(const std::wstring& item, const wchar_t* outcome, const std::wstring& detail) {
    reportServerItem(session_.context(), item, outcome, detail);
    tally_.failed();
  }
  void takeTree(const ServerPath& path) {
    Tree tree;
    if (const unsigned long code = listServerTree(session_, path.text, true, tree); code != 0) {
      return fail(path.text, L"not fetched", serverErrorText(code));
    }
    const std::wstring top = path.name();
    if (!top.empty() && !isUsableHere({}, top))
      return fail(path.text, L"skipped", L"no directory here can have that name");
    for (const std::wstring& line : tree.passedOver) fail(joinServerPath(path.text, line), L"skipped", {});
    directories.push_back(platform::joinPath(target_, top));
    for (const std::wstring& each : tree.directories)
      directories.push_back(platform::joinPath(target_, joinServerPath(top, each)));
    for (TreeFile& file : tree.files) {
      const std::wstring below = file.directory;
      addFile(joinServerPath(path.text, below), joinServerPath(top, below), std::move(file));
    }
  }
  void addFile(const std::wstring& serverDirectory, const std::wstring& below, TreeFile file) {
    const std::wstring shown = joinServerPath(serverDirectory, file.name);
    if (!isUsableHere(below, file.name)) return fail(shown, L"skipped", L"no file here can have that name");
    Transfer transfer{shown, serverDirectory, platform::joinPath(target_, below), std::move(file), false, {}};
    if (!targets_.insert(localPathOf(transfer)).second)
      return fail(shown, L"skipped", L"another file would have the same name here");
    if (isInStep(transfer)) {
      reportServerItem(session_.context(), shown, L"in step", L"nothing to fetch");
      return tally_.done();
    }
    const std::wstring reason = reasonToKeep(transfer);
    if (!reason.empty() && !(arguments_.force && !platform::fileStatus(localPathOf(transfer)).isDirectory)) {
      return fail(shown, L"kept", reason);
    }
    transfers.push_back(std::move(transfer));
  }

  ServerSession& session_;
  const GetArguments& arguments_;
  Tally& tally_;
  std::wstring target_;
  std::set<std::wstring, IgnoreCaseLess> targets_;
};

ExitCode get(Context& context, const ServerOptions& options, const GetArguments& arguments) {
  std::vector<ServerPath> paths;
  for (const auto& argument : arguments.files) paths.push_back(serverPathArgument(argument));
  wide(arguments.to);
  ServerSession session(context, options);
  Tally tally;
  Collector collector(session, arguments, tally);
  for (const auto& path : paths) collector.take(path);
  if (context.options().dryRun) {
    for (const auto& transfer : collector.transfers) {
      reportServerItem(context, transfer.shown, L"would be fetched");
      tally.done();
    }
    return tally.exitCode();
  }
  for (const auto& directory : collector.directories) SHCreateDirectoryExW(nullptr, directory.c_str(), nullptr);
  if (!collector.transfers.empty()) fetchAll(session, collector.transfers);
  for (const auto& transfer : collector.transfers) {
    if (transfer.isDone) {
      reportServerItem(context, transfer.shown, L"fetched");
      tally.done();
    } else {
      reportServerItem(context, transfer.shown, L"not fetched", transfer.problem);
      tally.failed();
    }
  }
  return tally.exitCode();
}

}  // namespace

void addServerGetCommand(CLI::App& server, Action& selected, const SharedServerOptions& options) {
  auto arguments = std::make_shared<GetArguments>();
  auto* command = server.add_subcommand("get", "Fetch files of the server; what is newer here stays");
  addServerName(*command, options);
  command->add_option("REMOTE", arguments->files, "Files, patterns or directories of the server")->required();
  command->add_option("--to", arguments->to, "Directory here (default: the current one)");
  command->add_flag("-r,--recursive", arguments->recursive, "Directories with everything in them");
  command->add_flag("--force", arguments->force, "Replace files here that are newer");
  addJobsOption(*command, options);
  command->callback([&selected, options, arguments] {
    selected = [options, arguments](Context& context) { return get(context, *options, *arguments); };
  });
}

}  // namespace workstation::program
