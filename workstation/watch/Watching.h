// One watcher at work: turns the system's events, and what walks find, into notices. Belongs to one thread at a time:
// to the constructor's first, then to the watcher's, but for what says otherwise.
//
// An event is only ever the occasion to look: what is told is what is there when it is handled. So it makes no
// difference how late that is, and a walk and the events of the same files don't disturb each other.
#pragma once

#include <sys/inotify.h>

#include <atomic>
#include <cstdint>
#include <deque>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "workstation/watch/DirectoryWatcher.h"
#include "workstation/watch/EventQueue.h"
#include "workstation/watch/PendingNotices.h"
#include "workstation/watch/WatchTree.h"
#include "workstation/watch/WatchWalk.h"

namespace workstation {

class Watching {
 public:
  Watching(const std::vector<std::wstring>& roots, DirectoryWatcher::Receiver receiver,
           DirectoryWatcher::Warning warning, WatchOptions options);

  /// Works until end() is called, then tells what still waits.
  void run();
  /// Any thread.
  void end() { queue_.end(); }
  /// Any thread.
  bool isPolling() const { return isPolling_; }

 private:
  using Time = PendingNotices::Time;

  struct Root {
    std::wstring library;
    std::string path;
    bool isThere = false;
    DirectoryNumber number;
  };

  /// What a walk makes of the difference between what is known and what is there.
  enum class Walk {
    First,   ///< it is what there was: nothing is told
    Again,   ///< it is told
    Return,  ///< of a root that was away: what is missing doesn't count as removed
  };

  struct Move {
    std::string path;
    bool isKnown = false;
    bool isDirectory = false;
    Time until;
  };

  // Roots.
  void takeUp(Root& root, Walk walk);
  void lose(Root& root);
  /// @return false when the root is gone, which is then seen to
  bool isStillThere(Root& root);
  Root& rootOf(const std::string& path);
  bool isRoot(const std::string& path) const;
  void seeToRoots(Time now);

  // What the system tells.
  void handle(const std::string& events);
  void handle(const inotify_event& event, const std::string& name);
  void handleSelf(const inotify_event& event, const std::string& path);
  void handleFile(const inotify_event& event, const std::string& path);
  void handleDirectory(const inotify_event& event, const std::string& path);
  void moveDirectory(const std::string& from, const std::string& to);
  void endMoves(Time now);

  // What there is.
  void look(const std::string& path, bool isClosed);
  void found(const std::string& path, const FileState& state, bool isClosed);
  void walk(const std::string& start, Walk walk);
  void walkOne(const std::string& path, Walk walk, std::vector<std::string>& waiting);
  void compareMissing(const std::string& path, const DirectoryListing& listing, Walk walk,
                      std::vector<std::string>& waiting);
  bool watch(const std::string& path);
  void walkRoots();
  void leave(const std::string& directory);
  void startPolling(const std::wstring& reason);

  // What is told.
  void tell(const std::string& path, WatchAction action);
  void tellMove(const std::string& from, const std::string& to);
  void warnOnce(const std::wstring& text);
  void takeDue(Time now);
  void tellIfWhole(const PendingNotices::Due& due, Time now);
  void deliver(std::size_t most);
  std::optional<Time> nextTime() const;
  void finish();

  const DirectoryWatcher::Receiver receiver_;
  const DirectoryWatcher::Warning warning_;
  const WatchOptions options_;
  EventQueue queue_;
  WatchTree tree_;
  PendingNotices pending_;
  std::vector<Root> roots_;
  std::map<std::uint32_t, Move> moves_;  ///< whose other half has not come, by cookie
  std::deque<WatchNotice> notices_;
  std::set<std::wstring> warned_;
  std::atomic<bool> isPolling_ = false;
  bool isEnding_ = false;
  Time nextLook_;  ///< for missing roots, or the next walk when polling
};

}  // namespace workstation
