#include "host/NetManager.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "tests/support/CloudFixture.h"
#include "workstation/Servers.h"
#include "zephor/ProjectCache.h"
#include "zephor/ProjectListing.h"

namespace Quorvel::FileAccess {
namespace {

using testing::ElementsAre;

class ProjectSync : public zephor_test::CloudFixture {
 protected:
  PRJ project = prj();
};

TEST_F(ProjectSync, EachModeDoesItsWorkAndAimsBack) {
  constexpr const char* kOff = "<directory exclude = \"/\" activated = \"1\">\n";
  const struct {
    int mode;
    CloudStatus load;
    const char* filter;
    long result;
    const wchar_t* lastCall;
  } table[] = {{0, 0, "", 0x20B10001, L""},
               {1, 0, "", 0, L"DownloadQuorvelProjectBaseFiles 1"},
               {2, 0, "", 0, L"DownloadQuorvelProjectFiles 5"},
               {3, 0, "", 0, L"DownloadQuorvelProjectFiles 5"},
               {4, 0, "", 0, L"DownloadQuorvelProjectBaseFiles 1"},
               {2, zephor_test::kRefused, "", -1, L"DownloadQuorvelProjectFiles 5"},
               {3, 0, kOff, 0x20B10001, L""}};
  IZepInetFileTransfer& transfer = getInetFileManager();
  transfer.setProjectName(L"other", false);
  cloud.onLoad = [&](const std::wstring&) { EXPECT_EQ(transfer.getProjectName(), uuid + L".prj"); };
  for (const auto& row : table) {
    desk.writeFile(path(L"WGO_SyncFilter.xml"), row.filter);
    cloud.script("DownloadQuorvelProjectFiles", {row.load});
    const std::size_t before = cloud.calls().size();
    EXPECT_EQ(WGO_syncPrjDir(project, static_cast<WGO_PrjSyncMode>(row.mode)), row.result) << row.mode;
    EXPECT_EQ(cloud.calls().size() > before ? cloud.calls().back() : L"", row.lastCall) << row.mode;
    EXPECT_STREQ(transfer.getProjectName(), L"other.prj");
  }
  desk.writeFile(path(L"BIM\\Tower.prj\\a"), "");
  ::workstation::setHostDirectory(L"files", path(L"BIM"));
  const std::wstring host = transfer.getServerName();
  for (const wchar_t* other : {L"files", L"nowhere"}) {
    std::vector<std::wstring> names;
    EXPECT_EQ(WGO_getProjectDirectoriesFromServer(other, names, true), *other == L'f' ? 1U : 0U);
    EXPECT_STREQ(transfer.getProjectName(), L"other.prj");
    EXPECT_EQ(transfer.getServerName(), host);
  }
  cloud.onLoad = [](const std::wstring&) {};
  cloud.script("Login", {zephor_test::kRefused});
  EXPECT_EQ(WGO_syncPrjDir(project, eWGOPrjSyncMode_Full), 0x20B10001) << "its own filter file counts, not the other's";
  PRJ local = localPrj();
  EXPECT_EQ(WGO_syncPrjDir(local, eWGOPrjSyncMode_Full), 0x20B10001);
  EXPECT_TRUE(desk.hasErrorLine(L"WGO_syncPrjDir: eSyncMode == eWGOPrjSyncMode_NoWork"));
  EXPECT_TRUE(desk.hasErrorLine(L"WGO_syncPrjDir: host is no ondrath server "));
  EXPECT_TRUE(desk.hasErrorLine(L"WGO_syncPrjDir: the filter file of \"" + uuid + L"\" switches its"));
}

TEST_F(ProjectSync, OnlyNeededAdministrationFilesCount) {
  cloud.script("DownloadFile", {0, 0, 0, 2, 2, 0, 0, 2});
  EXPECT_TRUE(WGO_DownloadPrjDirAdminFiles(project)) << "what is not needed failed";
  EXPECT_FALSE(WGO_DownloadPrjDirAdminFiles(project));
  EXPECT_EQ(cloud.calls().size(), 10U) << "the failure of one keeps none back";
  PRJ local = localPrj();
  EXPECT_TRUE(WGO_DownloadPrjDirAdminFiles(local) && WGO_syncPrjData(local, 0, 0));
  EXPECT_FALSE(WGO_fullDownloadProjectData(local, path(L"copy")));
  EXPECT_FALSE(WGO_syncPrjData(project, 1, 0)) << "no class of objects";
  EXPECT_EQ(cloud.calls().size(), 10U);
}

/// The server has the Teilbilder 1 to 3; 1 is here, and the building names 0, 2 and 9.
class ProjectData : public ProjectSync {
 protected:
  ProjectData() {
    for (const int number : {1, 2, 3}) storeHeader(file(number), header<TeilbildHeader>(number, 1));
    desk.writeFile(file(1), "mine");
    desk.writeFile(path(L"BIM\\Quorvel_BIM_BuildingStructure.xml"), "<File ID=\"2\"/>\n<File ID=\"0\"/>\n");
    desk.writeFile(path(L"BIM\\Quorvel_BIM_Views.xml"), "<File ID=\"9\"/>\n<File ID=\"2\"/>\n");
    cloud.onLoad = [this](const std::wstring& directory) {
      for (int i = 1; i < 4; ++i) desk.writeFile(directory + below + platform::fileNameOf(file(i)), "server's");
      if (meanwhile) meanwhile();
    };
  }
  std::wstring file(int number) const { return path(platform::formatWide(L"tb%06d.zdw", number)); }
  std::vector<std::string> files() const {
    return {desk.readFile(file(1)), desk.readFile(file(2)), desk.readFile(file(3))};
  }

  std::wstring below = L"\\inside\\";
  std::function<void()> meanwhile;
};

TEST_F(ProjectData, TheModeDecidesWhatComes) {
  EXPECT_TRUE(WGO_syncPrjData(project, 0, 1));
  EXPECT_THAT(files(), ElementsAre("mine", "server's", ""));
  meanwhile = [&] {
    desk.writeFile(file(3), "drawn");
    EXPECT_FALSE(WGO_syncPrjData(project, 0, 0)) << "one at a time";
  };
  EXPECT_TRUE(WGO_syncPrjData(project, 0, 2));
  EXPECT_THAT(files(), ElementsAre("mine", "server's", "drawn"));
  EXPECT_TRUE(WGO_syncPrjData(project, 0, 2));
  EXPECT_EQ(cloud.calls().back(), L"GetAllFileHeaders 2") << "nothing is missing, nothing comes";
}

TEST_F(ProjectData, TheServerWinsOverAllThatCanBeReplaced) {
  cloud.script("DownloadQuorvelProjectFiles", {zephor_test::kRefused});
  EXPECT_FALSE(WGO_syncPrjData(project, 0, 0));
  EXPECT_THAT(files(), ElementsAre("mine", "", ""));
  below = L"\\";
  desk.writeFile(file(2), "open");
  desk.writeFile(file(3), "guarded");
  desk.writeFile(path(L"Backup"), "in the way");
  EXPECT_TRUE(WGO_syncPrjData(project, 0, 0));
  EXPECT_THAT(files(), ElementsAre("mine", "open", "guarded")) << "nothing goes that can't be kept";
  EXPECT_TRUE(desk.hasErrorLine(L"stays, since no backup of it could be made"));
  DeleteFileW(path(L"Backup").c_str());
  SetFileAttributesW(file(3).c_str(), FILE_ATTRIBUTE_READONLY);
  const HANDLE held = CreateFileW(file(2).c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
  EXPECT_TRUE(WGO_syncPrjData(project, 0, 0));
  CloseHandle(held);
  EXPECT_THAT(files(), ElementsAre("server's", "open", "guarded"));
  ASSERT_EQ(ui().boxes().size(), 2U);
  EXPECT_TRUE(ui().boxes()[0].text.starts_with(L"Error downloading files: House\n\n"));
  EXPECT_TRUE(ui().boxes()[1].text.starts_with(L"Error copying file: " + file(3) + L"\n\n"));
  EXPECT_TRUE(WGO_syncPrjData(project, 0, 0)) << "the server's own file needs no backup";
  const std::vector<std::wstring> kept = NetManager::getFilesList(path(L"Backup"), L"");
  const auto isFirst = [](const std::wstring& name) { return name.starts_with(L"tb000001.zdw."); };
  ASSERT_EQ(std::count_if(kept.begin(), kept.end(), isFirst), 1);
  EXPECT_EQ(desk.readFile(path(L"Backup\\" + *std::find_if(kept.begin(), kept.end(), isFirst))), "mine");
}

}  // namespace
}  // namespace Quorvel::FileAccess
