// Raw deflate (RFC 1951) over whole blocks in memory. Internal to the toolkit.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace Quorvel::FileAccess {

struct DeflatedBlock {
  std::unique_ptr<std::uint8_t[]> bytes;  ///< null when the content does not shrink
  std::size_t size = 0;
};

/// Any thread; each keeps its own compressors, for they are dear to make.
///
/// @param level  1 (fast) to 9 (small)
DeflatedBlock deflateBlock(const void* data, std::size_t size, int level);

/// @return false when the data is no deflate stream of exactly `outSize` bytes; `out` then holds anything
bool inflateBlock(const void* data, std::size_t size, void* out, std::size_t outSize);

/// False for a size that no deflate stream of `deflatedSize` bytes can have: a match of 258 bytes takes two bits.
constexpr bool canInflateTo(std::uint64_t deflatedSize, std::uint64_t size) {
  return size / 1032 <= deflatedSize;
}

}  // namespace Quorvel::FileAccess
