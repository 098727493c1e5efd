#include "cloud/ProjectCache.h"

#include <cwchar>
#include <filesystem>
#include <stdexcept>

#include "host/Files.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "tests/support/CloudFixture.h"
#include "workstation/ui/HostInterface.h"
#include "zephor/CloudFiles.h"
#include "zephor/ProjectCache.h"
#include "zephor/Workgroup.h"

namespace Quorvel::FileAccess {
namespace {

using zephor_test::Calls;
using zephor_test::kRefused;

class ProjectCache : public zephor_test::CloudFixture {
 protected:
  void write(const std::wstring& name) { desk.writeFile(path(name), "local"); }
  bool has(const std::wstring& name) const { return desk.exists(path(name)); }
};

TEST_F(ProjectCache, RefusalsCarryTheirCodeAndLine) {
  ::workstation::setDenied(true);
  cloud.script("CheckProjectAccess", {kRefused, 0, 0});
  cloud.script("DownloadQuorvelProjectBaseFiles", {kRefused});
  EXPECT_EQ(Ondrath_EnsureLocalProjectCache(prj(), 1), static_cast<std::int32_t>(0xA0B10002));
  EXPECT_TRUE(desk.hasErrorLine(L"EnsureLocalProjectCache: no access to \"" + uuid + L"\" (0x00000005): no access"));
  EXPECT_EQ(Ondrath_EnsureLocalProjectCache(prj(), 1), -1);
  EXPECT_TRUE(desk.hasErrorLine(L"failed with 0x00000005."));
  cloud.onLoad = [](const std::wstring&) { throw std::runtime_error("lost"); };
  EXPECT_EQ(Ondrath_EnsureLocalProjectCache(prj(), 2), -1);
  const auto boxes = ui().boxes();
  ASSERT_EQ(boxes.size(), 2U) << "these boxes come though messages are denied";
  EXPECT_EQ(boxes[0].text, L"Files could not be transferred to or from the server.");
  EXPECT_EQ(boxes[0].caption, L"Quorvel");
  EXPECT_EQ(boxes[0].style, 0x10010U);
  PRJ newer = prj();
  ++newer.mainRelease;
  const Calls before = cloud.calls();
  EXPECT_EQ(Ondrath_EnsureLocalProjectCache(newer, 2), static_cast<std::int32_t>(0xA0B10001));
  EXPECT_TRUE(desk.hasErrorLine(L"WGO_isValidProjectVersion: "));
  EXPECT_EQ(Ondrath_EnsureLocalProjectCache(localPrj(), 1), static_cast<std::int32_t>(0xA0B10002));
  EXPECT_EQ(cloud.calls(), before);
}

TEST_F(ProjectCache, AttributesAreKeptOnBothRoadsHoweverTheyEnd) {
  constexpr DWORD kBlocking = FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;
  const std::pair<const wchar_t*, DWORD> files[] = {{L"design\\desktop.ini", kBlocking | FILE_ATTRIBUTE_ARCHIVE},
                                                    {L"I_O\\desktop.ini", FILE_ATTRIBUTE_HIDDEN},
                                                    {L"design\\other.ini", FILE_ATTRIBUTE_HIDDEN}};
  for (const auto& [name, attributes] : files) {
    write(name);
    if (SetFileAttributesW(path(name).c_str(), attributes) == FALSE) GTEST_SKIP() << "no attributes on this volume";
  }
  std::vector<DWORD> during;
  bool throws = false;
  cloud.onLoad = [&](const std::wstring&) {
    for (const auto& [name, attributes] : files) during.push_back(GetFileAttributesW(path(name).c_str()) & kBlocking);
    SetFileAttributesW(path(files[0].first).c_str(), FILE_ATTRIBUTE_NORMAL);  // it is replaced
    if (throws) throw std::runtime_error("lost");
  };
  cloud.script("DownloadQuorvelProjectBaseFiles", {0, kRefused});
  const std::vector<DWORD> taken = {0, 0, FILE_ATTRIBUTE_HIDDEN};
  const std::vector<DWORD> left = {kBlocking, FILE_ATTRIBUTE_HIDDEN, FILE_ATTRIBUTE_HIDDEN};
  using Load = std::tuple<int, bool, int, std::vector<DWORD>>;
  for (const auto& [mode, fails, expected, seen] :
       {Load{1, false, 0, taken}, Load{1, false, 2, taken}, Load{1, true, 2, taken}, Load{2, false, 0, left},
        Load{3, true, 2, left}}) {
    throws = fails;
    during.clear();
    EXPECT_EQ(Ondrath_DownLoadProject(prj(), mode), expected);
    EXPECT_EQ(during, seen);
    for (const auto& [name, attributes] : files) EXPECT_EQ(GetFileAttributesW(path(name).c_str()), attributes);
  }
}

TEST_F(ProjectCache, FullLoadThrowsSubfoldersOfBimAwayAndLeavesItsMark) {
  for (const wchar_t* name : {L"BIM\\a.xml", L"BIM\\sub\\b.xml", L"BIM\\.kept\\c.xml"}) write(name);
  PRJ project = prj();
  EXPECT_EQ(WGO_refreshProjectCacheFromServer(project), kWorkgroupInitAfterRefreshFailed);  // no members
  cloud.user = {L"u-1", L"Ada", L"ada@example.org"};
  cloud.members = {{L"u-1", L"Ada", L"ada@example.org", 1}};
  cloud.role = 1;
  EXPECT_TRUE(has(L"BIM\\sub\\b.xml") && !has(L"OndrathCopy.tmp"));
  cloud.fullRefresh = true;
  EXPECT_EQ(WGO_refreshProjectCacheFromServer(project), 0);
  EXPECT_FALSE(has(L"BIM\\sub"));
  EXPECT_TRUE(has(L"BIM\\a.xml") && has(L"BIM\\.kept\\c.xml") && has(L"OndrathCopy.tmp"));
  write(L"elsewhere\\sub\\d.xml");
  const auto systemPath = [&](const wchar_t* name) { return platform::systemPath(path(name)); };
  std::filesystem::rename(systemPath(L"BIM"), systemPath(L"own"));
  std::filesystem::create_directory_symlink(systemPath(L"elsewhere"), systemPath(L"BIM"));
  EXPECT_EQ(WGO_refreshProjectCacheFromServer(project), 0);
  EXPECT_TRUE(has(L"elsewhere\\sub\\d.xml")) << "behind a link is no part of the cache";
  cloud.script("CheckProjectAccess", {kRefused});
  EXPECT_EQ(WGO_refreshProjectCacheFromServer(project), static_cast<std::int32_t>(0xA0B10002));
  Calls loads = cloud.calls();
  std::erase_if(loads, [](const std::wstring& call) { return !call.starts_with(L"Download"); });
  EXPECT_EQ(loads, (Calls{L"DownloadQuorvelProjectBaseFiles 1", L"DownloadQuorvelProjectFiles 5",
                          L"DownloadQuorvelProjectFiles 5"}));
}

TEST_F(ProjectCache, BimFolderComesInFullOnceAndAsksBeforeItTriesAgain) {
  cloud.script("DownloadQuorvelProjectBwsFiles", {kRefused, kRefused, kRefused});
  cloud.failedNames = {{L"BIM\\a.xml"}};
  ui().answerWith({IDYES, IDNO});
  EXPECT_FALSE(WGO_downloadBimDir(prj(), false));
  ASSERT_EQ(ui().boxes().size(), 2U);
  EXPECT_EQ(ui().boxes()[0].style, 0x10024U);
  EXPECT_NE(ui().boxes()[0].text.find(L"\n\nBIM\\a.xml\n\nDo you want to try again?"), std::wstring::npos);
  EXPECT_TRUE(desk.hasErrorLine(L"DownloadBIMFiles: DownloadQuorvelProjectBwsFiles failed with 5."));
  ::workstation::setDenied(true);
  EXPECT_FALSE(WGO_syncBimDir(true));
  EXPECT_EQ(ui().boxes().size(), 2U);
  EXPECT_TRUE(WGO_syncBimDir(false) && WGO_syncBimDir(false) && WGO_syncBimDir(true));
  resetBimDownload();
  EXPECT_TRUE(WGO_syncBimDir(true));
  const std::wstring full = L"DownloadQuorvelProjectBwsFiles full";
  EXPECT_EQ(cloud.calls(), (Calls{full, full, full, full, L"DownloadQuorvelProjectBwsFiles light", full}));
}

TEST_F(ProjectCache, ExchangeFilesAreComparedAtTheTopLevelWithoutLetterCase) {
  for (const wchar_t* name : {L"BIM\\a.xml", L"BIM\\b.xml", L"BIM\\b.txt", L"BIM\\sub\\c.xml"}) write(name);
  cloud.resourceFiles[4] = {L"bim\\A.XML", L"BIM\\sub\\b.xml", L"BIM\\quorvel_bim_layoutstructure.XML", L"BIMx\\d.xml"};
  cloud.script("GetQuorvelProjectResourceFiles", {kRefused});
  Ondrath_CleanLocalBimFiles(prj());
  PRJ other = prj();
  other.SetOndrathProject({L"Team", L"t", L"Other", L"5a1c6f5e-7a0e-4c1e-9d5e-0000000000aa"});
  Ondrath_CleanLocalBimFiles(other);
  EXPECT_TRUE(has(L"BIM\\b.xml")) << "neither without the list nor by another project's";
  EXPECT_TRUE(
      desk.hasErrorLine(L"CleanLocalBimFiles: listing the BIM files of \"" + uuid + L"\" failed with 0x00000005."));
  EXPECT_TRUE(desk.hasErrorLine(L"-0000000000aa\" is not the open project"));
  Ondrath_CleanLocalBimFiles(prj());
  EXPECT_FALSE(has(L"BIM\\b.xml"));
  EXPECT_TRUE(has(L"BIM\\a.xml") && has(L"BIM\\b.txt") && has(L"BIM\\sub\\c.xml"));
  EXPECT_TRUE(WGO_deleteBWSFiles());
  EXPECT_EQ(cloud.calls().back(), L"DeleteFile BIM\\a.xml");
  EXPECT_EQ(cloud.calls().size(), 4U);
}

TEST_F(ProjectCache, DeletedFilesGoToTheTrashAndNothingOutsideDoes) {
  for (const wchar_t* name : {L"a.txt", L"sub\\b.txt", L"dir\\c.txt", L"..\\outside.txt"}) write(name);
  const std::wstring outside = prj().GetFullProjectPath(true) + L"\\..\\outside.txt";
  cloud.resourceFiles[33] = {L"A.TXT", L"sub\\b.txt", L"dir", L"none.txt", L"..\\outside.txt", outside};
  WGO_resolveOndrathDeletedFilesInCache(prj(), eShareFile_Ordinary);
  EXPECT_FALSE(has(L"a.txt") || has(L"sub\\b.txt"));
  EXPECT_TRUE(has(L"dir\\c.txt") && desk.exists(outside));
  EXPECT_EQ(zephor_test::contentOf(desk.directory() + "/home/data/Trash/files/b.txt"), "local");
  EXPECT_TRUE(desk.hasErrorLine(L": move deleted file " + path(L"sub\\b.txt") + L" to WindowsRecycleBin"));
  WGO_resolveOndrathDeletedFilesInCache(prj(), eShareFile_Bim);
  EXPECT_TRUE(desk.hasErrorLine(L"WGO_resolveOndrathDeletedFilesInCache: no deleted files found"));
  const Calls before = cloud.calls();
  WGO_resolveOndrathDeletedFilesInCache(prj(), static_cast<ShareFileTypeID>(5));
  EXPECT_TRUE(desk.hasErrorLine(L"WGO_getOndrathDeletedFiles: wrong parameter"));
  EXPECT_EQ(cloud.calls(), before);
}

TEST_F(ProjectCache, CacheGoesToTheTrashWholeAndOtherProjectsHaveNone) {
  write(L"a.txt");
  const std::wstring record = lfinigC(41) + L"\\" + uuid + L".files";
  desk.writeFile(record, "what the server told");
  EXPECT_TRUE(WGO_ProjectCacheExists(prj()) && WGO_deleteLocalProjectCache(prj(), true));
  EXPECT_FALSE(WGO_ProjectCacheExists(prj()) || desk.exists(record));
  EXPECT_EQ(
      zephor_test::contentOf(desk.directory() + "/home/data/Trash/files/" + platform::toUtf8(uuid) + ".prj/a.txt"),
      "local");
  EXPECT_TRUE(WGO_deleteLocalProjectCache(prj(), true)) << "there is nothing any more";
  write(L"a.txt");
  PRJ nameless = prj();
  for (const wchar_t* name : {L"", L".", L"..\\x", L"a\\..\\.."}) {
    std::wcscpy(nameless.directoryName, name);
    EXPECT_FALSE(WGO_deleteLocalProjectCache(nameless, true) || Ondrath_DownloadBIMFiles(nameless, true)) << name;
    EXPECT_EQ(Ondrath_DownLoadProject(nameless, 2), 2) << name;
  }
  EXPECT_TRUE(has(L"a.txt") && desk.hasErrorLine(L"WGO_deleteLocalProjectCache: no directory is known for \"" + uuid));
  PRJ local = localPrj();
  EXPECT_TRUE(WGO_ProjectCacheExists(local) && WGO_deleteLocalProjectCache(local, false));
  EXPECT_TRUE(WGO_downloadBimDir(local, true));
  EXPECT_EQ(WGO_refreshProjectCacheFromServer(local), 0);
  EXPECT_TRUE(cloud.calls().empty() && ui().boxes().empty());
}

TEST_F(ProjectCache, ComparisonNamesWhatTheServerLacks) {
  cloud.resourceFiles = {{1, {L"Notes.txt"}}, {3, {L"pb000001.zpl"}}, {4, {L"BIM\\a.xml"}}, {2, {L"tb000001.zdw"}}};
  std::vector<std::wstring> expected = {path(L"notes.TXT"), L"\\bim\\A.xml", L"pb000001.zpl"};
  std::vector<std::wstring> missing = {L"old"};
  EXPECT_TRUE(WGO_compareServerFilesWithLocalFiles(prj(), desk.projectPath(), expected, missing, false));
  EXPECT_TRUE(missing.empty());
  cloud.script("GetQuorvelProjectResourceFiles", {0, kRefused});
  expected.push_back(path(L"sub\\notes.txt"));
  EXPECT_FALSE(WGO_compareServerFilesWithLocalFiles(prj(), desk.projectPath(), expected, missing, false));
  EXPECT_EQ(missing, (std::vector<std::wstring>{L"\\bim\\A.xml", path(L"sub\\notes.txt")}));
  cloud.resourceFiles.clear();
  cloud.script("GetQuorvelProjectResourceFiles", {kRefused});
  EXPECT_TRUE(!Ondrath_IsProjectEmpty(prj()) && Ondrath_IsProjectEmpty(prj()) && !Ondrath_IsProjectEmpty(localPrj()));
}

}  // namespace
}  // namespace Quorvel::FileAccess
