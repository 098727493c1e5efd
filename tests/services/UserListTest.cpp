#include "services/UserList.h"

#include "host/Files.h"
#include "host/Users.h"
#include "services/UserReconciliation.h"
#include "tests/support/CloudFixture.h"

namespace Quorvel::FileAccess {
namespace {

using zephor_test::kRefused;

/// "2:ann@:a 3:bo@:b": number or role, e-mail, UUID.
std::vector<CloudProjectMember> membersOf(const std::string& text) {
  std::vector<CloudProjectMember> members;
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    const std::size_t email = word.find(':') + 1;
    const std::size_t uuid = word.find(':', email) + 1;
    members.push_back({platform::fromUtf8(word.substr(uuid)), L"",
                       platform::fromUtf8(word.substr(email, uuid - email - 1)), std::stoi(word)});
  }
  return members;
}

std::vector<QuorvelUser> usersOf(const std::string& text) {
  std::vector<QuorvelUser> users;
  for (const CloudProjectMember& member : membersOf(text)) {
    QuorvelUser& user = users.emplace_back(QuorvelUser{.number = member.role, .hostName = L"localhost"});
    wcscpy(user.loginName, platform::formatWide(L"_BIM_%03u", user.number).c_str());
    wcscpy(user.email, member.email.c_str());
    wcscpy(user.uuid, member.uuid.c_str());
  }
  return users;
}

std::string textOf(const std::vector<QuorvelUser>& users) {
  std::wstring text;
  for (const auto& user : users) text += platform::formatWide(L" %d:%s:%s", user.number, user.email, user.uuid);
  return platform::toUtf8(text.empty() ? text : text.substr(1));
}

TEST(UserReconciliation, NumbersStayWithPeople) {
  const std::array<std::string, 4> rows[] = {
      {"no list; the owner is 2 wherever named", "", "4:bo@:b 1:ann@:a 2:cy@:c", "3:bo@:b 2:ann@:a 4:cy@:c"},
      {"nothing new; the host's own stays", "1:: 2:ann@:a 3:bo@:b", "3:bo@:b 1:ann@:a", "1:: 2:ann@:a 3:bo@:b"},
      {"e-mail; letter case of a UUID", "2:ann@:A 3:bo@:b", "1:ann@:a 3:bob@:b", "2:ann@:a 3:bob@:b"},
      {"one went", "2:ann@:a 3:bo@:b", "1:ann@:a", "2:ann@:a"},
      {"one for another", "2:ann@:a 9:bo@:b", "1:ann@:a 3:cy@:c", "2:ann@:a 10:cy@:c"},
      {"a new owner", "2:ann@:a 3:bo@:b", "3:ann@:a 1:cy@:c 3:bo@:b", "2:ann@:a 3:bo@:b 4:cy@:c"},
      {"a number of the host; twice the same", "1:ann@:a 5:bo@:b 6:bo@:b", "1:ann@:a 3:bo@:b", "5:bo@:b 2:ann@:a"},
      {"no UUID, no entry; no number left", "2147483647:bo@:b", "3:bo@:b 3:cy@:c 3:x@:", "2147483647:bo@:b 3:cy@:c"},
  };
  for (const auto& [what, before, members, after] : rows) {
    const ReconciledUsers result = reconcileMembers(usersOf(before), membersOf(members));
    EXPECT_EQ(textOf(result.users), after) << what;
    EXPECT_EQ(result.changed, before != after) << what;
  }
  EXPECT_EQ(textOf(reconcileOwnEntry(usersOf("1:: 3:gone@:g"), {L"m", L"Me", L"me@"}).users), "1:: 3:gone@:g 4:me@:m");
}

class UserList : public zephor_test::CloudFixture {
 protected:
  UserList() : zephor_test::CloudFixture({.traceLevel = 1}) {
    cloud.user = {L"a", L"Ann", L"ann@"};
    cloud.members = membersOf("1:ann@:a 2:bo@:b 4:cy@:c");
    cloud.role = 1;
    ldirmkc(folder);
  }
  void write(const std::string& text) { ASSERT_EQ(lzWriteAllUsers_fromVector_to_Path(usersOf(text), folder), 0); }
  /// The list after a run.
  std::string run() {
    std::vector<QuorvelUser> users;
    if (!Ondrath_InitWorkgroup(project)) return "failed";
    return lzReadAllUsers_fromPath_toVector(folder, users) == 0 ? textOf(users) : "none";
  }
  /// Uploads and downloads so far, all of the list.
  long moved() const {
    return std::ranges::count_if(cloud.calls(), [](const auto& call) { return call.find(L"load") < 5; });
  }

  const std::wstring folder = path(L"Net");
  const std::wstring file = path(L"Net\\user.cfg");
  PRJ project = prj();
};

TEST_F(UserList, AnAdministratorWritesAndSharesTheWholeList) {
  for (int round = 0; round < 2; ++round) EXPECT_EQ(run(), "2:ann@:a 3:bo@:b 4:cy@:c");
  EXPECT_EQ(moved(), 1) << "nothing changed in the second run";
  EXPECT_TRUE(desk.hasErrorLine(L"\tPrjOwner: 002") && desk.hasErrorLine(L"\tPrjAdditionalAdmins:003") &&
              desk.hasErrorLine(L"\tPrjMemberList:004"));
}

TEST_F(UserList, AMemberAddsTheOwnEntryAndAViewerSendsNothing) {
  write("2:ann@:a 7:bo@:b");
  cloud.user = {L"m", L"Me", L"me@"};
  for (const int role : {0, 2}) {
    cloud.role = role;
    EXPECT_EQ(run(), "2:ann@:a 7:bo@:b 8:" + platform::toUtf8(cloud.user.email) + ":m");
    EXPECT_EQ(moved(), role / 2);
    cloud.user.email = L"i@";
  }
}

TEST_F(UserList, WhatIsMissingOrUnreadableComesFromTheServer) {
  write("2:ann@:a 5:bo@:b 6:cy@:c");
  std::string shared = desk.readFile(file);
  cloud.files = {L"Net\\user.cfg"};
  cloud.onDownload = [&](const std::wstring& target) { desk.writeFile(target, shared); };
  for (const char* local : {"", "no list"}) {
    desk.writeFile(file, local);
    EXPECT_EQ(run(), "2:ann@:a 5:bo@:b 6:cy@:c") << local;
  }
  cloud.files.clear();
  ASSERT_EQ(lfilmvC(file, file + L".old"), 0);
  EXPECT_EQ(run(), "2:ann@:a 5:bo@:b 6:cy@:c") << "an earlier run ended half-way";
  cloud.files = {L"Net\\user.cfg"};
  desk.writeFile(file, "");
  cloud.script("DownloadFile", {kRefused});
  EXPECT_EQ(run(), "failed");
  shared = "no list";
  EXPECT_EQ(run(), "2:ann@:a 3:bo@:b 4:cy@:c") << "damaged on both sides: made anew";
}

TEST_F(UserList, AListThatCannotBeReplacedStays) {
  write("2:ann@:a 5:bo@:b");
  cloud.script("UploadProjectFile", {kRefused});
  EXPECT_EQ(run(), "2:ann@:a 5:bo@:b") << "not sent, so taken back";
  EXPECT_FALSE(desk.exists(file + L".old"));
  EXPECT_EQ(project.additionalAdmins, std::vector<std::int32_t>{5});
  EXPECT_EQ(run(), "2:ann@:a 5:bo@:b 6:cy@:c");
}

}  // namespace
}  // namespace Quorvel::FileAccess
