#include "zephor/Workgroup.h"

#include <fstream>

#include "platform/UserInterface.h"
#include "tests/support/CloudFixture.h"

namespace Quorvel::FileAccess {
namespace {

using zephor_test::kRefused;

class Workgroup : public zephor_test::CloudFixture {
 protected:
  Workgroup() : zephor_test::CloudFixture({.traceLevel = 1}) {}
  static std::wstring aim() {
    IZepInetFileTransfer& transfer = getInetFileManager();
    return std::wstring(transfer.getServerName()) + L"|" + transfer.getProjectName() + L"|" +
           ZSYST_getCurrentWorkgroupServer();
  }
  const std::wstring atHome = L"ONDRATH|" + uuid + L".prj|ONDRATH";
};

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

TEST_F(Workgroup, ARefusedOpenChangesNothingAndTellsWhy) {
  const std::wstring project = L"can not open project ONDRATH::" + uuid;
  const struct {
    std::initializer_list<CloudStatus> logins;
    std::initializer_list<CloudStatus> sessions;
    const wchar_t* host;
    unsigned code;
    std::wstring line;
    std::wstring console;
  } refusals[] = {
      {{kRefused}, {}, L"ONDRATH", 0xA0B10004, L"failed to connect", L"ONDRATH database: " + project + L" err=1"},
      {{}, {kRefused}, L"ONDRATH", 0xA0B10004, L"", project + L" err=-2147418113"},
      {{0, kRefused}, {}, L"ONDRATH", 0xFFFFFFECU, L"init workgroup: " + project, L""},
      {{0, kRefused}, {}, L"ONDRATH", 0xFFFFFFECU, L"not logged in for ONDRATH server", L""},
      {{},
       {},
       L"nowhere",
       0xFFFFFFECU,
       L"problem from WGO_initWorkgroup for nowhere",
       L"(\"nowhere\"): Host not found!"},
      {{}, {}, L"nowhere", 0xFFFFFFECU, L"can not open project nowhere::" + uuid, L""}};
  for (const auto& [logins, sessions, host, code, line, console] : refusals) {
    cloud.script("Login", logins);
    cloud.script("GetSessionState", sessions);
    PRJ refused = prj();
    wcscpy(refused.host, host);
    EXPECT_EQ(static_cast<unsigned>(WGO_InitForProjectOpen(refused)), code);
    EXPECT_TRUE(desk.hasErrorLine(line)) << platform::toUtf8(line);
    std::ifstream trace(desk.directory() + "/workstation/log/zephor-trace.log");
    const std::string traced(std::istreambuf_iterator<char>(trace), {});
    EXPECT_THAT(traced, testing::HasSubstr(platform::toUtf8(console)));
    EXPECT_EQ(aim(), atHome);
  }
  ZSYST_setCurrentWorkgroupServer(L"account");
  getInetFileManager().setServerName(L"");
  PRJ nameless = prj();
  nameless.directoryName[0] = L'\0';
  EXPECT_EQ(WGO_InitForProjectOpen(nameless), -20);
  EXPECT_EQ(aim(), L"|" + uuid + L".prj|account") << "not at the server that was taken";
}

TEST_F(Workgroup, AProjectMayLagThreeReleases) {
  PRJ project = prj();
  const int release = get_InternMainRelease();
  for (const auto& [lag, refusal] : {std::pair(0, L""), {3, L""}, {4, L"too old"}, {-1, L"a newer release"}}) {
    project.mainRelease = static_cast<std::uint8_t>(release - lag);
    const std::size_t shown = ui().boxes().size();
    EXPECT_EQ(WGO_isValidProjectVersion(project, false, lag < 0), *refusal == L'\0') << lag;
    EXPECT_EQ(ui().boxes().size() - shown, lag < 0 ? 1U : 0U);
    EXPECT_TRUE(*refusal == L'\0' || desk.hasErrorLine(refusal)) << lag;
  }
  EXPECT_EQ(ui().boxes()[0].style, 0x10040U);
  EXPECT_TRUE(desk.hasErrorLine(L"WGO_isValidProjectVersion: " + ui().boxes()[0].text + L" - " + uuid));
  EXPECT_TRUE(WGO_isValidProjectVersion(localPrj(), false, true));
}

/// Each row is a process of its own.
TEST_F(Workgroup, TheNoticeComesOncePerProcessUntilItIsTickedOff) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const std::wstring key = L"Settings\\NotifyWGOSupportEnds";
  const struct {
    int before;
    int answer;
    int boxes;
    int after;
  } processes[] = {{-1, IDOK, 1, 0}, {0, IDOK | platform::kBoxChecked, 1, 1}, {1, IDOK, 0, 1}};
  const auto runs = [&](const auto& process) {
    ZSYST_ZepRegPutNumber(L"HKCU", key, process.before);
    ui().answerWith({process.answer});
    WGO_notifyCustomerWGOSupportEnds();
    int after = -1;
    ZSYST_ZepRegGetNumber(L"HKCU", key, after);
    ZSYST_ZepRegPutNumber(L"HKCU", key, 0);
    WGO_notifyCustomerWGOSupportEnds();
    const auto boxes = ui().boxes();
    const bool isAsked = boxes.empty() || boxes[0].checkBox == L"Do not show this message again";
    std::_Exit(isAsked && std::ssize(boxes) == process.boxes && after == process.after ? 0 : 1);
  };
  for (const auto& process : processes) EXPECT_EXIT(runs(process), testing::ExitedWithCode(0), "") << process.before;
}

}  // namespace
}  // namespace Quorvel::FileAccess
