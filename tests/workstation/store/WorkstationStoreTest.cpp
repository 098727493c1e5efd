// The embedded controllers as a workstation is given them.
#include <gtest/gtest.h>

#include "host/ObjectFiles.h"
#include "platform/Files.h"
#include "tests/support/TestWorkstation.h"
#include "workstation/Session.h"
#include "workstation/store/EmbeddedController.h"
#include "workstation/store/StoreContext.h"

namespace zephor_test {
namespace {

TEST(WorkstationStore, CacheFilesGoUpAndComeBack) {
  TestWorkstation workstation;
  const std::wstring project = workstation.createTeamAndProject(L"House");
  ICloudProjectService& service = *QuorvelCloudController()->GetProjectService();
  workstation.writeFile(workstation.projectPath(L"design\\notes.txt"), "notes");
  EXPECT_EQ(service.UploadProjectFile(project, L"design\\notes.txt"), 0);
  EXPECT_EQ(workstation.readStored(L"design\\notes.txt"), "notes");
  EXPECT_NE(service.UploadProjectFile(project, L"design\\none.txt"), 0);
  bool full = true;
  EXPECT_EQ(service.RefreshProjectCache(project, full), 0);
  EXPECT_FALSE(full);
  platform::removeTree(workstation.projectPath());
  EXPECT_EQ(service.RefreshProjectCache(project, full), 0);
  EXPECT_TRUE(full);
}

TEST(WorkstationStore, DownloadAsksTheWatcherAndKeepsHiddenFilesHidden) {
  TestWorkstation workstation;
  const std::wstring project = workstation.createTeamAndProject(L"House");
  workstation.putStored(workstation.actor(), L"design\\desktop.ini", "new");
  const std::wstring path = workstation.projectPath(L"design\\desktop.ini");
  workstation.writeFile(path, "old");
  ASSERT_NE(SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM), FALSE);
  std::wstring shown;
  workstation::setTransferProgress(
      [&](std::uint32_t done, std::uint32_t total, std::uint64_t, const std::wstring& text) {
        shown = text + std::to_wstring(done) + L"/" + std::to_wstring(total);
      });
  CloudTransferOptions options;
  options.count = 0xFFFFFFFF;
  options.text = L"House ";
  EXPECT_EQ(QuorvelCloudController()->GetProjectService()->DownloadFiles(project, workstation.projectPath(),
                                                                         {L"design\\desktop.ini"}, options),
            0);
  workstation::setTransferProgress({});
  EXPECT_EQ(shown, L"House 1/1");
  EXPECT_EQ(workstation.readFile(path), "new");
  EXPECT_EQ(GetFileAttributesW(path.c_str()) & 6U, 6U);
}

TEST(WorkstationStore, LogoutEndsTheWorkUntilTheNextLogin) {
  TestWorkstation workstation;
  const std::wstring project = workstation.createTeamAndProject(L"House");
  ICloudController& controller = *QuorvelCloudController();
  std::wstring text;
  EXPECT_EQ(controller.GetProjectService()->CheckProjectAccess(project, text), 0);
  QuorvelSsoController()->Logout();
  EXPECT_EQ(static_cast<std::uint32_t>(controller.GetProjectService()->CheckProjectAccess(project, text)), 0x800708CAU);
  EXPECT_EQ(controller.Login(true, true), 0);
  EXPECT_EQ(controller.GetProjectService()->CheckProjectAccess(project, text), 0);
}

TEST(WorkstationStore, ReplacedControllerIsGivenUntilItIsTakenBack) {
  ICloudController* const embedded = QuorvelCloudController();
  const auto other = workstation::makeEmbeddedController("", {});
  workstation::setCloudController(other.get());
  EXPECT_EQ(QuorvelCloudController(), other.get());
  EXPECT_NE(other->Login(false, true), 0);
  workstation::setCloudController(nullptr);
  EXPECT_EQ(QuorvelCloudController(), embedded);
}

}  // namespace
}  // namespace zephor_test
