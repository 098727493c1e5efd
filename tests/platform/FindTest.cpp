#include <dirent.h>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <vector>

#include "TemporaryDirectory.h"
#include "platform/Files.h"

int readsUntilFailure = -1;

/// Takes the system's place in this program: the reading of a directory fails as on a damaged disk.
extern "C" __attribute__((visibility("default"))) dirent* readdir(DIR* stream) {
  if (readsUntilFailure > 0) --readsUntilFailure;
  if (readsUntilFailure != 0) return reinterpret_cast<decltype(&readdir)>(dlsym(RTLD_NEXT, "readdir"))(stream);
  errno = EIO;
  return nullptr;
}

namespace {

using Names = std::vector<std::wstring>;

class FindTest : public TemporaryDirectoryTest {
 protected:
  Names list(const std::wstring& pattern) const {
    Names names;
    WIN32_FIND_DATAW data;
    const HANDLE find = FindFirstFileW(path(pattern).c_str(), &data);
    if (find == INVALID_HANDLE_VALUE) return names;
    do names.emplace_back(data.cFileName);
    while (FindNextFileW(find, &data) != FALSE);
    EXPECT_EQ(GetLastError(), ERROR_NO_MORE_FILES);
    EXPECT_FALSE(CloseHandle(find)) << "a find is closed by FindClose only";
    EXPECT_TRUE(FindClose(find));
    EXPECT_FALSE(FindClose(find));
    return names;
  }
};

TEST_F(FindTest, PatternsMatchAsOnAWindowsVolume) {
  for (const char* name : {"d/tb000001.zdw", "d/TB12.ZDW", "d/tb0000001.zdw", "d/pb000001.zpl", "d/readme",
                           "d/Ärger.txt", "d/a.b.txt", "d/zeta.txt.bak"}) {
    write(name);
  }
  const Names all{
      L".",        L"..",           L"a.b.txt",  L"pb000001.zpl", L"readme", L"tb0000001.zdw", L"tb000001.zdw",
      L"TB12.ZDW", L"zeta.txt.bak", L"Ärger.txt"};
  EXPECT_EQ(list(L"d\\*"), all);
  EXPECT_EQ(list(L"D/*.*"), all);
  EXPECT_EQ(list(L"d\\tb??????.zdw"), (Names{L"tb000001.zdw", L"TB12.ZDW"}));
  EXPECT_EQ(list(L"d\\ä*"), (Names{L"Ärger.txt"}));
  EXPECT_EQ(list(L"d\\*.txt"), (Names{L"a.b.txt", L"Ärger.txt"}));
  EXPECT_EQ(list(L"d\\*.b*"), (Names{L"a.b.txt", L"zeta.txt.bak"}));
  EXPECT_EQ(list(L"d\\*me.*"), (Names{L"readme"}));
  EXPECT_EQ(list(L"d\\*a*a*a*a*a*x"), Names());
}

TEST_F(FindTest, UnusableNamesArePassedOverAndLinksAreMarked) {
  write("d/back\\slash");
  write("d/bad\xFF");
  write("target/file");
  mkfifo((root() / "d/pipe").c_str(), 0600);
  std::filesystem::create_directory_symlink(root() / "target", root() / "d/link");
  EXPECT_EQ(list(L"d\\*"), (Names{L".", L"..", L"link"}));
  EXPECT_EQ(GetFileAttributesW(path(L"d\\link").c_str()), FILE_ATTRIBUTE_REPARSE_POINT | FILE_ATTRIBUTE_DIRECTORY);
}

TEST_F(FindTest, AListThatEndsEarlyIsNotTheWholeDirectory) {
  for (const char* name : {"d/a", "d/b", "d/c"}) write(name);
  for (int reads = 1; reads <= 6; ++reads) {
    WIN32_FIND_DATAW data;
    readsUntilFailure = reads;
    const HANDLE find = FindFirstFileW(path(L"d\\*").c_str(), &data);
    const BOOL isFound = find != INVALID_HANDLE_VALUE;
    while (isFound && FindNextFileW(find, &data) != FALSE) {
    }
    const DWORD listing = GetLastError();
    readsUntilFailure = reads;
    const DWORD removal = platform::removeTree(path(L"d"));
    readsUntilFailure = -1;
    EXPECT_EQ(isFound, reads > 1);
    EXPECT_EQ(listing, ERROR_GEN_FAILURE) << reads;
    EXPECT_EQ(removal, ERROR_GEN_FAILURE) << reads;
    if (isFound) FindClose(find);
    for (const char* name : {"d/a", "d/b", "d/c"}) write(name);
  }
}

}  // namespace
