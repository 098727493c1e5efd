// Listings, single files and trees: the commands, the times, and what hostile or broken listings must not do.
#include "platform/Time.h"
#include "tests/servers/DialogueFixture.h"

using namespace zephor_test;
using ::testing::Contains;
using ::testing::Not;

namespace {

using Names = std::vector<std::wstring>;

class ListingDialogueTest : public DialogueTest {
 protected:
  std::string timeOf(std::int32_t index) {
    FILETIME time{};
    SYSTEMTIME utc{};
    if (!client.GetLastModifiedFTime(index, time) || FileTimeToSystemTime(&time, &utc) == FALSE) return "none";
    char text[64];
    std::snprintf(text, sizeof text, "%04d%02d%02d%02d%02d%02d", utc.wYear, utc.wMonth, utc.wDay, utc.wHour,
                  utc.wMinute, utc.wSecond);
    return text;
  }
  /// An MLSD or LIST that sends this text.
  void willList(const char* command, const std::string& text) {
    server.on(command).reply("150 go").sendData(text).closeData().reply("226 done");
  }
};

// updateFileTime runs after every transfer: it must not cost a listing.
TEST_F(ListingDialogueTest, OfOneNameIsAQuestionOnTheControlConnection) {
  server.addFile("/a.txt", "abc", "20230405060708");
  connect();
  EXPECT_EQ(list(L"a.txt"), Names{L"a.txt"});
  EXPECT_EQ(timeOf(0), "20230405060708");
  EXPECT_EQ(list(L"b.txt"), Names{});
  EXPECT_EQ(server.commands(), (Commands{"MLST a.txt", "MLST b.txt", "CWD /", "MLST b.txt"}));
}

TEST_F(ListingDialogueTest, HasTheSameTimesForOneFileAsForMany) {
  for (const char* const missing : {"", "MLST", "MDTM"}) {
    SCOPED_TRACE(missing);
    ScriptedFtpServer one;
    // LIST tells the day alone, MDTM the second.
    one.addFile("/a.txt", "abc", "20230405060708");
    one.addFile("/b.txt", "abcd", "20230405060709");
    if (*missing != '\0') one.without("MLST");
    if (std::string(missing) == "MDTM") one.without("MDTM");
    client.put_Hostname(one.host().c_str());
    ASSERT_TRUE(client.Connect());
    ASSERT_EQ(list(L"*"), (Names{L"a.txt", L"b.txt"})) << errorText();
    const std::string ofMany = timeOf(1);
    ASSERT_EQ(list(L"b.txt"), Names{L"b.txt"}) << errorText();
    EXPECT_EQ(timeOf(0), ofMany);
    EXPECT_EQ(client.GetSize64(0), 4);
    EXPECT_EQ(ofMany, std::string(missing) == "MDTM" ? "20230405000000" : "20230405060709");
    EXPECT_EQ(list(L"c.txt"), Names{});
  }
}

TEST_F(ListingDialogueTest, TakesWhatItUnderstandsOfDosTextAndGarbage) {
  server.without("MLST");
  server.without("MDTM");
  willList("LIST",
           "total 12\r\n"
           "01-31-24  10:15AM       <DIR>          Old plans\r\n"
           "12-01-2023  03:04PM              1234 House.dwg\r\n"
           "-rw-r--r--   1 o g  99999999999999999999999 Jan 31  2024 too-large\r\n"
           "\r\n\r\n-rw-r--r--\r\n? ? ? ?\r\n\x80\xFF\x00\x01 nothing\r\n"
           "-rw-r--r--   1 o g  5 Jan 31  2024 ../../etc/passwd\r\n"
           "drwxr-xr-x   1 o g  5 Jan 31  2024 ..\r\n"
           "-rw-r--r--   1 o g  5 Feb 30  2024 kept\xE4.txt");
  connect();
  const Names names = list(L"*");
  EXPECT_THAT(names, Contains(L"Old plans"));
  EXPECT_THAT(names, Contains(L"House.dwg"));
  EXPECT_THAT(names, Not(Contains(L"..")));
  EXPECT_THAT(names, Not(Contains(L"../../etc/passwd")));
  EXPECT_LE(names.size(), 4U);
  for (std::size_t i = 0; i < names.size(); ++i) EXPECT_EQ(names[i].find(L'/'), std::wstring::npos);
}

TEST_F(ListingDialogueTest, OfNothingKnownIsAFailureAndNotAnEmptyDirectory) {
  struct Case {
    const char* all;
    const char* plain;
    Names names;
  };
  const std::string line = "-rw-r--r-- 1 o g 5 Jan 31  2024 a.txt\r\n";
  for (const Case& each : {Case{"ls: -a: No such file\r\n", line.c_str(), {L"a.txt"}},
                           Case{"ls: -a: No such file\r\n", "ls: .: Permission denied\r\n", {L"failed"}},
                           Case{"total 0\r\n", "total 0\r\n", {}},
                           Case{"total 0\r\nsrw-r--r-- 1 o g 0 Jan 31  2024 socket\r\n", "", {}}}) {
    ScriptedFtpServer one;
    one.without("MLST");
    one.on("LIST -a").reply("150 go").sendData(each.all).closeData().reply("226 ok");
    one.on("LIST").reply("150 go").sendData(each.plain).closeData().reply("226 ok");
    client.put_Hostname(one.host().c_str());
    ASSERT_TRUE(client.Connect());
    EXPECT_EQ(list(L"*"), each.names) << each.all << each.plain << errorText();
  }
  willList("MLSD", "<html>an error</html>\r\n");
  server.addFile("/a.txt", "1");
  client.put_Hostname(server.host().c_str());
  ASSERT_TRUE(client.Connect());
  EXPECT_EQ(list(L"*"), Names{L"a.txt"});
}

// A server calls the listing of a current directory that somebody deleted a success.
TEST_F(ListingDialogueTest, OfADirectoryThatHasVanishedIsAFailure) {
  server.addFile("/plans/a.txt", "1");
  connect();
  ASSERT_TRUE(client.ChangeRemoteDir(L"/plans"));
  willList("MLSD", "");
  server.on("MLST").reply("550 gone");
  server.clearCommands();
  EXPECT_EQ(list(L"*"), Names{});
  EXPECT_THAT(server.commands(), Not(Contains("CWD /plans"))) << "it was there a moment ago";
  EXPECT_EQ(list(L"*"), Names{});
  server.on("CWD").reply("550 gone");
  for (const wchar_t* const pattern : {L"*", L"a.txt"}) {
    EXPECT_EQ(list(pattern), Names{L"failed"});
    EXPECT_EQ(client.lastReplyCode(), 550);
  }
}

TEST_F(ListingDialogueTest, HasOneSourceOfTimesWhateverIsSaidToOneName) {
  server.without("MLST");
  for (const char* const name : {"/a", "/b", "/c"}) server.addFile(name, "1", "20230405060708");
  server.on("MDTM a").reply("500 not this name");
  server.on("MDTM c").reply("504 nor this");
  connect();
  ASSERT_EQ(list(L"*"), (Names{L"a", L"b", L"c"}));
  EXPECT_EQ(timeOf(0), "none");
  EXPECT_EQ(timeOf(1), "20230405060708");
  EXPECT_EQ(timeOf(2), "none");
  ASSERT_EQ(list(L"*").size(), 3U);
  server.on("MDTM").close();
  EXPECT_EQ(timeOf(1), "none") << "the time of the line is none of the server's";
}

TEST_F(ListingDialogueTest, SendsNamesThatAreNoUtf8AsTheyWereListed) {
  server.addFile("/Gr\xFC\xDF.txt", "latin");
  server.addFile("/Gr\xC3\xBC\xC3\x9F.dwg", "utf-8");
  connect();
  ASSERT_EQ(list(L"*"), (Names{L"Gr\u00FC\u00DF.dwg", L"Gr\u00FC\u00DF.txt"}));
  std::string bytes;
  EXPECT_TRUE(get(L"/Gr\u00FC\u00DF.txt", bytes)) << errorText();
  EXPECT_EQ(bytes, "latin");
  EXPECT_TRUE(get(L"Gr\u00FC\u00DF.dwg", bytes)) << errorText();
  EXPECT_TRUE(client.DeleteRemoteFile(L"Gr\u00FC\u00DF.txt"));
  EXPECT_FALSE(server.has("/Gr\xFC\xDF.txt"));
}

TEST_F(ListingDialogueTest, IsAFailureWhenItBreaksOff) {
  for (const char* const reply : {"426 cut", "226 done"}) {
    ScriptedFtpServer one;
    one.once("MLSD").reply("150 go").sendData("type=file;size=1; a\r\n").pause(20).resetData().reply(reply);
    one.addFile("/a", "1");
    client.put_Hostname(one.host().c_str());
    ASSERT_TRUE(client.Connect());
    EXPECT_EQ(list(L"*"), Names{L"failed"}) << reply;
    connectIfDead();
    EXPECT_EQ(list(L"*"), Names{L"a"});
  }
}

TEST_F(ListingDialogueTest, GivesUpOnALineWithoutEnd) {
  willList("MLSD", std::string(20'000'000, 'x'));
  connect();
  EXPECT_THAT(list(L"*"), ::testing::AnyOf(Names{}, Names{L"failed"}));
}

TEST_F(ListingDialogueTest, OfATreeToDeleteLeadsNowhereElse) {
  server.addFile("/other/kept.txt", "4");
  // One that DELE does not take, and RMD does.
  server.addDirectory("/plans/junction");
  server.addFile("/plans/link", "not followed");
  willList("MLSD",
           "type=OS.unix=slink:/other;size=6; link\r\ntype=dir; junction\r\ntype=dir; ..\r\ntype=dir; "
           "/other\r\ntype=pdir; x\r\n");
  connect();
  ASSERT_TRUE(client.ChangeRemoteDir(L"/plans"));
  client.GetSizeByName(L"link");  // enters the directory
  server.clearCommands();
  EXPECT_TRUE(client.DeleteTree()) << errorText();
  EXPECT_FALSE(server.has("/plans/link") || server.has("/plans/junction"));
  for (const std::string& command : server.commands()) {
    EXPECT_FALSE(command.starts_with("CWD") || command == "RMD /other") << command;
  }
  EXPECT_EQ(server.file("/other/kept.txt"), "4");
}

TEST_F(ListingDialogueTest, OfATreeThatCannotAllBeDeletedIsAFailure) {
  server.addFile("/plans/a.txt", "1");
  server.addFile("/plans/b.txt", "2");
  server.on("DELE a.txt").reply("550 in use");
  connect();
  ASSERT_TRUE(client.ChangeRemoteDir(L"/plans"));
  EXPECT_FALSE(client.DeleteTree());
  EXPECT_FALSE(server.has("/plans/b.txt"));
}

}  // namespace
