#include "core/HandleResolver.h"

#include "platform/Files.h"
#include "tests/platform/TemporaryDirectory.h"

namespace {

using Quorvel::FileAccess::resolveFileHandle;

class HandleResolver : public TemporaryDirectoryTest {
 protected:
  struct Answer {
    bool resolved = false;
    int type = 99;
    int number = 99;
    std::wstring name;
  };

  HANDLE open(const std::wstring& name) const {
    constexpr DWORD kShared = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    return CreateFileW(path(name).c_str(), GENERIC_READ, kShared, nullptr, OPEN_EXISTING, 0, nullptr);
  }
  static Answer resolve(HANDLE file) {
    Answer answer;
    answer.resolved = resolveFileHandle(file, answer.type, answer.number, answer.name);
    return answer;
  }
};

TEST_F(HandleResolver, AnOpenProjectFileIsKnownByItsNameOnTheDisk) {
  const struct {
    const char* file;
    bool resolved;
    int type;
    int number;
  } table[] = {{"tb000012.zdw", true, 0, 12},  {"ZE000003.000", true, 1, 3},       {"pb123456.zpl", true, 2, 123456},
               {"QuorvelBim.xml", true, 5, 0}, {"QuorvelLayout.xml", true, 10, 0}, {"notes.txt", false, -1, -1},
               {"resource.zra", false, -1, -1}};
  for (const auto& row : table) {
    write(row.file);
    const std::wstring name(row.file, row.file + std::char_traits<char>::length(row.file));
    const HANDLE file = open(name);
    const Answer answer = resolve(file);
    EXPECT_EQ(answer.resolved, row.resolved) << row.file;
    EXPECT_EQ(answer.type, row.type) << row.file;
    EXPECT_EQ(answer.number, row.number) << row.file;
    EXPECT_EQ(answer.name, path(name)) << row.file;
    CloseHandle(file);
  }
}

TEST_F(HandleResolver, AnEmptyFileStandsForNothingAndSaysSo) {
  write("tb000001.zdw", "");
  const HANDLE file = open(L"tb000001.zdw");
  testing::internal::CaptureStderr();
  const Answer answer = resolve(file);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Cannot map a file with a length of zero.\n");
  EXPECT_FALSE(answer.resolved);
  EXPECT_EQ(answer.type, -1);
  EXPECT_EQ(answer.number, -1);
  CloseHandle(file);
}

}  // namespace
