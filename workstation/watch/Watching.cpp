#include "workstation/watch/Watching.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/store/DiskFiles.h"

namespace workstation {

namespace {

constexpr std::chrono::milliseconds kRootInterval(1000);

PendingNotices::Time now() {
  return PendingNotices::Clock::now();
}

bool isSameContent(const FileState& a, const FileState& b) {
  return a.size == b.size && a.written == b.written && a.number == b.number;
}

/// A file that was changed just now can change again without looking different: the system's clock stands for moments.
FileState trusted(FileState state) {
  constexpr std::int64_t kMoment = 20'000'000;
  const std::int64_t age =
      std::chrono::nanoseconds(std::chrono::system_clock::now().time_since_epoch()).count() - state.changed;
  if (age < kMoment) state.changed = 0;
  return state;
}

std::string pathIn(const std::string& directory, const std::string& name) {
  std::string path = directory;
  path.append("/").append(name);
  return path;
}

std::wstring messageOf(int code) {
  return platform::fromUtf8(std::generic_category().message(code));
}

std::wstring withoutSeparator(std::wstring path) {
  while (path.size() > 1 && (path.back() == L'\\' || path.back() == L'/')) path.pop_back();
  return path;
}

}  // namespace

Watching::Watching(const std::vector<std::wstring>& roots, DirectoryWatcher::Receiver receiver,
                   DirectoryWatcher::Warning warning, WatchOptions options)
    : receiver_(std::move(receiver)),
      warning_(std::move(warning)),
      options_(options),
      queue_(options.queueLimit),
      tree_(options.watchLimit),
      pending_(options.quiet, options.goneFor),
      nextLook_(now() + kRootInterval) {
  for (const std::wstring& path : roots) roots_.push_back({withoutSeparator(path), {}, false, {}});
  const int code = options_.alwaysPoll ? 0 : queue_.start();
  tree_.setDescriptor(queue_.descriptor());
  if (options_.alwaysPoll) startPolling({});
  if (code != 0) {
    startPolling(L"the system gives no watch (" + messageOf(code) + L"; sysctl fs.inotify.max_user_instances)");
  }
  for (Root& root : roots_) takeUp(root, Walk::First);
  for (const Root& root : roots_) {
    if (!root.isThere) warning_(L"\"" + root.library + L"\" is not there yet and is waited for");
  }
}

// --- Roots

void Watching::takeUp(Root& root, Walk walkKind) {
  root.path = platform::systemPath(root.library);
  const auto number = directoryNumber(root.path);
  if (!number) return;
  root.isThere = true;
  root.number = *number;
  if (const std::wstring kind = remoteKind(root.path); !kind.empty()) {
    startPolling(L"\"" + root.library + L"\" lies on a file system (" + kind + L") that does not tell of all changes");
  }
  walk(root.path, walkKind);
}

void Watching::lose(Root& root) {
  if (!root.isThere) return;
  root.isThere = false;
  nextLook_ = now();
  tree_.unwatch(root.path);
  pending_.forgetBelow(root.path);
  warning_(L"\"" + root.library + L"\" is gone; nothing in it counts as removed, and it is waited for");
}

bool Watching::isStillThere(Root& root) {
  if (root.isThere && directoryNumber(root.path) != root.number) lose(root);
  return root.isThere;
}

Watching::Root& Watching::rootOf(const std::string& path) {
  return *std::find_if(roots_.begin(), roots_.end() - 1, [&](const Root& root) {
    return !root.path.empty() && path.starts_with(root.path) &&
           (path.size() == root.path.size() || path[root.path.size()] == '/');
  });
}

bool Watching::isRoot(const std::string& path) const {
  return std::any_of(roots_.begin(), roots_.end(), [&](const Root& root) { return root.path == path; });
}

void Watching::seeToRoots(Time now) {
  if (now < nextLook_) return;
  if (isPolling_) walkRoots();
  for (Root& root : roots_) {
    if (root.isThere) continue;
    takeUp(root, Walk::Return);
    if (root.isThere) warning_(L"\"" + root.library + L"\" is there and is watched");
  }
  nextLook_ = now + (isPolling_ ? options_.poll : kRootInterval);
}

// --- What the system tells

void Watching::handle(const std::string& events) {
  for (std::size_t at = 0; at + sizeof(inotify_event) <= events.size();) {
    inotify_event event;  // NOLINT(*-member-init): filled
    std::memcpy(&event, events.data() + at, sizeof(event));
    at += sizeof(event);
    const std::string name = event.len == 0 ? std::string() : std::string(events.data() + at);
    at += event.len;
    if (!isPolling_) handle(event, name);
  }
}

void Watching::handle(const inotify_event& event, const std::string& name) {
  if ((event.mask & IN_Q_OVERFLOW) != 0) {
    warning_(L"The system dropped events; all watched directories are walked and compared");
    walkRoots();
    return;
  }
  const std::string* const directory = tree_.pathOf(event.wd);
  if ((event.mask & IN_IGNORED) != 0) tree_.ended(event.wd);
  if (directory == nullptr || (event.mask & IN_IGNORED) != 0) return;
  if (name.empty()) {
    handleSelf(event, std::string(*directory));  // a copy: the tree may forget its own
    return;
  }
  if (isOurOwn(name)) return;
  if (!isTellable(name)) {
    warnOnce(L"In \"" + platform::fromUtf8(*directory) +
             L"\" there are names that no other workstation can hold; they are passed over");
    return;
  }
  const std::string path = *directory + "/" + name;
  if ((event.mask & IN_ISDIR) != 0) {
    handleDirectory(event, path);
  } else {
    handleFile(event, path);
  }
}

void Watching::handleSelf(const inotify_event& event, const std::string& path) {
  if (isRoot(path)) {
    // A root that was removed while some program stands in it changes its attributes, no more.
    if ((event.mask & IN_ATTRIB) != 0) isStillThere(rootOf(path));
    if ((event.mask & (IN_DELETE_SELF | IN_MOVE_SELF | IN_UNMOUNT)) != 0) lose(rootOf(path));
  } else if ((event.mask & IN_UNMOUNT) != 0) {
    warning_(L"\"" + platform::fromUtf8(path) + L"\" was unmounted; nothing in it counts as removed");
    pending_.forgetBelow(path);
    tree_.remove(path);
    walk(path, Walk::Again);
  }
}

void Watching::handleFile(const inotify_event& event, const std::string& path) {
  if ((event.mask & IN_MOVED_FROM) != 0) {
    moves_[event.cookie] = {path, tree_.file(path) != nullptr, false, now() + options_.quiet};
  }
  if ((event.mask & IN_MOVED_TO) != 0) {
    const auto move = moves_.find(event.cookie);
    if (move != moves_.end() && move->second.isKnown) tellMove(move->second.path, path);
    if (move != moves_.end()) moves_.erase(move);
  }
  look(path, (event.mask & IN_CLOSE_WRITE) != 0);
}

void Watching::handleDirectory(const inotify_event& event, const std::string& path) {
  if ((event.mask & IN_MOVED_FROM) != 0) {
    moves_[event.cookie] = {path, true, true, now() + options_.quiet};
    return;
  }
  if ((event.mask & IN_MOVED_TO) != 0) {
    const auto move = moves_.find(event.cookie);
    if (move != moves_.end() && move->second.isDirectory) {
      moveDirectory(move->second.path, path);
      // A walk may have met the next one of this name before.
      if (directoryNumber(move->second.path)) walk(move->second.path, Walk::Again);
    }
    if (move != moves_.end()) moves_.erase(move);
  }
  if ((event.mask & IN_DELETE) != 0 && !directoryNumber(path)) {
    leave(path);
    return;
  }
  // One that could not be read before may be open now.
  const WatchTree::Directory* const known = tree_.find(path);
  if ((event.mask & IN_ATTRIB) == 0 || known == nullptr || known->watch < 0) walk(path, Walk::Again);
}

void Watching::moveDirectory(const std::string& from, const std::string& to) {
  if (tree_.find(from) == nullptr) return;
  if (tree_.find(to) != nullptr) leave(to);
  const std::vector<std::string> files = tree_.filesBelow(from);
  tree_.move(from, to);
  for (const std::string& file : files) {
    const std::string moved = to + file.substr(from.size());
    tellMove(file, moved);
    pending_.gone(file, now());
    look(moved, false);
  }
}

void Watching::endMoves(Time now) {
  for (auto move = moves_.begin(); move != moves_.end();) {
    if (move->second.until > now) {
      ++move;
      continue;
    }
    // The other half may have been lost, and another directory may have the name now.
    if (move->second.isDirectory) walk(move->second.path, Walk::Again);
    move = moves_.erase(move);
  }
}

// --- What there is

void Watching::look(const std::string& path, bool isClosed) {
  FileState state;
  const Sight sight = lookAtFile(path, state);
  if (sight == Sight::There) {
    found(path, state, isClosed);
  } else if (sight == Sight::Missing && tree_.removeFile(path)) {
    pending_.gone(path, now());
  }
}

void Watching::found(const std::string& path, const FileState& state, bool isClosed) {
  const FileState* const known = tree_.file(path);
  if (known != nullptr && (isClosed ? *known == state : isSameContent(*known, state))) return;
  if (known == nullptr && tree_.addFile(path) == nullptr) return;
  const bool wasGone = pending_.written(path, state, isClosed, now());
  if (known == nullptr && !wasGone) tell(path, kWatchAdded);
}

bool Watching::watch(const std::string& path) {
  const int code = tree_.watch(path, isRoot(path));
  if (code == ENOSPC || code == ENOMEM) {
    startPolling(L"the limit of watches is reached (sysctl fs.inotify.max_user_watches, one for each directory)");
  } else if (code != 0 && code != ENOENT && code != ENOTDIR && code != ELOOP) {
    warnOnce(L"\"" + platform::fromUtf8(path) + L"\" can't be watched: " + messageOf(code));
  }
  return code == 0;
}

void Watching::walk(const std::string& start, Walk kind) {
  std::vector<std::string> waiting{start};
  while (!waiting.empty()) {
    const std::string path = std::move(waiting.back());
    waiting.pop_back();
    walkOne(path, kind, waiting);
  }
}

void Watching::walkOne(const std::string& path, Walk kind, std::vector<std::string>& waiting) {
  // The watch stands before the look, so that nothing falls between them.
  watch(path);
  const DirectoryListing listing = listDirectory(path, isRoot(path));
  if (listing.sight == Sight::Missing) {
    if (isRoot(path)) {
      lose(rootOf(path));
    } else if (kind == Walk::Return) {
      tree_.remove(path);
    } else {
      leave(path);
    }
    return;
  }
  if (listing.sight == Sight::Unknown) {
    warnOnce(L"\"" + platform::fromUtf8(path) + L"\" can't be read: " + listing.failure +
             L"; nothing in it counts as removed");
  }
  if (!listing.refused.empty()) {
    warnOnce(L"In \"" + platform::fromUtf8(path) +
             L"\" there are names that no other workstation can hold; they are passed over");
  }
  if (listing.number != DirectoryNumber{}) {
    WatchTree::Directory* known = &tree_.add(path);
    if (kind == Walk::Again && known->number.device != 0 && known->number.device != listing.number.device) {
      // Mounted or unmounted: what lay here is out of sight.
      pending_.forgetBelow(path);
      tree_.remove(path);
      watch(path);
      known = &tree_.add(path);
    }
    known->number = listing.number;
  }
  for (const auto& [name, state] : listing.files) {
    const std::string file = pathIn(path, name);
    if (kind != Walk::First) {
      found(file, state, false);
    } else if (FileState* const known = tree_.addFile(file)) {
      *known = state;
      known->changed = 0;
    }
  }
  if (listing.sight == Sight::There && kind != Walk::First) compareMissing(path, listing, kind, waiting);
  for (const std::string& name : listing.directories) waiting.push_back(pathIn(path, name));
}

void Watching::compareMissing(const std::string& path, const DirectoryListing& listing, Walk kind,
                              std::vector<std::string>& waiting) {
  std::set<std::string_view> there;
  for (const auto& [name, state] : listing.files) there.insert(name);
  std::vector<std::string> missing;
  for (const auto& [name, state] : tree_.add(path).files) {
    if (!there.contains(name)) missing.push_back(pathIn(path, name));
  }
  for (const std::string& file : missing) {
    if (kind == Walk::Return) {
      tree_.removeFile(file);
    } else {
      look(file, false);
    }
  }
  there = {listing.directories.begin(), listing.directories.end()};
  for (const std::string& directory : tree_.directoriesIn(path)) {
    if (!there.contains(std::string_view(directory).substr(path.size() + 1))) waiting.push_back(directory);
  }
}

void Watching::walkRoots() {
  for (Root& root : roots_) {
    if (isStillThere(root)) walk(root.path, Walk::Again);
  }
}

void Watching::leave(const std::string& directory) {
  for (const std::string& file : tree_.filesBelow(directory)) pending_.gone(file, now());
  tree_.remove(directory);
}

void Watching::startPolling(const std::wstring& reason) {
  if (isPolling_) return;
  isPolling_ = true;
  queue_.close();
  tree_.setDescriptor(-1);
  // A file is whole, and one is gone, when the next walk finds it so.
  pending_.setTimes(std::max(options_.quiet, options_.poll), options_.goneFor + options_.poll);
  nextLook_ = now() + options_.poll;
  if (reason.empty()) return;
  warning_(L"Changes are looked for every " + std::to_wstring(options_.poll.count()) + L" ms, since " + reason);
}

// --- What is told

void Watching::tell(const std::string& path, WatchAction action) {
  const Root& root = rootOf(path);
  std::wstring below = platform::fromUtf8(std::string_view(path).substr(root.path.size()));
  std::replace(below.begin(), below.end(), L'/', L'\\');
  notices_.push_back({root.library + below, action});
}

void Watching::tellMove(const std::string& from, const std::string& to) {
  tell(from, kWatchRenamedFrom);
  tell(to, kWatchRenamedTo);
  if (FileState* const file = tree_.addFile(to)) *file = {};
}

void Watching::warnOnce(const std::wstring& text) {
  if (warned_.insert(text).second) warning_(text);
}

void Watching::takeDue(Time now) {
  const auto due = pending_.take(now);
  if (!due || !isStillThere(rootOf(due->path))) return;
  if (!due->isGone) {
    tellIfWhole(*due, now);
    return;
  }
  FileState state;
  const Sight sight = lookAtFile(due->path, state);
  if (sight == Sight::Missing) {
    tell(due->path, kWatchRemoved);
  } else if (sight == Sight::There && tree_.file(due->path) == nullptr) {
    if (tree_.addFile(due->path) != nullptr) {
      pending_.written(due->path, state, false, now);
    } else if (!due->isPutOff) {
      // Its directory has come back and will be walked.
      pending_.putOff(*due, state, options_.goneFor, now);
    }
  }
}

void Watching::tellIfWhole(const PendingNotices::Due& due, Time now) {
  constexpr std::chrono::seconds kHeldQuiet(2);
  FileState state;
  const Sight sight = lookAtFile(due.path, state);
  if (sight != Sight::There) {
    if (sight == Sight::Missing) look(due.path, false);
    return;
  }
  FileState* const known = tree_.file(due.path);
  if (known == nullptr || (due.isClosed ? *known == state : isSameContent(*known, state))) return;
  const bool isAsSeen = isSameContent(state, due.seen);
  if (isOpenForWriting(due.path)) {
    // Before its close it is not whole; the close of one program says little while another still writes. Looked at
    // again, since the close of a file that was made without a name is told by nobody.
    if (!due.isClosed || !(isEnding_ || (due.isPutOff && isAsSeen))) {
      if (!isEnding_) pending_.putOff(due, state, kHeldQuiet, now);
      return;
    }
  } else if (!isEnding_ && !isAsSeen) {
    pending_.putOff(due, state, isPolling_ ? options_.poll : options_.quiet, now);
    return;
  }
  *known = trusted(state);
  tell(due.path, kWatchModified);
}

void Watching::deliver(std::size_t most) {
  for (; most != 0 && !notices_.empty(); --most) {
    const WatchNotice notice = std::move(notices_.front());
    notices_.pop_front();
    receiver_(notice);
  }
}

std::optional<Watching::Time> Watching::nextTime() const {
  if (!notices_.empty()) return now();
  std::optional<Time> next = pending_.next();
  const auto consider = [&](Time time) { next = next ? std::min(*next, time) : time; };
  for (const auto& [cookie, move] : moves_) consider(move.until);
  const bool isWaiting = std::any_of(roots_.begin(), roots_.end(), [](const Root& root) { return !root.isThere; });
  if (isPolling_ || isWaiting) consider(nextLook_);
  return next;
}

void Watching::run() {
  for (;;) {
    const EventQueue::Batch batch = queue_.wait(nextTime());
    handle(batch.events);
    if (batch.isLossy) {
      warning_(L"More events came than could be kept; all watched directories are walked and compared");
      walkRoots();
    }
    endMoves(now());
    if (batch.isLast) {
      finish();
      return;
    }
    seeToRoots(now());
    // One at a time: what comes while the receiver works is seen before the next one is judged.
    if (notices_.empty()) takeDue(now());
    deliver(1);
  }
}

void Watching::finish() {
  isEnding_ = true;
  pending_.setTimes({}, options_.goneFor);
  if (isPolling_) walkRoots();
  endMoves(Time::max());
  const Time end = now() + options_.goneFor;
  for (;;) {
    if (now() >= end) {
      pending_.endAll(now());
    } else {
      pending_.endQuiet(now());
    }
    for (auto next = pending_.next(); next && *next <= now(); next = pending_.next()) takeDue(now());
    deliver(notices_.size());
    const auto next = pending_.next();
    if (!next) return;
    std::this_thread::sleep_until(std::min(*next, std::max(end, now())));
  }
}

}  // namespace workstation
