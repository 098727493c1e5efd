#include "zephor/ProjectInformation.h"

#include "cloud/ProjectInformation.h"
#include "host/Files.h"
#include "tests/support/CloudFixture.h"

namespace Quorvel::FileAccess {
namespace {

using zephor_test::Calls;
using zephor_test::kRefused;

using ProjectInformation = zephor_test::CloudFixture;

TEST_F(ProjectInformation, TheFirstTeamWithTheExactNameWins) {
  cloud.teams = {{L"t1", L"One"}, {L"t2", L"Two"}, {L"t3", L"Three"}};
  cloud.projects = {{L"t1", {{L"", L"u1", L"House", L""}}},
                    {L"t2", {{L"", L"u2", L"house", L""}, {L"", L"u3", L"House", L""}}},
                    {L"t3", {{L"", L"u4", L"House", L""}, {L"", L"u5", L"Barn", L""}}}};
  PRJ found;
  cloud.script("GetProjects", {kRefused, 0, 0});
  ASSERT_TRUE(WGO_getOndrathProjectInfoFromName(L"House", found)) << "the team that can't be read is skipped";
  EXPECT_EQ(found.GetOndrathProjectUuid() + L" " + found.GetOndrathTeamUuid() + L" " + found.GetOndrathTeamName(),
            L"u3 t2 Two");
  EXPECT_TRUE(found.IsOndrathProject());
  EXPECT_EQ(cloud.calls(), (Calls{L"GetProjects t1 2", L"GetProjects t2 2"}));
  EXPECT_FALSE(WGO_getOndrathProjectInfoFromName(L"HOUSE", found));
  EXPECT_EQ(found.GetOndrathProjectUuid(), L"u3") << "untouched";
  ASSERT_TRUE(WGO_getOndrathProjectInfoFromUuid(L"u5", found));
  EXPECT_EQ(found.GetOndrathProjectName(), L"Barn");
  EXPECT_FALSE(WGO_getOndrathProjectInfoFromUuid(L"U5", found));
  cloud.script("GetTeams", {kRefused});
  EXPECT_FALSE(WGO_getOndrathProjectInfoFromName(L"House", found));
}

TEST_F(ProjectInformation, ADescriptorOfTheServerIsReadThroughAPathThatComesBack) {
  PRJ out = prj();
  const std::wstring before = lfinigC(18);
  EXPECT_EQ(Ondrath_getProjectInfoFromOnlineServer(path(L""), L"no guid", out), 13);
  EXPECT_STREQ(out.GetDirectoryName(), L"") << "cleared";
  EXPECT_TRUE(cloud.calls().empty());

  const std::string descriptor = desk.readFile(path(L"Project1.Dat.xml"));
  std::string sent = "damaged";
  cloud.onDownload = [&](const std::wstring& file) { desk.writeFile(file, sent); };
  const auto ask = [&] { return Ondrath_getProjectInfoFromOnlineServer(path(L""), uuid, out); };
  EXPECT_EQ(ask(), 13);
  EXPECT_STREQ(out.GetDirectoryName(), L"");
  sent = descriptor;
  EXPECT_EQ(ask(), 0);
  EXPECT_EQ(out.GetOndrathProjectUuid(), uuid);
  EXPECT_EQ(lfinigC(18), before);
  cloud.script("GetProjectInfo", {kRefused, 0});
  cloud.script("DownloadFile", {kRefused});
  EXPECT_EQ(ask(), 13);
  EXPECT_EQ(ask(), 13);
  const ScopedPathPut none(18, L"");
  EXPECT_EQ(ask(), 3);
}

TEST_F(ProjectInformation, EveryFailureReadsAsNo) {
  const PRJ local = localPrj();
  const PRJ mine(L"t", L"Team", L"House", uuid, true);
  std::vector<LockUser> locks;
  std::vector<CloudProjectMember> members;
  EXPECT_EQ(WGO_setProjectLock(mine, eOndrathProjectLock_Exclusive), 0);
  EXPECT_TRUE(WGO_removeProjectLock(mine, true));
  EXPECT_TRUE(WGO_getProjectLocks(mine, locks));
  EXPECT_TRUE(WGO_getOndrathProjectUsers(mine, members));
  EXPECT_TRUE(WGO_isProjectInUse(mine, true)) << "an answer that says nothing";
  const Calls calls{L"SetProjectLock t 3", L"RemoveProjectLock t \"\" all", L"GetProjectLocks t",
                    L"IsProjectInUse t others"};
  EXPECT_EQ(cloud.calls(), calls);
  for (const char* operation :
       {"SetProjectLock", "RemoveProjectLock", "GetProjectLocks", "GetProjectMembers", "IsProjectInUse"}) {
    cloud.script(operation, {kRefused});
  }
  EXPECT_EQ(WGO_setProjectLock(mine, eOndrathProjectLock_Read), kRefused);
  EXPECT_FALSE(WGO_removeProjectLock(mine, false));
  EXPECT_FALSE(WGO_getProjectLocks(mine, locks));
  EXPECT_FALSE(WGO_getOndrathProjectUsers(mine, members));
  EXPECT_FALSE(WGO_isProjectInUseEx(mine, false));

  const std::size_t asked = cloud.calls().size();
  EXPECT_EQ(WGO_setProjectLock(local, eOndrathProjectLock_Write), 0);
  EXPECT_TRUE(WGO_removeProjectLock(local, true));
  EXPECT_FALSE(WGO_getProjectLocks(local, locks));
  EXPECT_FALSE(Ondrath_removeProjectLock(local, true));
  EXPECT_EQ(cloud.calls().size(), asked);
}

TEST_F(ProjectInformation, RolesAndNamesAreThoseOfTheSignedInUser) {
  EXPECT_FALSE(WGO_IsCurrentUserAdmin(localPrj()));
  EXPECT_FALSE(desk.hasErrorLine(L"Ondrath_IsCurrentUserAdmin"));
  for (const auto& [role, admin, editor] :
       {std::tuple(1, true, true), std::tuple(2, false, true), std::tuple(0, false, false)}) {
    cloud.role = role;
    EXPECT_EQ(WGO_IsCurrentUserAdmin(prj()), admin) << role;
    EXPECT_EQ(WGO_IsCurrentUserEditor(prj()), editor) << role;
  }
  EXPECT_TRUE(desk.hasErrorLine(L"Ondrath_IsCurrentUserAdmin: ========================== start"));
  EXPECT_TRUE(desk.hasErrorLine(L"Ondrath_IsCurrentUserAdmin: ========================== end"));
  cloud.role = 1;
  cloud.script("IsCurrentUserInRole", {kRefused});
  EXPECT_FALSE(WGO_IsCurrentUserEditor(prj())) << "although the flag was set";

  cloud.user = {L"u", L"Ada", L"ada@example.org"};
  std::wstring text[3] = {L"-", L"-", L"-"};
  const auto read = [&] {
    WGO_getUser(text[0]);
    WGO_getCurrentUserNameOndrath(text[1]);
    WGO_getCurrentUserEmailOndrath(text[2]);
    return text[0] + L" " + text[1] + L" " + text[2];
  };
  ZSYST_setCurrentWorkgroupServer(L"");
  EXPECT_EQ(read(), L"- - -");
  ZSYST_setCurrentWorkgroupServer(L"ONDRATH");
  EXPECT_EQ(read(), L"u Ada ada@example.org");
  cloud.script("GetCurrentUser", {kRefused});
  WGO_getUser(text[1]);
  EXPECT_EQ(text[1], L"Ada") << "nobody is signed in";
}

}  // namespace
}  // namespace Quorvel::FileAccess
