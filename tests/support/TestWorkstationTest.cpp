#include "tests/support/TestWorkstation.h"

#include <gtest/gtest.h>

#include "host/Project.h"
#include "host/Trace.h"
#include "platform/Messages.h"

namespace {

using zephor_test::TestWorkstation;

TEST(TestWorkstation, HasAProjectInTwoLinesAndKeepsItOverARestart) {
  TestWorkstation workstation;
  const std::wstring project = workstation.createTeamAndProject(L"House");
  EXPECT_EQ(get_ActivePrj().GetOndrathProjectUuid(), project);
  workstation.writeFile(workstation.projectPath(L"design\\note.txt"), "text");
  workstation.restart();
  EXPECT_EQ(get_ActivePrj().GetOndrathProjectUuid(), project);
  EXPECT_EQ(workstation.readFile(workstation.projectPath(L"DESIGN\\Note.txt")), "text");
}

TEST(TestWorkstation, WorksWithoutAStoreAndBelowItsDirectoryOnly) {
  TestWorkstation workstation({.withStore = false, .deny = true});
  EXPECT_THROW(workstation.createTeamAndProject(L"House"), std::runtime_error);
  lfperrText(L"seen in the log\n");
  EXPECT_TRUE(workstation.hasErrorLine(L"seen in the log"));
  EXPECT_EQ(platform::environment(L"APPDATA").find(workstation.path(L"")), 0U);
  MessageBoxW(nullptr, L"text", L"caption", MB_YESNO);
  EXPECT_EQ(workstation.ui().boxes().size(), 1U);
}

}  // namespace
