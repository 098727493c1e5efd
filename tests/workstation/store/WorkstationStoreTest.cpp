// The embedded controllers as a workstation is given them.
#include <gtest/gtest.h>

#include "host/Cloud.h"
#include "host/ObjectFiles.h"
#include "platform/Files.h"
#include "tests/support/TestWorkstation.h"
#include "workstation/Session.h"
#include "workstation/objects/ObjectFile.h"
#include "workstation/objects/OpenFiles.h"

namespace zephor_test {
namespace {

TEST(WorkstationStore, RefreshIsFullUntilTheFilesWereBrought) {
  TestWorkstation workstation;
  const std::wstring project = workstation.createTeamAndProject(L"House");
  ICloudProjectService& service = *QuorvelCloudController()->GetProjectService();
  const std::wstring directory = workstation.projectPath();
  const auto isFull = [&] {
    bool full = false;
    EXPECT_EQ(service.RefreshProjectCache(project, full), 0);
    return full;
  };
  EXPECT_TRUE(isFull()) << "the directory alone is no copy";
  EXPECT_EQ(service.DownloadFiles(project, directory, {}, {}), 0);
  EXPECT_TRUE(isFull());
  EXPECT_EQ(service.DownloadQuorvelProjectBaseFiles(project, directory, 1, {}), 0);
  EXPECT_FALSE(isFull());
  platform::removeTree(directory);
  EXPECT_TRUE(isFull());
  workstation.writeFile(directory + L"\\design\\a.txt", "");
  EXPECT_TRUE(isFull()) << "a new directory of the old name";
  workstation.writeFile(directory + L"\\OndrathCopy.tmp", "");
  EXPECT_FALSE(isFull());
}

TEST(WorkstationStore, DownloadLeavesAFileThatIsOpenElsewhere) {
  TestWorkstation workstation;
  const std::wstring project = workstation.createTeamAndProject(L"House");
  ICloudProjectService& service = *QuorvelCloudController()->GetProjectService();
  workstation.putStored(workstation.actor(), L"a.txt", "new");
  const std::wstring path = workstation.projectPath(L"a.txt");
  workstation.writeFile(path, "old");
  const HANDLE other = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
  for (const wchar_t* suffix : {L"", L".Part"}) {
    EXPECT_EQ(service.DownloadFile(project, workstation.projectPath(), L"a.txt", suffix), workstation::kStoreInUse);
  }
  EXPECT_EQ(service.DownloadFiles(project, workstation.projectPath(), {L"a.txt"}, {}), workstation::kStoreInUse);
  EXPECT_EQ(workstation.readFile(path), "old");
  CloseHandle(other);
  EXPECT_EQ(service.DownloadFile(project, workstation.projectPath(), L"a.txt", L".Part"), 0);
  EXPECT_EQ(workstation.readFile(path), "new");
  EXPECT_FALSE(workstation.exists(path + L".Part"));
}

TEST(WorkstationStore, FileOpenInTheCoreIsReadThroughItsHandleAndGetsAPart) {
  TestWorkstation workstation;
  const std::wstring project = workstation.createTeamAndProject(L"House");
  ICloudProjectService& service = *QuorvelCloudController()->GetProjectService();
  workstation.writeFile(workstation.path(L"a"), "content");
  std::wstring path;
  std::wstring error;
  ASSERT_EQ(workstation::createObject(workstation.projectPath(), eFileType_Teilbild, 1, L"", workstation.path(L"a"), {},
                                      path, error),
            0U);
  ASSERT_GT(workstation::openInCore(path, error), 0);
  QuorvFileInfo file;
  file.name = L"tb000001.zdw";
  const HANDLE handle = getOpenFileHandle_FromFileName(path);
  file.fileHandle = reinterpret_cast<std::intptr_t>(handle);
  SetFilePointer(handle, 7, nullptr, FILE_BEGIN);
  std::vector<std::wstring> failed;
  EXPECT_EQ(service.UploadFilesAndMetadata(project, workstation.projectPath(), {file}, 0, {}, failed), 0);
  EXPECT_EQ(SetFilePointer(handle, 0, nullptr, FILE_CURRENT), 7U);
  const std::string own = workstation.readFile(path);
  EXPECT_EQ(workstation.readStored(L"tb000001.zdw"), own);

  workstation.putStored(workstation.actor(), L"tb000001.zdw", "of another desk");
  EXPECT_EQ(service.DownloadFile(project, workstation.projectPath(), L"tb000001.zdw", L""), workstation::kStoreInUse);
  EXPECT_EQ(service.DownloadFile(project, workstation.projectPath(), L"tb000001.zdw", L".Part"), 0);
  EXPECT_EQ(workstation.readFile(path), own);
  EXPECT_EQ(workstation.readFile(path + L".Part"), "of another desk");
  workstation::closeProject();
  EXPECT_EQ(cfgethandle(path, 0), -1);
}

}  // namespace
}  // namespace zephor_test
