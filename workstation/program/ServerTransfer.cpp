#include "workstation/program/ServerTransfer.h"

#include <algorithm>
#include <filesystem>
#include <limits>
#include <map>
#include <utility>

#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Time.h"
#include "workstation/program/ServerLookup.h"
#include "workstation/program/ServerProgress.h"
#include "workstation/program/ServerSession.h"
#include "zephor/ThreadedTransfers.h"

namespace workstation::program {

using namespace Quorvel::FileAccess;

namespace {

constexpr int kServerSide = eServerPrjPath;
constexpr int kLocalSide = ePrjPath;

/// True when what is here has the size and the time that the server tells.
bool hasArrived(const Transfer& transfer, const TreeFile& source) {
  const platform::FileStatus here = platform::fileStatus(localPathOf(transfer));
  return here.exists && !here.isDirectory && here.size == static_cast<std::uint64_t>(source.size) &&
         CompareFileTime(&here.writeTime, &source.time) == 0;
}

/// The listing is older than the transfer: a file that changed on the server meanwhile is asked for again.
bool hasArrivedAnew(const ServerSession& session, const Transfer& transfer) {
  std::vector<RemoteFileEntry> found;
  const ServerPath path{joinServerPath(transfer.serverDirectory, transfer.file.name)};
  if (findServerFiles(session, path, found) != 0 || found.size() != 1) return false;
  TreeFile now = transfer.file;
  now.size = found.front().size;
  now.time = found.front().time;
  return hasArrived(transfer, now);
}

unsigned long fetchOne(const ServerSession& session, const Transfer& transfer) {
  int number = 1;  // 0 would add the file to the list of objects that moved
  return session.transfer().downloadFile(transfer.file.name.c_str(), nullptr, &kServerSide, &kLocalSide, &number, 0, 0);
}

/// Bytes that are free where a directory is, or will be.
std::uint64_t roomFor(const std::wstring& directory) {
  std::filesystem::path path = platform::systemPath(directory);
  std::error_code problem;
  while (path.has_relative_path() && !std::filesystem::exists(path, problem)) path = path.parent_path();
  const auto space = std::filesystem::space(path, problem);
  return problem ? std::numeric_limits<std::uint64_t>::max() : space.available;
}

/// A full disk shows in each of many files, after all their tries. Throws CommandFailure when there is not enough room.
void requireRoom(const std::vector<Transfer>& files) {
  std::uint64_t wanted = 0;
  std::uint64_t replaced = 0;
  for (const Transfer& file : files) {
    wanted += static_cast<std::uint64_t>(std::max<std::int64_t>(file.file.size, 0));
    replaced += platform::fileStatus(localPathOf(file)).size;
  }
  const std::uint64_t room = roomFor(files.front().localDirectory);
  if (wanted <= room || wanted - room <= replaced) return;
  throw CommandFailure{
      ExitCode::Failure,
      platform::formatWide(L"there is not enough room here: %llu bytes are to be fetched, %llu are free",
                           static_cast<unsigned long long>(wanted), static_cast<unsigned long long>(room))};
}

/// @return false when the connection is gone
bool fetchAgain(const ServerSession& session, Transfer& transfer) {
  if (roomFor(transfer.localDirectory) < static_cast<std::uint64_t>(transfer.file.size)) {
    transfer.problem = L"there is no room for it here";
    return true;
  }
  const unsigned long result = fetchOne(session, transfer);
  transfer.isDone = result == 0 && (hasArrived(transfer, transfer.file) || hasArrivedAnew(session, transfer));
  if (transfer.isDone) return true;
  transfer.problem = result != 0 ? serverErrorText(result) : L"it changed while it was fetched; try again";
  return !isConnectionLost(result);
}

}  // namespace

std::wstring localPathOf(const Transfer& file) {
  return platform::joinPath(file.localDirectory, file.file.name);
}

bool isConnectionLost(unsigned long code) {
  return code == ERROR_NOT_CONNECTED;
}

void forEachDirectory(std::vector<Transfer>& files, const std::function<void(std::vector<Transfer*>&)>& each) {
  std::map<std::pair<std::wstring, std::wstring>, std::vector<Transfer*>> groups;
  for (Transfer& file : files) groups[{file.serverDirectory, file.localDirectory}].push_back(&file);
  for (auto& group : groups) each(group.second);
}

void fetchAll(ServerSession& session, std::vector<Transfer>& files) {
  requireRoom(files);
  session.chooseConnections();
  ServerProgress progress(L"fetching", files.size());
  bool isLost = false;
  forEachDirectory(files, [&](std::vector<Transfer*>& group) {
    const Transfer& first = *group.front();
    if (isLost) {
      for (Transfer* const file : group) file->problem = L"the connection was lost";
      return;
    }
    const int made = SHCreateDirectoryExW(nullptr, first.localDirectory.c_str(), nullptr);
    if (made != 0 && !platform::fileStatus(first.localDirectory).isDirectory) {
      for (Transfer* const file : group) file->problem = L"its directory can't be made here";
      return;
    }
    session.aim(first.serverDirectory, first.localDirectory);
    std::vector<InetFileInfo> list;
    list.reserve(group.size());
    for (const Transfer* const file : group) list.push_back({file->file.name, 0, file->file.size});
    IProgress* steps = &progress;
    const DWORD result = Threading::downloadList(session.transfer(), list, L"", kServerSide, 0, false, &steps);
    for (Transfer* const file : group) {
      file->isDone = hasArrived(*file, file->file) || (result == 0 && hasArrivedAnew(session, *file));
      if (!file->isDone && isLost) file->problem = L"the connection was lost";
      if (!file->isDone && !isLost) isLost = !fetchAgain(session, *file);
    }
    progress.endList(group.size());
  });
}

}  // namespace workstation::program
