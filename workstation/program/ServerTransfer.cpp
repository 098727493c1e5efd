#include "workstation/program/ServerTransfer.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <limits>
#include <map>
#include <tuple>
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
/// A list is told of, and a lost connection noticed, at its end.
constexpr std::size_t kMostFilesOfList = 256;

/// The roots that a file shares with others of its tree.
struct Roots {
  std::wstring server;  ///< below the base directory
  std::wstring local;   ///< library path

  bool operator<(const Roots& other) const { return std::tie(server, local) < std::tie(other.server, other.local); }
};

struct PlacedTransfer {
  Transfer* transfer;
  std::wstring below;  ///< its directory below both roots
};

/// Cuts off what both directories end with.
std::pair<Roots, std::wstring> placeOf(const Transfer& file) {
  Roots roots{file.serverDirectory, file.localDirectory};
  std::replace(roots.local.begin(), roots.local.end(), L'/', L'\\');
  const std::size_t volumeEnd = roots.local.find(L'\\', 2);
  std::wstring below;
  while (true) {
    const std::size_t server = roots.server.rfind(L'/');
    const std::size_t local = roots.local.rfind(L'\\');
    const std::wstring name = roots.server.substr(server + 1);  // all of it without a separator: npos + 1 is 0
    if (name.empty() || local == std::wstring::npos || local == volumeEnd || roots.local.substr(local + 1) != name)
      break;
    below = joinServerPath(name, below);
    roots.server.resize(server == std::wstring::npos ? 0 : server);
    roots.local.resize(local);
  }
  return {std::move(roots), std::move(below)};
}

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

unsigned long fetchOne(const ServerSession& session, const PlacedTransfer& placed) {
  int number = 1;  // 0 would add the file to the list of objects that moved
  return session.transfer().downloadFile(placed.transfer->file.name.c_str(), placed.below.c_str(), &kServerSide,
                                         &kLocalSide, &number, 0, 0);
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
bool fetchAgain(const ServerSession& session, const PlacedTransfer& placed) {
  Transfer& transfer = *placed.transfer;
  if (roomFor(transfer.localDirectory) < static_cast<std::uint64_t>(transfer.file.size)) {
    transfer.problem = L"there is no room for it here";
    return true;
  }
  const unsigned long result = fetchOne(session, placed);
  transfer.isDone = result == 0 && (hasArrived(transfer, transfer.file) || hasArrivedAnew(session, transfer));
  if (transfer.isDone) return true;
  transfer.problem = result != 0 ? serverErrorText(result) : L"it changed while it was fetched; try again";
  return !isConnectionLost(result);
}

bool makeLocalDirectory(const std::wstring& directory) {
  const int made = SHCreateDirectoryExW(nullptr, directory.c_str(), nullptr);
  return made == 0 || platform::fileStatus(directory).isDirectory;
}

/// Fetches files of one tree, at which the session is aimed.
/// @return false when the connection is gone
bool fetchList(const ServerSession& session, const std::vector<PlacedTransfer>& files, IProgress& progress) {
  std::vector<Threading::ServerFile> list;
  list.reserve(files.size());
  for (const PlacedTransfer& each : files) {
    list.push_back({each.below, {each.transfer->file.name, 0, each.transfer->file.size}});
  }
  IProgress* steps = &progress;
  const DWORD result = Threading::downloadList(session.transfer(), list, kServerSide, 0, false, &steps);
  bool isLost = false;
  for (const PlacedTransfer& each : files) {
    Transfer& file = *each.transfer;
    file.isDone = hasArrived(file, file.file) || (result == 0 && hasArrivedAnew(session, file));
    if (!file.isDone && isLost) file.problem = L"the connection was lost";
    if (!file.isDone && !isLost) isLost = !fetchAgain(session, each);
  }
  return !isLost;
}

}  // namespace

std::wstring localPathOf(const Transfer& file) {
  return platform::joinPath(file.localDirectory, file.file.name);
}

bool isConnectionLost(unsigned long code) {
  return code == ERROR_NOT_CONNECTED;
}

void fetchAll(ServerSession& session, std::vector<Transfer>& files) {
  requireRoom(files);
  session.chooseConnections();
  ServerProgress progress(L"fetching", files.size());
  std::map<Roots, std::vector<PlacedTransfer>> trees;
  for (Transfer& file : files) {
    auto [roots, below] = placeOf(file);
    if (makeLocalDirectory(file.localDirectory)) {
      trees[std::move(roots)].push_back({&file, std::move(below)});
    } else {
      file.problem = L"its directory can't be made here";
    }
  }
  bool isLost = false;
  for (auto& [roots, waiting] : trees) {
    session.aim(roots.server, roots.local);
    for (auto next = waiting.begin(); next != waiting.end();) {
      const auto left = static_cast<std::size_t>(waiting.end() - next);
      const auto end = next + static_cast<std::ptrdiff_t>(std::min(left, kMostFilesOfList));
      const std::vector<PlacedTransfer> list(next, end);
      next = end;
      if (!isLost) {
        isLost = !fetchList(session, list, progress);
        progress.endList(list.size());
      } else {
        for (const PlacedTransfer& each : list) each.transfer->problem = L"the connection was lost";
      }
    }
  }
}

}  // namespace workstation::program
