#include "ftp/FtpConnection.h"

#include <algorithm>
#include <cstdlib>

#include "platform/Text.h"
#include "tests/core/StartedWorkstation.h"
#include "tests/support/ScriptedFtpServer.h"

namespace {

using namespace Quorvel::FileAccess;

class FtpConnection : public StartedWorkstation {
 protected:
  static bool initialise(CZepFtpConnection& connection, const wchar_t* server) {
    Initialize_forIZepInetFileTransfer record;
    record.serverName = server;
    return connection.initialize(record);
  }
};

TEST_F(FtpConnection, AServerNameBecomesAConfiguration) {
  start();
  CZepFtpConnection connection;
  const RemoteConfiguration& configuration = connection.remote();
  ASSERT_TRUE(initialise(connection, L"wire"));
  EXPECT_EQ(configuration.connectionType, RemoteConnectionType::FtpExplicitTls);
  EXPECT_EQ(configuration.connectTimeoutSeconds, 0);
  EXPECT_EQ(configuration.readTimeoutSeconds, 2);
  EXPECT_TRUE(configuration.reconnectRequired);

  connection.remote().reconnectRequired = false;
  initialise(connection, L"wire");
  EXPECT_FALSE(configuration.reconnectRequired) << "the same host keeps its connections";
  initialise(connection, L"unknown");
  EXPECT_TRUE(configuration.reconnectRequired);
  EXPECT_EQ(configuration.connectionType, RemoteConnectionType::NotSet);
  EXPECT_EQ(configuration.userName, L"");
}

TEST_F(FtpConnection, TheLogOfTheRunBeforeIsRemovedOnce) {
  start();
  setenv("APPDATA", platform::toUtf8(path(L"appdata")).c_str(), 1);
  CZepFtpConnection connection;
  write("appdata/Tarvendorf/QuorvelInetLog.log");
  initialise(connection, nullptr);
  EXPECT_TRUE(exists("appdata/Tarvendorf/QuorvelInetLog.log"));
  initialise(connection, L"wire");
  EXPECT_FALSE(exists("appdata/Tarvendorf/QuorvelInetLog.log"));
  write("appdata/Tarvendorf/QuorvelInetLog.log");
  initialise(connection, L"wire");
  EXPECT_TRUE(exists("appdata/Tarvendorf/QuorvelInetLog.log"));
}

TEST_F(FtpConnection, InARunOfDownloadsEachIsAskedAboutAheadOfItsTransfer) {
  start();
  zephor_test::ScriptedFtpServer server;
  server.without("MLST");
  CZepFtpConnection connection;
  initialise(connection, L"wire");
  connection.remote().hostName = server.host();
  connection.remote().connectionType = RemoteConnectionType::Ftp;
  constexpr int kServerRoot = eServerDataPath;
  constexpr int kLocalRoot = eLocalDataPath;
  constexpr int kProject = ePrjPath;
  connection.setPathFromNr(L"/", &kServerRoot);
  connection.setPathFromNr(path(L"local").c_str(), &kLocalRoot);
  const auto fetch = [&](const wchar_t* name) {
    return connection.downloadFile(name, L"p", &kProject, &kProject, nullptr, 0, 0);
  };
  for (const char* name : {"/p/a", "/p/b", "/p/c"}) server.addFile(name, "x");
  EXPECT_EQ(fetch(L"a"), 0U);
  EXPECT_EQ(fetch(L"b"), 0U);
  EXPECT_EQ(fetch(L"c"), 0U);
  // Three questions that go out together, and the transfer: two round trips.
  const zephor_test::Commands all = server.commands();
  const auto begin = std::find(all.begin(), all.end(), "RETR b");
  const auto end = std::find(begin, all.end(), "RETR c");
  EXPECT_EQ(zephor_test::Commands(begin, end), (zephor_test::Commands{"RETR b", "EPSV", "SIZE c", "MDTM c"}));
}

}  // namespace
