#include "cloud/Ondrath_Services.h"
#include "tests/support/CloudFixture.h"

namespace Quorvel::FileAccess {
namespace {

using zephor_test::kRefused;

using CloudListings = zephor_test::CloudFixture;

TEST_F(CloudListings, ListsAreSortedAndKeepTheFirstOfEqualNumbers) {
  cloud.lines[2] = {L"tb000009.zdw|b", L"tb000002.zdw|a", L"TB000009.zdw|first by name", L"tb0002.zdw|short"};
  std::vector<CResourceInfo> infos;
  WGO_getOndrathResourceFiles(prj(), infos, eShareFile_Teilbild);
  EXPECT_EQ(infos[3].name, L"tb0002.zdw");
  std::map<int, CResourceInfo> byNumber{{77, {}}};
  EXPECT_TRUE(Ondrath_getTBList(prj(), byNumber));
  ASSERT_EQ(byNumber.size(), 2U);
  EXPECT_EQ(byNumber[9].text1, L"first by name");
  EXPECT_EQ(byNumber[2].text1, L"a");
  cloud.script("GetProjectFileInfos", {kRefused});
  EXPECT_FALSE(Ondrath_getPLList(prj(), byNumber));
  EXPECT_TRUE(byNumber.empty());
}

}  // namespace
}  // namespace Quorvel::FileAccess
