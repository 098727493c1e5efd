#include "workstation/watch/PendingNotices.h"

#include <algorithm>
#include <vector>

namespace workstation {

namespace {

constexpr std::chrono::seconds kLongestQuiet(10);
constexpr std::chrono::seconds kLongestGrace(30);

}  // namespace

void PendingNotices::setTimes(Clock::duration quiet, Clock::duration goneFor) {
  quiet_ = quiet;
  goneFor_ = goneFor;
}

void PendingNotices::put(Entry entry) {
  order_.emplace(entry.deadline, entry.due.path);
  std::string path = entry.due.path;
  entries_.insert_or_assign(std::move(path), std::move(entry));
}

void PendingNotices::forget(const std::string& path) {
  const auto found = entries_.find(path);
  if (found == entries_.end()) return;
  order_.erase({found->second.deadline, path});
  entries_.erase(found);
}

void PendingNotices::forgetBelow(const std::string& directory) {
  const std::string prefix = directory + "/";
  for (auto at = entries_.lower_bound(prefix); at != entries_.end() && at->first.starts_with(prefix);) {
    order_.erase({at->second.deadline, at->first});
    at = entries_.erase(at);
  }
}

bool PendingNotices::written(const std::string& path, const FileState& state, bool isClosed, Time now) {
  Entry entry{{path, false, isClosed, false, state}, now, now + quiet_};
  const auto found = entries_.find(path);
  const bool wasGone = found != entries_.end() && found->second.due.isGone;
  if (found != entries_.end() && !wasGone) {
    Due& before = found->second.due;
    if (before.seen == state && !isClosed) return false;
    entry.due.isClosed = isClosed || before.isClosed;
    entry.since = found->second.since;
    entry.deadline = std::min(entry.deadline, std::max(entry.since + kLongestQuiet, now));
  }
  forget(path);
  put(std::move(entry));
  return wasGone;
}

void PendingNotices::gone(const std::string& path, Time now) {
  forget(path);
  lastGone_ = now;
  put({{path, true, false, false, {}}, now, now + goneFor_});
}

void PendingNotices::putOff(const Due& due, const FileState& state, Clock::duration quiet, Time now) {
  forget(due.path);
  put({{due.path, due.isGone, due.isClosed, true, state}, now, now + quiet});
}

std::optional<PendingNotices::Time> PendingNotices::next() const {
  if (order_.empty()) return std::nullopt;
  return order_.begin()->first;
}

std::optional<PendingNotices::Due> PendingNotices::take(Time now) {
  while (!order_.empty() && order_.begin()->first <= now) {
    Entry entry = entries_.at(order_.begin()->second);
    forget(entry.due.path);
    const Time end = std::min(lastGone_ + goneFor_, entry.since + std::max<Clock::duration>(kLongestGrace, goneFor_));
    if (!entry.due.isGone || end <= now) return std::move(entry.due);
    entry.deadline = end;
    put(std::move(entry));
  }
  return std::nullopt;
}

void PendingNotices::endQuiet(Time now) {
  std::vector<Entry> quiet;
  for (const auto& [path, entry] : entries_) {
    if (!entry.due.isGone) quiet.push_back(entry);
  }
  for (Entry& entry : quiet) {
    forget(entry.due.path);
    entry.deadline = now;
    put(std::move(entry));
  }
}

void PendingNotices::endAll(Time now) {
  goneFor_ = {};
  lastGone_ = now;
  std::map<std::string, Entry> all = std::move(entries_);
  entries_.clear();
  order_.clear();
  for (auto& [path, entry] : all) {
    entry.deadline = now;
    put(std::move(entry));
  }
}

}  // namespace workstation
