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

}  // namespace
}  // namespace Quorvel::FileAccess
