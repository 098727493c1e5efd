#include <gtest/gtest.h>

#include <cstring>

#include "host/Records.h"
#include "tests/support/TestWorkstation.h"
#include "zephor/Archives.h"

namespace Quorvel::FileAccess {
namespace {

class CompressedFileReader : public testing::Test {
 protected:
  /// The first `size` bytes of a compressed Teilbild 7 of 0x0102030405 bytes, without its archive.
  std::wstring write(std::size_t size, const char* magic = "QVPK") {
    std::string bytes(magic, 4);
    bytes.resize(48);
    const unsigned char length[] = {5, 4, 3, 2, 1};
    std::memcpy(bytes.data() + 24, length, sizeof length);
    TeilbildHeader record = clearedHeader<TeilbildHeader>();
    record.number = 7;
    record.versionCounter = 3;
    bytes.append(reinterpret_cast<const char*>(&record), sizeof record);
    std::wstring file = desk.path(L"tb000007.zdw");
    desk.writeFile(file, bytes.substr(0, size));
    return file;
  }

  zephor_test::TestWorkstation desk;
};

TEST_F(CompressedFileReader, TheMagicAndAWholeHeaderTellACompressedFile) {
  long long size = -1;
  EXPECT_TRUE(WGO_isZipFile(write(48).c_str(), &size));
  EXPECT_EQ(size, 0x0102030405LL);
  size = -1;
  EXPECT_FALSE(WGO_isZipFile(write(47).c_str(), &size));
  EXPECT_EQ(size, -1) << "a short file tells no size";
  EXPECT_FALSE(WGO_isZipFile(write(48, "QVPX").c_str(), &size));
  EXPECT_EQ(size, 0x0102030405LL) << "the size is told before the magic is looked at";
  EXPECT_FALSE(WGO_isZipFile(desk.path(L"missing.zdw").c_str(), nullptr));
}

TEST_F(CompressedFileReader, TheRecordIsReadWithoutTheArchive) {
  TeilbildHeader header = clearedHeader<TeilbildHeader>();
  EXPECT_TRUE(WGO_getTBHeaderFromZipFile(write(48 + 1576).c_str(), &header));
  EXPECT_EQ(header.number, 7);
  EXPECT_EQ(header.versionCounter, 3U);
  for (const std::wstring& bad : {write(48 + 1575), desk.path(L"missing.zdw")}) {
    header.number = 7;
    EXPECT_FALSE(WGO_getTBHeaderFromZipFile(bad.c_str(), &header));
    EXPECT_EQ(header.number, 0) << "a failed reading clears the record";
  }
  header.number = 7;
  EXPECT_FALSE(WGO_getTBHeaderFromZipFile(1, 33, 7, &header));
  EXPECT_EQ(header.number, 0);
}

}  // namespace
}  // namespace Quorvel::FileAccess
