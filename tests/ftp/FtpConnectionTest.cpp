#include "ftp/FtpConnection.h"

#include <algorithm>

#include "tests/core/StartedWorkstation.h"
#include "tests/support/ScriptedFtpServer.h"

namespace {

using namespace Quorvel::FileAccess;

class FtpConnection : public StartedWorkstation {};

TEST_F(FtpConnection, InARunOfDownloadsEachIsAskedAboutAheadOfItsTransfer) {
  start();
  zephor_test::ScriptedFtpServer server;
  server.without("MLST");
  CZepFtpConnection connection;
  Initialize_forIZepInetFileTransfer record;
  record.serverName = L"wire";
  ASSERT_TRUE(connection.initialize(record));
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

TEST_F(FtpConnection, WithoutItsServerItAsksNobodyWhetherAFileIsThere) {
  start();
  CZepFtpConnection connection;
  Initialize_forIZepInetFileTransfer record;
  record.serverName = L"wire";
  ASSERT_TRUE(connection.initialize(record));
  record.serverName = nullptr;
  EXPECT_FALSE(connection.initialize(record));
  connection.setServerName(L"ONDRATH");
  EXPECT_TRUE(connection.existFile(L"pb000001.zpl"));
  EXPECT_EQ(connection.uploadFile(L"a", nullptr, nullptr, true), ERROR_INVALID_DATA);
  EXPECT_EQ(GetLastError(), ERROR_INVALID_DATA) << "nothing was sent";
}

}  // namespace
