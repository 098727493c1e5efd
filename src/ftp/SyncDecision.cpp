#include "ftp/SyncDecision.h"

#include <algorithm>
#include <functional>
#include <string_view>
#include <unordered_map>

#include "platform/Text.h"
#include "platform/Time.h"

namespace Quorvel::FileAccess {
namespace {

struct FoldedHash {
  std::size_t operator()(std::wstring_view name) const { return std::hash<std::wstring>{}(platform::toLower(name)); }
};
struct FoldedEqual {
  bool operator()(std::wstring_view a, std::wstring_view b) const { return platform::equalsIgnoreCase(a, b); }
};
/// Index by name. The names stay where they are, for a listing may be long.
using NameIndex = std::unordered_multimap<std::wstring_view, std::size_t, FoldedHash, FoldedEqual>;

/// The entry of a name that is still there: the one that is spelled the same before any other, as a server may tell
/// letter cases apart; of several others the first.
NameIndex::iterator find(NameIndex& index, const std::wstring& name) {
  const auto [first, last] = index.equal_range(name);
  auto found = index.end();
  for (auto entry = first; entry != last; ++entry) {
    if (entry->first == name) return entry;
    if (found == index.end() || entry->second < found->second) found = entry;
  }
  return found;
}

}  // namespace

std::vector<RemoteFileEntry> filesToSend(std::vector<RemoteFileEntry> local,
                                         const std::vector<RemoteFileEntry>& server) {
  NameIndex index;
  index.reserve(local.size());
  for (std::size_t i = 0; i < local.size(); ++i) index.emplace(local[i].name, i);
  std::vector<bool> isInStep(local.size());
  for (const RemoteFileEntry& entry : server) {
    const auto found = find(index, entry.name);
    if (found == index.end() || CompareFileTime(&local[found->second].time, &entry.time) > 0) continue;
    isInStep[found->second] = true;
    index.erase(found);
  }
  index.clear();
  std::size_t position = 0;
  std::erase_if(local, [&](const RemoteFileEntry&) { return isInStep[position++]; });
  return local;
}

bool isToFetch(const FILETIME& local, const FILETIME& server) {
  return CompareFileTime(&local, &server) < 0;
}

}  // namespace Quorvel::FileAccess
