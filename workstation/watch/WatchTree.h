// What the watcher knows: the directories with their descriptors at the system, and their files as they were last told.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

#include "workstation/watch/PendingNotices.h"
#include "workstation/watch/WatchWalk.h"

namespace workstation {

class WatchTree {
 public:
  struct Directory {
    int watch = -1;
    DirectoryNumber number;
    std::map<std::string, FileState> files;  ///< by bare name, as last told; size -1 before that
  };

  /// @param limit  most watches; 0 for no limit of our own
  explicit WatchTree(std::size_t limit) : limit_(limit) {}
  /// @param descriptor  of inotify, a loan; -1 when nothing is watched
  void setDescriptor(int descriptor);

  Directory* find(const std::string& path);
  Directory& add(const std::string& path) { return directories_[path]; }
  /// Of a file in a known directory; null for one that is not known.
  FileState* file(const std::string& path);
  /// @return null when its directory is not known
  FileState* addFile(const std::string& path);
  bool removeFile(const std::string& path);
  std::vector<std::string> directoriesIn(const std::string& directory) const;
  std::vector<std::string> filesBelow(const std::string& directory) const;
  /// With all below.
  void remove(const std::string& directory);
  void move(const std::string& from, const std::string& to);

  /// @return 0 or errno
  int watch(const std::string& path, bool isRoot);
  /// With all below; what is known stays.
  void unwatch(const std::string& directory);
  /// The system has ended a watch.
  void ended(int watch);
  /// Null for a watch that has ended.
  const std::string* pathOf(int watch) const;

 private:
  /// The separator before all other characters, so that a directory and all below it stand together.
  struct Order {
    bool operator()(const std::string& a, const std::string& b) const;
  };
  using Directories = std::map<std::string, Directory, Order>;
  void unwatch(Directory& directory);

  const std::size_t limit_;
  int descriptor_ = -1;
  Directories directories_;
  std::unordered_map<int, Directories::value_type*> watches_;
};

}  // namespace workstation
