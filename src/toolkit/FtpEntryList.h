// A directory as it was listed, stored so that a million entries take little more than their names.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "platform/WindowsTypes.h"

namespace Quorvel::FileAccess {

struct FtpEntry;

class FtpEntryList {
 public:
  static constexpr std::size_t kBlockBytes = std::size_t{1} << 18U;
  static constexpr std::size_t kMostEntries = std::size_t{1} << 24U;

  /// @param mostBlocks  of names; by default 512 MiB
  explicit FtpEntryList(std::size_t mostBlocks = 2048) : mostBlocks_(mostBlocks) {}

  /// @return false when it is full, which no real directory is
  bool add(const FtpEntry& entry);
  void clear();
  std::size_t size() const { return items_.size(); }

  /// The server's bytes.
  std::string_view name(std::size_t index) const;
  bool isDirectory(std::size_t index) const { return (items_[index].stamp & kDirectory) != 0; }
  bool isLink(std::size_t index) const { return (items_[index].stamp & kLink) != 0; }
  /// -1 for an entry without a size.
  std::int64_t bytes(std::size_t index) const { return items_[index].bytes; }
  std::optional<FILETIME> time(std::size_t index) const;
  void setBytes(std::size_t index, std::optional<std::int64_t> bytes) { items_[index].bytes = bytes.value_or(-1); }
  void setTime(std::size_t index, const std::optional<FILETIME>& time);

 private:
  // Above all ticks that a time can have.
  static constexpr std::uint64_t kDirectory = std::uint64_t{1} << 63U;
  static constexpr std::uint64_t kLink = std::uint64_t{1} << 62U;
  static constexpr std::uint64_t kTicks = kLink - 1;

  struct Item {
    std::int64_t bytes;
    std::uint64_t stamp;  // ticks, 0 for none, and the marks above
    std::uint32_t begin;
    std::uint16_t block;
    std::uint16_t length;
  };

  // A deque and blocks: neither copies what it holds in order to grow.
  std::deque<Item> items_;
  std::vector<std::unique_ptr<char[]>> blocks_;
  std::size_t usedInLast_ = 0;
  std::size_t mostBlocks_;
};

}  // namespace Quorvel::FileAccess
