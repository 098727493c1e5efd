#include "services/UserList.h"

#include "host/Files.h"
#include "host/Users.h"
#include "services/UserReconciliation.h"
#include "tests/support/CloudFixture.h"

namespace Quorvel::FileAccess {
namespace {

using zephor_test::kRefused;

std::vector<std::string> split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find(separator, begin), text.size());
    parts.push_back(text.substr(begin, end - begin));
    begin = end + 1;
  }
  return parts;
}

/// "2:ann@:a 3:bo@:b" is the list of number, e-mail and UUID.
std::vector<QuorvelUser> usersOf(const std::string& text) {
  std::vector<QuorvelUser> users;
  for (const std::string& word : split(text, ' ')) {
    const std::vector<std::string> parts = split(word, ':');
    QuorvelUser user;
    user.number = std::stoi(parts[0]);
    std::swprintf(user.loginName, std::size(user.loginName), L"_BIM_%03u", user.number);
    wcscpy(user.hostName, L"localhost");
    if (parts.size() > 1) wcscpy(user.email, platform::fromUtf8(parts[1]).c_str());
    if (parts.size() > 2) wcscpy(user.uuid, platform::fromUtf8(parts[2]).c_str());
    users.push_back(user);
  }
  return users;
}

std::string textOf(const std::vector<QuorvelUser>& users) {
  std::string text;
  for (const QuorvelUser& user : users) {
    text += (text.empty() ? "" : " ") + std::to_string(user.number);
    if (user.uuid[0] != L'\0') text += ":" + platform::toUtf8(user.email) + ":" + platform::toUtf8(user.uuid);
    EXPECT_TRUE(user.number < 2 || user.loginName == platform::formatWide(L"_BIM_%03u", user.number));
    EXPECT_TRUE(user.number < 2 || user.hostName == std::wstring(L"localhost"));
  }
  return text;
}

/// "1:ann@:a 3:bo@:b" is the list of role, e-mail and UUID.
std::vector<CloudProjectMember> membersOf(const std::string& text) {
  std::vector<CloudProjectMember> members;
  for (const std::string& word : split(text, ' ')) {
    const std::vector<std::string> parts = split(word, ':');
    const std::wstring member = parts.size() > 2 ? platform::fromUtf8(parts[2]) : L"";
    members.push_back({member, L"", platform::fromUtf8(parts[1]), std::stoi(parts[0])});
  }
  return members;
}

TEST(UserReconciliation, NumbersStayWithPeople) {
  const struct {
    const char* what;
    std::string before;
    std::string members;
    std::string after;
    bool changed;
  } rows[] = {
      {"no list; the owner is 2 wherever named", "", "4:bo@:b 1:ann@:a 2:cy@:c", "3:bo@:b 2:ann@:a 4:cy@:c", true},
      {"nothing new", "2:ann@:a 3:bo@:b", "3:bo@:b 1:ann@:a", "2:ann@:a 3:bo@:b", false},
      {"an e-mail changed", "2:ann@:a 3:bo@:b", "1:ann@:a 3:bob@:b", "2:ann@:a 3:bob@:b", true},
      {"one came", "2:ann@:a 9:bo@:b", "1:ann@:a 3:bo@:b 3:cy@:c", "2:ann@:a 9:bo@:b 10:cy@:c", true},
      {"one went", "2:ann@:a 3:bo@:b", "1:ann@:a", "2:ann@:a", true},
      {"one for another", "2:ann@:a 3:bo@:b", "1:ann@:a 3:cy@:c", "2:ann@:a 4:cy@:c", true},
      {"a new owner", "2:ann@:a 3:bo@:b", "3:ann@:a 1:cy@:c 3:bo@:b", "2:ann@:a 3:bo@:b 4:cy@:c", true},
      {"letter case of a UUID", "2:ann@:AB", "1:ann@:ab", "2:ann@:ab", true},
      {"the host's own stays", "1 2:ann@:a", "1:ann@:a", "1 2:ann@:a", false},
      {"a number of the host", "1:ann@:a", "1:ann@:a", "2:ann@:a", true},
      {"twice the same", "2:ann@:a 3:ann@:a", "1:ann@:a 3:ann@:a", "2:ann@:a", true},
      {"no UUID, no entry", "2:ann@:a", "1:ann@:a 3:x@", "2:ann@:a", false},
      {"no number left", "2147483647:bo@:b", "1:ann@:a 3:bo@:b 3:cy@:c", "2147483647:bo@:b 2:ann@:a 3:cy@:c", true},
  };
  for (const auto& row : rows) {
    const ReconciledUsers result = reconcileMembers(usersOf(row.before), membersOf(row.members));
    EXPECT_EQ(textOf(result.users), row.after) << row.what;
    EXPECT_EQ(result.changed, row.changed) << row.what;
  }
  const std::wstring longText(100, L'x');
  const ReconciledUsers cut = reconcileMembers({}, {{longText, L"", longText, 1}});
  EXPECT_EQ(wcslen(cut.users[0].email) + wcslen(cut.users[0].uuid), 63U + 36U);
  EXPECT_FALSE(reconcileMembers(cut.users, {{longText, L"", longText, 1}}).changed);
}

TEST(UserReconciliation, WhoIsNoAdministratorTouchesTheOwnEntryAlone) {
  const struct {
    std::string before;
    std::string after;
    bool changed;
  } rows[] = {{"2:ann@:a 5:me@:m 6:gone@:g", "2:ann@:a 5:me@:m 6:gone@:g", false},
              {"2:ann@:a 5:old@:m", "2:ann@:a 5:me@:m", true},
              {"2:ann@:a 5:bo@:b", "2:ann@:a 5:bo@:b 6:me@:m", true},
              {"1", "1 3:me@:m", true}};
  for (const auto& row : rows) {
    const ReconciledUsers result = reconcileOwnEntry(usersOf(row.before), {L"m", L"Me", L"me@"});
    EXPECT_EQ(textOf(result.users), row.after);
    EXPECT_EQ(result.changed, row.changed) << row.before;
  }
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
  std::string list() const {
    std::vector<QuorvelUser> users;
    return lzReadAllUsers_fromPath_toVector(folder, users) == 0 ? textOf(users) : "none";
  }
  bool init() { return Ondrath_InitWorkgroup(project); }
  long count(const std::wstring& call) const {
    const zephor_test::Calls calls = cloud.calls();
    return std::count(calls.begin(), calls.end(), call);
  }

  const std::wstring folder = path(L"Net");
  const std::wstring file = path(L"Net\\user.cfg");
  const std::wstring send = L"UploadProjectFile Net\\user.cfg";
  const std::wstring bring = L"DownloadFile Net\\user.cfg";
  PRJ project = prj();
};

TEST_F(UserList, AnAdministratorWritesAndSharesTheWholeList) {
  ASSERT_TRUE(init());
  EXPECT_EQ(list(), "2:ann@:a 3:bo@:b 4:cy@:c");
  EXPECT_EQ(project.owner, 2);
  EXPECT_EQ(project.additionalAdmins, std::vector<std::int32_t>{3});
  EXPECT_TRUE(project.isMember(3) && !project.isMember(2));
  PRJ kept;
  ASSERT_EQ(NetID_ReadPrjInfoByPath(path(L""), kept), 0);
  EXPECT_EQ(kept.additionalAdmins, project.additionalAdmins);
  EXPECT_TRUE(desk.exists(path(L"Net\\data.cfg")));
  EXPECT_FALSE(desk.exists(file + L".old"));
  for (const std::wstring& line : {uuid + L":", std::wstring(L"\tPrjOwner: 002"),
                                   std::wstring(L"\tPrjAdditionalAdmins:003"), std::wstring(L"\tPrjMemberList:004")}) {
    EXPECT_TRUE(desk.hasErrorLine(line)) << platform::toUtf8(line);
  }
  EXPECT_EQ(count(send), 1);
  ASSERT_TRUE(init());
  EXPECT_EQ(count(send), 1) << "nothing changed";
  EXPECT_EQ(lz_GetUserNameFromUserId(4), L"cy@") << "loaded into the host";
  cloud.script("GetProjectMembers", {kRefused});
  EXPECT_FALSE(init());
  cloud.script("GetCurrentUser", {kRefused});
  EXPECT_FALSE(init());
}

TEST_F(UserList, AMemberAddsTheOwnEntryAndAViewerSendsNothing) {
  write("2:ann@:a 7:bo@:b");
  cloud.user = {L"m", L"Me", L"me@"};
  project.memberSet.clear();
  for (const int role : {0, 2}) {
    cloud.role = role;
    cloud.user.email += L"x";
    ASSERT_TRUE(init());
    EXPECT_EQ(list(), role == 0 ? "2:ann@:a 7:bo@:b 8:me@x:m" : "2:ann@:a 7:bo@:b 8:me@xx:m");
    EXPECT_EQ(count(send), role == 0 ? 0 : 1);
  }
  EXPECT_TRUE(project.isMember(7) && !project.isMember(6));
  cloud.role = 0;
  cloud.members = membersOf("1:ann@:a 4:me@:m");
  ASSERT_EQ(lfilrmC(file), 0);
  ASSERT_TRUE(init());
  EXPECT_EQ(list(), "2:ann@:a 3:me@:m") << "without a list anybody makes it whole";
}

TEST_F(UserList, WhatIsMissingOrUnreadableComesFromTheServer) {
  write("2:ann@:a 5:bo@:b 6:cy@:c");
  const std::string shared = desk.readFile(file);
  cloud.files = {L"Net\\user.cfg"};
  std::string sent = shared;
  cloud.onDownload = [&](const std::wstring& target) { desk.writeFile(target, sent); };
  for (const char* local : {"", "no list"}) {
    desk.writeFile(file, local);
    ASSERT_TRUE(init());
    EXPECT_EQ(list(), "2:ann@:a 5:bo@:b 6:cy@:c") << local;
  }
  EXPECT_EQ(count(bring), 2);
  EXPECT_EQ(count(send), 0);
  ASSERT_EQ(lfilrmC(file), 0);
  cloud.script("DownloadFile", {kRefused});
  EXPECT_FALSE(init());
  EXPECT_EQ(list(), "none");
  sent = "no list";
  ASSERT_TRUE(init());
  EXPECT_EQ(list(), "2:ann@:a 3:bo@:b 4:cy@:c") << "damaged on both sides: made anew";

  cloud.files.clear();
  write("2:ann@:a 5:bo@:b 6:cy@:c");
  ASSERT_EQ(lfilmvC(file, file + L".old"), 0);
  ASSERT_TRUE(init());
  EXPECT_EQ(list(), "2:ann@:a 5:bo@:b 6:cy@:c") << "a run that ended half-way";
}

TEST_F(UserList, AListThatCannotBeReplacedStays) {
  write("2:ann@:a 5:bo@:b");
  cloud.script("UploadProjectFile", {kRefused});
  ASSERT_TRUE(init());
  EXPECT_EQ(list(), "2:ann@:a 5:bo@:b") << "not sent, so taken back";
  EXPECT_FALSE(desk.exists(file + L".old"));
  EXPECT_EQ(project.additionalAdmins, std::vector<std::int32_t>{5});
  EXPECT_TRUE(project.memberSet.empty()) << "cy has no number yet";
  desk.writeFile(file + L".old\\in-the-way", "");
  ASSERT_TRUE(init());
  EXPECT_EQ(list(), "2:ann@:a 5:bo@:b");
  EXPECT_TRUE(desk.hasErrorLine(L"can't be moved aside"));
  ldirrmc(file + L".old");
  ASSERT_TRUE(init());
  EXPECT_EQ(list(), "2:ann@:a 5:bo@:b 6:cy@:c");
}

}  // namespace
}  // namespace Quorvel::FileAccess
