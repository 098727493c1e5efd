#include <optional>

#include "tests/support/CloudFixture.h"
#include "tests/support/RealFtpServer.h"
#include "workstation/Servers.h"
#include "zephor/ProjectInformation.h"
#include "zephor/Projects.h"

namespace Quorvel::FileAccess {
namespace {

/// Begins before the workstation, which keeps temporary files where the server's user can't reach them.
struct Server : testing::WithParamInterface<bool> {
  Server() {
    if (GetParam() && zephor_test::RealFtpServer::whyNot({}).empty()) server.emplace(zephor_test::FtpServerVariant{});
  }
  std::optional<zephor_test::RealFtpServer> server;
};

/// In a plain directory, and on an FTP server.
class ProjectInUse : public Server, public zephor_test::CloudFixture {};
INSTANTIATE_TEST_SUITE_P(Stores, ProjectInUse, testing::Bool());

TEST_P(ProjectInUse, LockFilesTell) {
  if (GetParam() && !server) GTEST_SKIP() << zephor_test::RealFtpServer::whyNot({});
  workstation::ServerSettings settings;
  settings.isDirectory = !GetParam();
  settings.protocol = L"FTP";
  settings.baseDirectory = GetParam() ? L"/base/" : desk.path(L"base");
  settings.connectLimitMilliseconds = settings.readLimitMilliseconds = 9000;
  if (GetParam()) {
    settings.hostName = server->host();
    settings.userName = server->user();
    settings.password = server->password();
  }
  const auto lock = [&](const std::string& name) {
    const std::string file = "base/House.prj/Lck/" + name;
    GetParam() ? server->write(file, "") : desk.writeFile(desk.path(platform::fromUtf8(file)), "");
  };
  std::wstring error;
  ASSERT_TRUE(workstation::putServer(L"share", settings, error));
  // The first of two accounts at one address is not the one that is in use.
  settings.password = L"another one's";
  ASSERT_TRUE(workstation::putServer(L"account", settings, error));
  const PRJ house = WGO_CreateLazyOnlinePRJ(L"share", L"House");
  const auto answers = [](const PRJ& prj) {
    return std::pair(WGO_isProjectInUse(prj, false), WGO_isProjectInUse(prj, true));
  };
  EXPECT_EQ(answers(house), std::pair(false, false)) << "no directory of locks";
  lock("tb000012.zdw.0002-99.lck");
  EXPECT_EQ(answers(house), std::pair(true, false)) << "this user is number 2 in the open project";
  lock("pb000003.zpl.0007-99.lck");
  EXPECT_EQ(answers(house), std::pair(true, true));
  ZSYST_setCurrentWorkgroupServer(L"share");
  Initialize_forIZepInetFileTransfer record;
  record.serverName = L"share";
  ASSERT_TRUE(getInetFileManager().initialize(record));
  EXPECT_TRUE(WGO_isProjectInUseEx(house, true)) << "another project is open";
  if (server) server->killSessions();
  EXPECT_TRUE(getInetFileManager().existDirectory(GetParam() ? L"/base" : settings.baseDirectory.c_str()))
      << "the session goes on with its own account";
  set_ActivePrj(PRJ());
  EXPECT_FALSE(WGO_isProjectInUseEx(house, true)) << "it can't be opened";
  desk.writeFile(house.GetFullProjectPath(false) + L"\\x", "");
  EXPECT_TRUE(WGO_isProjectInUseEx(house, true));
}

}  // namespace
}  // namespace Quorvel::FileAccess
