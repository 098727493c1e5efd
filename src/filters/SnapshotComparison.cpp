#include "platform/Time.h"
#include "zephor/DirectoryChanges.h"

namespace Quorvel::FileAccess {
namespace {

using Entry = DirectorySnapshot::value_type;

bool isTouched(const WIN32_FIND_DATAW& old, const WIN32_FIND_DATAW& current) {
  return CompareFileTime(&old.ftCreationTime, &current.ftCreationTime) != 0 ||
         CompareFileTime(&old.ftLastWriteTime, &current.ftLastWriteTime) != 0;
}

}  // namespace

std::size_t WGO_getDirectoryChanges(DirectorySnapshot& first, DirectorySnapshot& second,
                                    std::vector<WGO_FileCompareInfo>& changes) {
  // Both maps have one order, so one pass along them finds every pair; the groups wait until the end.
  struct Pair {
    const Entry* old;
    const Entry* current;
  };
  std::vector<Pair> changed;
  std::vector<const Entry*> deleted;
  std::vector<const Entry*> created;
  auto old = first.cbegin();
  auto current = second.cbegin();
  while (old != first.cend() && current != second.cend()) {
    const int order = old->first.compare(current->first);
    if (order < 0) {
      deleted.push_back(&*old++);
    } else if (order > 0) {
      created.push_back(&*current++);
    } else {
      if (isTouched(old->second, current->second)) changed.push_back({&*old, &*current});
      ++old;
      ++current;
    }
  }
  for (; old != first.cend(); ++old) deleted.push_back(&*old);
  for (; current != second.cend(); ++current) created.push_back(&*current);

  static const WIN32_FIND_DATAW kNone{};
  changes.reserve(changes.size() + changed.size() + deleted.size() + created.size());
  for (const Pair& pair : changed) changes.emplace_back(pair.old->first, pair.old->second, pair.current->second);
  for (const Entry* entry : deleted) changes.emplace_back(entry->first, entry->second, kNone);
  for (const Entry* entry : created) changes.emplace_back(entry->first, kNone, entry->second);
  return changes.size();
}

}  // namespace Quorvel::FileAccess
