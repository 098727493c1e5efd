// What the client says to bring a session up, and what it makes of servers that do not play along.
#include <functional>

#include "tests/servers/DialogueFixture.h"

using namespace zephor_test;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

namespace {

class ConnectDialogueTest : public DialogueTest {};

TEST_F(ConnectDialogueTest, LogsInAndAsksWhatTheServerCan) {
  ASSERT_TRUE(client.Connect()) << errorText();
  EXPECT_EQ(server.commands(), (Commands{"USER ada", "PASS lovelace", "FEAT", "PWD", "TYPE I", "OPTS UTF8 ON"}));
  EXPECT_EQ(client.get_ConnectFailReason(), 0);
  const FtpServerFacts& facts = client.facts();
  EXPECT_TRUE(facts.rest && facts.mlst && facts.mdtm && facts.mfmt && facts.utf8);
  EXPECT_FALSE(facts.tls);
  EXPECT_THAT(errorText(), Not(HasSubstr("lovelace")));
}

TEST_F(ConnectDialogueTest, TakesASlowGreetingOfSeveralLinesByteByByte) {
  server.on("(connect)").reply("120 in a minute").pause(5).replyByByte("220-Welcome\r\n 550 is no code here\r\n220 go");
  EXPECT_TRUE(client.Connect()) << errorText();
}

struct Refusal {
  const char* name;
  std::int32_t reason;
  bool tls;
  std::function<void(ScriptedFtpServer&)> script;
};

void PrintTo(const Refusal& refusal, std::ostream* out) {
  *out << refusal.name;
}

class RefusedConnectTest : public DialogueTest, public ::testing::WithParamInterface<Refusal> {};

TEST_P(RefusedConnectTest, HasItsReasonAndLeavesTheClientUsable) {
  GetParam().script(server);
  client.put_AuthTls(GetParam().tls);
  client.put_ConnectTimeout(1);
  client.put_ReadTimeout(3600);  // the shorter one counts until the login is done
  EXPECT_FALSE(client.Connect());
  EXPECT_EQ(client.get_ConnectFailReason(), GetParam().reason) << errorText();
  EXPECT_FALSE(client.get_IsConnected());
  EXPECT_THAT(server.commands(), Not(Contains("FEAT")));

  ScriptedFtpServer other;
  client.put_Hostname(other.host().c_str());
  client.put_AuthTls(false);
  EXPECT_TRUE(client.Connect()) << errorText();
  EXPECT_EQ(client.get_ConnectFailReason(), 0);
}

const Refusal kRefusals[] = {
    {"SilentServer", eConnect_NoGreeting, false, [](auto& s) { s.on("(connect)").hang(); }},
    {"ClosedAtOnce", eConnect_NoGreeting, false, [](auto& s) { s.on("(connect)").close(); }},
    {"GarbageGreeting", eConnect_NoGreeting, false, [](auto& s) { s.on("(connect)").send("SSH-2.0-x\r\n").hang(); }},
    {"BinaryGreeting", eConnect_NoGreeting, false,
     [](auto& s) { s.on("(connect)").send(std::string(200000, '\0')).hang(); }},
    {"TooManyUsers", eConnect_Busy, false, [](auto& s) { s.on("(connect)").reply("421 too many users").close(); }},
    {"WrongPassword", eConnect_LoginRefused, false, [](auto& s) { s.on("PASS").reply("530 no"); }},
    {"BusyAtLogin", eConnect_Busy, false, [](auto& s) { s.on("PASS").reply("421 too many").close(); }},
    {"NoTls", eConnect_TlsRefused, true, [](auto&) {}},
    {"TlsNotWanted", eConnect_TlsRefused, true, [](auto& s) { s.on("AUTH").reply("534 policy"); }},
    {"BusyAtTls", eConnect_Busy, true, [](auto& s) { s.on("AUTH").reply("421 going").close(); }},
    {"NoTlsAfterAll", eConnect_Handshake, true,
     [](auto& s) { s.on("AUTH").reply("234 go").pause(50).send("no TLS at all").hang(); }},
    {"ClosedInHandshake", eConnect_ClosedEarly, true, [](auto& s) { s.on("AUTH").reply("234 go").close(); }},
    {"SilentInHandshake", eConnect_TimedOut, true, [](auto& s) { s.on("AUTH").reply("234 go").hang(); }},
};
INSTANTIATE_TEST_SUITE_P(, RefusedConnectTest, ::testing::ValuesIn(kRefusals),
                         [](const auto& tested) { return tested.param.name; });

// What an attacker on the way puts behind the answer to AUTH must not count as said under TLS.
TEST_F(ConnectDialogueTest, TakesNothingFromBeforeTlsForAnAnswerUnderTls) {
  server.on("AUTH").send("234 go\r\n200 PBSZ\r\n200 PROT\r\n230 come in\r\n").hang();
  client.put_AuthTls(true);
  client.put_ConnectTimeout(1);
  EXPECT_FALSE(client.Connect());
  EXPECT_EQ(client.get_ConnectFailReason(), eConnect_TlsNotStarted);
  EXPECT_EQ(server.commands(), Commands{"AUTH TLS"});
}

TEST_F(ConnectDialogueTest, SendsNoCredentialsThatWouldBeCommands) {
  client.put_Password(L"x\r\nDELE /a.txt");
  EXPECT_FALSE(client.Connect());
  EXPECT_THAT(server.commands(), IsEmpty());
  EXPECT_EQ(client.get_ConnectFailReason(), eConnect_LoginRefused);
}

TEST_F(ConnectDialogueTest, NoticesThatTheServerWentAwayBetweenCommands) {
  for (const char* const what : {"close", "reset", "421", "unasked"}) {
    SCOPED_TRACE(what);
    ScriptedFtpServer one;
    auto script = one.on("NOOP").reply("200 ok");
    if (what == std::string("close")) script.close();
    if (what == std::string("reset")) script.reset();
    if (what == std::string("421")) script.reply("421 idle too long").close();
    if (what == std::string("unasked")) script.reply("226 late");
    client.put_Hostname(one.host().c_str());
    ASSERT_TRUE(client.Connect());
    EXPECT_TRUE(client.get_IsConnected());
    client.Quote(L"NOOP");
    for (int i = 0; i < 400 && client.get_IsConnected(); ++i) usleep(5000);
    EXPECT_FALSE(client.get_IsConnected());
    EXPECT_TRUE(client.Connect()) << errorText();
  }
}

}  // namespace
