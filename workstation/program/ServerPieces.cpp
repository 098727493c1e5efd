#include "workstation/program/ServerPieces.h"

#include <algorithm>
#include <limits>

#include "platform/Text.h"
#include "workstation/program/ServerPaths.h"
#include "workstation/program/ServerSession.h"

namespace workstation::program {

using Quorvel::FileAccess::CPartialDownload;
using Quorvel::FileAccess::IZepInetFileTransfer;

namespace {

// A piece costs a transfer of its own: the first is small for who wants the head of a file, later ones are not.
constexpr std::int64_t kFirstPiece = std::int64_t{256} * 1024;
constexpr std::int64_t kLargestPiece = std::int64_t{8} * 1024 * 1024;
/// The offsets of a partial read have 32 bits.
constexpr std::int64_t kLastOffset = std::numeric_limits<std::uint32_t>::max();
constexpr int kServerSide = Quorvel::FileAccess::eServerPrjPath;

/// An open file of the server.
class RemoteFile {
 public:
  RemoteFile(IZepInetFileTransfer& transfer, const std::wstring& directory, const std::wstring& name)
      : transfer_(transfer),
        record_(transfer.openFile(name.c_str(), directory.empty() ? nullptr : directory.c_str(), &kServerSide)) {}
  ~RemoteFile() {
    if (record_ != nullptr) transfer_.closeFile(record_);
  }
  RemoteFile(const RemoteFile&) = delete;
  RemoteFile& operator=(const RemoteFile&) = delete;

  bool isOpen() const { return record_ != nullptr; }
  bool read(std::int64_t offset, std::string& piece) {
    constexpr int kFromBegin = 0;
    return transfer_.seekFile(record_, offset, kFromBegin) == 1 &&
           transfer_.readFilePartial(record_, piece.data(), piece.size()) == piece.size();
  }

 private:
  IZepInetFileTransfer& transfer_;
  CPartialDownload* record_;
};

}  // namespace

std::wstring readPieces(const ServerSession& session, const std::wstring& directory, const std::wstring& name,
                        std::int64_t offset, std::int64_t size, const std::function<bool(const std::string&)>& take) {
  const std::wstring path = joinServerPath(directory, name);
  if (size > kLastOffset || offset > kLastOffset - size) {
    return path + L": bytes beyond 4 GiB can't be read in pieces; use server get";
  }
  RemoteFile file(session.transfer(), directory, name);
  if (!file.isOpen()) return path + L": there is no such file on the server";
  std::string piece;
  for (std::int64_t length = kFirstPiece; size > 0; length = std::min(length * 2, kLargestPiece)) {
    piece.resize(static_cast<std::size_t>(std::min(size, length)));
    if (!file.read(offset, piece)) {
      return platform::formatWide(L"%s: the bytes from %lld on could not be read", path,
                                  static_cast<long long>(offset));
    }
    if (!take(piece)) break;
    offset += static_cast<std::int64_t>(piece.size());
    size -= static_cast<std::int64_t>(piece.size());
  }
  return {};
}

}  // namespace workstation::program
