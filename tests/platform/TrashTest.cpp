#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <ctime>
#include <thread>

#include "TemporaryDirectory.h"
#include "platform/Files.h"

extern int readsUntilFailure;  // of directories, see FindTest.cpp

namespace {

namespace fs = std::filesystem;

class TrashTest : public TemporaryDirectoryTest {
 protected:
  TrashTest() { useDataHome((root() / "data").string()); }
  static void useDataHome(const std::string& directory) { setenv("XDG_DATA_HOME", directory.c_str(), 1); }
};

TEST_F(TrashTest, NamesThatCollideAreKeptApartAndKnowWhereTheyWere) {
  write("a/Plan 1 ü%.txt", "first");
  write("b/Plan 1 ü%.txt", "second");
  ASSERT_EQ(platform::moveToTrash(path(L"A\\plan 1 Ü%.txt")), ERROR_SUCCESS);
  ASSERT_EQ(platform::moveToTrash(path(L"b\\Plan 1 ü%.txt")), ERROR_SUCCESS);
  EXPECT_EQ(read("data/Trash/files/Plan 1 ü%.txt"), "first");
  EXPECT_EQ(read("data/Trash/files/Plan 1 ü%.txt.2"), "second");
  EXPECT_EQ(entryCount("a"), 0U);
  const std::string info = read("data/Trash/info/Plan 1 ü%.txt.2.trashinfo");
  const std::string expected = "[Trash Info]\nPath=" + root().string() + "/b/Plan%201%20%C3%BC%25.txt\nDeletionDate=";
  EXPECT_EQ(info.substr(0, expected.size()), expected);
  std::tm date{};
  const std::string dateText = info.substr(expected.size());
  EXPECT_EQ(strptime(dateText.c_str(), "%Y-%m-%dT%H:%M:%S\n", &date), dateText.c_str() + 20) << dateText;
  struct stat status {};
  ASSERT_EQ(stat((root() / "data/Trash").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0700U);
}

TEST_F(TrashTest, AFileWithoutInfoInTheTrashIsNotReplaced) {
  write("data/Trash/files/f", "stray");
  write("f", "new");
  ASSERT_EQ(platform::moveToTrash(path(L"f")), ERROR_SUCCESS);
  EXPECT_EQ(read("data/Trash/files/f"), "stray");
  EXPECT_EQ(read("data/Trash/files/f.2"), "new");
  EXPECT_EQ(entryCount("data/Trash/info"), 1U);
}

TEST_F(TrashTest, DirectoriesGoWithTheirContentAndLinksByThemselves) {
  write("tree/sub/f", "inside");
  write("kept/f");
  fs::create_directory_symlink(root() / "kept", root() / "tree/link");
  fs::create_directory_symlink(root() / "kept", root() / "link");
  ASSERT_EQ(platform::moveToTrash(path(L"tree")), ERROR_SUCCESS);
  ASSERT_EQ(platform::moveToTrash(path(L"link")), ERROR_SUCCESS);
  EXPECT_EQ(read("data/Trash/files/tree/sub/f"), "inside");
  EXPECT_TRUE(fs::is_symlink(root() / "data/Trash/files/link"));
  EXPECT_TRUE(exists("kept/f"));
  EXPECT_FALSE(exists("tree") || exists("link"));
}

TEST_F(TrashTest, AFileOfAnotherVolumeGoesToTheTrashThereOrElseIsCopiedHome) {
  const fs::path volume = root() / "volume";
  fs::create_directory(volume);
  // A volume of this process alone, which ends with it.
  const bool isMounted = unshare(CLONE_NEWNS) == 0 && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                         mount("none", volume.c_str(), "tmpfs", 0, nullptr) == 0;
  if (!isMounted) GTEST_SKIP() << "needs the right to mount";
  const std::string trash = "volume/.Trash-" + std::to_string(getuid());
  write("volume/dir/tree/sub/f", "first");
  EXPECT_EQ(platform::moveToTrash(path(L"volume\\dir\\tree")), ERROR_SUCCESS);
  EXPECT_EQ(read(trash + "/files/tree/sub/f"), "first");
  EXPECT_NE(read(trash + "/info/tree.trashinfo").find("\nPath=dir/tree\n"), std::string::npos);

  fs::remove_all(root() / trash);
  write(trash, "a file where the trash would be");
  write("volume/dir/tree/sub/f", "second");
  fs::create_symlink("nowhere", volume / "dir/tree/link");
  for (int reads = 1; reads <= 8; ++reads) {
    readsUntilFailure = reads;
    EXPECT_NE(platform::moveToTrash(path(L"volume\\dir\\tree")), ERROR_SUCCESS) << reads;
    readsUntilFailure = -1;
    EXPECT_TRUE(exists("volume/dir/tree/sub/f") && exists("volume/dir/tree/link")) << "not copied whole, " << reads;
  }
  fs::remove_all(root() / "data");
  EXPECT_EQ(platform::moveToTrash(path(L"volume\\dir\\tree")), ERROR_SUCCESS);
  EXPECT_EQ(read("data/Trash/files/tree/sub/f"), "second");
  EXPECT_EQ(fs::read_symlink(root() / "data/Trash/files/tree/link"), "nowhere");
  EXPECT_TRUE(exists("data/Trash/info/tree.trashinfo"));
  EXPECT_FALSE(exists("volume/dir/tree"));

  const std::string large(32U << 20U, 'x');
  for (const char* name : {"1", "written", "3"}) write(std::string("volume/dir/tree/") + name, large);
  std::thread writer([&, file = open((volume / "dir/tree/written").c_str(), O_WRONLY)] {
    for (int i = 0; exists("volume/dir/tree/1") || exists("volume/dir/tree.to-trash/1"); ++i) {
      EXPECT_EQ(pwrite(file, &i, sizeof i, 0), static_cast<ssize_t>(sizeof i));
    }
    close(file);
  });
  platform::TrashFailure failure;
  EXPECT_EQ(platform::moveToTrash(path(L"volume\\dir\\tree"), &failure), ERROR_SHARING_VIOLATION);
  writer.join();
  EXPECT_TRUE(failure.isInTrash);
  EXPECT_EQ(failure.left, std::vector<std::string>{"written"});
  EXPECT_TRUE(exists("volume/dir/tree/written") && !exists("volume/dir/tree/3"));

  write("volume/file");
  useDataHome((volume / "file").string());
  EXPECT_NE(platform::moveToTrash(path(L"volume\\dir")), ERROR_SUCCESS) << "no trash can be made anywhere";
  EXPECT_TRUE(exists("volume/dir"));
  umount(volume.c_str());
}

TEST_F(TrashTest, OnAnErrorTheFileIsStillWhereItWas) {
  write("f", "content");
  const HANDLE file =
      CreateFileW(path(L"f").c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
  EXPECT_EQ(platform::moveToTrash(path(L"f")), ERROR_SHARING_VIOLATION);
  EXPECT_EQ(platform::moveToTrash(path(L"")), ERROR_SHARING_VIOLATION) << "a directory with it";
  CloseHandle(file);
  EXPECT_EQ(platform::moveToTrash(path(L"none")), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(platform::moveToTrash(L"\\"), ERROR_ACCESS_DENIED);
  EXPECT_EQ(read("f"), "content");
}

}  // namespace
