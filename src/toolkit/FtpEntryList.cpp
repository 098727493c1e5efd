#include "toolkit/FtpEntryList.h"

#include <cstring>

#include "platform/Time.h"
#include "toolkit/FtpListing.h"

namespace Quorvel::FileAccess {

namespace {
constexpr std::size_t kLongestName = 0xFFFF;
}  // namespace

bool FtpEntryList::add(const FtpEntry& entry) {
  const std::size_t length = entry.name.size();
  if (length > kLongestName) return true;  // longer than any path: no name
  if (items_.size() == kMostEntries) return false;
  if (blocks_.empty() || usedInLast_ + length > kBlockBytes) {
    if (blocks_.size() == mostBlocks_) return false;
    blocks_.push_back(std::unique_ptr<char[]>(new char[kBlockBytes]));
    usedInLast_ = 0;
  }
  std::memcpy(blocks_.back().get() + usedInLast_, entry.name.data(), length);
  Item item{};
  item.bytes = entry.size.value_or(-1);
  item.stamp = (entry.isDirectory ? kDirectory : 0) | (entry.isLink ? kLink : 0);
  item.begin = static_cast<std::uint32_t>(usedInLast_);
  item.block = static_cast<std::uint16_t>(blocks_.size() - 1);
  item.length = static_cast<std::uint16_t>(length);
  usedInLast_ += length;
  items_.push_back(item);
  setTime(items_.size() - 1, entry.time);
  return true;
}

void FtpEntryList::clear() {
  std::deque<Item>().swap(items_);
  blocks_.clear();
  usedInLast_ = 0;
}

std::string_view FtpEntryList::name(std::size_t index) const {
  const Item& item = items_[index];
  return {blocks_[item.block].get() + item.begin, item.length};
}

std::optional<FILETIME> FtpEntryList::time(std::size_t index) const {
  const std::uint64_t ticks = items_[index].stamp & kTicks;
  if (ticks == 0) return std::nullopt;
  return platform::fromTicks(ticks);
}

void FtpEntryList::setTime(std::size_t index, const std::optional<FILETIME>& time) {
  std::uint64_t& stamp = items_[index].stamp;
  stamp = (stamp & ~kTicks) | (time ? platform::toTicks(*time) & kTicks : 0);
}

}  // namespace Quorvel::FileAccess
