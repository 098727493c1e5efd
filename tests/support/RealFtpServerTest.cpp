#include "tests/support/RealFtpServer.h"

#include <gmock/gmock.h>

#include "tests/support/RawFtpDialogue.h"

using namespace zephor_test;
using ::testing::HasSubstr;
using ::testing::StartsWith;

namespace {

class PlainServer : public ::testing::TestWithParam<FtpServerVariant> {
 protected:
  void SetUp() override {
    if (const std::string why = RealFtpServer::whyNot(GetParam()); !why.empty()) GTEST_SKIP() << why;
  }

  static void logIn(RawFtpDialogue& dialogue) {
    ASSERT_THAT(dialogue.reply(), StartsWith("220"));
    ASSERT_THAT(dialogue.send("USER ada"), StartsWith("331"));
    ASSERT_THAT(dialogue.send("PASS lovelace"), StartsWith("230"));
    ASSERT_THAT(dialogue.send("TYPE I"), StartsWith("200"));
  }

  static std::string fetch(const RealFtpServer& server, RawFtpDialogue& dialogue, const std::string& name) {
    std::string bytes;
    {
      // Closed before the reply: proftpd waits for that.
      RawFtpDialogue data(server.address(), portOfEpsv(dialogue.send("EPSV")));
      EXPECT_THAT(dialogue.send("RETR " + name), StartsWith("150"));
      bytes = data.readAll();
    }
    EXPECT_THAT(dialogue.reply(), StartsWith("226"));
    return bytes;
  }

  static std::string store(const RealFtpServer& server, RawFtpDialogue& dialogue, const std::string& name,
                           const std::string& bytes) {
    {
      RawFtpDialogue data(server.address(), portOfEpsv(dialogue.send("EPSV")));
      EXPECT_THAT(dialogue.send("STOR " + name), StartsWith("150"));
      data.sendAll(bytes);
    }
    return dialogue.reply();
  }
};

TEST_P(PlainServer, GivesAndTakesFilesOfItsRoot) {
  RealFtpServer server(GetParam());
  server.write("part/plan.txt", "twelve walls");
  RawFtpDialogue dialogue(server.address(), server.port());
  logIn(dialogue);
  EXPECT_THAT(dialogue.send("PWD"), HasSubstr("\"/\""));
  EXPECT_THAT(dialogue.send("CWD /part"), StartsWith("250"));
  EXPECT_EQ(fetch(server, dialogue, "plan.txt"), "twelve walls");
  EXPECT_THAT(store(server, dialogue, "back.txt", "and a roof"), StartsWith("226"));
  EXPECT_EQ(server.read("part/back.txt"), "and a roof");
}

TEST_P(PlainServer, RefusesAWrongPassword) {
  const RealFtpServer server(GetParam());
  RawFtpDialogue dialogue(server.address(), server.port());
  dialogue.reply();
  dialogue.send("USER ada");
  EXPECT_THAT(dialogue.send("PASS wrong"), StartsWith("530"));
}

TEST_P(PlainServer, LosesItsSessionsAndComesBackAtItsAddress) {
  RealFtpServer server(GetParam());
  server.write("kept.txt", "kept");
  RawFtpDialogue first(server.address(), server.port());
  logIn(first);
  EXPECT_GE(server.killSessions(), 1);
  EXPECT_EQ(first.reply(), "");
  RawFtpDialogue second(server.address(), server.port());
  logIn(second);
  server.kill();
  EXPECT_EQ(second.reply(), "");
  server.restart();
  RawFtpDialogue third(server.address(), server.port());
  logIn(third);
  EXPECT_EQ(fetch(server, third, "kept.txt"), "kept");
}

TEST_P(PlainServer, RunsOutOfDisk) {
  if (!RealFtpServer::canLimitDisk()) GTEST_SKIP() << "no right to mount a file system";
  RealFtpServerOptions options;
  options.diskBytes = 64 * 1024;
  RealFtpServer server(GetParam(), options);
  RawFtpDialogue dialogue(server.address(), server.port());
  logIn(dialogue);
  EXPECT_THAT(store(server, dialogue, "big.bin", std::string(1 << 20, 'x')), ::testing::Not(StartsWith("226")));
  EXPECT_LE(server.read("big.bin").size(), 64U * 1024);
}

INSTANTIATE_TEST_SUITE_P(, PlainServer, ::testing::ValuesIn(ftpServersWith(FtpTls::None)),
                         [](const auto& tested) { return nameOf(tested.param); });

class AnyServer : public PlainServer {};

TEST_P(AnyServer, StartsWithEveryOption) {
  RealFtpServerOptions options;
  options.onlyTls12 = true;
  options.withoutFacts = true;
  options.withoutRest = true;
  options.maximumConnections = 3;
  options.bytesPerSecond = 100000;
  const RealFtpServer server(GetParam(), options);
  if (GetParam().tls == FtpTls::Implicit) return;
  RawFtpDialogue dialogue(server.address(), server.port());
  EXPECT_THAT(dialogue.reply(), StartsWith("220"));
  EXPECT_EQ(dialogue.send("AUTH TLS").starts_with("234"), GetParam().tls == FtpTls::Explicit);
}

INSTANTIATE_TEST_SUITE_P(, AnyServer, ::testing::ValuesIn(allFtpServers()),
                         [](const auto& tested) { return nameOf(tested.param); });

}  // namespace
