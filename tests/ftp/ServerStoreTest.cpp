// What the system tells of a server: whether it works, what it can do, what is on it.
#include "zephor/ServerStore.h"

#include "host/System.h"
#include "tests/ftp/TransferStore.h"
#include "zephor/Service.h"

namespace {

using namespace Quorvel::FileAccess;
using zephor_test::FtpServerVariant;
using zephor_test::FtpTls;
using zephor_test::RealFtpServer;

class ServerStore : public StartedWorkstation, public testing::WithParamInterface<FtpServerVariant> {
 protected:
  void SetUp() override {
    if (const std::string why = RealFtpServer::whyNot(GetParam()); !why.empty()) GTEST_SKIP() << why;
    start();
    server = std::make_unique<RealFtpServer>(GetParam());
  }
  CServerProperties properties() const {
    CServerProperties result(L"");
    result.hostName = server->host();
    result.userName = server->user();
    result.password = server->password();
    result.certificateFile = server->authorityFile();
    result.protocol = GetParam().tls == FtpTls::Implicit ? L"FTPS" : L"FTP";
    result.explicitTls = GetParam().tls == FtpTls::Explicit;
    result.connectLimitMilliseconds = 60'000;
    return result;
  }
  std::unique_ptr<RealFtpServer> server;
};

TEST_P(ServerStore, ACheckTellsWhatIsWrong) {
  CServerProperties checked = properties();
  EXPECT_EQ(CheckConnection_ofServerProperties(checked), 0);
  for (const int mode : {0, 1}) {
    checked.epsvMode = mode;
    EXPECT_EQ(CheckConnection_ofServerProperties(checked), 0) << mode;
  }
  checked.connectLimitMilliseconds = 0;
  EXPECT_EQ(CheckConnection_ofServerProperties(checked), kCheckSlow);
  checked.baseDirectory = L"/nowhere";
  EXPECT_EQ(CheckConnection_ofServerProperties(checked), kCheckNoBaseDirectory);
  EXPECT_EQ(DataForCheckConnection_fromError(kCheckNoBaseDirectory), 0);
  checked.password = L"wrong";
  EXPECT_EQ(CheckConnection_ofServerProperties(checked), kCheckNoConnection);
  EXPECT_EQ(DataForCheckConnection_fromError(kCheckNoConnection), 301);
  if (GetParam().tls == FtpTls::None) return;
  checked.certificateFile.clear();
  EXPECT_EQ(CheckConnection_ofServerProperties(checked), kCheckNoConnection);
  EXPECT_EQ(DataForCheckConnection_fromError(kCheckNoConnection), 105) << "the certificate is not trusted";
}

TEST_P(ServerStore, ADescriptionLeavesNothingBehind) {
  CServerProperties described = properties();
  described.baseDirectory = L"/base";
  ServerAbilities abilities;
  EXPECT_LT(WGO_describeServer(described, true, abilities), 0);
  server->makeDirectory("base");
  ASSERT_EQ(WGO_describeServer(described, true, abilities), 0);
  EXPECT_EQ(abilities.tls, GetParam().tls != FtpTls::None);
  EXPECT_TRUE(abilities.rest);
  EXPECT_TRUE(abilities.mdtm);
  EXPECT_EQ(abilities.mlsd, GetParam().kind != zephor_test::FtpServerKind::Vsftpd);
  EXPECT_EQ(abilities.timePrecision, TimePrecision::Seconds);
  EXPECT_EQ(abilities.renameOnto, RenameOnto::Replaces);
  EXPECT_GT(abilities.roundTripMicroseconds, 0);
  EXPECT_TRUE(std::filesystem::is_empty(server->path("base")));
}

TEST_P(ServerStore, RefusedTlsIsToldToWhoAsks) {
  if (GetParam().tls != FtpTls::None) return;
  auto& connection = dynamic_cast<CZepFtpConnection&>(getInetFileManager());
  Initialize_forIZepInetFileTransfer record;
  record.serverName = L"wire";
  ASSERT_TRUE(connection.initialize(record));
  connection.remote().hostName = server->host();
  connection.remote().userName = server->user();
  connection.remote().password = server->password();
  connection.remote().readTimeoutSeconds = 20;
  connection.setDialogsSuppressed(true);
  EXPECT_FALSE(WGO_isConnectionDowngraded());
  EXPECT_EQ(WGO_connectionRoundTrip(), 0);
  server->write("a/b/c.txt", "123");
  server->write("top.txt", "");
  std::vector<ServerTreeFile> files;
  std::vector<std::wstring> directories;
  ASSERT_EQ(WGO_listServerTree(L"/", files, directories), 0U);
  EXPECT_TRUE(WGO_isConnectionDowngraded());
  EXPECT_GT(WGO_connectionRoundTrip(), 0);
  EXPECT_EQ(directories, (std::vector<std::wstring>{L"a", L"a/b"}));
  ASSERT_EQ(files.size(), 2U);
  EXPECT_EQ(files[1].directory, L"a/b");
  EXPECT_EQ(files[1].entry.size, 3);
  EXPECT_EQ(WGO_listServerTree(L"/nowhere", files, directories), 3U);
  EXPECT_TRUE(files.empty());
  server->kill();
  EXPECT_NE(WGO_listServerTree(L"/", files, directories), 0U);
  server->restart();
  EXPECT_EQ(WGO_listServerTree(L"/", files, directories), 0U) << "the session comes back by itself";
  connection.releaseThreadData();
}

INSTANTIATE_TEST_SUITE_P(Servers, ServerStore, testing::ValuesIn(zephor_test::allFtpServers()),
                         [](const testing::TestParamInfo<FtpServerVariant>& variant) { return nameOf(variant.param); });

class ServerTexts : public StartedWorkstation {};

TEST_F(ServerTexts, ADirectoryIsDescribedToo) {
  start();
  CServerProperties described(L"");
  described.baseDirectory = path(L"srv");
  ServerAbilities abilities;
  EXPECT_LT(WGO_describeServer(described, true, abilities), 0);
  std::filesystem::create_directories(root() / "srv");
  ASSERT_EQ(WGO_describeServer(described, true, abilities), 0);
  EXPECT_EQ(abilities.timePrecision, TimePrecision::Milliseconds);
  EXPECT_EQ(abilities.renameOnto, RenameOnto::Replaces);
  EXPECT_TRUE(std::filesystem::is_empty(root() / "srv"));
}

}  // namespace
