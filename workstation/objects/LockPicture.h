// What this process knows of the lock files of the older store. Any thread; no call leaves this room while its lock is
// held.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "zephor/FileTransfer.h"

namespace workstation::filelocks {

/// A project on a server.
struct LockPlace {
  std::wstring server;
  std::wstring project;

  bool operator==(const LockPlace&) const = default;
  bool operator<(const LockPlace& other) const {
    return std::tie(server, project) < std::tie(other.server, other.project);
  }
};

class LockPicture {
 public:
  using Locks = std::vector<Quorvel::FileAccess::LockFileInfo>;

  // The lock files as they were last listed.

  /// A listing begins. @return its place in the order of all
  std::uint64_t beginListing();
  /// Keeps a listing, unless a later one is kept: several threads list, and some servers are slow.
  void keep(const LockPlace& place, std::uint64_t begun, const Locks& locks);
  /// Takes a file out that was deleted. Listings that began before don't count any more.
  void forget(const LockPlace& place, const std::wstring& fileName);
  /// @return none when there is no listing of this place
  std::optional<Locks> find(const LockPlace& place);

  // Own files by which this process was given a lock: somebody else's that turns up beside one has been left behind.

  void setGranted(const LockPlace& place, const std::wstring& fileName, bool isGranted);
  bool isGranted(const LockPlace& place, const std::wstring& fileName);

  // Own files by which it was given none, and which are still to be deleted.

  void addLeftOver(const LockPlace& place, const std::wstring& fileName);
  std::set<std::wstring> takeLeftOvers(const LockPlace& place);

 private:
  std::mutex mutex_;
  std::uint64_t listings_ = 0;
  LockPlace place_;
  std::uint64_t begun_ = 0;  ///< of the listing that is kept; 0 for none
  Locks locks_;
  std::map<LockPlace, std::set<std::wstring>> granted_;
  std::map<LockPlace, std::set<std::wstring>> leftOvers_;
};

}  // namespace workstation::filelocks
