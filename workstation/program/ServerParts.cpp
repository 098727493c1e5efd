#include "workstation/program/ServerParts.h"

#include <fstream>

#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Time.h"
#include "workstation/program/ServerLookup.h"
#include "workstation/program/ServerPieces.h"
#include "workstation/program/ServerSession.h"

namespace workstation::program {

using Quorvel::FileAccess::RemoteFileEntry;

std::optional<RemoteFileEntry> entryOf(const ServerSession& session, const Transfer& transfer) {
  std::vector<RemoteFileEntry> found;
  findServerFiles(session, {joinServerPath(transfer.serverDirectory, transfer.file.name)}, found);
  for (RemoteFileEntry& entry : found) {
    if (entry.name == transfer.file.name) return std::move(entry);
  }
  return std::nullopt;
}

bool isBeginOfFileHere(const ServerSession& session, const std::wstring& below, const Transfer& transfer,
                       std::int64_t serverSize) {
  std::ifstream here(platform::systemPath(localPathOf(transfer)), std::ios::binary);
  bool isSame = true;
  std::string bytes;
  const std::wstring problem =
      readPieces(session, below, transfer.file.name, 0, serverSize, [&](const std::string& piece) {
        bytes.resize(piece.size());
        isSame = here.read(bytes.data(), static_cast<std::streamsize>(bytes.size())) && bytes == piece;
        return isSame;
      });
  return isSame && problem.empty();
}

void clearPart(const ServerSession& session, const std::wstring& below, const Transfer& transfer,
               const std::optional<RemoteFileEntry>& before, bool isLost) {
  if (isLost) return markInterrupted(transfer);
  const std::optional<RemoteFileEntry> now = entryOf(session, transfer);
  if (!now) return;
  const bool isOld = before && before->size == now->size && CompareFileTime(&before->time, &now->time) == 0;
  const platform::FileStatus here = platform::fileStatus(localPathOf(transfer));
  const bool isShorter = here.exists && now->size < static_cast<std::int64_t>(here.size);
  if (isOld || !isShorter || !isBeginOfFileHere(session, below, transfer, now->size)) return;
  constexpr int kServerSide = Quorvel::FileAccess::eServerPrjPath;
  const wchar_t* const directory = below.empty() ? nullptr : below.c_str();
  if (session.transfer().deleteFile(transfer.file.name.c_str(), directory, &kServerSide) != 0) {
    markInterrupted(transfer);
  }
}

void markInterrupted(const Transfer& transfer) {
  const std::wstring path = localPathOf(transfer) + kSendingSuffix;
  const HANDLE mark = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, 0, nullptr);
  if (mark != INVALID_HANDLE_VALUE) CloseHandle(mark);
}

void unmarkInterrupted(const Transfer& transfer) {
  DeleteFileW((localPathOf(transfer) + kSendingSuffix).c_str());
}

}  // namespace workstation::program
