// A server that dies in the middle of a transfer costs time, never a file.
#include <thread>

#include "platform/Time.h"
#include "tests/ftp/TransferStore.h"

namespace {

using namespace Quorvel::FileAccess;
using zephor_test::FtpServerVariant;
using zephor_test::FtpTls;
using zephor_test::RealFtpServer;

class LostServer : public StartedWorkstation, public testing::WithParamInterface<FtpServerVariant> {
 protected:
  static constexpr std::size_t kBytes = 6'000'000;

  void SetUp() override {
    if (const std::string why = RealFtpServer::whyNot(GetParam()); !why.empty()) GTEST_SKIP() << why;
    start();
    zephor_test::RealFtpServerOptions options;
    options.bytesPerSecond = 2'000'000;
    server = std::make_unique<RealFtpServer>(GetParam(), options);
    server->makeDirectory("Prj");
    connection = std::make_unique<CZepFtpConnection>();
    Initialize_forIZepInetFileTransfer record;
    record.serverName = L"files";
    ASSERT_TRUE(connection->initialize(record));
    constexpr int kLocalRoot = eLocalDataPath;
    constexpr int kServerRoot = eServerDataPath;
    constexpr int kOnline = 1;
    connection->setPathFromNr(path(L"local").c_str(), &kLocalRoot);
    connection->setConnectionType(&kOnline);
    connection->setPathFromNr(L"/Prj", &kServerRoot);
    RemoteFtp& remote = connection->remote();
    remote.hostName = server->host();
    remote.userName = server->user();
    remote.password = server->password();
    remote.trustedCertificates = server->authorityFile();
    remote.connectTimeoutSeconds = 10;
    remote.readTimeoutSeconds = 10;
    remote.connectionType =
        GetParam().tls == FtpTls::None ? RemoteConnectionType::Ftp : RemoteConnectionType::FtpExplicitTls;
    connection->setDialogsSuppressed(true);
  }

  /// Runs a transfer and kills the server as soon as `begun` sees it under way.
  template <typename Transfer, typename Begun>
  DWORD killDuring(const Transfer& transfer, const Begun& begun) {
    std::thread killer([&] {
      while (!begun()) std::this_thread::sleep_for(std::chrono::milliseconds(2));
      server->kill();
    });
    const DWORD result = transfer();
    killer.join();
    return result;
  }
  std::uint64_t localTime() {
    std::int64_t size = 0;
    FILETIME time{};
    connection->getLocalFileSizeAndTime(size, path(L"local\\Prj\\a.dat").c_str(), time);
    return platform::toTicks(time);
  }

  const int project = ePrjPath;
  std::unique_ptr<RealFtpServer> server;
  std::unique_ptr<CZepFtpConnection> connection;
};

TEST_P(LostServer, DuringADownloadLeavesTheOldFile) {
  server->write("Prj/a.dat", std::string(kBytes, 'n'));
  write("local/Prj/a.dat", "old");
  const auto download = [&] { return connection->downloadFile(L"a.dat", nullptr, &project, &project, nullptr, 0, 0); };
  const auto begun = [&] {
    std::error_code error;
    return std::filesystem::file_size(root() / "local/Prj/a.dat.part", error) > 0 && !error;
  };
  EXPECT_NE(killDuring(download, begun), 0U);
  EXPECT_EQ(read("local/Prj/a.dat"), "old");
  EXPECT_FALSE(exists("local/Prj/a.dat.part"));
  server->restart();
  EXPECT_EQ(download(), 0U);
  EXPECT_EQ(read("local/Prj/a.dat").size(), kBytes);
}

TEST_P(LostServer, DuringAnUploadLeavesTheLocalFileTheNewerOne) {
  write("local/Prj/a.dat", std::string(kBytes, 'n'));
  const auto upload = [&]() -> DWORD {
    connection->uploadFile(L"a.dat", nullptr, &project, true);
    return GetLastError();
  };
  const auto begun = [&] {
    std::error_code error;
    return std::filesystem::file_size(server->path("Prj/a.dat"), error) > 0 && !error;
  };
  EXPECT_NE(killDuring(upload, begun), 0U);
  EXPECT_EQ(read("local/Prj/a.dat").size(), kBytes);
  EXPECT_FALSE(exists("local/Prj/a.dat.upload"));
  server->restart();
  std::int64_t size = 0;
  FILETIME time{};
  ASSERT_TRUE(connection->getServerFileSizeAndTime(&size, L"/Prj/a.dat", &time));
  EXPECT_GT(localTime(), platform::toTicks(time)) << "the part must not come down in its place";
  EXPECT_EQ(upload(), 0U);
  EXPECT_EQ(server->read("Prj/a.dat").size(), kBytes);
}

INSTANTIATE_TEST_SUITE_P(Servers, LostServer,
                         testing::Values(FtpServerVariant{zephor_test::FtpServerKind::Vsftpd, FtpTls::None},
                                         FtpServerVariant{zephor_test::FtpServerKind::Proftpd, FtpTls::Explicit}),
                         [](const testing::TestParamInfo<FtpServerVariant>& variant) { return nameOf(variant.param); });

}  // namespace
