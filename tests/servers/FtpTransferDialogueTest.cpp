// Transfers: the exact commands, and servers that break off, lie, stall or answer twice.
#include <functional>

#include "tests/servers/DialogueFixture.h"

using namespace zephor_test;
using ::testing::IsEmpty;

namespace {

class TransferDialogueTest : public DialogueTest {
 protected:
  TransferDialogueTest() {
    server.addFile("/plans/a.txt", "twelve walls");
    server.addFile("/plans/b.txt", "a roof");
  }
  /// The next operations of a caller see the right world, whatever became of the session.
  void expectSane() {
    connectIfDead();
    ASSERT_TRUE(client.ChangeRemoteDir(L"/plans")) << errorText();
    EXPECT_EQ(client.GetSizeByName64(L"b.txt"), 6) << errorText();
    std::string bytes;
    EXPECT_TRUE(get(L"b.txt", bytes)) << errorText();
    EXPECT_EQ(bytes, "a roof");
    EXPECT_TRUE(put(L"after.txt", "still there")) << errorText();
    EXPECT_EQ(server.file("/plans/after.txt"), "still there");
  }
};

TEST_F(TransferDialogueTest, SendNamesAsTheyAreAndNoneThatWouldBeACommand) {
  connect();
  EXPECT_TRUE(put(L" Grundriß №1 .txt", "x")) << errorText();
  EXPECT_TRUE(server.has("/ Grundriß №1 .txt"));
  server.clearCommands();
  std::string bytes;
  for (const wchar_t* const name : {L"a\r\nDELE b.txt", L"a\nb", L"a\rb", L""}) {
    EXPECT_FALSE(get(name, bytes));
    EXPECT_FALSE(put(name, "x"));
    EXPECT_FALSE(client.DeleteRemoteFile(name));
    EXPECT_FALSE(client.RenameRemoteFile(L"a.txt", name));
    EXPECT_FALSE(client.CreateRemoteDir(name));
    EXPECT_FALSE(client.Quote(name));
  }
  EXPECT_THAT(server.commands(), IsEmpty());
}

TEST_F(TransferDialogueTest, TakeThePeerWhereThePassiveAddressIsAnotherHosts) {
  client.put_UseEpsv(false);
  server.on("PASV").reply("227 Entering Passive Mode (10,99,99,99,{ports})");
  connect();
  expectSane();
}

TEST_F(TransferDialogueTest, AskAgainForADirectoryThatHasVanished) {
  connect();
  ASSERT_TRUE(client.ChangeRemoteDir(L"/plans"));
  server.on("CWD").reply("550 gone");
  server.on("RETR").reply("550 gone");
  std::string bytes;
  EXPECT_FALSE(get(L"a.txt", bytes));
  EXPECT_EQ(client.lastReplyCode(), 550);
  EXPECT_FALSE(client.ChangeRemoteDir(L"/plans"));
  EXPECT_EQ(client.lastReplyCode(), 550);
}

struct Mishap {
  const char* name;
  std::function<void(ScriptedFtpServer&)> script;
};

void PrintTo(const Mishap& mishap, std::ostream* out) {
  *out << mishap.name;
}

class BrokenDownloadTest : public TransferDialogueTest, public ::testing::WithParamInterface<Mishap> {};

TEST_P(BrokenDownloadTest, FailsAndTheNextOneIsRight) {
  connect();
  ASSERT_TRUE(client.ChangeRemoteDir(L"/plans"));
  client.put_ReadTimeout(1);
  GetParam().script(server);
  std::string bytes;
  EXPECT_FALSE(get(L"a.txt", bytes)) << bytes << "\n" << errorText();
  expectSane();
}

const Mishap kDownloadMishaps[] = {
    {"Refused", [](auto& s) { s.once("RETR").reply("550 no"); }},
    {"RefusedTwice", [](auto& s) { s.once("RETR").send("550 no\r\n550 really no\r\n"); }},
    {"NoListener", [](auto& s) { s.once("EPSV").reply("229 ok (|||{closed}|)").pause(100); }},
    {"GarbagePort", [](auto& s) { s.once("EPSV").reply("229 ok (|||99999|)"); }},
    {"GarbagePassive",
     [](auto& s) {
       s.without("EPSV");
       s.once("PASV").reply("227 ok (1,2,3)");
     }},
    {"CutWith426", [](auto& s) { s.once("RETR").reply("150 go").sendData("twe").closeData().reply("426 cut"); }},
    {"ResetWith426", [](auto& s) { s.once("RETR").reply("150 go").sendData("twe").resetData().reply("426 cut"); }},
    {"ResetWith226",
     [](auto& s) { s.once("RETR").reply("150 go").sendData("twe").pause(20).resetData().reply("226 ok"); }},
    {"ShorterThanAnnounced",
     [](auto& s) {
       s.once("RETR").reply("150 Opening a.txt (12 bytes).").sendData("twe").closeData().reply("226 ok");
     }},
    {"RepliedTwice", [](auto& s) { s.once("RETR").reply("150 go").resetData().send("426 cut\r\n226 Abort done\r\n"); }},
    {"ClosedControl", [](auto& s) { s.once("RETR").reply("150 go").sendData("twe").close(); }},
    {"ResetControl", [](auto& s) { s.once("RETR").reply("150 go").sendData("twe").reset(); }},
    {"GoneWith421", [](auto& s) { s.once("RETR").reply("421 going down").close(); }},
    {"SilentData", [](auto& s) { s.once("RETR").reply("150 go").sendData("twe").hang(); }},
    {"SilentControl", [](auto& s) { s.once("RETR").hang(); }},
    {"NoFinalReply", [](auto& s) { s.once("RETR").reply("150 go").sendData("twelve walls").closeData().hang(); }},
    {"GarbageReply", [](auto& s) { s.once("RETR").send("what a nice day\r\n").hang(); }},
};
INSTANTIATE_TEST_SUITE_P(, BrokenDownloadTest, ::testing::ValuesIn(kDownloadMishaps),
                         [](const auto& tested) { return tested.param.name; });

class BrokenUploadTest : public TransferDialogueTest, public ::testing::WithParamInterface<Mishap> {};

TEST_P(BrokenUploadTest, FailsAndTheNextOneIsRight) {
  connect();
  ASSERT_TRUE(client.ChangeRemoteDir(L"/plans"));
  client.put_ReadTimeout(1);
  GetParam().script(server);
  EXPECT_FALSE(put(L"c.txt", std::string(4'000'000, 'x'))) << errorText();
  expectSane();
}

const Mishap kUploadMishaps[] = {
    {"Refused", [](auto& s) { s.once("STOR").reply("553 no such name here"); }},
    {"DiskFullAtTheEnd", [](auto& s) { s.once("STOR").reply("150 go").receiveData().closeData().reply("452 full"); }},
    {"DiskFullHalfWay",
     [](auto& s) { s.once("STOR").reply("150 go").receiveData(100000).reply("552 full").pause(20).resetData(); }},
    {"ResetWith426", [](auto& s) { s.once("STOR").reply("150 go").receiveData(1000).resetData().reply("426 cut"); }},
    {"ResetWith226", [](auto& s) { s.once("STOR").reply("150 go").receiveData(1000).resetData().reply("226 ok"); }},
    {"ResetControl", [](auto& s) { s.once("STOR").reply("150 go").receiveData(1000).reset(); }},
    {"GoneWith421", [](auto& s) { s.once("STOR").reply("150 go").receiveData(1000).reply("421 down").close(); }},
    {"TakesNothing", [](auto& s) { s.once("STOR").reply("150 go").receiveData(1000).hang(); }},
    {"NoFinalReply", [](auto& s) { s.once("STOR").reply("150 go").receiveData().closeData().hang(); }},
};
INSTANTIATE_TEST_SUITE_P(, BrokenUploadTest, ::testing::ValuesIn(kUploadMishaps),
                         [](const auto& tested) { return tested.param.name; });

// In a run the next port is asked for ahead; a second last word must not be taken for it, nor for a success.
TEST_F(TransferDialogueTest, DoNotTakeASecondLastWordForAnotherReply) {
  for (const int pause : {0, 50}) {
    for (const char* const stray : {"226 stray", "426 stray"}) {
      ScriptedFtpServer one;
      one.onNth("STOR", 2).reply("150 go").receiveData().closeData().reply("226 ok").pause(pause).reply(stray);
      one.onNth("STOR", 3).reply("553 no");
      client.put_Hostname(one.host().c_str());
      ASSERT_TRUE(client.Connect());
      EXPECT_TRUE(put(L"a", "1") && put(L"b", "2"));
      EXPECT_FALSE(put(L"c", "3")) << stray << " after " << pause << "\n" << errorText();
      connectIfDead();
      put(L"d", "4");
      connectIfDead();
      EXPECT_TRUE(put(L"e", "5")) << errorText();
      EXPECT_EQ(one.file("/e"), "5");
    }
  }
}

TEST_F(TransferDialogueTest, KeepTheirOffsetWhenThePortAskedForAheadIsStale) {
  connect();
  ASSERT_TRUE(client.ChangeRemoteDir(L"/plans"));
  server.onNth("EPSV", 3).reply("229 ok (|||{closed}|)");
  std::string bytes;
  EXPECT_TRUE(get(L"a.txt", bytes) && get(L"a.txt", bytes));
  client.Quote(L"REST 7");
  EXPECT_TRUE(get(L"a.txt", bytes)) << errorText();
  EXPECT_EQ(bytes, "walls");
}

TEST_F(TransferDialogueTest, TakeNoNameOfAnUploadForItsSize) {
  server.once("STOR").reply("150 Opening x (99 bytes)").receiveData().closeData().reply("226 ok");
  connect();
  EXPECT_TRUE(put(L"x (99 bytes)", "1")) << errorText();
}

// What stood in memory was the old session's directory.
TEST_F(TransferDialogueTest, GoBackToTheDirectoryAfterASilentReconnect) {
  server.addFile("/plans/large.bin", std::string(8'000'000, 'L'));
  connect();
  ASSERT_TRUE(client.ChangeRemoteDir(L"/plans"));
  server.once("RETR").reply("150 go").sendData(std::string(200'000, 'L')).closeData().pause(50).reset();
  AbortingReceiver receiver(100'000);
  client.setEventCallback(&receiver);
  std::string bytes;
  EXPECT_FALSE(get(L"large.bin", bytes));
  client.setEventCallback(nullptr);
  server.on("PWD").reply("500 what");
  usleep(20'000);
  EXPECT_EQ(client.GetSizeByName64(L"b.txt"), 6) << errorText();
  EXPECT_EQ(server.connections(), 2);
}

TEST_F(TransferDialogueTest, DoNotLetARestReachAListingOrAWholeFile) {
  const TemporaryDirectory directory;
  connect();
  ASSERT_TRUE(client.ChangeRemoteDir(L"/plans"));
  client.Quote(L"REST 7");
  EXPECT_EQ(list(L"*"), (std::vector<std::wstring>{L"a.txt", L"b.txt"}));
  client.Quote(L"REST 7");
  EXPECT_TRUE(client.GetFile(L"a.txt", (directory.libraryPath() + L"\\a.txt").c_str())) << errorText();
  EXPECT_EQ(contentOf(directory.path("a.txt")), "twelve walls");
  std::string bytes;
  EXPECT_TRUE(get(L"a.txt", bytes));
  EXPECT_EQ(bytes, "twelve walls");
}

class AbandonedDownloadTest : public TransferDialogueTest, public ::testing::WithParamInterface<Mishap> {};

TEST_P(AbandonedDownloadTest, LeavesItsBytesAndASessionInStep) {
  server.addFile("/plans/large.bin", std::string(8'000'000, 'L'));
  connect();
  ASSERT_TRUE(client.ChangeRemoteDir(L"/plans"));
  client.put_ReadTimeout(1);
  GetParam().script(server);
  AbortingReceiver receiver(100'000);
  client.setEventCallback(&receiver);
  client.put_HeartbeatMs(100);
  std::string bytes;
  EXPECT_FALSE(get(L"large.bin", bytes));
  client.setEventCallback(nullptr);
  client.put_HeartbeatMs(0);
  EXPECT_GT(bytes.size(), 100'000U);
  EXPECT_EQ(bytes.find_first_not_of('L'), std::string::npos);
  expectSane();
}

const std::string kPiece(200'000, 'L');
const Mishap kAbandonedReplies[] = {
    {"HonestServer", [](auto&) {}},
    {"AnsweredWith226", [](auto& s) { s.once("RETR").reply("150 go").sendData(kPiece).closeData().reply("226 done"); }},
    {"AnsweredTwice",
     [](auto& s) {
       s.once("RETR").reply("150 go").sendData(kPiece).pause(50).closeData().send("426 cut\r\n226 done\r\n");
     }},
    {"AnsweredLate",
     [](auto& s) { s.once("RETR").sendData(kPiece).closeData().pause(200).reply("150 go").reply("426 cut"); }},
    {"NeverAnswered", [](auto& s) { s.once("RETR").reply("150 go").sendData(kPiece).hang(); }},
    {"ConnectionLost", [](auto& s) { s.once("RETR").reply("150 go").sendData(kPiece).closeData().pause(50).reset(); }},
};
INSTANTIATE_TEST_SUITE_P(, AbandonedDownloadTest, ::testing::ValuesIn(kAbandonedReplies),
                         [](const auto& tested) { return tested.param.name; });

class AbortedWaitTest : public TransferDialogueTest, public ::testing::WithParamInterface<Mishap> {};

// No limit of the client would end these waits.
TEST_P(AbortedWaitTest, EndsAtTheHeartbeat) {
  connect();
  client.put_ReadTimeout(0);
  client.put_ConnectTimeout(0);
  GetParam().script(server);
  AbortingReceiver receiver;
  client.setEventCallback(&receiver);
  client.put_HeartbeatMs(20);
  std::string bytes;
  EXPECT_FALSE(get(L"/plans/a.txt", bytes));
  EXPECT_FALSE(put(L"/plans/c.txt", "x"));
  client.setEventCallback(nullptr);
}

const Mishap kWaits[] = {
    {"ForTheDataPort", [](auto& s) { s.on("EPSV").hang(); }},
    {"ForTheTransferToBegin",
     [](auto& s) {
       s.on("RETR").hang();
       s.on("STOR").hang();
     }},
    {"ForData", [](auto& s) { s.on("RETR").reply("150 go").sendData("t").hang(); }},
    {"ForTheFinalReply",
     [](auto& s) {
       s.on("RETR").reply("150 go").sendData("t").closeData().hang();
       s.on("STOR").reply("150 go").receiveData().closeData().hang();
     }},
};
INSTANTIATE_TEST_SUITE_P(, AbortedWaitTest, ::testing::ValuesIn(kWaits),
                         [](const auto& tested) { return tested.param.name; });

}  // namespace
