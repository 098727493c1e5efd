// server cat: a file of a server, or a piece of it, as bytes on the standard output.
#include <CLI/CLI.hpp>
#include <memory>

#include "platform/Text.h"
#include "workstation/program/ServerCommands.h"
#include "workstation/program/ServerLookup.h"
#include "workstation/program/ServerPieces.h"

namespace workstation::program {

namespace {

struct CatArguments {
  std::string file;
  std::string range;
};

std::int64_t sizeOf(const ServerSession& session, const ServerPath& path) {
  std::int64_t size = 0;
  if (session.transfer().getServerFileSizeAndTime(&size, session.serverPath(path.text).c_str(), nullptr)) return size;
  throw CommandFailure{ExitCode::Failure, path.text + L": there is no such file on the server"};
}

ExitCode printFile(Context& context, const ServerOptions& options, const CatArguments& arguments) {
  const ServerPath path = serverPathArgument(arguments.file);
  ByteRange range;
  if (!arguments.range.empty() && !parseRange(wide(arguments.range), range)) {
    throw CommandFailure{ExitCode::Usage, L"--range " + wide(arguments.range) +
                                              L": expected FROM-TO, FROM-, FROM+COUNT or -COUNT, in bytes from 0"};
  }
  const ServerSession session(context, options);
  std::int64_t offset = 0;
  std::int64_t size = 0;
  const std::int64_t fileSize = sizeOf(session, path);
  if (!range.cutTo(fileSize, offset, size)) {
    throw CommandFailure{ExitCode::Failure,
                         platform::formatWide(L"%s has only %lld bytes", path.text, static_cast<long long>(fileSize))};
  }
  const std::wstring problem =
      readPieces(session, path.directory(), path.name(), offset, size, [&](const std::string& piece) {
        context.output().raw(piece);
        return !Output::isBroken();
      });
  if (!problem.empty()) throw CommandFailure{ExitCode::Failure, problem};
  return ExitCode::Done;
}

}  // namespace

void addServerCatCommand(CLI::App& server, Action& selected, const SharedServerOptions& options) {
  auto arguments = std::make_shared<CatArguments>();
  auto* command = server.add_subcommand("cat", "Print a file of the server, or a piece of it");
  addServerName(*command, options);
  command->add_option("REMOTE", arguments->file, "File on the server")->required();
  command->add_option("--range", arguments->range,
                      "FROM-TO (both included), FROM-, FROM+COUNT or -COUNT (the last bytes)");
  command->callback([&selected, options, arguments] {
    selected = [options, arguments](Context& context) { return printFile(context, *options, *arguments); };
  });
}

}  // namespace workstation::program
