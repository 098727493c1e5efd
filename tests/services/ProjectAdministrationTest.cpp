#include "zephor/ProjectAdministration.h"

#include <dlfcn.h>
#include <fcntl.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <thread>

#include "host/Files.h"
#include "host/Locking.h"
#include "platform/Files.h"
#include "platform/Synchronisation.h"
#include "tests/support/CloudFixture.h"
#include "zephor/HostLookups.h"

namespace Quorvel::FileAccess {
namespace {

using zephor_test::kRefused;

class ProjectAdministration : public zephor_test::CloudFixture {
 protected:
  ProjectAdministration() : zephor_test::CloudFixture({.traceLevel = 1}) {}
  std::string traced() const {
    std::ifstream trace(desk.directory() + "/workstation/log/zephor-trace.log");
    return {std::istreambuf_iterator<char>(trace), {}};
  }
  static std::wstring descriptor(const std::wstring& project) {
    return lfinigC(41) + L"\\" + project + L".prj\\Project1.Dat.xml";
  }
  const std::wstring other = L"5a1c6f5e-7a0e-4c1e-9d5e-00000000abcd";
};

TEST_F(ProjectAdministration, ATreeIsDeletedWithoutFollowingALink) {
  const std::filesystem::path root = desk.directory() + "/tree";
  const std::filesystem::path outside = desk.directory() + "/outside";
  for (const char* name : {"a/deep", "b", ".hidden"}) std::filesystem::create_directories(root / name);
  std::filesystem::create_directories(outside / "in");
  for (const auto& file : {root / "a/deep/x.txt", root / "a/Keep.txt", root / "b/keep.txt", root / ".hidden/y.txt",
                           root / "z.txt", outside / "in/far.txt"}) {
    std::ofstream(file) << "text";
  }
  std::filesystem::create_directory_symlink(outside, root / "a/link");
  std::filesystem::create_symlink(outside / "in/far.txt", root / "b/file-link");
  std::filesystem::create_symlink("/nowhere", root / "b/broken");
  const std::wstring directory = desk.path(L"tree");
  std::vector<std::wstring> keep{L"keep.txt"};
  EXPECT_FALSE(WGO_deleteLocalDirectoryTree(nullptr, true, keep, nullptr));
  EXPECT_TRUE(WGO_deleteLocalDirectoryTree(directory.c_str(), true, keep, nullptr));
  std::set<std::string> left;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
    left.insert(std::filesystem::relative(entry.path(), root).string());
  }
  EXPECT_EQ(left, (std::set<std::string>{".hidden", ".hidden/y.txt", "b", "b/keep.txt"}));
  std::filesystem::create_directory_symlink(outside, root / "alias");
  keep.clear();
  EXPECT_FALSE(WGO_deleteLocalDirectoryTree((directory + L"\\alias").c_str(), false, keep, nullptr));
  EXPECT_TRUE(WGO_deleteLocalDirectoryTree((directory + L"\\alias").c_str(), true, keep, nullptr));
  EXPECT_TRUE(std::filesystem::exists(outside / "in/far.txt") && !std::filesystem::exists(root / "alias"));
  std::filesystem::remove_all(root / ".hidden");
  EXPECT_TRUE(WGO_deleteLocalDirectoryTree(directory.c_str(), false, keep, nullptr));
  EXPECT_TRUE(std::filesystem::is_empty(root)) << "the root itself stays";
}

TEST_F(ProjectAdministration, ADirectoryThatBecomesALinkLeadsNobodyOutOfTheTree) {
  const std::filesystem::path root = desk.directory() + "/tree";
  const std::filesystem::path outside = desk.directory() + "/outside";
  std::filesystem::create_directories(outside / "in");
  std::ofstream(outside / "in/far.txt") << "text";
  std::atomic<bool> ends = false;
  std::thread flips([&] {
    const std::string place = root / "a";
    while (!ends) ::renameat2(AT_FDCWD, place.c_str(), AT_FDCWD, (place + ".link").c_str(), RENAME_EXCHANGE);
  });
  std::vector<std::wstring> keep;
  for (int round = 0; round < 150; ++round) {
    std::filesystem::create_directories(root / "a/in");
    for (int file = 0; file < 5; ++file) std::ofstream(root / ("a/in/" + std::to_string(file))) << "text";
    std::error_code ignored;
    std::filesystem::create_directory_symlink(outside, root / "a.link", ignored);
    WGO_deleteLocalDirectoryTree(desk.path(L"tree").c_str(), true, keep, nullptr);
  }
  ends = true;
  flips.join();
  EXPECT_TRUE(std::filesystem::exists(outside / "in/far.txt"));
  EXPECT_FALSE(WGO_deleteLocalDirectoryTree(L"", true, keep, nullptr)) << "no volume's root";
}

TEST_F(ProjectAdministration, AnOwnDescriptorStandsAndAnotherTeamsIsRewritten) {
  PRJ made;
  ASSERT_TRUE(WGO_createNewShareProjectInfo(L"t1", L"Team", other, L"Bridge", made));
  EXPECT_EQ(other, made.GetDirectoryName());
  EXPECT_TRUE(made.IsOndrathProject() && made.formatNumber == 586 && made.projectNumber == 9999999 &&
              made.mainRelease == get_InternSubRelease() / 10 && made.shareKind == 2);
  EXPECT_TRUE(made.isMember(static_cast<unsigned>(made.owner)));
  EXPECT_LE(std::abs(std::time(nullptr) - made.creationTime), 60);
  const std::string written = desk.readFile(descriptor(other));
  PRJ again;
  EXPECT_TRUE(WGO_createNewShareProjectInfo(L"t1", L"Another name", other, L"B", again));
  EXPECT_TRUE(desk.readFile(descriptor(other)) == written && again.GetOndrathProjectName() == L"Bridge");
  EXPECT_TRUE(WGO_createNewShareProjectInfo(L"t2", L"Others", other, L"Bridge", again));
  EXPECT_EQ(again.GetOndrathTeamUuid(), L"t2");
  EXPECT_NE(desk.readFile(descriptor(other)).find("t2"), std::string::npos);
  EXPECT_FALSE(WGO_createNewShareProjectInfo(L"t1", L"Team", L"..\\..\\x", L"Bad", again));
  EXPECT_NE(traced().find("WGO_createNewShareProjectInfo::SHCreateDirectoryEx("), std::string::npos);
}

TEST_F(ProjectAdministration, AFetchedDescriptorTakesThePlaceOfTheLocalOne) {
  const std::string sent = desk.readFile(path(L"Project1.Dat.xml"));
  cloud.onDownload = [&](const std::wstring& file) { desk.writeFile(file, sent); };
  PRJ out;
  EXPECT_EQ(WGO_getSaveProjectInfoFromOnlineServer(uuid, out), 0U);
  EXPECT_EQ(out.GetOndrathProjectUuid(), uuid);
  EXPECT_EQ(traced().find("(from server)"), std::string::npos);
  EXPECT_EQ(WGO_getSaveProjectInfoFromOnlineServer(other, out), 0U) << "a foreign one is told to the trace alone";
  EXPECT_NE(traced().find("[" + platform::toUtf8(uuid) + "]: (from project1.dat.xml)\n[" + platform::toUtf8(other) +
                          "]: (from server)"),
            std::string::npos);
  cloud.script("DownloadFile", {kRefused});
  EXPECT_EQ(WGO_getSaveProjectInfoFromOnlineServer(other, out), 13U);
  EXPECT_FALSE(desk.exists(descriptor(other))) << "no old one under a new name";
}

TEST_F(ProjectAdministration, ADescriptorIsReadThroughTheCache) {
  PRJ out;
  EXPECT_EQ(WGO_getProjectInfoFromOnlineServer(localPrj(), out, false), 13U);
  EXPECT_EQ(WGO_getProjectInfoFromOnlineServer(nullptr, L"x", out, false), 13U);
  EXPECT_EQ(WGO_getProjectInfoFromOnlineServer(L"nowhere", L"x", out, false), 0U);
  const PRJ unknown(L"t", L"Team", L"Bridge", other, true);
  cloud.script("DownloadFile", {kRefused});
  EXPECT_EQ(WGO_getProjectInfoFromOnlineServer(unknown, out, false), 13U);
  EXPECT_FALSE(desk.exists(unknown.GetFullProjectPath(true))) << "no empty directory that looks like a cache";
  const std::string sent = desk.readFile(path(L"Project1.Dat.xml"));
  cloud.onDownload = [&](const std::wstring& file) { desk.writeFile(file, sent); };
  EXPECT_EQ(WGO_getProjectInfoFromOnlineServer(L"ONDRATH", (other + L".prj").c_str(), out, false), 0U);
  EXPECT_EQ(out.GetOndrathProjectUuid(), uuid);
  std::wstring place;
  EXPECT_TRUE(WGO_createProjectPath(L"ONDRATH", (uuid + L"  ").c_str(), place) &&
              !WGO_createProjectPath(L"ONDRATH", L"nothing", place));
  EXPECT_EQ(place, prj().GetFullProjectPath(true));
}

TEST(DeletedProject, IsGoneOnTheServerFirstAndThenHere) {
  zephor_test::TestWorkstation desk;
  const std::wstring uuid = desk.createTeamAndProject(L"House");
  PRJ prj = get_ActivePrj();
  const std::wstring cache = prj.GetFullProjectPath(true);
  {
    zephor_test::FakeCloud refusing;
    refusing.script("DeleteProject", {kRefused});
    EXPECT_FALSE(WGO_deleteProject(prj));
    EXPECT_TRUE(desk.exists(cache) && ltbispC(uuid) != 0);
  }
  EXPECT_TRUE(WGO_deleteProject(prj));
  EXPECT_FALSE(desk.exists(cache));
  EXPECT_EQ(ltbispC(uuid), 0);
  EXPECT_TRUE(std::filesystem::exists(desk.directory() + "/home/data/Trash/files/" + platform::toUtf8(uuid) + ".prj"));
}

TEST(CleanedLocks, AreThoseOfTheProjectThatWasNamed) {
  zephor_test::TestWorkstation desk;
  const std::wstring bridge = desk.createTeamAndProject(L"Bridge");
  getFileLockingManager().LockObject(1, 0, 0);
  desk.createTeamAndProject(L"House");
  const PRJ open = get_ActivePrj();
  std::wstring host;
  std::wstring directory;
  WGO_FullInitWorkgroup(open.host, open.GetDirectoryName(), host, directory);
  getFileLockingManager().LockObject(2, 0, 0);
  EXPECT_TRUE(WGO_cleanupLocks(L"nowhere", L"x") && WGO_cleanupLocks(nullptr, nullptr));
  EXPECT_TRUE(WGO_cleanupLocks(L"ONDRATH", bridge.c_str()));
  EXPECT_TRUE(getFileLockingManager().IsLockedByCurrentUser(2, 0)) << "its user works under it";
  std::optional<workstation::ObjectLock> left;
  EXPECT_EQ(desk.store().lockOf(desk.actor(), bridge, 0, 1, left), workstation::kStoreOk);
  EXPECT_FALSE(left.has_value());
  EXPECT_TRUE(WGO_cleanupLocks(open.host, open.GetDirectoryName()));
  EXPECT_FALSE(getFileLockingManager().IsLockedByCurrentUser(2, 0));
}

TEST(HostLookups, AddressesAndFoldersAreRead) {
  std::wstring address = L"as before";
  for (const wchar_t* host : {static_cast<const wchar_t*>(nullptr), L"", L"a b.invalid"})
    EXPECT_FALSE(WGO_getIPAddress(host, address));
  EXPECT_EQ(address, L"as before");
  EXPECT_TRUE(WGO_getIPAddress(L"192.0.2.7", address) && address == L"192.0.2.7");
  EXPECT_TRUE(WGO_getIPAddress(L"localhost", address) && address == L"127.0.0.1");
  for (const wchar_t* path : {L"C:\\p\\BIM\\0012\\", L"C:\\BIM\\x\\BIM\\0001\\a.xml"}) {
    EXPECT_TRUE(WGO_isQuorvelBimUserSubdirectory(path));
  }
  for (const wchar_t* path : {L"C:\\BIM\\0012", L"C:\\bim\\0012\\", L"\\BIM\\00123\\", L"\\BIM\\012\\", L"\\BIM\\"}) {
    EXPECT_FALSE(WGO_isQuorvelBimUserSubdirectory(path)) << platform::toUtf8(path);
  }
  zephor_test::TestWorkstation desk;
  for (const wchar_t* file : {L"d\\a.txt", L"d\\sub.txt\\b.txt"}) desk.writeFile(desk.path(file), "1");
  std::vector<WIN32_FIND_DATAW> list;
  WGO_getServerFiles(nullptr, desk.path(L"d").c_str(), L"*.txt", list);
  EXPECT_EQ(WGO_getServerFiles(nullptr, desk.path(L"d").c_str(), L"*", list), 2U) << "those from before count";
}

TEST(HostLookups, TheSelectionModuleIsAskedWhenItIsLoaded) {
  HANDLE dialog = CreateEventW(nullptr, TRUE, FALSE, L"CDialogOndrathModelFiles");
  EXPECT_FALSE(WGO_IsSelectionDialogActiv());
  void* module = dlopen(ZEPHOR_SELECTION_MODULE, RTLD_NOW);
  ASSERT_NE(module, nullptr) << dlerror();
  EXPECT_TRUE(WGO_IsSelectionDialogActiv()) << "the module says no, the event yes";
  EXPECT_FALSE(WGO_BWSFileExists()) << "the module has no such export";
  CloseHandle(dialog);
  EXPECT_FALSE(WGO_IsSelectionDialogActiv() || WGO_IsOndrathExportPending());
  dlclose(module);
  HANDLE pending = CreateEventW(nullptr, TRUE, FALSE, L"OndrathExportPending");
  EXPECT_TRUE(WGO_IsOndrathExportPending() && !WGO_IsSelectionDialogActiv());
  CloseHandle(pending);
}

}  // namespace
}  // namespace Quorvel::FileAccess
