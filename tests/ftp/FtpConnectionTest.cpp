#include "ftp/FtpConnection.h"

#include <cstdlib>

#include "platform/Time.h"
#include "tests/core/StartedWorkstation.h"

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
  EXPECT_EQ(configuration.epsvMode, 2);
  ASSERT_TRUE(initialise(connection, L"wire"));
  EXPECT_EQ(configuration.hostName, L"ftp.example.org");
  EXPECT_EQ(configuration.userName, L"ada");
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

TEST_F(FtpConnection, WithoutAServerNameItIsNotInitialised) {
  start();
  CZepFtpConnection connection;
  initialise(connection, L"wire");
  EXPECT_TRUE(connection.isInitialised());
  EXPECT_FALSE(initialise(connection, L""));
  EXPECT_FALSE(connection.isInitialised());
  EXPECT_FALSE(initialise(connection, nullptr));
  initialise(connection, L"wire");
  connection.shutdown();
  EXPECT_FALSE(connection.isInitialised());
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

TEST_F(FtpConnection, ALocalFileHasSizeAndWriteTime) {
  start();
  CZepFtpConnection connection;
  write("a.txt", "12345");
  std::int64_t size = -1;
  FILETIME time{};
  ASSERT_TRUE(connection.getLocalFileSizeAndTime(size, path(L"a.txt").c_str(), time));
  EXPECT_EQ(size, 5);
  EXPECT_NE(platform::toTicks(time), 0U);
  EXPECT_FALSE(connection.getLocalFileSizeAndTime(size, path(L"b.txt").c_str(), time));
  EXPECT_EQ(size, 0);
  EXPECT_EQ(platform::toTicks(time), 0U);
}

TEST_F(FtpConnection, ThreadDataEndWithTheirRelease) {
  start();
  CZepFtpConnection connection;
  connection.setDialogsSuppressed(true);
  EXPECT_TRUE(connection.remote().getDialogsSuppressed());
  connection.releaseThreadData();
  EXPECT_FALSE(connection.remote().getDialogsSuppressed());
  connection.releaseThreadData();
}

}  // namespace
