// A container and its cache at this workstation, looked at side by side.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "workstation/store/CloudStore.h"
#include "workstation/store/ContainerRecord.h"
#include "workstation/store/ContainerVerdict.h"
#include "workstation/store/DirectoryScan.h"
#include "workstation/store/StoreError.h"

namespace workstation {

/// One file of either side.
struct CacheItem {
  std::wstring name;
  CacheCase content;
};

/// Both sides as they are now.
struct CacheLook {
  SettledFiles settled;
  std::vector<ContainerFile> stored;
  StoreContainer container;
  DirectoryScan scan;
  std::map<std::string, CacheItem> items;  ///< by key; they point into `settled` and `stored`
  std::vector<std::wstring> twins;         ///< names here that only letter case tells from another one
};
/// Throws StoreError, also when the cache can't be read whole.
void lookAtCache(CloudStore& store, const StoreActor& actor, const std::wstring& container, const std::wstring& root,
                 SettledFiles settled, CacheLook& look);
/// Whether somebody has emptied the directory, rather than deleted files.
bool isEmptied(const CacheLook& look);
/// What a commit is refused for, as it would damage the container, or leave something out, without anybody having
/// meant it.
std::vector<StoreError> obstaclesToCommit(const CacheLook& look, const std::wstring& root);

/// Directory in which what a download or rollback replaces is kept, relative to a cache.
constexpr const wchar_t* kKeptCopies = L".cor\\Backup";

/// The container to which this workstation is subscribed, for later processes; empty for none. Throws StoreError.
void rememberSubscription(const std::wstring& container);
/// Directory of a container's cache at this workstation; empty when there is no local data directory.
std::wstring containerCachePath(const std::wstring& container);
/// Splits a library path at the directory of the cache in which it lies: "...\\CloudSTD\\<uuid>" and what follows.
/// @return the container; empty for any other path
std::wstring containerOfPath(const std::wstring& path, std::wstring& root, std::wstring& relative);
/// The record's row for a file that both sides have.
SettledFile settledFile(const CacheItem& item);
/// Throws kStoreInvalidName for a name that could leave the cache, or come into the service's directory.
void requireContainerName(const std::wstring& name);

}  // namespace workstation
