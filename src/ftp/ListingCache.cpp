#include "ftp/ListingCache.h"

#include <algorithm>
#include <utility>

#include "platform/Text.h"

namespace Quorvel::FileAccess {

void ListingCache::notify(const std::wstring& directory) {
  std::wstring bare = directory;
  if (!bare.empty() && (bare.back() == L'/' || bare.back() == L'\\')) bare.pop_back();
  const std::lock_guard lock(mutex_);
  if (bare == directory_) return;
  directory_ = std::move(bare);
  entries_.clear();
}

bool ListingCache::isEmpty() {
  const std::lock_guard lock(mutex_);
  return entries_.empty();
}

void ListingCache::clear() {
  const std::lock_guard lock(mutex_);
  entries_.clear();
}

void ListingCache::fill(std::vector<RemoteFileEntry> entries) {
  const std::lock_guard lock(mutex_);
  entries_ = std::move(entries);
}

std::optional<RemoteFileEntry> ListingCache::find(const std::wstring& name) {
  const std::lock_guard lock(mutex_);
  const auto found = std::find_if(entries_.begin(), entries_.end(), [&name](const RemoteFileEntry& entry) {
    return _wcsicmp(entry.name.c_str(), name.c_str()) == 0;
  });
  if (found == entries_.end()) return std::nullopt;
  return *found;
}

}  // namespace Quorvel::FileAccess
