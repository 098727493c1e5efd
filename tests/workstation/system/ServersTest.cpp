#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "host/Project.h"
#include "host/System.h"
#include "platform/Files.h"
#include "tests/workstation/Fixtures.h"
#include "workstation/Servers.h"

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
        "\"Office\": {\"host\": \"ftp.example.org\", \"protocol\": \"FTP\","
        " \"user\": \"u\", \"password\": \"p\"},"
        "\"Share\": {\"kind\": \"directory\", \"baseDirectory\": \"C:\\\\Server\"},"
        "\"Gone\": {\"kind\": \"directory\", \"baseDirectory\": \"C:\\\\Nowhere\"},"
        "\"Second\": {\"host\": \"FTP.example.org\", \"protocol\": \"FTPS\", \"user\": \"second\"},"
        "\"ftp://a/b\": {\"host\": \"a\", \"protocol\": \"FTPS\"},"
        "\"ftp://a_b\": {\"host\": \"a\", \"protocol\": \"FTPS\"}},";
    std::ofstream(file, std::ios::trunc) << servers << before.substr(1);
  }

  TestWorkstation workstation_{offline()};
};

TEST_F(Servers, HaveADirectoryOfTheirOwnWhateverTheyAreCalled) {
  const globalHostsManager& hosts = globalHostsManager::instance();
  EXPECT_EQ(hosts.getHostPath(L"ONDRATH"), L"C:\\Data\\Prj\\ONDRATH");
  EXPECT_EQ(hosts.getHostPath(L"nobody"), L"");
  EXPECT_EQ(hosts.getHostPath(L""), L"");
  const std::wstring awkward = ZSYST_getLocalDataServerRoot(L"ftp://a/b");
  EXPECT_EQ(awkward.find_first_of(L"\\/:"), std::wstring::npos);
  EXPECT_NE(awkward, ZSYST_getLocalDataServerRoot(L"ftp://a_b"));
}

TEST_F(Servers, AreKnownByTheirHostNameToo) {
  const globalHostsManager& hosts = globalHostsManager::instance();
  EXPECT_TRUE(ZSYST_IsInetServer(L"ftp.example.org"));
  EXPECT_EQ(ZSYST_getWorkgroupOnlineConnectionType(L"FTP.EXAMPLE.ORG"), 1);
  EXPECT_EQ(hosts.getHostPath(L"ftp.example.org"), L"C:\\Data\\Prj\\Office");
  EXPECT_EQ(CServerProperties(L"ftp.example.org").userName, L"u");
  ZSYST_setCurrentWorkgroupServer(L"second");
  EXPECT_EQ(CServerProperties(L"ftp.example.org").userName, L"second") << "the current one of two with one host";
  EXPECT_EQ(hosts.getHostPath(L"ftp.example.org"), L"C:\\Data\\Prj\\Second");
  EXPECT_EQ(ZSYST_getLocalDataServerRoot(L"Office"), L"Office");
}

TEST_F(Servers, WithAPasswordAreKeptFromOtherUsers) {
  namespace fs = std::filesystem;
  const std::string file = workstation_.directory() + "/workstation/config/settings.json";
  const fs::perms wide =
      fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read | fs::perms::others_read;
  fs::permissions(file, wide);
  std::wstring path;
  EXPECT_FALSE(workstation::areSettingsPrivate(path));
  std::wstring error;
  workstation::ServerSettings server;
  server.hostName = L"h";
  server.protocol = L"FTP";
  server.password = L"q";
  ASSERT_TRUE(workstation::putServer(L"New", server, error)) << error;
  EXPECT_EQ(fs::status(file).permissions(), fs::perms::owner_read | fs::perms::owner_write);
  EXPECT_TRUE(workstation::areSettingsPrivate(path));
}

TEST_F(Servers, AreAddedAndRemovedWithoutTouchingTheOthers) {
  std::wstring error;
  workstation::ServerSettings server;
  server.hostName = L"new.example.org";
  server.protocol = L"FTPS";
  server.certificateFile = L"C:\\c.pem";
  ASSERT_TRUE(workstation::putServer(L"New", server, error)) << error;
  ASSERT_TRUE(workstation::removeServer(L"gone", error)) << error;
  EXPECT_FALSE(workstation::removeServer(L"nobody", error));
  EXPECT_FALSE(workstation::putServer(L"Ondrath", server, error));
  EXPECT_FALSE(workstation::putServer(L"", server, error));
  workstation_.restart();
  EXPECT_EQ(workstation::knownServers().at(L"new"), server);
  EXPECT_EQ(CServerProperties(L"New").certificateFile, L"C:\\c.pem");
  EXPECT_FALSE(ZSYST_IsInetServer(L"Gone"));
  EXPECT_EQ(CServerProperties(L"Office").password, L"p");
  EXPECT_EQ(workstation::knownServers().size(), 6U);
}

}  // namespace
