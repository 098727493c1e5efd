// Header images as a store keeps them.

#include <zlib.h>

#include <cstring>
#include <vector>

#include "fuzz/Support.h"
#include "host/Headers.h"
#include "workstation/store/StoredHeader.h"

using fuzz::require;

namespace {

constexpr std::size_t kVersionAt = 4;
constexpr std::size_t kCrcAt = 12;
constexpr std::size_t kPrefix = 16;
constexpr std::size_t kOldSize = 176;

template <typename Header>
bool isSame(const Header& a, const Header& b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

template <typename Header, typename Read>
void check(const std::vector<std::uint8_t>& image, Read read) {
  auto header = clearedHeader<Header>();
  if (!read(image, header)) {
    require(isSame(header, clearedHeader<Header>()), "a refused image leaves the header alone");
    return;
  }
  auto again = clearedHeader<Header>();
  require(read(workstation::storedImage(header), again) && isSame(header, again), "an image is read as it was written");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::vector<std::uint8_t> image(data, data + size);
  if (size >= kPrefix) {
    // No search would guess the checksum.
    const std::size_t whole = std::min<std::size_t>(size, image[kVersionAt] == 1 ? kOldSize : kStoredHeaderSize);
    const auto crc = static_cast<std::uint32_t>(crc32(0, image.data() + kPrefix, static_cast<uInt>(whole - kPrefix)));
    std::memcpy(image.data() + kCrcAt, &crc, sizeof crc);
  }
  const auto count = [](const auto& bytes) { return static_cast<std::uint32_t>(bytes.size()); };
  check<TeilbildHeader>(image, [&](const auto& bytes, TeilbildHeader& out) {
    return datwaTBHeaderToLatest(bytes.data(), kStoredHeaderSize, count(bytes), out);
  });
  check<PlanHeader>(image, [&](const auto& bytes, PlanHeader& out) {
    return datwaPlHeaderToLatest(bytes.data(), kStoredHeaderSize, count(bytes), false, out);
  });
  return 0;
}
