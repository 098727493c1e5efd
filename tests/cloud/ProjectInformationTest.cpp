#include "zephor/ProjectInformation.h"

#include "cloud/ProjectInformation.h"
#include "host/Files.h"
#include "tests/support/CloudFixture.h"

namespace Quorvel::FileAccess {
namespace {

using zephor_test::kRefused;

using ProjectInformation = zephor_test::CloudFixture;

TEST_F(ProjectInformation, TheFirstTeamWithTheExactNameWins) {
  cloud.teams = {{L"t1", L"One"}, {L"t2", L"Two"}, {L"t3", L"Three"}};
  cloud.projects = {{L"t1", {{L"", L"u1", L"House", L""}}},
                    {L"t2", {{L"", L"u2", L"house", L""}, {L"", L"u3", L"House", L""}}},
                    {L"t3", {{L"", L"u4", L"House", L""}}}};
  PRJ found;
  cloud.script("GetProjects", {kRefused, 0, 0});
  ASSERT_TRUE(WGO_getOndrathProjectInfoFromName(L"House", found)) << "the team that can't be read is skipped";
  EXPECT_EQ(found.GetOndrathProjectUuid() + found.GetOndrathTeamUuid() + found.GetOndrathTeamName(), L"u3t2Two");
  EXPECT_EQ(cloud.calls().size(), 2U);
  EXPECT_FALSE(WGO_getOndrathProjectInfoFromName(L"HOUSE", found) || WGO_getOndrathProjectInfoFromUuid(L"U4", found));
  ASSERT_TRUE(WGO_getOndrathProjectInfoFromUuid(L"u2", found));
  EXPECT_EQ(found.GetOndrathProjectName(), L"house");
}

TEST_F(ProjectInformation, ADescriptorOfTheServerIsReadThroughAPathThatComesBack) {
  PRJ out = prj();
  const std::wstring before = lfinigC(18);
  EXPECT_EQ(Ondrath_getProjectInfoFromOnlineServer(path(L""), L"no guid", out), 13);
  EXPECT_TRUE(cloud.calls().empty());
  std::string sent = desk.readFile(path(L"Project1.Dat.xml"));
  cloud.onDownload = [&](const std::wstring& file) { desk.writeFile(file, sent); };
  cloud.script("GetProjectInfo", {0, kRefused, 0, 0});
  cloud.script("DownloadFile", {0, kRefused, 0});
  for (const CloudStatus status : {0, 13, 13, 13}) {
    EXPECT_EQ(Ondrath_getProjectInfoFromOnlineServer(path(L""), uuid, out), status);
    EXPECT_EQ(out.GetOndrathProjectUuid(), status == 0 ? uuid : L"");
    EXPECT_EQ(lfinigC(18), before);
    sent = "damaged";
  }
  const ScopedPathPut none(18, L"");
  EXPECT_EQ(Ondrath_getProjectInfoFromOnlineServer(path(L""), uuid, out), 3);
}

TEST_F(ProjectInformation, EveryFailureReadsAsNo) {
  const PRJ mine(L"t", L"Team", L"House", uuid, true);
  cloud.script("IsProjectInUse", {0, kRefused});
  EXPECT_TRUE(WGO_isProjectInUseEx(mine, true)) << "an answer that says nothing";
  EXPECT_FALSE(WGO_isProjectInUseEx(mine, true));
  EXPECT_TRUE(WGO_removeProjectLock(mine, true) && WGO_removeProjectLock(localPrj(), true));
  EXPECT_EQ(cloud.calls()[0] + cloud.calls()[2], L"IsProjectInUse t othersRemoveProjectLock t \"\" all");

  cloud.role = 2;
  EXPECT_TRUE(!WGO_IsCurrentUserAdmin(prj()) && WGO_IsCurrentUserEditor(prj()));
  EXPECT_TRUE(desk.hasErrorLine(L"Ondrath_IsCurrentUserAdmin: ========================== start"));
  cloud.script("IsCurrentUserInRole", {kRefused});
  EXPECT_FALSE(WGO_IsCurrentUserEditor(prj())) << "although the flag was set";
}

}  // namespace
}  // namespace Quorvel::FileAccess
