// Entries made ready on several threads, ahead of their turn in an archive that is being written. Internal to the
// toolkit.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>
#include <vector>

#include "toolkit/ZipReady.h"

namespace Quorvel::FileAccess {

/// What comes out is the same for any number of threads. All but the work behind it belongs to one thread. No more than
/// about kStreamedFrom bytes of content are ready or in work ahead of their turn.
class ZipAhead {
 public:
  /// @param threads  that work, the caller's counted in; 0: as many as there are processors, but few
  ZipAhead(int level, unsigned threads);
  /// Ends the work: what is begun comes to its end, nothing else is begun.
  ~ZipAhead();
  ZipAhead(const ZipAhead&) = delete;
  ZipAhead& operator=(const ZipAhead&) = delete;

  /// Takes an entry on, which outlives the object; all before the first is taken.
  /// @return its number, for take()
  std::size_t add(const ZipEntry& entry);
  /// Waits for the content, or makes it ready here when nobody has begun. Once for each number.
  ReadyContent take(std::size_t number);

 private:
  enum class State : std::uint8_t { Waiting, InWork, Ready, Taken };
  struct Item {
    const ZipEntry* entry = nullptr;
    State state = State::Waiting;
    ReadyContent ready;
    std::uint64_t weight = 0;  // bytes of content in memory
  };

  void begin();
  void work();
  /// The next for a thread, marked as in work; null when it has to wait.
  Item* nextItem();

  int level_;
  unsigned threads_;
  bool isBegun_ = false;
  std::vector<std::thread> workers_;
  std::mutex mutex_;  // for all below
  std::condition_variable changed_;
  std::vector<Item> items_;
  std::size_t next_ = 0;     // before it nothing waits
  std::uint64_t ahead_ = 0;  // bytes of content in work or ready
  bool isEnding_ = false;
};

}  // namespace Quorvel::FileAccess
