// The copy of a resource container at this workstation, and what moves files between it and the store.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "workstation/store/CloudStore.h"
#include "workstation/store/ContainerLook.h"
#include "workstation/store/DiskFiles.h"
#include "workstation/store/LocalTree.h"

namespace workstation {

/// Has the cache for itself while it lives, among all processes of the workstation. One thread at a time. Failures are
/// thrown as StoreError.
class ContainerCache {
 public:
  /// Makes the directory where there is none.
  ContainerCache(CloudStore& store, const StoreActor& actor, std::wstring container, const std::wstring& root);

  /// The directory is the container's from now on. One that was another container's: all files count as created.
  void connect();
  /// Brings the cache to what the store has. What was changed here alone stays.
  void download(const StoreProgress& progress);
  /// Undoes every change that was made here. What is replaced or taken away is kept.
  void rollBack(const StoreProgress& progress);
  /// Commits every change that was made here.
  void upload(const StoreProgress& progress);

 private:
  struct Arrival {
    CacheItem item;
    bool isKept = false;
    std::string from;
    FileContent content;
  };
  struct Plan {
    std::vector<Arrival> arrivals;
    std::vector<CacheItem> leaving;
    std::vector<CacheItem> movedAway;
    std::vector<SettledFile> settled;
    std::vector<std::wstring> gone;
  };
  using Verdict = CacheAction (*)(const CacheCase&);

  void bringUpToDate(Verdict verdict, const StoreProgress& progress);
  Plan planOf(const CacheLook& look, Verdict verdict) const;
  void fetch(Plan& plan, const StoreProgress& progress);
  void announce(const Plan& plan);
  void apply(Plan& plan, std::int64_t revision);
  void requireOnDisk(const std::vector<SettledFile>& settled) const;
  void place(const Arrival& arrival);
  void remove(const CacheItem& item);
  void keep(const CacheItem& item, bool isMoved);
  void keepTaken(const std::string& taken, const std::string& name);
  void removeEmptyDirectories(std::string directory) const;
  void clearLeftovers();
  std::wstring keptDirectory();

  CloudStore& store_;
  const StoreActor& actor_;
  const std::wstring container_;
  const std::wstring root_;
  LocalTree tree_;
  const std::string systemRoot_;
  std::optional<DiskLock> alone_;
  std::optional<ContainerRecord> record_;
  bool isDownload_ = true;
  std::wstring kept_;  // directory of this operation's copies; empty until there is one
};

}  // namespace workstation
