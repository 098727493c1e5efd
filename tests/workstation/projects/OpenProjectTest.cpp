#include <gtest/gtest.h>

#include "host/Files.h"
#include "host/ObjectFiles.h"
#include "host/Project.h"
#include "host/System.h"
#include "host/Users.h"
#include "platform/Text.h"
#include "tests/support/TestWorkstation.h"
#include "workstation/Session.h"

namespace {

using workstation::openProject;
using zephor_test::TestWorkstation;

class OpenProject : public testing::Test {
 protected:
  TestWorkstation workstation_;
  std::wstring error_;
};

TEST_F(OpenProject, MakesDirectoryAndDescriptorAndIsOpenAgainAtTheNextStart) {
  const std::wstring uuid = workstation_.createTeamAndProject(L"House");
  const PRJ prj = get_ActivePrj();
  EXPECT_TRUE(prj.IsOndrathProject());
  EXPECT_EQ(prj.mainRelease, get_InternMainRelease());
  EXPECT_EQ(prj.owner, 2) << "the store's number of a project's owner";
  EXPECT_EQ(lfinigC(1), L"C:\\Data\\Prj\\ONDRATH\\" + uuid + L".prj\\");
  EXPECT_TRUE(workstation_.exists(workstation_.projectPath(L"BIM")));
  const std::string descriptor = workstation_.readFile(workstation_.projectPath(L"Project1.Dat.xml"));
  EXPECT_FALSE(descriptor.empty());

  workstation::closeProject();
  EXPECT_EQ(lfinigC(1), L"");
  EXPECT_EQ(kgunit(), -1);
  ASSERT_TRUE(workstation::reopenLastProject(error_)) << platform::toUtf8(error_);
  EXPECT_EQ(get_ActivePrj().GetOndrathProjectUuid(), uuid);
  EXPECT_EQ(workstation_.readFile(workstation_.projectPath(L"Project1.Dat.xml")), descriptor);

  Prj_RemoveEntryFromRecentListByName(uuid, L"ONDRATH");
  workstation::closeProject();
  EXPECT_FALSE(workstation::reopenLastProject(error_));
  EXPECT_EQ(error_, L"");
}

TEST_F(OpenProject, NamesTheStoresOwnerWhoeverOpensIt) {
  const std::wstring uuid = workstation_.createTeamAndProject(L"House");
  PRJ wrong = get_ActivePrj();
  wrong.owner = 17;
  ASSERT_EQ(NetID_WritePrjInfoByPath(wrong.GetFullProjectPath(true), wrong, 0), 0);
  workstation::closeProject();
  ASSERT_TRUE(openProject(uuid, error_)) << platform::toUtf8(error_);
  EXPECT_EQ(get_ActivePrj().owner, 2);
  workstation::closeProject();
  ASSERT_TRUE(workstation::openCache(uuid, error_)) << platform::toUtf8(error_);
  EXPECT_EQ(get_ActivePrj().owner, 2) << "as it was written";
}

TEST_F(OpenProject, TakesAUuidOrANameThatIsClear) {
  const std::wstring uuid = workstation_.createTeamAndProject(L"House");
  for (const std::wstring& text : {std::wstring(L"House"), platform::toUpper(uuid), std::wstring(L"Team/House")}) {
    workstation::closeProject();
    EXPECT_TRUE(openProject(text, error_)) << platform::toUtf8(text + L": " + error_);
    EXPECT_EQ(get_ActivePrj().GetOndrathProjectUuid(), uuid);
  }
  for (const wchar_t* text : {L"", L"house", L"Other", L"Team/"}) {
    EXPECT_FALSE(openProject(text, error_)) << platform::toUtf8(text);
    EXPECT_FALSE(error_.empty());
    EXPECT_EQ(get_ActivePrj().GetOndrathProjectUuid(), uuid) << "the open project stays open";
  }
  std::wstring team;
  std::wstring second;
  ASSERT_EQ(workstation_.store().createTeam(workstation_.actor(), L"Other", team), 0);
  ASSERT_EQ(workstation_.store().createProject(workstation_.actor(), team, L"House", second), 0);
  EXPECT_FALSE(openProject(L"House", error_));
  EXPECT_NE(error_.find(L"Team/House"), std::wstring::npos);
  EXPECT_NE(error_.find(L"Other/House"), std::wstring::npos);
  ASSERT_TRUE(openProject(L"Other/House", error_)) << platform::toUtf8(error_);
  EXPECT_EQ(get_ActivePrj().GetOndrathProjectUuid(), second);
}

TEST_F(OpenProject, RefusesAForeignDescriptorAndKeepsIt) {
  const std::wstring uuid = workstation_.createTeamAndProject(L"House");
  const std::wstring file = workstation_.projectPath(L"Project1.Dat.xml");
  workstation::closeProject();
  const std::string foreign =
      "<Project version=\"1\"><Host>ONDRATH</Host><UUID>11111111-2222-4333-8444-555555555555</UUID></Project>";
  workstation_.writeFile(file, foreign);
  EXPECT_FALSE(openProject(uuid, error_));
  EXPECT_NE(error_.find(file), std::wstring::npos) << platform::toUtf8(error_);
  EXPECT_EQ(workstation_.readFile(file), foreign);
  EXPECT_STREQ(get_ActivePrj().directoryName, L"");
}

TEST_F(OpenProject, KnowsItsUsersByTheirListAndOtherwiseByTheStore) {
  workstation_.createTeamAndProject(L"House");
  workstation_.addColleague(L"Anna");
  EXPECT_EQ(lzbnum(), 2);
  EXPECT_EQ(lz_GetUserNameFromUserId(3), L"Anna");
  QuorvelUser own;
  ASSERT_EQ(lz_GetCurrentUserInfo(own), 0);
  EXPECT_STREQ(own.loginName, L"_BIM_002");
  own.number = 17;
  QuorvelUser other;
  other.number = 5;
  wcscpy(other.lastName, L"Listed");
  const std::wstring directory = workstation_.projectPath(L"Net");
  ASSERT_EQ(ldirmkc(directory), 0);
  for (const auto& [taken, free] : {std::pair(5, 2), std::pair(2, 3)}) {
    other.number = taken;
    ASSERT_EQ(lzWriteAllUsers_fromVector_to_Path({other}, directory), 0);
    EXPECT_EQ(lzbnum(), free) << "not another's";
  }
  other.number = 5;
  ASSERT_EQ(lzWriteAllUsers_fromVector_to_Path({own, other}, directory), 0);
  EXPECT_EQ(lz_GetUserNameFromUserId(3), L"#3") << "the store's numbers are not the list's";
  EXPECT_EQ(lzbnum(), 17);
  EXPECT_EQ(lzbext(), L"u017");
  ASSERT_TRUE(lz_uInitRAW(directory, own));
  ASSERT_EQ(lfilrmC(directory + L"\\user.cfg"), 0);
  EXPECT_EQ(lzbnum(), 17) << "as it was loaded";
  EXPECT_EQ(lz_GetUserNameFromUserId(5), L"Listed");
  EXPECT_EQ(lz_GetUserNameFromUserId(99), L"#99");
}

}  // namespace
