#include "workstation/watch/EventQueue.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <utility>

namespace workstation {

EventQueue::~EventQueue() {
  end();
  close();
}

int EventQueue::start() {
  descriptor_ = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  if (descriptor_ < 0) return errno;
  wake_ = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (wake_ < 0) {
    const int code = errno;
    close();
    return code;
  }
  reader_ = std::thread([this] { read(); });
  return 0;
}

void EventQueue::close() {
  join();
  if (descriptor_ >= 0) ::close(std::exchange(descriptor_, -1));
  if (wake_ >= 0) ::close(std::exchange(wake_, -1));
}

void EventQueue::end() {
  join();
  const std::lock_guard lock(mutex_);
  batch_.isLast = true;
  changed_.notify_all();
}

void EventQueue::join() {
  const std::lock_guard lock(joining_);
  if (!reader_.joinable()) return;
  ::eventfd_write(wake_, 1);
  reader_.join();
}

EventQueue::Batch EventQueue::wait(std::optional<Time> until) {
  std::unique_lock lock(mutex_);
  const auto isReady = [this] { return !batch_.events.empty() || batch_.isLossy || batch_.isLast; };
  if (until) {
    changed_.wait_until(lock, *until, isReady);
  } else {
    changed_.wait(lock, isReady);
  }
  return std::exchange(batch_, Batch{});
}

void EventQueue::read() {
  std::array<pollfd, 2> waited{{{descriptor_, POLLIN, 0}, {wake_, POLLIN, 0}}};
  for (;;) {
    if (::poll(waited.data(), waited.size(), -1) < 0 && errno != EINTR) return;
    drain();
    if (waited[1].revents != 0) return;
  }
}

void EventQueue::drain() {
  constexpr std::size_t kChunk = 64UL * 1024;
  std::array<char, kChunk> chunk;  // NOLINT(*-member-init): filled by the system
  for (;;) {
    const ssize_t size = ::read(descriptor_, chunk.data(), chunk.size());
    if (size <= 0) return;
    const std::lock_guard lock(mutex_);
    if (batch_.events.size() + static_cast<std::size_t>(size) > limit_) {
      batch_.events = {};
      batch_.isLossy = true;
    } else {
      batch_.events.append(chunk.data(), static_cast<std::size_t>(size));
    }
    changed_.notify_all();
  }
}

}  // namespace workstation
