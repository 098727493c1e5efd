// server cat: a file of a server, or a piece of it, as bytes on the standard output.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <limits>
#include <vector>

#include "platform/Text.h"
#include "workstation/program/ServerCommands.h"
#include "workstation/program/ServerLookup.h"

namespace workstation::program {

using Quorvel::FileAccess::CPartialDownload;
using Quorvel::FileAccess::IZepInetFileTransfer;

namespace {

// A piece costs a transfer of its own: the first is small for who wants the head of a file, later ones are not.
constexpr std::int64_t kFirstPiece = 256 * 1024;
constexpr std::int64_t kLargestPiece = 8 * 1024 * 1024;
/// The offsets of a partial read have 32 bits.
constexpr std::int64_t kLastOffset = std::numeric_limits<std::uint32_t>::max();
constexpr int kServerSide = Quorvel::FileAccess::eServerPrjPath;

struct CatArguments {
  std::string file;
  std::string range;
};

/// An open file of the server.
class RemoteFile {
 public:
  RemoteFile(const ServerSession& session, const ServerPath& path) : transfer_(session.transfer()), path_(path.text) {
    const std::wstring directory = path.directory();
    record_ = transfer_.openFile(path.name().c_str(), directory.empty() ? nullptr : directory.c_str(), &kServerSide);
    if (record_ == nullptr) throw CommandFailure{ExitCode::Failure, path_ + L": there is no such file on the server"};
  }
  ~RemoteFile() { transfer_.closeFile(record_); }
  RemoteFile(const RemoteFile&) = delete;
  RemoteFile& operator=(const RemoteFile&) = delete;

  void read(std::int64_t offset, std::string& piece) {
    constexpr int kFromBegin = 0;
    const bool isThere = transfer_.seekFile(record_, offset, kFromBegin) == 1;
    const std::size_t received = isThere ? transfer_.readFilePartial(record_, piece.data(), piece.size()) : 0;
    if (received == piece.size()) return;
    throw CommandFailure{
        ExitCode::Failure,
        platform::formatWide(L"%s: the bytes from %lld on could not be read; the output is not complete", path_,
                             static_cast<long long>(offset))};
  }

 private:
  IZepInetFileTransfer& transfer_;
  std::wstring path_;
  CPartialDownload* record_ = nullptr;
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
  if (offset + size > kLastOffset) {
    throw CommandFailure{ExitCode::Failure,
                         path.text + L": bytes beyond 4 GiB can't be read in pieces; use server get"};
  }
  RemoteFile file(session, path);
  std::string piece;
  std::int64_t length = kFirstPiece;
  while (size > 0 && !Output::isBroken()) {
    piece.resize(static_cast<std::size_t>(std::min(size, length)));
    file.read(offset, piece);
    context.output().raw(piece);
    offset += static_cast<std::int64_t>(piece.size());
    size -= static_cast<std::int64_t>(piece.size());
    length = std::min(length * 2, kLargestPiece);
  }
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
