#include "tests/support/CloudFixture.h"
#include "workstation/Servers.h"
#include "zephor/ProjectInformation.h"
#include "zephor/Projects.h"

namespace Quorvel::FileAccess {
namespace {

using ProjectInUse = zephor_test::CloudFixture;

TEST_F(ProjectInUse, InADirectoryStoreLockFilesTell) {
  workstation::ServerSettings share;
  share.isDirectory = true;
  share.baseDirectory = desk.path(L"share");
  std::wstring error;
  ASSERT_TRUE(workstation::putServer(L"share", share, error));
  const PRJ house = WGO_CreateLazyOnlinePRJ(L"share", L"House");
  const auto answers = [&](const PRJ& prj) {
    return std::pair(WGO_isProjectInUse(prj, false), WGO_isProjectInUse(prj, true));
  };
  EXPECT_EQ(answers(house), std::pair(false, false)) << "no directory of locks";
  const std::wstring locks = desk.path(L"share\\House.prj\\Lck\\");
  desk.writeFile(locks + L"tb000012.zdw.0002-99.lck", "");
  EXPECT_EQ(answers(house), std::pair(true, false)) << "this user is number 2 in the open project";
  desk.writeFile(locks + L"pb000003.zpl.0007-99.lck", "");
  EXPECT_EQ(answers(house), std::pair(true, true));
  EXPECT_EQ(answers(WGO_CreateLazyOnlinePRJ(L"share", L"Barn")), std::pair(false, false));
  EXPECT_EQ(answers(WGO_CreateLazyOnlinePRJ(L"nowhere", L"House")), std::pair(false, false));
  EXPECT_EQ(std::wstring(getInetFileManager().getServerName()), L"ONDRATH") << "aimed back";

  EXPECT_TRUE(WGO_isProjectInUseEx(house, true)) << "another project is open";
  set_ActivePrj(PRJ());
  EXPECT_FALSE(WGO_isProjectInUseEx(house, true)) << "it can't be opened for the test";
  desk.writeFile(house.GetFullProjectPath(false) + L"\\x", "");
  EXPECT_TRUE(WGO_isProjectInUseEx(house, true));
}

}  // namespace
}  // namespace Quorvel::FileAccess
