// server put: files and directories from here go to a server.
#include <CLI/CLI.hpp>
#include <filesystem>
#include <map>
#include <optional>
#include <set>

#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "platform/Time.h"
#include "workstation/program/Arguments.h"
#include "workstation/program/ServerCommands.h"
#include "workstation/program/ServerLookup.h"
#include "workstation/program/ServerParts.h"
#include "workstation/program/ServerProgress.h"
#include "workstation/program/ServerTransfer.h"
#include "zephor/ThreadedTransfers.h"

namespace workstation::program {

using namespace Quorvel::FileAccess;

namespace {

constexpr int kServerSide = eServerPrjPath;
/// A few files are asked for one by one; more of them by a listing of their directory.
constexpr std::size_t kFewFiles = 5;

struct PutArguments {
  std::vector<std::string> files;
  std::string to;
  bool recursive = false;
};

/// Files of one directory of the server, by their names.
using ServerFiles = std::map<std::wstring, RemoteFileEntry>;

ServerFiles listFiles(const ServerSession& session, const std::wstring& directory,
                      const std::vector<Transfer*>& wanted) {
  ServerFiles files;
  const auto ask = [&](const std::wstring& name) {
    std::vector<RemoteFileEntry> found;
    findServerFiles(session, {joinServerPath(directory, name)}, found);
    for (RemoteFileEntry& entry : found) files.insert_or_assign(entry.name, std::move(entry));
  };
  if (wanted.size() > kFewFiles) {
    ask(L"*");
  } else {
    for (const Transfer* const file : wanted) ask(file->file.name);
  }
  return files;
}

std::uint64_t sizeHere(const Transfer& transfer) {
  return platform::fileStatus(localPathOf(transfer)).size;
}

bool isOnServer(const ServerFiles& files, const Transfer& transfer) {
  const auto found = files.find(transfer.file.name);
  return found != files.end() && found->second.size == static_cast<std::int64_t>(sizeHere(transfer));
}

class Collector {
 public:
  Collector(const Context& context, const PutArguments& arguments, Tally& tally)
      : context_(context), arguments_(arguments), tally_(tally), target_(serverPathArgument(arguments.to)) {
    directories.insert(target_.text);
  }

  void take(const std::string& argument) {
    const std::wstring shown = wide(argument);
    const std::string path = absolutePath(argument);
    std::error_code problem;
    const bool isDirectory = std::filesystem::is_directory(path, problem);
    if (!isDirectory && !std::filesystem::is_regular_file(path, problem)) return fail(shown, L"there is no such file");
    const auto last = std::filesystem::path(path).lexically_normal();
    const std::wstring name = platform::fromUtf8((last.has_filename() ? last : last.parent_path()).filename().string());
    if (!isUsableHere({}, name)) return fail(shown, L"not every workstation can hold such a name");
    if (!isDirectory) {
      const std::wstring local = platform::libraryPath(path);
      const bool isInterrupted = platform::fileStatus(local + kSendingSuffix).exists;
      return add(shown, L"", platform::directoryOf(local), {{}, name, 0, {}, isInterrupted});
    }
    if (!arguments_.recursive) return fail(shown, L"it is a directory; -r sends it");
    Tree tree;
    listLocalTree(path, true, tree);
    for (const std::wstring& line : tree.passedOver) context_.output().message(joinServerPath(name, line));
    directories.insert(joinServerPath(target_.text, name));
    for (const std::wstring& each : tree.directories)
      directories.insert(joinServerPath(target_.text, joinServerPath(name, each)));
    for (TreeFile& file : tree.files) {
      const std::wstring shownPath = file.path();
      const std::wstring below = file.directory;
      add(joinServerPath(name, shownPath), joinServerPath(name, below),
          platform::joinPath(platform::libraryPath(path), below), std::move(file));
    }
  }

  std::vector<Transfer> transfers;
  std::set<std::wstring> directories;  ///< of the server, parents before what is in them

 private:
  void fail(const std::wstring& item, const std::wstring& detail) {
    reportServerItem(context_, item, L"not sent", detail);
    tally_.failed();
  }
  void add(const std::wstring& shown, const std::wstring& below, const std::wstring& localDirectory, TreeFile file) {
    const std::wstring directory = joinServerPath(target_.text, below);
    if (!targets_.insert(joinServerPath(directory, file.name)).second) {
      return fail(shown, L"another file would have the same name on the server");
    }
    std::wstring local = localDirectory;
    std::replace(local.begin(), local.end(), L'/', L'\\');
    transfers.push_back({shown, directory, std::move(local), std::move(file), false, {}});
  }

  const Context& context_;
  const PutArguments& arguments_;
  Tally& tally_;
  ServerPath target_;
  std::set<std::wstring> targets_;
};

/// Sends one file with the user's own choice of another try. @return false when the connection is gone
bool sendAgain(const ServerSession& session, Transfer& transfer, const std::optional<RemoteFileEntry>& before) {
  const std::wstring path = localPathOf(transfer);
  const std::uint64_t size = sizeHere(transfer);
  const std::wstring& directory = transfer.serverDirectory;
  const DWORD result = session.transfer().uploadFreeFile(path.c_str(), directory.empty() ? nullptr : directory.c_str(),
                                                         &kServerSide, false);
  std::vector<Transfer*> one{&transfer};
  const bool isThere = result == 0 && isOnServer(listFiles(session, directory, one), transfer);
  transfer.isDone = isThere && size == sizeHere(transfer);
  if (transfer.isDone) return true;
  clearPart(session, directory, transfer, before, isConnectionLost(result));
  if (result != 0) {
    transfer.problem = serverErrorText(result);
  } else {
    transfer.problem = isThere ? L"it changed while it was sent; send it again" : L"the server does not have it whole";
  }
  return !isConnectionLost(result);
}

/// True when the server has a file that was not there before in this size and with this time.
bool isProvedNew(const ServerFiles& before, const ServerFiles& after, const Transfer& transfer) {
  if (!isOnServer(after, transfer)) return false;
  const auto old = before.find(transfer.file.name);
  return old == before.end() || CompareFileTime(&old->second.time, &after.at(transfer.file.name).time) != 0;
}

using FilesByDirectory = std::map<std::wstring, ServerFiles>;

FilesByDirectory listAll(const ServerSession& session, std::vector<Transfer>& files) {
  FilesByDirectory result;
  std::map<std::wstring, std::vector<Transfer*>> groups;
  for (Transfer& file : files) groups[file.serverDirectory].push_back(&file);
  for (const auto& [directory, group] : groups) result[directory] = listFiles(session, directory, group);
  return result;
}

void sendAll(ServerSession& session, std::vector<Transfer>& files) {
  session.chooseConnections();
  ServerProgress progress(L"sending", files.size());
  std::vector<FileSyncPair> list;
  list.reserve(files.size());
  for (Transfer& file : files) {
    file.file.size = static_cast<std::int64_t>(sizeHere(file));
    list.emplace_back(localPathOf(file), FileSyncSpecAdditionalData{file.serverDirectory});
  }
  // A failure of one of several says nothing of the others; what was there before tells which of them arrived.
  const FilesByDirectory before = listAll(session, files);
  IProgress* steps = &progress;
  const DWORD result = Threading::uploadList(session.transfer(), list, kServerSide, false, &steps);
  const FilesByDirectory after = listAll(session, files);
  bool isLost = isConnectionLost(result) && files.size() == 1;
  for (Transfer& file : files) {
    const ServerFiles& now = after.at(file.serverDirectory);
    const ServerFiles& old = before.at(file.serverDirectory);
    const bool unchanged = static_cast<std::uint64_t>(file.file.size) == sizeHere(file);
    file.isDone = unchanged && (result == 0 ? isOnServer(now, file) : isProvedNew(old, now, file));
    if (!file.isDone && isLost) {
      file.problem = L"the connection was lost";
      markInterrupted(file);
    } else if (!file.isDone) {
      const auto known = old.find(file.file.name);
      isLost = !sendAgain(session, file, known == old.end() ? std::nullopt : std::optional(known->second));
    }
    if (file.isDone && file.file.interrupted) unmarkInterrupted(file);
  }
}

ExitCode put(Context& context, const ServerOptions& options, const PutArguments& arguments) {
  Tally tally;
  Collector collector(context, arguments, tally);
  for (const auto& argument : arguments.files) collector.take(argument);
  if (collector.transfers.empty() && tally.failedCount() > 0) return tally.exitCode();
  ServerSession session(context, options);
  if (context.options().dryRun) {
    for (const auto& transfer : collector.transfers) {
      reportServerItem(context, transfer.shown, L"would be sent",
                       joinServerPath(transfer.serverDirectory, transfer.file.name));
      tally.done();
    }
    return tally.exitCode();
  }
  for (const auto& directory : collector.directories) {
    if (directory.empty() || session.internal().createServerDirectory(session.serverPath(directory).c_str())) continue;
    throw CommandFailure{ExitCode::Failure, directory + L": the directory could not be made on the server"};
  }
  if (!collector.transfers.empty()) sendAll(session, collector.transfers);
  for (const auto& transfer : collector.transfers) {
    if (transfer.isDone) {
      reportServerItem(context, transfer.shown, L"sent");
      tally.done();
    } else {
      reportServerItem(context, transfer.shown, L"not sent", transfer.problem);
      tally.failed();
    }
  }
  return tally.exitCode();
}

}  // namespace

void addServerPutCommand(CLI::App& server, Action& selected, const SharedServerOptions& options) {
  auto arguments = std::make_shared<PutArguments>();
  auto* command = server.add_subcommand("put", "Send files to the server; what it has under their names is replaced");
  addServerName(*command, options);
  command->add_option("LOCAL", arguments->files, "Files or directories")->required();
  command->add_option("--to", arguments->to,
                      "Directory on the server, made if it is missing (default: the base directory)");
  command->add_flag("-r,--recursive", arguments->recursive, "Directories with everything in them");
  addJobsOption(*command, options);
  command->callback([&selected, options, arguments] {
    selected = [options, arguments](Context& context) { return put(context, *options, *arguments); };
  });
}

}  // namespace workstation::program
