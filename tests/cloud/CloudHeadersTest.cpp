#include "cloud/Ondrath_Services.h"
#include "tests/support/CloudFixture.h"
#include "zephor/HeaderServices.h"

namespace Quorvel::FileAccess {
namespace {

using CloudHeaders = zephor_test::CloudFixture;

TEST_F(CloudHeaders, AnEmptyHeaderLeavesTheOutputAndADamagedOneFails) {
  TeilbildHeader found = header<TeilbildHeader>(99, 0);
  EXPECT_TRUE(Ondrath_downloadHeader(prj(), 12, 0, &found));
  EXPECT_EQ(found.number, 99);
  cloud.headers = {{L"tb000012.zdw", HeaderBits(80, true)}};
  EXPECT_FALSE(Ondrath_downloadHeader(prj(), 12, 0, &found));
  EXPECT_EQ(found.number, 99);
  const std::size_t calls = cloud.calls().size();
  EXPECT_FALSE(Ondrath_downloadHeader(prj(), 12, 28, &found));
  EXPECT_EQ(cloud.calls().size(), calls);
}

TEST_F(CloudHeaders, ListsHoldOneRecordForEachNumberInAscendingOrder) {
  storeHeader(L"tb000001.zdw", header<TeilbildHeader>(1, 4));
  storeHeader(L"tb000003.zdw", header<TeilbildHeader>(3, 5));
  std::vector<void*> records;
  std::vector<int> numbers{3, 2, 1, 3};
  ASSERT_TRUE(WGO_DownloadHeaders(numbers, 0, records));
  ASSERT_EQ(records.size(), 3U);
  const auto versionAt = [&](std::size_t i) { return static_cast<const TeilbildHeader*>(records[i])->versionCounter; };
  EXPECT_EQ(versionAt(0), 4U);
  EXPECT_EQ(versionAt(1), kUnknownVersion);
  EXPECT_EQ(versionAt(2), 5U);
  WGO_freeHeaders(0, records);
  cloud.headers[L"tb000002.zdw"] = HeaderBits();
  cloud.headers[L"tb000009.zdw"] = HeaderBits(8, true);
  EXPECT_FALSE(WGO_DownloadAllHeaders(prj(), 0, records));
  EXPECT_TRUE(records.empty()) << "a damaged header gives no half list";
  cloud.headers.erase(L"tb000009.zdw");
  EXPECT_TRUE(WGO_DownloadAllHeaders(prj(), 0, records));
  EXPECT_EQ(records.size(), 3U) << "an empty header is still added";
  WGO_freeHeaders(0, records);
}

}  // namespace
}  // namespace Quorvel::FileAccess
