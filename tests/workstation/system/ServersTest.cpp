#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "host/Project.h"
#include "host/System.h"
#include "platform/Files.h"
#include "tests/workstation/Fixtures.h"

namespace {

using zephor_test::contentOf;
using zephor_test::offline;
using zephor_test::TestWorkstation;

/// A workstation that knows an FTP server, one in a directory, and one with an awkward name.
class Servers : public testing::Test {
 protected:
  Servers() {
    const std::string file = workstation_.directory() + "/workstation/config/settings.json";
    const std::string before = contentOf(file);
    const std::string servers =
        "{\"servers\": {"
        "\"Office\": {\"description\": \"the office\", \"host\": \"ftp.example.org\", \"protocol\": \"FTP\","
        " \"user\": \"u\", \"password\": \"p\", \"explicitTls\": true, \"connectLimitMilliseconds\": 15000},"
        "\"Share\": {\"kind\": \"directory\", \"baseDirectory\": \"C:\\\\Server\"},"
        "\"Gone\": {\"kind\": \"directory\", \"baseDirectory\": \"C:\\\\Nowhere\"},"
        "\"ftp://a/b\": {\"host\": \"a\", \"protocol\": \"FTPS\"},"
        "\"ftp://a_b\": {\"host\": \"a\", \"protocol\": \"FTPS\"}},";
    std::ofstream(file, std::ios::trunc) << servers << before.substr(1);
  }

  TestWorkstation workstation_{offline()};
};

TEST_F(Servers, AreToldApartByNameAndKind) {
  EXPECT_TRUE(ZSYST_IsInetServer(L"office"));
  EXPECT_FALSE(ZSYST_IsInetServer(L"ONDRATH"));
  EXPECT_FALSE(ZSYST_IsInetServer(L""));
  EXPECT_EQ(ZSYST_getWorkgroupOnlineConnectionType(L"Office"), 1);
  EXPECT_EQ(ZSYST_getWorkgroupOnlineConnectionType(L"Share"), 0);
  EXPECT_EQ(ZSYST_getWorkgroupOnlineServerDescription(L"Office"), L"the office");
  EXPECT_EQ(CServerProperties(L"Office").connectLimitMilliseconds, 15000);
  EXPECT_EQ(CServerProperties(L"nobody").hostName, L"");
  EXPECT_TRUE(ZSYST_IsInetConfiguration());
  EXPECT_EQ(ZSYST_getQuorvelServer(), L"") << "no store is configured";
  ZSYST_setCurrentWorkgroupServer(L"Office");
  EXPECT_TRUE(ZSYST_IsInetConnection());
  EXPECT_FALSE(ZSYST_IsOndrathConnection());
}

TEST_F(Servers, AreAvailableWhenTheirDirectoryIs) {
  EXPECT_NE(IsHostAvailable(L"Share", 0), 0);
  EXPECT_EQ(IsHostAvailable(L"Gone", 0), 0);
  EXPECT_EQ(IsHostAvailable(L"nobody", 0), 0);
  EXPECT_EQ(IsHostAvailable(L"ONDRATH", 0), 0) << "no store is configured";
  ASSERT_TRUE(ZSYST_ZepRegPutNumber(L"HKCU", L"Settings\\Offline", 1));
  EXPECT_EQ(IsHostAvailable(L"Share", 0), 0);
}

TEST_F(Servers, HaveADirectoryOfTheirOwnWhateverTheyAreCalled) {
  const globalHostsManager& hosts = globalHostsManager::instance();
  EXPECT_EQ(hosts.getHostPath(L"ONDRATH"), L"C:\\Data\\Prj\\ONDRATH");
  EXPECT_EQ(hosts.getHostPath(L"Office"), L"C:\\Data\\Prj\\Office");
  EXPECT_EQ(hosts.getHostPath(L"localhost"), L"C:\\Data\\Prj\\localhost");
  EXPECT_EQ(hosts.getHostPath(L"nobody"), L"");
  EXPECT_EQ(hosts.getHostPath(L""), L"");
  const std::wstring awkward = ZSYST_getLocalDataServerRoot(L"ftp://a/b");
  EXPECT_EQ(awkward.find_first_of(L"\\/:"), std::wstring::npos);
  EXPECT_NE(awkward, ZSYST_getLocalDataServerRoot(L"ftp://a_b"));
}

TEST(Cloud, IsAvailableWhileItsStoreIs) {
  TestWorkstation workstation;
  EXPECT_EQ(ZSYST_getQuorvelServer(), L"ONDRATH");
  EXPECT_TRUE(ZSYST_IsInetConfiguration());
  EXPECT_NE(IsHostAvailable(L"ONDRATH", 0), 0);
  ZSYST_setCurrentWorkgroupServer(L"ONDRATH");
  EXPECT_TRUE(ZSYST_IsOndrathConnection());
  std::filesystem::remove_all(workstation.directory() + "/store");
  EXPECT_EQ(IsHostAvailable(L"ONDRATH", 0), 0);
}

TEST(Programs, AreFoundByTheirWholeName) {
  EXPECT_TRUE(isAppRunning(L"zephor_system_tests"));
  EXPECT_FALSE(isAppRunning(L"zephor_system_test")) << "the system keeps the same first letters of both";
  EXPECT_FALSE(isAppRunning(L""));
}

}  // namespace
