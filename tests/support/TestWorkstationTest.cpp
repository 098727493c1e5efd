#include "tests/support/TestWorkstation.h"

#include <gtest/gtest.h>

#include "host/Project.h"
#include "host/Trace.h"
#include "platform/Messages.h"

namespace {

using zephor_test::TestWorkstation;

TEST(TestWorkstation, HasAProjectInTwoLines) {
  TestWorkstation workstation;
  const std::wstring project = workstation.createTeamAndProject(L"House");
  EXPECT_EQ(get_ActivePrj().GetOndrathProjectUuid(), project);
  EXPECT_EQ(get_ActivePrj().GetProjectDisplayName(), L"House");
  workstation.writeFile(workstation.projectPath(L"design\\note.txt"), "text");
  EXPECT_EQ(workstation.readFile(workstation.projectPath(L"DESIGN\\Note.txt")), "text");
  EXPECT_TRUE(workstation.exists(workstation.projectPath()));
}

TEST(TestWorkstation, SharesItsStoreWithColleagues) {
  TestWorkstation workstation;
  workstation.createTeamAndProject(L"House");
  const auto colleague = workstation.addColleague(L"Ada");
  workstation.putStored(colleague, L"note.txt", "from Ada");
  EXPECT_TRUE(workstation.isStored(L"note.txt"));
  EXPECT_EQ(workstation.readStored(L"note.txt"), "from Ada");
  EXPECT_FALSE(workstation.isStored(L"other.txt"));
}

TEST(TestWorkstation, StartsAgainFromWhatItWrote) {
  TestWorkstation workstation;
  const std::wstring project = workstation.createTeamAndProject(L"House");
  workstation.writeFile(workstation.projectPath(L"note.txt"), "text");
  workstation.restart();
  EXPECT_EQ(get_ActivePrj().GetOndrathProjectUuid(), project);
  EXPECT_EQ(workstation.readFile(workstation.projectPath(L"note.txt")), "text");
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
