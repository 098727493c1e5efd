#include "toolkit/ZipEntries.h"

#include <utility>

#include "platform/Text.h"

namespace Quorvel::FileAccess {

std::uint64_t ZipEntries::add(ZipEntry entry) {
  const std::uint64_t id = ++lastId_;
  const auto place = entries_.emplace(id, std::move(entry)).first;
  names_.emplace(platform::toLower(place->second.name), id);
  return id;
}

void ZipEntries::remove(std::uint64_t id) {
  const auto entry = entries_.find(id);
  if (entry == entries_.end()) return;
  const auto [first, last] = names_.equal_range(platform::toLower(entry->second.name));
  for (auto name = first; name != last; ++name) {
    if (name->second != id) continue;
    names_.erase(name);
    break;
  }
  entries_.erase(entry);
}

void ZipEntries::rename(std::uint64_t id, const std::wstring& name) {
  const auto place = entries_.find(id);
  if (place == entries_.end() || place->second.name == name) return;
  ZipEntry entry = place->second;
  entry.name = name;
  entry.isRenamed = true;
  remove(id);
  names_.emplace(platform::toLower(name), id);
  entries_.emplace(id, std::move(entry));
}

void ZipEntries::clear() {
  entries_.clear();
  names_.clear();
}

const ZipEntry* ZipEntries::find(std::uint64_t id) const {
  const auto entry = entries_.find(id);
  return entry == entries_.end() ? nullptr : &entry->second;
}

std::uint64_t ZipEntries::idOf(const std::wstring& name) const {
  std::uint64_t id = 0;
  const auto [first, last] = names_.equal_range(platform::toLower(name));
  for (auto entry = first; entry != last; ++entry) {
    const bool isIt = entries_.at(entry->second).name == name;
    if (isIt && (id == 0 || entry->second < id)) id = entry->second;
  }
  return id;
}

std::uint64_t ZipEntries::similarTo(const std::wstring& name) const {
  const auto entry = names_.find(platform::toLower(name));
  return entry == names_.end() ? 0 : entry->second;
}

}  // namespace Quorvel::FileAccess
