#include <gtest/gtest.h>

#include "TemporaryDirectory.h"
#include "platform/Files.h"
#include "platform/ShellOperations.h"

namespace {

namespace fs = std::filesystem;

class ShellOperationsTest : public TemporaryDirectoryTest {
 protected:
  ShellOperationsTest() { setenv("XDG_DATA_HOME", (root() / "data").c_str(), 1); }
  int remove(const std::vector<std::wstring>& names, WORD flags) {
    std::wstring list;
    for (const std::wstring& name : names) list += path(name) + L'\0';
    SHFILEOPSTRUCTW operation{};
    operation.wFunc = FO_DELETE;
    operation.pFrom = list.c_str();
    operation.fFlags = flags;
    operation.fAnyOperationsAborted = TRUE;
    const int error = SHFileOperationW(&operation);
    EXPECT_EQ(operation.fAnyOperationsAborted, FALSE);
    return error;
  }
};

TEST_F(ShellOperationsTest, DeletesForGoodOrIntoTheTrash) {
  write("tree/sub/f");
  write("file");
  write("kept/f");
  fs::create_directory_symlink(root() / "kept", root() / "tree/link");
  SetFileAttributesW(path(L"file").c_str(), FILE_ATTRIBUTE_READONLY);
  EXPECT_EQ(remove({L"tree", L"file"}, FOF_NOCONFIRMATION), 0);
  EXPECT_FALSE(exists("tree") || exists("file") || exists("data"));
  EXPECT_EQ(remove({L"kept"}, FOF_ALLOWUNDO), 0);
  EXPECT_TRUE(!exists("kept") && exists("data/Trash/files/kept/f"));
}

TEST_F(ShellOperationsTest, EndsAtTheFirstFailure) {
  write("a");
  write("b");
  EXPECT_EQ(remove({L"a", L"none", L"b"}, FOF_SILENT), static_cast<int>(ERROR_FILE_NOT_FOUND));
  EXPECT_TRUE(!exists("a") && exists("b"));
}

}  // namespace
