// `zephor server ...` over real FTP servers: every way to connect, and what is told when a server fails.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

#include "platform/Paths.h"
#include "platform/Text.h"
#include "tests/journeys/Program.h"
#include "tests/support/RealFtpServer.h"

namespace zephor_test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;
using Words = std::vector<std::string>;

/// A workstation without a store; `add` makes a server known to it as "far".
class Workstation {
 public:
  Workstation() {
    ::unsetenv("ZEPHOR_SERVER_PASSWORD");
    std::ofstream(passwordFile()) << "lovelace\n";
    ::chmod(passwordFile().c_str(), 0600);
  }
  void add(const RealFtpServer& server, const char* protocol, const Words& more = {}) const {
    Words words{"server", "add", "far",        "--replace", "--host",          platform::toUtf8(server.host()),
                "--user", "ada", "--protocol", protocol,    "--password-file", passwordFile()};
    const std::wstring authority = server.authorityFile();
    if (!authority.empty()) words.insert(words.end(), {"--certificates", platform::systemPath(authority)});
    words.insert(words.end(), more.begin(), more.end());
    office.must("anna", words);
  }
  ProgramRun run(Words words) const {
    words.insert(words.begin(), "server");
    return office.run("anna", words);
  }
  std::string must(Words words) const {
    words.insert(words.begin(), "server");
    return office.must("anna", words);
  }
  fs::path here(const std::string& name) const { return office.path(name); }
  std::string passwordFile() const { return office.path("password").string(); }
  void writeFiles(int count, std::size_t size) const {
    fs::create_directories(here("tree/deep"));
    for (int i = 0; i < count; ++i) {
      const std::string name = (i % 3 == 0 ? "deep/f" : "f") + std::to_string(i);
      std::ofstream(here("tree/" + name), std::ios::binary) << std::string(size, static_cast<char>('a' + i % 26)) << i;
    }
  }

  Office office;
};

const char* protocolOf(FtpTls tls) {
  if (tls == FtpTls::None) return "ftp";
  return tls == FtpTls::Explicit ? "ftpes" : "ftps";
}

class EveryServer : public testing::TestWithParam<FtpServerVariant> {};

TEST_P(EveryServer, HoldsATreeThatTwoPeopleKeepInStep) {
  if (const std::string why = RealFtpServer::whyNot(GetParam()); !why.empty()) GTEST_SKIP() << why;
  RealFtpServer server(GetParam());
  const Workstation anna;
  anna.add(server, protocolOf(GetParam().tls));
  EXPECT_THAT(anna.must({"check", "far", "--write"}), HasSubstr("connected"));
  anna.writeFiles(13, 3000);
  anna.must({"sync", "up", "far", "projects", "--local", anna.here("tree").string(), "--jobs", "3"});
  EXPECT_EQ(treeOf(server.path("projects")), treeOf(anna.here("tree")));
  anna.must({"sync", "down", "far", "projects", "--local", anna.here("other").string(), "--jobs", "3"});
  EXPECT_EQ(treeOf(anna.here("other")), treeOf(anna.here("tree")));
  EXPECT_EQ(anna.must({"sync", "up", "far", "projects", "--local", anna.here("tree").string()}), "");
  EXPECT_EQ(anna.must({"sync", "down", "far", "projects", "--local", anna.here("other").string()}), "");

  const std::string content = contentOf(anna.here("tree/f1"));
  EXPECT_EQ(anna.must({"cat", "far", "projects/f1", "--range", "2998-"}), content.substr(2998));
  EXPECT_EQ(anna.must({"cat", "far", "projects/f1"}), content);
  anna.must({"put", "far", anna.here("tree/f1").string(), "--to", "new/place"});
  for (const char* project : {"House.prj", "\xC3\x84rger.PRJ"}) anna.must({"mkdir", "far", project});
  EXPECT_EQ(anna.must({"projects", "far"}), "House\n\xC3\x84rger\n");
  anna.must({"mv", "far", "new/place/f1", "Ren\xC3\xA9 1"});
  EXPECT_THAT(anna.must({"ls", "far", "new", "-r"}), HasSubstr("place/Ren\xC3\xA9 1\n"));
  anna.must({"get", "far", "new/place/Ren\xC3\xA9 1", "--to", anna.here("got").string()});
  EXPECT_EQ(contentOf(anna.here("got/Ren\xC3\xA9 1")), content);
  anna.office.must("anna", {"--yes", "server", "rm", "far", "-r", "new"});
  EXPECT_FALSE(server.exists("new"));
}

INSTANTIATE_TEST_SUITE_P(Real, EveryServer, testing::ValuesIn(allFtpServers()),
                         [](const auto& each) { return nameOf(each.param); });

#define SKIP_WITHOUT(variant) \
  if (const std::string why = RealFtpServer::whyNot(variant); !why.empty()) GTEST_SKIP() << why

constexpr FtpServerVariant kPlain{FtpServerKind::Vsftpd, FtpTls::None};

TEST(RealServer, ARefusedLoginAnswersFiveAndShowsNoPassword) {
  SKIP_WITHOUT(kPlain);
  const RealFtpServer server(kPlain);
  const Workstation anna;
  std::ofstream(anna.passwordFile()) << "babbage\n";
  anna.add(server, "ftp");
  for (const Words& words : {Words{"ls", "far"}, Words{"check", "far"}}) {
    const ProgramRun run = anna.run(words);
    EXPECT_EQ(run.exitCode, 5) << run.err;
    EXPECT_THAT(run.err, HasSubstr("The login was refused"));
    EXPECT_THAT(run.out + run.err, Not(HasSubstr("babbage")));
  }
}

TEST(RealServer, ARefusedTlsIsToldAndWorkGoesOn) {
  SKIP_WITHOUT(kPlain);
  RealFtpServer server(kPlain);
  server.write("x", "content");
  const Workstation anna;
  anna.add(server, "ftpes");
  const ProgramRun run = anna.run({"cat", "far", "x"});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_EQ(run.out, "content");
  EXPECT_THAT(run.err, HasSubstr("unprotected"));
}

TEST(RealServer, ThatTakesFewConnectionsGetsAllFilesAllTheSame) {
  SKIP_WITHOUT(kPlain);
  RealFtpServerOptions options;
  options.maximumConnections = 3;
  RealFtpServer server(kPlain, options);
  const Workstation anna;
  anna.add(server, "ftp");
  anna.writeFiles(40, 2000);
  anna.must({"put", "far", "-r", anna.here("tree").string(), "--jobs", "8"});
  EXPECT_EQ(treeOf(server.path("tree")), treeOf(anna.here("tree")));
  anna.must({"get", "far", "-r", "tree", "--to", anna.here("got").string(), "--jobs", "8"});
  EXPECT_EQ(treeOf(anna.here("got/tree")), treeOf(anna.here("tree")));
}

TEST(RealServer, WithoutRoomKeepsNothingThatIsToldAsSent) {
  SKIP_WITHOUT(kPlain);
  if (!RealFtpServer::canLimitDisk()) GTEST_SKIP() << "no file system of its own can be mounted";
  RealFtpServerOptions options;
  options.diskBytes = 1'000'000;
  RealFtpServer server(kPlain, options);
  const Workstation anna;
  anna.add(server, "ftp");
  anna.writeFiles(9, 300'000);
  auto tree = treeOf(anna.here("tree"));
  tree.erase("deep");
  for (const Words& words :
       {Words{"put", "far", "-r", anna.here("tree").string(), "--jobs", "3"},
        Words{"sync", "up", "far", "tree", "--local", anna.here("tree").string(), "--jobs", "1"}}) {
    const ProgramRun run = anna.run(words);
    EXPECT_TRUE(run.exitCode == 1 || run.exitCode == 3) << run.exitCode;
    for (const auto& [name, content] : tree) {
      const bool isToldAsSent = run.out.find(name + ": sent") != std::string::npos;
      EXPECT_TRUE(!isToldAsSent || server.read("tree/" + name) == content) << name << run.out;
      EXPECT_EQ(contentOf(anna.here("tree/" + name)), content);
    }
  }
}

// Killed at several moments of a sync: what is here stays whole, what did not arrive is told, the next sync is right.
TEST(RealServer, ThatDiesCostsTimeAndNoFile) {
  SKIP_WITHOUT(kPlain);
  RealFtpServerOptions options;
  options.bytesPerSecond = 1'000'000;
  RealFtpServer server(kPlain, options);
  const Workstation anna;
  anna.add(server, "ftp", {"--connect-limit", "2"});
  anna.writeFiles(9, 300'000);
  const auto tree = treeOf(anna.here("tree"));
  const auto runAndKill = [&](const char* direction, const char* local, int milliseconds) {
    std::thread death([&] {
      std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
      server.kill();
    });
    const ProgramRun run =
        anna.run({"sync", direction, "far", "up", "--local", anna.here(local).string(), "--jobs", "2"});
    death.join();
    return run;
  };
  for (const int milliseconds : {60, 350, 900}) {
    fs::remove_all(server.path("up"));
    const ProgramRun up = runAndKill("up", "tree", milliseconds);
    if (up.exitCode == 0) {
      EXPECT_EQ(treeOf(server.path("up")), tree) << "what was told as done was done before the server died";
    }
    EXPECT_EQ(treeOf(anna.here("tree")), tree);
    server.restart();
    anna.must({"sync", "up", "far", "up", "--local", anna.here("tree").string()});
    EXPECT_EQ(treeOf(server.path("up")), tree);
  }
  if (runAndKill("down", "down", 500).exitCode == 0) {
    EXPECT_EQ(treeOf(anna.here("down")), tree);
  }
  server.restart();
  anna.must({"sync", "down", "far", "up", "--local", anna.here("down").string()});
  EXPECT_EQ(treeOf(anna.here("down")), tree);
}

}  // namespace
}  // namespace zephor_test
