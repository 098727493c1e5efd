#include "zephor/Workgroup.h"

#include "platform/UserInterface.h"
#include "tests/support/CloudFixture.h"

namespace Quorvel::FileAccess {
namespace {

using zephor_test::kRefused;

class Workgroup : public zephor_test::CloudFixture {
 protected:
  static std::wstring aim() {
    IZepInetFileTransfer& transfer = getInetFileManager();
    return std::wstring(transfer.getServerName()) + L"|" + transfer.getProjectName() + L"|" +
           ZSYST_getCurrentWorkgroupServer();
  }
  const std::wstring atHome = L"ONDRATH|" + uuid + L".prj|ONDRATH";
};

TEST_F(Workgroup, AFailedInitialisationLeavesEverythingAsItWas) {
  std::wstring host;
  std::wstring directory;
  EXPECT_FALSE(WGO_FullInitWorkgroup(L"nowhere", L"p", host, directory));
  EXPECT_EQ(host, L"ONDRATH");
  EXPECT_EQ(directory, uuid + L".prj");
  EXPECT_EQ(aim(), atHome);
  EXPECT_TRUE(desk.hasErrorLine(L"WGO_FullInitWorkgroup: problem from WGO_initWorkgroup for nowhere"));
}

TEST_F(Workgroup, AGuardAimsBackEvenWhenTheServerIsGone) {
  {
    const CScopedPrjSettings guard(L"ONDRATH", L"other");
    EXPECT_EQ(aim(), L"ONDRATH|other.prj|ONDRATH");
    const CScopedPrjSettings inner(L"", nullptr);
    EXPECT_STREQ(getInetFileManager().getServerName(), L"");
    cloud.script("Login", {kRefused, kRefused});
  }
  EXPECT_EQ(aim(), atHome);
}

TEST_F(Workgroup, OpeningAnswersWhatFailed) {
  cloud.script("Login", {kRefused});
  EXPECT_EQ(static_cast<unsigned>(WGO_InitForProjectOpen(prj())), 0xA0B10004U);
  cloud.script("Login", {0, kRefused});
  EXPECT_EQ(WGO_InitForProjectOpen(prj()), -20);
  EXPECT_TRUE(desk.hasErrorLine(L"init workgroup: can not open project ONDRATH::" + uuid));
}

TEST_F(Workgroup, AProjectMayLagThreeReleases) {
  PRJ project = prj();
  const int release = get_InternMainRelease();
  for (const auto& [lag, valid] : {std::pair(0, true), std::pair(3, true), std::pair(4, false), std::pair(-1, false)}) {
    project.mainRelease = static_cast<std::uint8_t>(release - lag);
    EXPECT_EQ(WGO_isValidProjectVersion(project, false, lag < 0), valid) << lag;
  }
  ASSERT_EQ(ui().boxes().size(), 1U);
  EXPECT_EQ(ui().boxes()[0].style, 0x10040U);
  EXPECT_TRUE(desk.hasErrorLine(L"WGO_isValidProjectVersion: " + ui().boxes()[0].text + L" - " + uuid));
  EXPECT_TRUE(WGO_isValidProjectVersion(localPrj(), false, true));
}

TEST_F(Workgroup, TheNoticeComesOncePerProcess) {
  int answered = -1;
  ui().answerWith({IDOK | platform::kBoxChecked});
  for (int call = 0; call < 2; ++call) {
    WGO_notifyCustomerWGOSupportEnds();
    EXPECT_TRUE(ZSYST_ZepRegGetNumber(L"HKCU", L"Settings\\NotifyWGOSupportEnds", answered));
    EXPECT_EQ(answered, call == 0 ? 1 : 0) << "ticked off";
    ZSYST_ZepRegPutNumber(L"HKCU", L"Settings\\NotifyWGOSupportEnds", 0);
  }
  ASSERT_EQ(ui().boxes().size(), 1U) << "whatever the setting holds";
  EXPECT_EQ(ui().boxes()[0].checkBox, L"Do not show this message again");
}

}  // namespace
}  // namespace Quorvel::FileAccess
