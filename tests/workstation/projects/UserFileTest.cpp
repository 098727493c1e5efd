#include <gtest/gtest.h>

#include <vector>

#include "host/Users.h"
#include "tests/workstation/Fixtures.h"

namespace {

using zephor_test::offline;
using zephor_test::TestWorkstation;

constexpr const wchar_t* kDirectory = L"C:\\Temp";
constexpr const wchar_t* kFile = L"C:\\Temp\\user.cfg";

QuorvelUser user(int number, const wchar_t* login, const wchar_t* uuid = L"") {
  QuorvelUser result;
  result.number = number;
  wcscpy(result.loginName, login);
  wcscpy(result.uuid, uuid);
  return result;
}

class UserFile : public testing::Test {
 protected:
  TestWorkstation workstation_{offline()};
};

TEST_F(UserFile, ComesBackWholeWithTheFirstOfEachNumber) {
  QuorvelUser full = user(2, L"_BIM_002", L"11111111-2222-4333-8444-555555555555");
  full.flags = 0xFFFFFFFF;
  wcscpy(full.hostName, L"localhost");
  wcscpy(full.firstName, L"Jürgen <&>");
  wcscpy(full.email, L"j@example.org");
  ASSERT_EQ(lzWriteAllUsers_fromVector_to_Path({full, user(3, L"b"), user(2, L"again")}, kDirectory), 0);
  std::vector<QuorvelUser> read = {user(9, L"before")};
  ASSERT_EQ(lzReadAllUsers_fromPath_toVector(kDirectory, read), 0);
  ASSERT_EQ(read.size(), 2U);
  EXPECT_EQ(read[0].number, 2);
  EXPECT_EQ(read[0].flags, 0xFFFFFFFF);
  EXPECT_STREQ(read[0].loginName, full.loginName);
  EXPECT_STREQ(read[0].hostName, full.hostName);
  EXPECT_STREQ(read[0].firstName, full.firstName);
  EXPECT_STREQ(read[0].email, full.email);
  EXPECT_STREQ(read[0].uuid, full.uuid);
  EXPECT_STREQ(read[1].loginName, L"b");
  workstation_.writeFile(
      kFile, "<Users version=\"1\"><User number=\"2\" login=\"a\"/><User number=\"2\" login=\"b\"/></Users>");
  ASSERT_EQ(lzReadAllUsers_fromPath_toVector(kDirectory, read), 0);
  ASSERT_EQ(read.size(), 1U) << "another program may have repeated a number";
}

TEST_F(UserFile, ThatIsDamagedAnswers13AndGivesNobody) {
  const std::string longText(64, 'x');
  const std::string cases[] = {
      "",
      "\xFF\xFE",
      "<Users version=\"1\"><User number=\"2\"",
      "<Users version=\"2\"/>",
      "<Group/>",
      "<Users version=\"1\"><User/></Users>",
      "<Users version=\"1\"><User number=\"-1\"/></Users>",
      "<Users version=\"1\"><User number=\"2x\"/></Users>",
      "<Users version=\"1\"><User number=\"2\"/><User number=\"3\" email=\"" + longText + "\"/></Users>",
  };
  for (const std::string& text : cases) {
    workstation_.writeFile(kFile, text);
    std::vector<QuorvelUser> read = {user(9, L"before")};
    EXPECT_EQ(lzReadAllUsers_fromPath_toVector(kDirectory, read), 13) << text;
    EXPECT_TRUE(read.empty()) << text;
    EXPECT_FALSE(lz_uInitRAW(kDirectory, QuorvelUser())) << text;
  }
  EXPECT_TRUE(workstation_.hasErrorLine(L"user.cfg: line 1"));
  std::vector<QuorvelUser> read;
  EXPECT_EQ(lzReadAllUsers_fromPath_toVector(L"C:\\Nowhere", read), 2);
  EXPECT_NE(lzWriteAllUsers_fromVector_to_Path({user(-1, L"a")}, kDirectory), 0);
  EXPECT_NE(lzWriteAllUsers_fromVector_to_Path({}, L"C:\\Nowhere"), 0);
}

}  // namespace
