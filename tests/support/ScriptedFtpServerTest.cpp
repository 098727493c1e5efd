#include "tests/support/ScriptedFtpServer.h"

#include <gmock/gmock.h>

#include "tests/support/RawFtpDialogue.h"

using namespace zephor_test;
using ::testing::ElementsAre;
using ::testing::StartsWith;

namespace {

TEST(ScriptedFtpServerTest, IsAnHonestServerWithoutAScript) {
  ScriptedFtpServer server;
  server.addFile("/plans/a.txt", "twelve walls");
  RawFtpDialogue dialogue("127.0.0.1", server.port());
  EXPECT_EQ(dialogue.reply(), "220 scripted server");
  EXPECT_THAT(dialogue.send("CWD plans"), StartsWith("250"));
  EXPECT_EQ(dialogue.send("SIZE a.txt"), "213 12");
  dialogue.send("REST 7");
  RawFtpDialogue data("127.0.0.1", portOfEpsv(dialogue.send("EPSV")));
  EXPECT_THAT(dialogue.send("RETR a.txt"), StartsWith("150"));
  EXPECT_EQ(data.readAll(), "walls");
  EXPECT_THAT(dialogue.reply(), StartsWith("226"));
  RawFtpDialogue sent("127.0.0.1", portOfEpsv(dialogue.send("EPSV")));
  dialogue.send("STOR /plans/b.txt");
  sent.sendAll("a roof");
  EXPECT_THAT(dialogue.reply(), StartsWith("226"));
  EXPECT_EQ(server.file("/plans/b.txt"), "a roof");
  EXPECT_THAT(server.commands(),
              ElementsAre("CWD plans", "SIZE a.txt", "REST 7", "EPSV", "RETR a.txt", "EPSV", "STOR /plans/b.txt"));
}

TEST(ScriptedFtpServerTest, MisbehavesAtTheCommandItWasTold) {
  ScriptedFtpServer server;
  server.onNth("NOOP", 2).replyByByte("421 going").close();
  server.once("PWD").pause(1).reply("257 \"/\"").send("200 one more\r\n");
  server.on("SIZE a").reset();
  RawFtpDialogue dialogue("127.0.0.1", server.port());
  dialogue.reply();
  EXPECT_EQ(dialogue.send("PWD"), "257 \"/\"");
  EXPECT_EQ(dialogue.reply(), "200 one more");
  EXPECT_EQ(dialogue.send("NOOP"), "200 ok");
  EXPECT_EQ(dialogue.send("NOOP"), "421 going");
  EXPECT_EQ(dialogue.reply(), "");
  RawFtpDialogue next("127.0.0.1", server.port());
  next.reply();
  EXPECT_THAT(next.send("SIZE b"), StartsWith("550"));
  EXPECT_EQ(next.send("SIZE a"), "");
  EXPECT_EQ(server.connections(), 2);
}

TEST(ScriptedFtpServerTest, EndsWhileAClientWaitsForItsAnswer) {
  ScriptedFtpServer server;
  server.on("(connect)").hang();
  const RawFtpDialogue dialogue("127.0.0.1", server.port());
}

}  // namespace
