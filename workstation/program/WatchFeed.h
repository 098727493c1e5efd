// From what happens in the directories to what the library's background manager is told.
//
// What this workstation's own transfers have written is left out: it is what the record of both sides says. The rest is
// handed over on many threads, as the manager makes its callers wait; removals are gathered first, so that a directory
// that is emptied or unmounted by accident empties nobody's project.
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "workstation/program/DeliveryPool.h"
#include "workstation/program/WatchJudge.h"
#include "workstation/watch/DirectoryWatcher.h"
#include "zephor/FileFilter.h"

namespace workstation::program {

using WatchClock = std::chrono::steady_clock;

/// Where something happens, for the one who tells it and acts on it. From any thread.
class WatchEvents {
 public:
  struct Batch {
    std::vector<TransferOutcome> outcomes;
    std::vector<std::wstring> handedOver;  ///< served files that the manager was told of, relative to the project
    std::vector<std::wstring> container;   ///< files of the container's cache that it was told of, full paths
    std::vector<std::wstring> warnings;
  };

  /// @return what has come since the last call, at the latest after `limit`
  Batch take(std::chrono::milliseconds limit);
  void outcome(TransferOutcome outcome);
  void handedOver(const std::wstring& name);
  void container(const std::wstring& path);
  void warning(const std::wstring& text);

 private:
  std::mutex mutex_;
  std::condition_variable wake_;
  Batch batch_;
};

/// Which files of a project the background manager sends at once.
class ServedFiles {
 public:
  ServedFiles();
  /// @param name  relative to the project
  bool contain(const std::wstring& name) const;

 private:
  Quorvel::FileAccess::WGO_FileFilter keptOut_;
  Quorvel::FileAccess::WGO_FileFilter served_;
};

struct WatchPlaces {
  std::wstring project;  ///< directory of the project, library path without a backslash at its end
  std::wstring cache;    ///< of the subscribed container; empty for none
};

class WatchFeed {
 public:
  /// Begins to watch.
  WatchFeed(WatchPlaces places, const ServedFiles& served, WatchJudge& judge, WatchEvents& events);
  /// Ends; what was noticed is handed over before, but for removals.
  ~WatchFeed();
  WatchFeed(const WatchFeed&) = delete;
  WatchFeed& operator=(const WatchFeed&) = delete;

  /// Hands a served file over as modified, unless it is in step.
  void send(const std::wstring& name);
  /// Removals of served files once no other has followed for a while; empty until then.
  /// @param all  does not wait for others
  std::vector<std::wstring> takeRemovals(bool all);
  /// Watches no longer; what was noticed is on its way to the manager then.
  void stopWatching() { watcher_.reset(); }
  void remove(const std::wstring& name);
  /// Whether notices are on their way to the manager.
  bool isBusy() const { return pool_.count() > 0; }

 private:
  void take(const WatchNotice& notice);
  void takeOfContainer(const WatchNotice& notice);
  void deliverTwice(const std::wstring& path);
  void repeat();

  const WatchPlaces places_;
  const ServedFiles& served_;
  WatchJudge& judge_;
  WatchEvents& events_;
  std::mutex mutex_;  // for removals
  std::vector<std::wstring> removals_;
  WatchClock::time_point lastRemoval_;

  struct Second {
    std::wstring path;
    WatchClock::time_point due;
    std::weak_ptr<bool> first;  ///< lives while the first notice is with the manager
  };
  std::mutex secondsMutex_;
  std::condition_variable secondsWake_;
  std::deque<Second> seconds_;
  bool ends_ = false;
  std::thread repeater_;
  DeliveryPool pool_;
  std::unique_ptr<DirectoryWatcher> watcher_;
};

}  // namespace workstation::program
