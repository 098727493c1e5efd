#include "toolkit/ZipAhead.h"

#include <algorithm>
#include <system_error>

#include "toolkit/ZipCrew.h"

namespace Quorvel::FileAccess {

namespace {

// Less is done before a thread has started.
constexpr std::uint64_t kWorthThreads = std::uint64_t{256} << 10U;

}  // namespace

ZipAhead::ZipAhead(int level, unsigned threads)
    : level_(level), threads_(threads == 0 ? suitableZipThreads() : threads) {}

ZipAhead::~ZipAhead() {
  {
    const std::lock_guard lock(mutex_);
    isEnding_ = true;
  }
  changed_.notify_all();
  for (std::thread& worker : workers_) worker.join();
}

std::size_t ZipAhead::add(const ZipEntry& entry) {
  const bool isStreamed = entry.kind == ZipEntry::Kind::File && entry.size > kStreamedFrom;
  items_.push_back({&entry, State::Waiting, {}, isStreamed ? 0 : entry.size});
  return items_.size() - 1;
}

void ZipAhead::begin() {
  isBegun_ = true;
  std::uint64_t total = 0;
  for (const Item& item : items_) total += item.weight;
  if (total < kWorthThreads) return;
  const std::size_t count = std::min<std::size_t>(threads_, items_.size()) - 1;
  workers_.reserve(count);
  try {
    for (std::size_t i = 0; i < count; ++i) workers_.emplace_back([this] { work(); });
  } catch (const std::system_error&) {
    return;  // fewer threads do it too
  }
}

ZipAhead::Item* ZipAhead::nextItem() {
  while (next_ < items_.size() && items_[next_].state != State::Waiting) ++next_;
  if (next_ == items_.size()) return nullptr;
  Item& item = items_[next_];
  if (ahead_ > 0 && ahead_ + item.weight > kStreamedFrom) return nullptr;
  item.state = State::InWork;
  ahead_ += item.weight;
  return &item;
}

void ZipAhead::work() {
  std::unique_lock lock(mutex_);
  for (;;) {
    Item* item = nullptr;
    changed_.wait(lock, [&] { return isEnding_ || (item = nextItem()) != nullptr || next_ == items_.size(); });
    if (item == nullptr) return;
    lock.unlock();
    ReadyContent ready = makeReady(*item->entry, level_);
    lock.lock();
    item->ready = std::move(ready);
    item->state = State::Ready;
    changed_.notify_all();
  }
}

ReadyContent ZipAhead::take(std::size_t number) {
  if (!isBegun_) begin();
  std::unique_lock lock(mutex_);
  Item& item = items_.at(number);
  if (item.state == State::Waiting) {
    item.state = State::Taken;
    lock.unlock();
    return makeReady(*item.entry, level_);
  }
  changed_.wait(lock, [&item] { return item.state == State::Ready; });
  item.state = State::Taken;
  ahead_ -= item.weight;
  changed_.notify_all();
  return std::move(item.ready);
}

}  // namespace Quorvel::FileAccess
