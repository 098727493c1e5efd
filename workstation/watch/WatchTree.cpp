#include "workstation/watch/WatchTree.h"

#include <sys/inotify.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <utility>

namespace workstation {

namespace {

constexpr std::uint32_t kFileEvents =
    IN_CREATE | IN_CLOSE_WRITE | IN_MOVED_FROM | IN_MOVED_TO | IN_DELETE | IN_ATTRIB | IN_ONLYDIR | IN_EXCL_UNLINK;

std::pair<std::string, std::string> split(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return {path.substr(0, slash), path.substr(slash + 1)};
}

bool isAtOrBelow(const std::string& path, const std::string& directory) {
  return path.starts_with(directory) && (path.size() == directory.size() || path[directory.size()] == '/');
}

}  // namespace

bool WatchTree::Order::operator()(const std::string& a, const std::string& b) const {
  const auto rank = [](char c) { return c == '/' ? 0U : static_cast<unsigned char>(c); };
  return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(),
                                      [&](char one, char other) { return rank(one) < rank(other); });
}

void WatchTree::setDescriptor(int descriptor) {
  descriptor_ = descriptor;
  watches_.clear();
  for (auto& [path, directory] : directories_) directory.watch = -1;
}

WatchTree::Directory* WatchTree::find(const std::string& path) {
  const auto found = directories_.find(path);
  return found == directories_.end() ? nullptr : &found->second;
}

FileState* WatchTree::file(const std::string& path) {
  const auto [directory, name] = split(path);
  Directory* const known = find(directory);
  if (known == nullptr) return nullptr;
  const auto found = known->files.find(name);
  return found == known->files.end() ? nullptr : &found->second;
}

FileState* WatchTree::addFile(const std::string& path) {
  const auto [directory, name] = split(path);
  Directory* const known = find(directory);
  return known == nullptr ? nullptr : &known->files[name];
}

bool WatchTree::removeFile(const std::string& path) {
  const auto [directory, name] = split(path);
  Directory* const known = find(directory);
  return known != nullptr && known->files.erase(name) != 0;
}

std::vector<std::string> WatchTree::directoriesIn(const std::string& directory) const {
  std::vector<std::string> found;
  const std::string prefix = directory + "/";
  for (auto at = directories_.lower_bound(prefix); at != directories_.end() && at->first.starts_with(prefix);) {
    found.push_back(at->first);
    at = directories_.lower_bound(at->first + '\x01');
  }
  return found;
}

std::vector<std::string> WatchTree::filesBelow(const std::string& directory) const {
  std::vector<std::string> files;
  for (auto at = directories_.lower_bound(directory); at != directories_.end() && isAtOrBelow(at->first, directory);
       ++at) {
    for (const auto& [name, state] : at->second.files) files.push_back(at->first + "/" + name);
  }
  return files;
}

void WatchTree::remove(const std::string& directory) {
  for (auto at = directories_.lower_bound(directory); at != directories_.end() && isAtOrBelow(at->first, directory);) {
    unwatch(at->second);
    at = directories_.erase(at);
  }
}

void WatchTree::move(const std::string& from, const std::string& to) {
  std::vector<Directories::node_type> moved;
  for (auto at = directories_.lower_bound(from); at != directories_.end() && isAtOrBelow(at->first, from);) {
    moved.push_back(directories_.extract(at++));
  }
  for (Directories::node_type& node : moved) {
    node.key() = to + node.key().substr(from.size());
    directories_.insert(std::move(node));
  }
}

int WatchTree::watch(const std::string& path, bool isRoot) {
  if (descriptor_ < 0) return 0;
  auto& entry = *directories_.try_emplace(path).first;
  if (entry.second.watch < 0 && limit_ != 0 && watches_.size() >= limit_) return ENOSPC;
  const std::uint32_t kind = isRoot ? IN_DELETE_SELF | IN_MOVE_SELF : IN_DONT_FOLLOW;
  const int watch = ::inotify_add_watch(descriptor_, path.c_str(), kFileEvents | kind);
  if (watch < 0) return errno;
  if (entry.second.watch != watch) {
    unwatch(entry.second);
    // The system gives the same number to the same directory, which may have been known by another name.
    if (const auto before = watches_.find(watch); before != watches_.end()) before->second->second.watch = -1;
  }
  entry.second.watch = watch;
  watches_[watch] = &entry;
  return 0;
}

void WatchTree::unwatch(Directory& directory) {
  if (directory.watch < 0) return;
  ::inotify_rm_watch(descriptor_, directory.watch);
  watches_.erase(directory.watch);
  directory.watch = -1;
}

void WatchTree::unwatch(const std::string& directory) {
  for (auto at = directories_.lower_bound(directory); at != directories_.end() && isAtOrBelow(at->first, directory);
       ++at) {
    unwatch(at->second);
  }
}

void WatchTree::ended(int watch) {
  const auto found = watches_.find(watch);
  if (found == watches_.end()) return;
  found->second->second.watch = -1;
  watches_.erase(found);
}

const std::string* WatchTree::pathOf(int watch) const {
  const auto found = watches_.find(watch);
  return found == watches_.end() ? nullptr : &found->second->first;
}

}  // namespace workstation
