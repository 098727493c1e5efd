// Takes the system's events out of its short queue at once, on a thread of its own, and keeps them for the watcher.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace workstation {

class EventQueue {
 public:
  using Time = std::chrono::steady_clock::time_point;

  struct Batch {
    std::string events;    ///< inotify_event records one behind the other
    bool isLossy = false;  ///< events were dropped before these
    bool isLast = false;   ///< nothing comes any more
  };

  /// @param limit  bytes that may wait
  explicit EventQueue(std::size_t limit) : limit_(limit) {}
  ~EventQueue();
  EventQueue(const EventQueue&) = delete;
  EventQueue& operator=(const EventQueue&) = delete;

  /// Opens the system's queue and begins to read. @return 0 or errno
  int start();
  /// The system's queue; -1 when it is not open.
  int descriptor() const { return descriptor_; }
  /// Closes the system's queue; only for the thread that waits. What was read stays to be taken.
  void close();
  /// What the system has until now is read, then the last batch is there to be taken. Any thread.
  void end();
  /// Waits for events, the end, or a time, and takes what is there.
  Batch wait(std::optional<Time> until);

 private:
  void read();
  void drain();
  void join();

  const std::size_t limit_;
  int descriptor_ = -1;
  int wake_ = -1;
  std::mutex joining_;
  std::thread reader_;
  std::mutex mutex_;
  std::condition_variable changed_;
  Batch batch_;
};

}  // namespace workstation
