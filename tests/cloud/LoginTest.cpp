#include "cloud/Ondrath_Services.h"
#include "tests/support/CloudFixture.h"

namespace Quorvel::FileAccess {
namespace {

using zephor_test::Calls;
using zephor_test::kRefused;

using Login = zephor_test::CloudFixture;

TEST_F(Login, AnswersTellWhatFailed) {
  const std::size_t before = cloud.logins().size();
  EXPECT_EQ(WGO_OndrathLogin(), 0U);
  cloud.script("GetSessionState", {kRefused});
  EXPECT_EQ(WGO_OndrathLogin(), 0x8000FFFFU);
  cloud.script("Login", {kRefused, kRefused, 0});
  EXPECT_EQ(WGO_OndrathLogin(), 1U);
  EXPECT_TRUE(desk.hasErrorLine(L"Quorvel::FileAccess::WGO_OndrathLogin: failed to connect to Ondrath "));
  EXPECT_FALSE(WGO_SSOLogin(true));
  EXPECT_TRUE(WGO_SSOLogin(false));
  const Calls all = cloud.logins();
  EXPECT_EQ(Calls(all.begin() + static_cast<std::ptrdiff_t>(before), all.end()),
            (Calls{L"interactive", L"interactive", L"interactive", L"interactive silent", L"interactive"}));
}

TEST_F(Login, MessagesFollowTheirKind) {
  std::wstring text;
  EXPECT_EQ(getlocalizedMessageTextForOndrath(text, L"a.txt", 0, 0, 0, 0), L"Downloading \"a.txt\"");
  EXPECT_EQ(getlocalizedMessageTextForOndrath(text, L"House", 3, 2, 0, 0),
            L"Downloading 2 files from \"\\\\ONDRATH\\House\"");
  EXPECT_EQ(getlocalizedMessageTextForOndrath(text, L"", 6, 2, 5, 1572864), L"File 2 of 5  (1.50) MB");
}

}  // namespace
}  // namespace Quorvel::FileAccess
