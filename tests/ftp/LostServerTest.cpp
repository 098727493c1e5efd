// A server that dies in the middle of a transfer costs time, never a file.
#include <thread>

#include "tests/ftp/TransferStore.h"

namespace {

using zephor_test::FtpServerVariant;
using zephor_test::FtpTls;

class LostServer : public zephor_test::TransferFixture, public testing::WithParamInterface<FtpServerVariant> {
 protected:
  static constexpr std::size_t kBytes = 6'000'000;

  void SetUp() override {
    zephor_test::RealFtpServerOptions options;
    options.bytesPerSecond = 2'000'000;
    startStore(zephor_test::serverStore(GetParam(), options, &lost));
    if (!IsSkipped()) connection().setDialogsSuppressed(true);
  }

  /// Runs a transfer and kills the server as soon as the file that it makes has bytes.
  template <typename Transfer>
  DWORD killDuring(const Transfer& transfer, const std::filesystem::path& made) {
    std::thread killer([&] {
      std::error_code error = std::make_error_code(std::errc::no_such_file_or_directory);
      while (std::filesystem::file_size(made, error) == 0 || error) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
      }
      lost->kill();
    });
    const DWORD result = transfer();
    killer.join();
    return result;
  }

  zephor_test::RealFtpServer* lost = nullptr;
};

TEST_P(LostServer, DuringADownloadLeavesTheOldFile) {
  store().write("a.dat", std::string(kBytes, 'n'));
  writeLocal("a.dat", "old");
  const auto download = [&] { return connection().downloadFile(L"a.dat", nullptr, local(), local(), nullptr, 0, 0); };
  EXPECT_NE(killDuring(download, root() / "local/Prj/a.dat.part"), 0U);
  EXPECT_EQ(localFile("a.dat"), "old");
  EXPECT_FALSE(hasLocal("a.dat.part"));
  lost->restart();
  EXPECT_EQ(download(), 0U);
  EXPECT_EQ(localFile("a.dat").size(), kBytes);
}

TEST_P(LostServer, DuringAnUploadLeavesTheLocalFileTheNewerOne) {
  writeLocal("a.dat", std::string(kBytes, 'n'));
  const auto upload = [&]() -> DWORD {
    connection().uploadFile(L"a.dat", nullptr, local(), true);
    return GetLastError();
  };
  EXPECT_NE(killDuring(upload, lost->path("Prj/a.dat")), 0U);
  EXPECT_EQ(localFile("a.dat").size(), kBytes);
  EXPECT_FALSE(hasLocal("a.dat.upload"));
  lost->restart();
  ASSERT_NE(serverTime(L"a.dat"), 0U);
  EXPECT_GT(localTime(L"a.dat"), serverTime(L"a.dat")) << "the part must not come down in its place";
  EXPECT_EQ(upload(), 0U);
  EXPECT_EQ(store().read("a.dat").size(), kBytes);
}

INSTANTIATE_TEST_SUITE_P(Servers, LostServer,
                         testing::Values(FtpServerVariant{zephor_test::FtpServerKind::Vsftpd, FtpTls::None},
                                         FtpServerVariant{zephor_test::FtpServerKind::Proftpd, FtpTls::Explicit}),
                         [](const testing::TestParamInfo<FtpServerVariant>& variant) { return nameOf(variant.param); });

}  // namespace
