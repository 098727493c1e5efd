#include "workstation/store/StoredHeader.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <cstring>

#include "host/Headers.h"

namespace {

using Image = std::vector<std::uint8_t>;

PlanHeader planHeader() {
  auto header = clearedHeader<PlanHeader>();
  header.number = 3;
  header.versionCounter = 9;
  header.guidFirst = 1.5;
  header.guidSecond = -2.5;
  header.createdTime = 133'000'000'000'000'001;
  header.modifiedTime = 133'000'000'000'000'002;
  header.contentSize = std::int64_t{5} << 33;
  header.contentCrc = 0xCAFE;
  header.creator = 2;
  header.lastUser = 4;
  header.flags = 0x8001;
  std::copy_n(u"Grundriß", 8, header.name);
  std::copy_n(u"pb.dat", 6, header.contentName);
  std::copy_n(u"Edda", 4, header.userName);
  return header;
}

/// Puts a value into an image and renews the checksum.
template <typename Value>
Image with(Image image, std::size_t at, Value value) {
  std::memcpy(image.data() + at, &value, sizeof value);
  const auto crc = static_cast<std::uint32_t>(::crc32(0, image.data() + 16, static_cast<uInt>(image.size() - 16)));
  std::memcpy(image.data() + 12, &crc, sizeof crc);
  return image;
}

bool reads(const Image& image, PlanHeader& out) {
  return datwaPlHeaderToLatest(image.data(), kStoredHeaderSize, static_cast<std::uint32_t>(image.size()), false, out);
}

TEST(StoredHeader, LongNamesAreCutBetweenCharacters) {
  PlanHeader header = planHeader();
  std::fill_n(header.name, 127, u'x');
  header.name[63] = 0xD83C;  // the pair of one character across the image's limit
  header.name[64] = 0xDFE0;
  auto read = clearedHeader<PlanHeader>();
  ASSERT_TRUE(reads(workstation::storedImage(header), read));
  EXPECT_EQ(std::u16string(read.name), std::u16string(63, u'x'));
}

TEST(StoredHeader, VersionOneIsBroughtUpToDate) {
  Image image(176);
  std::memcpy(image.data(), "ZHDR\1\0\1\0", 8);
  image = with(image, 8, std::uint32_t{176});
  image = with(image, 16, std::int32_t{12});
  image = with(image, 20, std::uint32_t{5});
  image = with(image, 40, std::uint32_t{1});     // created a second after 1970
  image = with(image, 48, std::uint32_t{4000});  // content size
  image = with(image, 60, std::uint32_t{6});     // flags
  image = with(image, 64, static_cast<char16_t>(u'N'));
  image = with(image, 128, static_cast<char16_t>(u'U'));
  auto read = clearedHeader<TeilbildHeader>();
  ASSERT_TRUE(datwaTBHeaderToLatest(image.data(), kStoredHeaderSize, 176, read));
  EXPECT_EQ(read.number, 12);
  EXPECT_EQ(read.versionCounter, 5U);
  EXPECT_EQ(read.createdTime, 116'444'736'010'000'000);
  EXPECT_EQ(read.modifiedTime, 0);
  EXPECT_EQ(read.contentSize, 4000);
  EXPECT_EQ(read.flags, 6U);
  EXPECT_EQ(std::u16string(read.name), u"N");
  EXPECT_EQ(std::u16string(read.userName), u"U");
}

TEST(StoredHeader, WhatIsNoWholeImageIsRefusedAndLeavesTheRecord) {
  const Image good = workstation::storedImage(planHeader());
  Image flipped = good;
  flipped[200] = static_cast<std::uint8_t>(flipped[200] ^ 1U);
  Image longer = good;
  longer.push_back(0);
  const std::pair<const char*, Image> table[] = {
      {"empty", {}},
      {"cut in the prefix", Image(good.begin(), good.begin() + 15)},
      {"cut by a byte", Image(good.begin(), good.end() - 1)},
      {"more than was asked for", longer},
      {"a damaged byte", flipped},
      {"a foreign mark", with(good, 0, std::uint32_t{1})},
      {"a newer version", with(good, 4, std::uint16_t{3})},
      {"version 0", with(good, 4, std::uint16_t{0})},
      {"the other kind", with(good, 6, std::uint16_t{1})},
      {"a size beyond the block", with(good, 8, std::uint32_t{0xFFFFFFF0})},
      {"a size below the prefix", with(good, 8, std::uint32_t{4})},
  };
  for (const auto& [what, image] : table) {
    auto out = planHeader();
    EXPECT_FALSE(reads(image, out)) << what;
    const PlanHeader before = planHeader();
    EXPECT_EQ(std::memcmp(&out, &before, sizeof out), 0) << what;
  }
  auto out = planHeader();
  EXPECT_FALSE(datwaPlHeaderToLatest(nullptr, kStoredHeaderSize, 0, false, out));
}

}  // namespace
