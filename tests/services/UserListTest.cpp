#include "services/UserList.h"

#include "host/Files.h"
#include "host/Users.h"
#include "services/UserReconciliation.h"
#include "tests/support/CloudFixture.h"
#include "tests/workstation/Fixtures.h"

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
      {"an e-mail that is not told", "2:ann@:a", "1::a", "2:ann@:a"},
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

const std::string kList = "2:ann@:a 3:bo@:b 4:cy@:c";
const std::string kNumbered = "2:ann@:a 5:bo@:b 6:cy@:c";
const std::string kMembers = "1:ann@:a 2:bo@:b 4:cy@:c";

/// Before, members, after. A list is "-" where there is none; ">" before it stands for a run that ended with the list
/// moved aside, "+" for one that ended after it wrote the new one.
struct Case {
  const char* what;
  int role;  ///< 1 is Ann, who owns the project; with 2 (editor) and 0 (viewer) it is somebody new
  std::string here;
  std::string onServer;
  std::string members;
  const char* refused;
  std::string after;
  std::string roles;  ///< owner/administrators/members in the descriptor, which said 2/3/4
  int sent;
};

class UserList : public zephor_test::CloudFixture {
 protected:
  UserList() : zephor_test::CloudFixture({.traceLevel = 1}) { ldirmkc(folder); }

  void put(const std::wstring& name, const std::string& list) {
    const bool isList = list.find(':') != std::string::npos;
    if (isList) lzWriteAllUsers_fromVector_to_Path(usersOf(list), folder);
    if (isList && name != file) lfilmvC(file, name);
    if (!isList && list != "-") desk.writeFile(name, list);
  }
  void prepare(const Case& one) {
    lfilrmC(file);
    lfilrmC(old);
    const bool isOld = one.here.starts_with('>') || one.here.starts_with('+');
    put(folder + L"theirs", one.onServer);
    if (isOld) put(old, one.here.substr(1));
    if (one.here[0] != '>') put(file, one.here.substr(isOld ? 1 : 0));
    PRJ said = prj();
    said.owner = 2;
    said.additionalAdmins = {3};
    said.memberSet.clear();
    said.setMember(3);
    ASSERT_EQ(NetID_WritePrjInfoByPath(path(L""), said, 0), 0);
    project = prj();
    cloud.user = one.role == 1 ? CloudUser{L"a", L"Ann", L"ann@"} : CloudUser{L"m", L"Me", L"me@"};
    cloud.role = one.role;
    cloud.members = membersOf(one.members);
    cloud.files.clear();
    if (one.onServer != "-") cloud.files = {L"Net\\user.cfg"};
    cloud.onDownload = [&](const std::wstring& target) {
      if (one.refused == std::string("throw")) throw std::runtime_error("lost");
      desk.writeFile(target, desk.readFile(folder + L"theirs"));
    };
    for (const char* name : {"HasFile", "DownloadFile", "UploadProjectFile", "GetProjectMembers"}) {
      cloud.script(name, {name == std::string(one.refused) ? kRefused : 0});
    }
  }
  std::string run() {
    std::vector<QuorvelUser> users;
    if (!Ondrath_InitWorkgroup(project)) return "failed";
    return lzReadAllUsers_fromPath_toVector(folder, users) == 0 ? textOf(users) : "none";
  }
  std::string roles() const {
    PRJ read;
    NetID_ReadPrjInfoByPath(path(L""), read);
    std::string text = std::to_string(read.owner) + "/";
    for (const int number : read.additionalAdmins) text += std::to_string(number);
    text += "/";
    for (unsigned bit = 0; bit < 10; ++bit) text += read.isMember(bit) ? std::to_string(bit + 1) : "";
    return text;
  }
  long sent() const {
    return std::ranges::count_if(cloud.calls(), [](const auto& call) { return call.starts_with(L"Upload"); });
  }

  const std::wstring folder = path(L"Net\\");
  const std::wstring file = folder + L"user.cfg";
  const std::wstring old = file + L".old";
  PRJ project;
};

TEST_F(UserList, BeforeMembersAfter) {
  const std::string added = "2:ann@:a 7:bo@:b 8:me@:m";
  const Case cases[] = {
      {"no list anywhere", 1, "-", "-", kMembers, "", kList, "2/3/4", 1},
      {"the first list is not sent", 1, "-", "-", kMembers, "UploadProjectFile", kList, "2/3/4", 1},
      {"in step", 1, kList, kList, kMembers, "", kList, "2/3/4", 0},
      {"two roles alone", 1, kList, kList, "1:ann@:a 4:bo@:b 2:cy@:c", "", kList, "2/4/3", 0},
      {"new, gone, other e-mail", 1, kList, kList, "1:ann@:a 4:bob@:b 3:di@:d", "", "2:ann@:a 3:bob@:b 5:di@:d",
       "2//35", 1},
      {"empty here", 1, "", kNumbered, kMembers, "", kNumbered, "2/5/6", 0},
      {"unreadable here", 1, "no list", kNumbered, kMembers, "", kNumbered, "2/5/6", 0},
      {"unreadable everywhere", 1, "no list", "no list", kMembers, "", kList, "2/3/4", 1},
      {"does not come", 1, "-", kNumbered, kMembers, "DownloadFile", "failed", "2/3/4", 0},
      {"the service throws", 1, "-", kNumbered, kMembers, "throw", "failed", "2/3/4", 0},
      {"perhaps on the server", 1, "-", kNumbered, kMembers, "HasFile", "failed", "2/3/4", 0},
      {"perhaps on the server, and here", 1, kList, kList, kMembers, "HasFile", kList, "2/3/4", 0},
      {"a listing that ends half-way", 1, kList, kList, "1:ann@:a", "GetProjectMembers", "failed", "2/3/4", 0},
      {"an empty answer", 1, kList, kList, "", "", "failed", "2/3/4", 0},
      {"not sent, so taken back", 1, "2:ann@:a 5:bo@:b", kList, kMembers, "UploadProjectFile", "2:ann@:a 5:bo@:b",
       "2/5/", 1},
      {"ended with the list moved aside", 1, ">" + kNumbered, "-", kMembers, "", kNumbered, "2/5/6", 1},
      {"ended before it was sent", 1, "+" + kList, kList, kMembers, "", kList, "2/3/4", 1},
      {"a viewer's run that ended", 0, "+2:ann@:a 3:me@:m", kList, kMembers, "", "2:ann@:a 3:me@:m", "2/3/4", 0},
      {"a new editor", 2, "2:ann@:a 7:bo@:b", kList, kMembers, "", added, "2/3/48", 1},
      {"a new viewer", 0, "2:ann@:a 7:bo@:b", kList, kMembers, "", added, "2/3/48", 0},
      {"a member's other e-mail", 2, "2:x@:a 8:i@:m", kList, kMembers, "", "2:x@:a 8:me@:m", "2/3/48", 1},
      {"a viewer without a list", 0, "-", "-", "1:ann@:a 4:me@:m", "", "2:ann@:a 3:me@:m", "2//3", 0},
  };
  for (const Case& one : cases) {
    prepare(one);
    const long before = sent();
    EXPECT_EQ(run(), one.after) << one.what;
    EXPECT_EQ(roles(), one.roles) << one.what;
    EXPECT_EQ(sent() - before, one.sent) << one.what;
    EXPECT_FALSE(desk.exists(old)) << one.what;
  }
  EXPECT_TRUE(desk.hasErrorLine(L"\tPrjOwner: 002") && desk.hasErrorLine(L"\tPrjAdditionalAdmins:005") &&
              desk.hasErrorLine(L"\tPrjMemberList:006"));
}

TEST_F(UserList, AListThatCannotBeWrittenStays) {
  const Case full{"", 1, "2:ann@:a 5:bo@:b", kList, kMembers, "", "", "", 0};
  prepare(full);
  const std::string before = desk.readFile(file);
  {
    const zephor_test::FileSizeLimit limit(64);
    EXPECT_EQ(run(), full.here) << "a full disk";
  }
  EXPECT_EQ(project.additionalAdmins, std::vector<std::int32_t>{5});
  desk.writeFile(old + L"\\in the way", "");
  EXPECT_EQ(run(), full.here) << "it can't be moved aside";
  EXPECT_EQ(desk.readFile(file), before);
  EXPECT_EQ(sent(), 0);
  prepare({"", 1, "-", "-", kMembers, "", "", "", 0});
  const zephor_test::FileSizeLimit limit(64);
  EXPECT_EQ(run(), "failed");
  EXPECT_FALSE(desk.exists(file)) << "no half of a first list";
}

}  // namespace
}  // namespace Quorvel::FileAccess
