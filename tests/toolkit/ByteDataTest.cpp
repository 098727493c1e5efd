#include "toolkit/ByteData.h"

#include <gtest/gtest.h>

#include "tests/platform/TemporaryDirectory.h"

namespace {

using namespace Quorvel::FileAccess;

using ByteData = TemporaryDirectoryTest;

TEST_F(ByteData, TheCheckSumIsThatOfZip) {
  CkByteData data;
  EXPECT_EQ(CkZipCrc::CalculateCrc(data), 0U);
  data.append("12345", 5);
  data.append("6789", 4);
  EXPECT_EQ(CkZipCrc::CalculateCrc(data), 0xCBF43926U);
}

TEST_F(ByteData, AFileTakesThePlaceOfWhatWasThere) {
  for (const std::size_t size : {std::size_t{0}, std::size_t{1} << 20U, (std::size_t{1} << 20U) + 1}) {
    std::string content(size, 'x');
    if (size > 0) content.back() = 'y';
    write("file", content);
    CkByteData data;
    data.append("before", 6);
    ASSERT_TRUE(data.loadFile(path(L"file"))) << size;
    EXPECT_EQ(std::string(data.getData(), data.getData() + data.getSize()), content) << size;
  }
}

}  // namespace
