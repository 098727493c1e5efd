// The FTP client on real servers, each in plain, explicit and implicit TLS.
#include <filesystem>
#include <map>
#include <memory>

#include "tests/servers/DialogueFixture.h"
#include "tests/support/RealFtpServer.h"

using namespace zephor_test;
using ::testing::UnorderedElementsAre;

namespace {

void prepare(CkFtp2W& client, const RealFtpServer& server) {
  client.put_Hostname(server.host().c_str());
  client.put_Username(server.user().c_str());
  client.put_Password(server.password().c_str());
  client.put_ConnectTimeout(20);
  client.put_ReadTimeout(20);
  const FtpTls tls = server.variant().tls;
  client.put_Port(tls == FtpTls::Implicit ? 990 : 21);
  client.put_AuthTls(tls == FtpTls::Explicit);
  client.put_Ssl(tls == FtpTls::Implicit);
  client.put_TrustedCertificates(server.authorityFile().c_str());
}

std::string errorOf(const CkFtp2W& client) {
  return platform::toUtf8(client.lastErrorText());
}

/// Bytes that a text conversion or a lost block would change.
std::string noise(std::size_t size) {
  std::string bytes(size, '\0');
  std::uint32_t state = 12345;
  for (char& byte : bytes) {
    state = state * 1664525U + 1013904223U;
    byte = static_cast<char>(state >> 24U);
  }
  return bytes;
}

CkByteData dataOf(const std::string& bytes) {
  CkByteData data;
  data.append(bytes.data(), bytes.size());
  return data;
}

class ServerTest : public ::testing::TestWithParam<FtpServerVariant> {
 protected:
  void SetUp() override {
    if (const std::string why = RealFtpServer::whyNot(GetParam()); !why.empty()) GTEST_SKIP() << why;
    server_ = std::make_unique<RealFtpServer>(GetParam());
    prepare(client, *server_);
  }
  void TearDown() override {
    if (HasFailure() && server_) std::fprintf(stderr, "%s", server_->log().c_str());
  }
  RealFtpServer& server() { return *server_; }
  void connect() { ASSERT_TRUE(client.Connect()) << errorOf(client); }

  std::string fetch(const wchar_t* name) {
    CkByteData data;
    EXPECT_TRUE(client.GetRemoteFileBinaryData(name, data)) << errorOf(client);
    return textOf(data);
  }
  std::vector<std::wstring> list(const wchar_t* pattern) { return listOf(client, pattern); }

  CkFtp2W client;

 private:
  std::unique_ptr<RealFtpServer> server_;
};

TEST_P(ServerTest, TakesAndGivesFilesByteForByte) {
  const TemporaryDirectory directory;
  connect();
  EXPECT_EQ(client.facts().tls, GetParam().tls != FtpTls::None);
  ASSERT_TRUE(client.CreateRemoteDir(L"plans")) << errorOf(client);
  ASSERT_TRUE(client.ChangeRemoteDir(L"/plans"));
  // More than one transfer of each kind: data connections resume the session again and again.
  for (const std::size_t size : {0U, 1U, 70'000U, 3'000'000U, 20'000'000U}) {
    const std::string bytes = noise(size);
    ASSERT_TRUE(client.PutFileFromBinaryData(L"file.bin", dataOf(bytes))) << size << "\n" << errorOf(client);
    EXPECT_TRUE(server().read("plans/file.bin") == bytes) << size;
    EXPECT_EQ(client.GetSizeByName64(L"file.bin"), static_cast<std::int64_t>(size));
    EXPECT_TRUE(fetch(L"file.bin") == bytes) << size;
    const std::wstring local = directory.libraryPath() + L"\\file.bin";
    ASSERT_TRUE(client.GetFile(L"file.bin", local.c_str())) << errorOf(client);
    EXPECT_TRUE(contentOf(directory.path("file.bin")) == bytes) << size;
    ASSERT_TRUE(client.PutFile(local.c_str(), L"copy.bin")) << errorOf(client);
    EXPECT_TRUE(server().read("plans/copy.bin") == bytes) << size;
  }
  EXPECT_TRUE(client.get_IsConnected());
}

TEST_P(ServerTest, ListsNamesOfAllKinds) {
  server().write(".hidden", "1");
  server().write("two  blanks.txt", "12");
  server().write(" leading", "123");
  server().write("Grundriß 平面図.dwg", "1234");
  server().write("-la", "12345");
  server().write("[a]*.txt", "x");
  server().makeDirectory("Alte Pläne");
  std::filesystem::create_symlink("two  blanks.txt", server().path("link"));
  connect();
  const std::vector<std::wstring> names = list(L"*");
  EXPECT_THAT(names, UnorderedElementsAre(L".hidden", L"two  blanks.txt", L" leading", L"Grundriß 平面図.dwg", L"-la",
                                          L"[a]*.txt", L"Alte Pläne", L"link"));
  for (std::size_t i = 0; i < names.size(); ++i) {
    const auto index = static_cast<std::int32_t>(i);
    const std::map<std::wstring, std::int64_t> sizes{{L" leading", 3}, {L"link", 2}, {L"-la", 5}, {L"Alte Pläne", -1}};
    EXPECT_EQ(client.GetIsDirectory(index), names[i] == L"Alte Pläne");
    if (sizes.contains(names[i])) {
      EXPECT_EQ(client.GetSize64(index), sizes.at(names[i])) << platform::toUtf8(names[i]);
    }
  }
  EXPECT_THAT(list(L"*.DWG"), UnorderedElementsAre(L"Grundriß 平面図.dwg"));
  EXPECT_EQ(fetch(L"Grundriß 平面図.dwg"), "1234");
  EXPECT_EQ(fetch(L"two  blanks.txt"), "12");
  EXPECT_EQ(client.GetSizeByName(L".hidden"), 1);
  ASSERT_TRUE(client.ChangeRemoteDir(L"/Alte Pläne")) << errorOf(client);
  EXPECT_THAT(list(L"*"), ::testing::IsEmpty());
}

TEST_P(ServerTest, DeletesATreeAndNothingBehindItsLinks) {
  server().write("tree/x/y/deep.txt", "d");
  server().write("tree/.hidden", "h");
  server().write("elsewhere/kept.txt", "k");
  std::filesystem::create_directory_symlink("../elsewhere", server().path("tree/link"));
  connect();
  EXPECT_FALSE(client.RemoveRemoteDir(L"tree"));
  ASSERT_TRUE(client.ChangeRemoteDir(L"tree"));
  EXPECT_TRUE(client.DeleteTree()) << errorOf(client);
  ASSERT_TRUE(client.ChangeRemoteDir(L"/"));
  EXPECT_TRUE(client.RemoveRemoteDir(L"tree")) << errorOf(client);
  EXPECT_FALSE(server().exists("tree"));
  EXPECT_EQ(server().read("elsewhere/kept.txt"), "k");
}

TEST_P(ServerTest, TellsWhatIsMissing) {
  connect();
  EXPECT_FALSE(client.ChangeRemoteDir(L"/missing"));
  EXPECT_EQ(client.lastReplyCode(), 550);
  EXPECT_LT(client.GetSizeByName64(L"missing"), 0);
  EXPECT_THAT(list(L"missing"), ::testing::IsEmpty());
  server().makeDirectory("gone");
  ASSERT_TRUE(client.ChangeRemoteDir(L"/gone"));
  EXPECT_THAT(list(L"*"), ::testing::IsEmpty());
  std::filesystem::remove(server().path("gone"));
  client.ClearDirCache();
  EXPECT_LT(client.get_NumFilesAndDirs(), 0) << errorOf(client);
  ASSERT_TRUE(client.get_IsConnected() || client.Connect());  // pure-ftpd ends the session
  ASSERT_TRUE(client.ChangeRemoteDir(L"/")) << errorOf(client);
  CkByteData data;
  // More often than a server answers one off.
  for (int i = 0; i < 5; ++i) {
    EXPECT_FALSE(client.GetRemoteFileBinaryData(L"missing", data));
    EXPECT_EQ(client.lastReplyCode(), 550) << errorOf(client);
    EXPECT_FALSE(client.PutFileFromBinaryData(L"no/such/directory", dataOf("x")));
    EXPECT_GE(client.lastReplyCode(), 550) << errorOf(client);
  }
  EXPECT_TRUE(client.PutFileFromBinaryData(L"a", dataOf("x"))) << errorOf(client);
  EXPECT_EQ(fetch(L"a"), "x");
}

TEST_P(ServerTest, SurvivesTheLossOfTheServer) {
  server().write("kept.txt", "kept");
  connect();
  EXPECT_EQ(fetch(L"kept.txt"), "kept");
  server().killSessions();
  EXPECT_FALSE(client.get_IsConnected());
  connect();
  EXPECT_EQ(fetch(L"kept.txt"), "kept");
  server().kill();
  EXPECT_FALSE(client.get_IsConnected());
  EXPECT_FALSE(client.Connect());
  EXPECT_EQ(client.get_ConnectFailReason(), eConnect_Refused);
  server().restart();
  connect();
  EXPECT_EQ(fetch(L"kept.txt"), "kept");
}

INSTANTIATE_TEST_SUITE_P(, ServerTest, ::testing::ValuesIn(allFtpServers()),
                         [](const auto& tested) { return nameOf(tested.param); });

// What depends on how the server is set up.

class SetUpServerTest : public ::testing::TestWithParam<FtpServerVariant> {
 protected:
  void SetUp() override {
    if (const std::string why = RealFtpServer::whyNot(GetParam()); !why.empty()) GTEST_SKIP() << why;
  }
  CkFtp2W client;
};

TEST_P(SetUpServerTest, IsLimitedToTls12OrInSpeedAndWorks) {
  RealFtpServerOptions options;
  options.onlyTls12 = true;
  options.withoutFacts = true;
  options.bytesPerSecond = 4'000'000;
  RealFtpServer server(GetParam(), options);
  server.write("a.txt", "abc");
  prepare(client, server);
  ASSERT_TRUE(client.Connect()) << errorOf(client);
  EXPECT_EQ(client.facts().tlsVersion, GetParam().tls != FtpTls::None ? L"TLSv1.2" : L"");
  for (int i = 0; i < 5; ++i) {
    ASSERT_TRUE(client.PutFileFromBinaryData(L"b.bin", dataOf(noise(500'000)))) << errorOf(client);
    CkByteData data;
    ASSERT_TRUE(client.GetRemoteFileBinaryData(L"a.txt", data)) << errorOf(client);
    EXPECT_EQ(textOf(data), "abc");
  }
  EXPECT_TRUE(server.read("b.bin") == noise(500'000));
  EXPECT_EQ(client.get_NumFilesAndDirs(), 2);
}

TEST_P(SetUpServerTest, TellsThatItsDiskIsFullAndGoesOn) {
  if (!RealFtpServer::canLimitDisk()) GTEST_SKIP() << "no right to mount a file system";
  RealFtpServerOptions options;
  options.diskBytes = 256 * 1024;
  RealFtpServer server(GetParam(), options);
  server.write("a.txt", "abc");
  prepare(client, server);
  ASSERT_TRUE(client.Connect()) << errorOf(client);
  EXPECT_FALSE(client.PutFileFromBinaryData(L"large.bin", dataOf(noise(10'000'000))));
  ASSERT_TRUE(client.get_IsConnected() || client.Connect());
  CkByteData data;
  EXPECT_TRUE(client.GetRemoteFileBinaryData(L"a.txt", data)) << errorOf(client);
  EXPECT_EQ(textOf(data), "abc");
  client.DeleteRemoteFile(L"large.bin");
  EXPECT_TRUE(client.PutFileFromBinaryData(L"b.txt", dataOf("fits"))) << errorOf(client);
  EXPECT_EQ(server.read("b.txt"), "fits");
}

INSTANTIATE_TEST_SUITE_P(, SetUpServerTest, ::testing::ValuesIn(allFtpServers()),
                         [](const auto& tested) { return nameOf(tested.param); });

class CertificateTest : public SetUpServerTest {};

TEST_P(CertificateTest, IsRefusedWhereItCannotBeTrusted) {
  struct Case {
    const char* what;
    CertificateKind kind;
    bool trusted;
  };
  for (const Case& each :
       {Case{"unknown authority", CertificateKind::Good, false}, Case{"expired", CertificateKind::Expired, true},
        Case{"of another host", CertificateKind::OtherHost, true},
        Case{"self-signed", CertificateKind::SelfSigned, true}}) {
    SCOPED_TRACE(each.what);
    RealFtpServerOptions options;
    options.certificate = each.kind;
    const RealFtpServer server(GetParam(), options);
    prepare(client, server);
    if (!each.trusted) client.put_TrustedCertificates(L"");
    EXPECT_FALSE(client.Connect());
    EXPECT_EQ(client.get_ConnectFailReason(), eConnect_NotVerified) << errorOf(client);
    EXPECT_FALSE(client.get_IsConnected());
  }
  const RealFtpServer server(GetParam());
  prepare(client, server);
  client.put_TrustedCertificates((server.authorityFile() + L".missing").c_str());
  EXPECT_FALSE(client.Connect());
  EXPECT_EQ(client.get_ConnectFailReason(), eConnect_OwnCertificates);
}

std::vector<FtpServerVariant> securedServers() {
  std::vector<FtpServerVariant> servers = ftpServersWith(FtpTls::Explicit);
  for (const FtpServerVariant& variant : ftpServersWith(FtpTls::Implicit)) servers.push_back(variant);
  return servers;
}

INSTANTIATE_TEST_SUITE_P(, CertificateTest, ::testing::ValuesIn(securedServers()),
                         [](const auto& tested) { return nameOf(tested.param); });

}  // namespace
