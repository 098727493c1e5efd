// server ls, mv, rm, mkdir, crc.
#include <zlib.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <optional>

#include "platform/Text.h"
#include "platform/Time.h"
#include "workstation/program/Agreement.h"
#include "workstation/program/ServerCommands.h"
#include "workstation/program/ServerLookup.h"
#include "workstation/program/ServerPieces.h"
#include "workstation/program/ServerTree.h"
#include "zephor/ServerStore.h"

namespace workstation::program {

using namespace Quorvel::FileAccess;

namespace {

constexpr int kServerSide = eServerPrjPath;
/// renameFile acts on its own counterpart here as well, of which there is none: see ServerSession.
constexpr int kLocalSide = ePrjPath;

struct FileArguments {
  std::vector<std::string> paths;
  std::string path;
  std::string newName;
  bool details = false;
  bool recursive = false;
  bool force = false;
};

const wchar_t* orNull(const std::wstring& text) {
  return text.empty() ? nullptr : text.c_str();
}

[[noreturn]] void fail(const ServerSession& session, const std::wstring& path, unsigned long code) {
  const std::wstring shown = path.empty() ? L"/" : path;
  if (code == ERROR_PATH_NOT_FOUND) {
    throw CommandFailure{ExitCode::Failure, session.name() + L": there is no directory " + shown};
  }
  throw CommandFailure{ExitCode::Failure, session.name() + L": " + shown + L": " + serverErrorText(code)};
}

std::wstring timeText(const FILETIME& time) {
  SYSTEMTIME utc{};
  if (FileTimeToSystemTime(&time, &utc) == FALSE) return {};
  return platform::formatWide(L"%04d-%02d-%02d %02d:%02d:%02d", int{utc.wYear}, int{utc.wMonth}, int{utc.wDay},
                              int{utc.wHour}, int{utc.wMinute}, int{utc.wSecond});
}

/// What a path of `ls` names.
struct Listing {
  std::vector<ServerTreeFile> files;
  std::vector<std::wstring> directories;
};

Listing readListing(const ServerSession& session, const ServerPath& path, bool recursive) {
  Listing listing;
  std::vector<RemoteFileEntry> entries;
  const auto take = [&] {
    for (RemoteFileEntry& entry : entries) listing.files.push_back({{}, std::move(entry)});
  };
  if (hasWildcards(path.name())) {
    if (const unsigned long code = findServerFiles(session, path, entries); code != 0)
      fail(session, path.directory(), code);
    take();
    return listing;
  }
  const std::wstring directory = session.serverPath(path.text);
  unsigned long code = 0;
  if (recursive) {
    code = WGO_listServerTree(directory.c_str(), listing.files, listing.directories);
  } else {
    code = session.transfer().getServerFileInfos(directory.c_str(), L"*", entries, nullptr);
    if (code == 0 && !session.transfer().getServerDirectories(directory.c_str(), 0, listing.directories)) {
      fail(session, path.text, GetLastError());
    }
  }
  if (code == ERROR_PATH_NOT_FOUND && !path.text.empty() && findServerFiles(session, path, entries) == 0 &&
      !entries.empty()) {
    code = 0;
  }
  if (code != 0) fail(session, path.text, code);
  take();
  return listing;
}

void print(const Output& output, const Listing& listing, bool details) {
  struct Row {
    std::wstring name;
    const RemoteFileEntry* file = nullptr;
  };
  std::vector<Row> rows;
  for (const auto& directory : listing.directories) rows.push_back({directory + L"/", nullptr});
  for (const auto& file : listing.files) rows.push_back({joinServerPath(file.directory, file.entry.name), &file.entry});
  std::sort(rows.begin(), rows.end(), [](const Row& a, const Row& b) { return a.name < b.name; });
  if (!details && !output.json()) {
    for (const Row& row : rows) output.result(row.name, {});
    return;
  }
  Table table({{"size", L"SIZE"}, {"time", L"TIME (UTC)"}, {"name", L"NAME"}});
  for (const Row& row : rows) {
    if (row.file != nullptr) {
      table.row({row.file->size, timeText(row.file->time), row.name});
    } else {
      table.row({std::monostate{}, std::monostate{}, row.name});
    }
  }
  table.print(output);
}

ExitCode list(Context& context, const ServerOptions& options, const FileArguments& arguments) {
  const ServerPath path = serverPathArgument(arguments.path);
  const ServerSession session(context, options);
  print(context.output(), readListing(session, path, arguments.recursive), arguments.details);
  return ExitCode::Done;
}

ExitCode rename(Context& context, const ServerOptions& options, const FileArguments& arguments) {
  const ServerPath from = serverPathArgument(arguments.path);
  ServerPath to = serverPathArgument(arguments.newName);
  if (to.text == to.name()) to.text = joinServerPath(from.directory(), to.name());
  if (from.text.empty() || to.text.empty() || from.directory() != to.directory()) {
    throw CommandFailure{ExitCode::Usage, L"mv renames within a directory: expected a new name for " + from.text};
  }
  const ServerSession session(context, options);
  if (!isServerFile(session, from))
    throw CommandFailure{ExitCode::Failure, from.text + L": there is no such file on the server"};
  if (from.text == to.text) return ExitCode::Done;
  if (!arguments.force && isServerFile(session, to)) {
    throw CommandFailure{ExitCode::Failure, to.text + L": the server has such a file already; --force replaces it"};
  }
  if (context.options().dryRun) {
    reportServerItem(context, from.text, L"would be renamed", to.text);
    return ExitCode::Done;
  }
  const std::wstring directory = from.directory();
  const DWORD result =
      session.transfer().renameFile(from.name().c_str(), to.name().c_str(), orNull(directory), &kLocalSide);
  // The answer speaks for both sides of the transfer object; what the server has is what counts.
  if (!isServerFile(session, to) || isServerFile(session, from)) {
    throw CommandFailure{ExitCode::Failure, from.text + L": not renamed: " + serverErrorText(result)};
  }
  reportServerItem(context, from.text, L"renamed", to.text);
  return ExitCode::Done;
}

bool mayDelete(const Context& context, const std::wstring& directory) {
  const std::wstring question = L"Delete " + directory + L" with everything in it on the server?";
  return context.options().dryRun || agrees(question);
}

void removeDirectory(const ServerSession& session, const ServerPath& path, Tally& tally) {
  const Context& context = session.context();
  if (!mayDelete(context, path.text)) {
    reportServerItem(context, path.text, L"kept", L"the question was answered with no");
    return tally.failed();
  }
  if (context.options().dryRun) {
    reportServerItem(context, path.text, L"would be deleted");
    return tally.done();
  }
  const DWORD result =
      session.transfer().deleteServerDirectory(session.serverPath(path.text).c_str(), nullptr, nullptr);
  if (result != 0 || isServerDirectory(session, path)) {
    reportServerItem(context, path.text, L"not deleted", serverErrorText(result));
    return tally.failed();
  }
  reportServerItem(context, path.text, L"deleted");
  tally.done();
}

void removeFile(const ServerSession& session, const ServerPath& path, Tally& tally) {
  const Context& context = session.context();
  if (context.options().dryRun) {
    reportServerItem(context, path.text, L"would be deleted");
    return tally.done();
  }
  const std::wstring directory = path.directory();
  const DWORD result = session.transfer().deleteFile(path.name().c_str(), orNull(directory), &kServerSide);
  if (result != 0) {
    reportServerItem(context, path.text, L"not deleted", serverErrorText(result));
    return tally.failed();
  }
  reportServerItem(context, path.text, L"deleted");
  tally.done();
}

void removePath(const ServerSession& session, const ServerPath& path, bool recursive, Tally& tally) {
  std::vector<RemoteFileEntry> files;
  findServerFiles(session, path, files);
  for (const auto& file : files) removeFile(session, {joinServerPath(path.directory(), file.name)}, tally);
  if (!files.empty()) return;
  const bool isDirectory = !hasWildcards(path.name()) && isServerDirectory(session, path);
  if (isDirectory && recursive) return removeDirectory(session, path, tally);
  reportServerItem(session.context(), path.text, L"not deleted",
                   isDirectory ? L"it is a directory; -r deletes it" : L"the server has no such file");
  tally.failed();
}

ExitCode remove(Context& context, const ServerOptions& options, const FileArguments& arguments) {
  std::vector<ServerPath> paths;
  for (const auto& argument : arguments.paths) {
    paths.push_back(serverPathArgument(argument));
    if (paths.back().text.empty()) throw CommandFailure{ExitCode::Usage, L"the base directory itself can't be deleted"};
  }
  const ServerSession session(context, options);
  Tally tally;
  for (const auto& path : paths) removePath(session, path, arguments.recursive, tally);
  return tally.exitCode();
}

ExitCode makeDirectory(Context& context, const ServerOptions& options, const FileArguments& arguments) {
  const ServerPath path = serverPathArgument(arguments.path);
  const ServerSession session(context, options);
  if (isServerDirectory(session, path)) {
    reportServerItem(context, path.text, L"is there already");
  } else if (context.options().dryRun) {
    reportServerItem(context, path.text, L"would be made");
  } else if (session.internal().createServerDirectory(session.serverPath(path.text).c_str())) {
    reportServerItem(context, path.text, L"made");
  } else {
    throw CommandFailure{ExitCode::Failure, path.text + L": the directory could not be made on the server"};
  }
  return ExitCode::Done;
}

/// The transfer object takes the CRC of a whole file in memory; a large one is read in pieces.
std::optional<std::uint32_t> crcOnServer(const ServerSession& session, const ServerPath& path, std::int64_t size) {
  constexpr std::int64_t kLargest = std::int64_t{8} * 1024 * 1024;
  const std::wstring directory = path.directory();
  std::uint32_t crc = 0;
  if (size <= kLargest) {
    const bool isRead = session.transfer().getCRC(crc, path.name().c_str(), orNull(directory), &kServerSide);
    return isRead ? std::optional(crc) : std::nullopt;
  }
  const std::wstring problem = readPieces(session, directory, path.name(), 0, size, [&](const std::string& piece) {
    crc = static_cast<std::uint32_t>(
        crc32(crc, reinterpret_cast<const Bytef*>(piece.data()), static_cast<uInt>(piece.size())));
    return true;
  });
  return problem.empty() ? std::optional(crc) : std::nullopt;
}

ExitCode printCrc(Context& context, const ServerOptions& options, const FileArguments& arguments) {
  const ServerPath path = serverPathArgument(arguments.path);
  const ServerSession session(context, options);
  std::vector<RemoteFileEntry> found;
  if (findServerFiles(session, path, found) != 0 || found.size() != 1) {
    throw CommandFailure{ExitCode::Failure, path.text + L": there is no such file on the server"};
  }
  const auto crc = crcOnServer(session, path, found.front().size);
  if (!crc) throw CommandFailure{ExitCode::Failure, path.text + L": the file could not be read"};
  const std::wstring text = platform::formatWide(L"%08x", *crc);
  context.output().result(text + L"  " + path.text, {{"crc", text}, {"name", path.text}});
  return ExitCode::Done;
}

}  // namespace

void addServerFileCommands(CLI::App& server, Action& selected, const SharedServerOptions& options) {
  auto arguments = std::make_shared<FileArguments>();
  const auto add = [&](const char* name, const char* description,
                       ExitCode (*run)(Context&, const ServerOptions&, const FileArguments&)) {
    auto* command = server.add_subcommand(name, description);
    addServerName(*command, options);
    command->callback([&selected, options, arguments, run] {
      selected = [options, arguments, run](Context& context) { return run(context, *options, *arguments); };
    });
    return command;
  };
  auto* ls = add("ls", "List a directory of the server", list);
  ls->add_option("PATH", arguments->path, "Directory, file or pattern (default: the base directory)");
  ls->add_flag("-l", arguments->details, "With size and time");
  ls->add_flag("-r,--recursive", arguments->recursive, "With all sub-directories");
  auto* mv = add("mv", "Rename a file of the server within its directory", rename);
  mv->add_option("OLD", arguments->path, "File on the server")->required();
  mv->add_option("NEW", arguments->newName, "Its new name")->required();
  mv->add_flag("--force", arguments->force, "Replace a file that has the new name");
  auto* rm = add("rm", "Delete files of the server", remove);
  rm->add_option("PATH", arguments->paths, "Files, patterns or directories")->required();
  rm->add_flag("-r,--recursive", arguments->recursive, "Directories with everything in them, after a question");
  auto* mkdir = add("mkdir", "Make a directory on the server, with its parents", makeDirectory);
  mkdir->add_option("PATH", arguments->path, "Directory")->required();
  auto* crc = add("crc", "Print the CRC-32 of a file of the server", printCrc);
  crc->add_option("PATH", arguments->path, "File on the server")->required();
}

}  // namespace workstation::program
