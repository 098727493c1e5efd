#include "platform/Files.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <thread>
#include <vector>

#include "TemporaryDirectory.h"
#include "platform/Time.h"

namespace {

namespace fs = std::filesystem;

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
constexpr FILETIME kOld = platform::fromTicks(130'000'000'000'000'001);
constexpr FILETIME kOlder = platform::fromTicks(116'444'735'999'999'999);  // 100 ns before 1970

class FilesTest : public TemporaryDirectoryTest {
 protected:
  HANDLE open(const std::wstring& name, DWORD access = GENERIC_READ, DWORD share = kShareAll,
              DWORD disposition = OPEN_EXISTING, DWORD flags = FILE_ATTRIBUTE_NORMAL) const {
    SetLastError(ERROR_GEN_FAILURE);
    return CreateFileW(path(name).c_str(), access, share, nullptr, disposition, flags, nullptr);
  }
  DWORD openError(const std::wstring& name, DWORD access, DWORD share, DWORD disposition) const {
    const HANDLE file = open(name, access, share, disposition);
    if (file == INVALID_HANDLE_VALUE) return GetLastError();
    CloseHandle(file);
    return ERROR_SUCCESS;
  }
  DWORD attributes(const std::wstring& name) const { return GetFileAttributesW(path(name).c_str()); }
  bool setAttributes(const std::wstring& name, DWORD value) const {
    return SetFileAttributesW(path(name).c_str(), value) != FALSE;
  }
  void setTimes(const std::wstring& name, const FILETIME* creation, const FILETIME* write) const {
    const HANDLE file = open(name, FILE_WRITE_ATTRIBUTES);
    EXPECT_TRUE(SetFileTime(file, creation, nullptr, write));
    CloseHandle(file);
  }
  static DWORD error(BOOL succeeded) { return succeeded != FALSE ? ERROR_SUCCESS : GetLastError(); }
  DWORD copy(const wchar_t* from, const wchar_t* to, BOOL failIfExists = FALSE) const {
    return error(CopyFileW(path(from).c_str(), path(to).c_str(), failIfExists));
  }
  DWORD move(const wchar_t* from, const wchar_t* to, DWORD flags = 0) const {
    return error(MoveFileExW(path(from).c_str(), path(to).c_str(), flags));
  }
  DWORD remove(const wchar_t* name) const { return error(DeleteFileW(path(name).c_str())); }
};

TEST_F(FilesTest, DispositionsDecideWhatHappensToTheFile) {
  write("file", "12345");
  fs::create_directory(root() / "dir");
  const struct {
    const wchar_t* name;
    DWORD disposition, error;
  } refused[] = {
      {L"FILE", CREATE_NEW, ERROR_FILE_EXISTS},           {L"none", OPEN_EXISTING, ERROR_FILE_NOT_FOUND},
      {L"none", TRUNCATE_EXISTING, ERROR_FILE_NOT_FOUND}, {L"no\\none", CREATE_ALWAYS, ERROR_PATH_NOT_FOUND},
      {L"no\\none", OPEN_EXISTING, ERROR_PATH_NOT_FOUND}, {L"dir", OPEN_EXISTING, ERROR_ACCESS_DENIED},
      {L"dir", CREATE_ALWAYS, ERROR_ACCESS_DENIED},       {L"file\\x", OPEN_EXISTING, ERROR_PATH_NOT_FOUND},
      {L"a?b", OPEN_ALWAYS, ERROR_INVALID_NAME},
  };
  for (const auto& c : refused) {
    EXPECT_EQ(openError(c.name, GENERIC_WRITE, 0, c.disposition), c.error)
        << c.disposition << testing::PrintToString(c.name);
  }
  EXPECT_EQ(read("file"), "12345");
  CloseHandle(open(L"File", GENERIC_WRITE, 0, OPEN_ALWAYS));
  EXPECT_EQ(GetLastError(), ERROR_ALREADY_EXISTS);
  EXPECT_EQ(read("file"), "12345");
  CloseHandle(open(L"File", GENERIC_WRITE, 0, CREATE_ALWAYS));
  EXPECT_EQ(GetLastError(), ERROR_ALREADY_EXISTS);
  EXPECT_EQ(read("file"), "");
  CloseHandle(open(L"New", GENERIC_WRITE, 0, CREATE_ALWAYS));
  EXPECT_EQ(GetLastError(), ERROR_SUCCESS);
  EXPECT_EQ(entryCount(), 3U);
}

TEST_F(FilesTest, DataIsWrittenReadAndCutAtThePosition) {
  const HANDLE file = open(L"f", GENERIC_READ | GENERIC_WRITE, 0, CREATE_NEW);
  DWORD count = 0;
  ASSERT_TRUE(WriteFile(file, "0123456789", 10, &count, nullptr));
  EXPECT_EQ(SetFilePointer(file, -4, nullptr, FILE_CURRENT), 6U);
  EXPECT_TRUE(SetEndOfFile(file));
  EXPECT_EQ(GetFileSize(file, nullptr), 6U);
  EXPECT_EQ(SetFilePointer(file, -1, nullptr, FILE_BEGIN), INVALID_SET_FILE_POINTER);
  EXPECT_EQ(GetLastError(), ERROR_NEGATIVE_SEEK);
  EXPECT_EQ(SetFilePointer(file, -2, nullptr, FILE_END), 4U);
  char buffer[8] = {};
  ASSERT_TRUE(ReadFile(file, buffer, sizeof buffer, &count, nullptr));
  EXPECT_EQ(std::string(buffer, count), "45");
  ASSERT_TRUE(ReadFile(file, buffer, sizeof buffer, &count, nullptr));
  EXPECT_EQ(count, 0U);
  LONG high = 1;
  SetLastError(ERROR_GEN_FAILURE);
  EXPECT_EQ(SetFilePointer(file, -1, &high, FILE_BEGIN), 0xFFFFFFFFU);
  EXPECT_EQ(GetLastError(), ERROR_SUCCESS) << "a position whose low part looks like the failure";
  EXPECT_EQ(high, 1);
  EXPECT_TRUE(CloseHandle(file));
  EXPECT_FALSE(CloseHandle(file));
  EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
}

TEST_F(FilesTest, ShareModesHoldBetweenHandlesAndProcesses) {
  write("f");
  constexpr DWORD kReadWrite = GENERIC_READ | GENERIC_WRITE;
  const struct {
    DWORD access, share, secondAccess, secondShare;
    bool isViolation;
  } cases[] = {
      {GENERIC_READ, FILE_SHARE_READ, GENERIC_READ, FILE_SHARE_READ, false},
      {GENERIC_READ, FILE_SHARE_READ, GENERIC_WRITE, kShareAll, true},
      {GENERIC_READ, 0, GENERIC_READ, kShareAll, true},
      {GENERIC_READ, kShareAll, GENERIC_READ, 0, true},
      {GENERIC_WRITE, FILE_SHARE_READ, GENERIC_READ, FILE_SHARE_READ, true},
      {kReadWrite, FILE_SHARE_READ, GENERIC_READ, kShareAll, false},
      {kReadWrite, kShareAll, kReadWrite, kShareAll, false},
      {kReadWrite, 0, FILE_WRITE_ATTRIBUTES, 0, false},
  };
  for (const auto& c : cases) {
    const HANDLE first = open(L"f", c.access, c.share);
    ASSERT_NE(first, INVALID_HANDLE_VALUE);
    const DWORD expected = c.isViolation ? ERROR_SHARING_VIOLATION : ERROR_SUCCESS;
    EXPECT_EQ(openError(L"f", c.secondAccess, c.secondShare, OPEN_EXISTING), expected) << &c - cases;
    CloseHandle(first);
    EXPECT_EQ(openError(L"f", c.secondAccess, c.secondShare, OPEN_EXISTING), ERROR_SUCCESS) << &c - cases;
  }
  const pid_t child = fork();
  if (child == 0) {
    const bool isOpen = open(L"f", GENERIC_READ, FILE_SHARE_READ) != INVALID_HANDLE_VALUE;
    raise(SIGSTOP);
    _exit(isOpen ? 0 : 1);
  }
  int status = 0;
  waitpid(child, &status, WUNTRACED);
  EXPECT_EQ(openError(L"f", GENERIC_WRITE, kShareAll, OPEN_EXISTING), ERROR_SHARING_VIOLATION);
  EXPECT_EQ(remove(L"f"), ERROR_SHARING_VIOLATION);
  kill(child, SIGCONT);
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(remove(L"f"), ERROR_SUCCESS);
}

TEST_F(FilesTest, OfManyThreadsOneAtATimeHasTheFileForItself) {
  std::atomic<int> holders = 0;
  std::atomic<int> refused = 0;
  std::vector<std::thread> threads;
  threads.reserve(8);
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < 50; ++round) {
        const HANDLE file = open(L"lock", GENERIC_READ | GENERIC_WRITE, 0, OPEN_ALWAYS);
        if (file == INVALID_HANDLE_VALUE) {
          ++refused;
          EXPECT_EQ(GetLastError(), ERROR_SHARING_VIOLATION);
          continue;
        }
        EXPECT_EQ(++holders, 1);
        --holders;
        EXPECT_TRUE(CloseHandle(file));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_LT(refused, 400);
  EXPECT_EQ(entryCount(), 1U);
}

TEST_F(FilesTest, AnOpenFileIsReplacedOnlyWhenItsHandleSharesDeleting) {
  write("open", "old");
  write("new", "new");
  const HANDLE keeps = open(L"open", GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE);
  EXPECT_EQ(copy(L"new", L"open"), ERROR_SHARING_VIOLATION);
  EXPECT_EQ(move(L"new", L"open", MOVEFILE_REPLACE_EXISTING), ERROR_SHARING_VIOLATION);
  EXPECT_EQ(move(L"open", L"other"), ERROR_SHARING_VIOLATION);
  EXPECT_EQ(read("open"), "old");
  CloseHandle(keeps);
  const HANDLE shares = open(L"open");
  EXPECT_EQ(copy(L"new", L"open"), ERROR_SUCCESS);
  EXPECT_EQ(read("open"), "new");
  CloseHandle(shares);
}

TEST_F(FilesTest, TimesAreExactTo100Nanoseconds) {
  write("f");
  const HANDLE file = open(L"f", FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE);
  FILETIME created{};
  ASSERT_TRUE(GetFileTime(file, &created, nullptr, nullptr));
  for (const FILETIME& time : {kOld, kOlder}) {
    ASSERT_TRUE(SetFileTime(file, &time, &time, &time));
    FILETIME c{}, a{}, w{};
    ASSERT_TRUE(GetFileTime(file, &c, &a, &w));
    EXPECT_EQ(CompareFileTime(&c, &time), 0);
    EXPECT_EQ(CompareFileTime(&a, &time), 0);
    EXPECT_EQ(CompareFileTime(&w, &time), 0);
  }
  const FILETIME none{};
  const FILETIME tooLate = platform::fromTicks(std::uint64_t{1} << 63U);
  EXPECT_TRUE(SetFileTime(file, &none, &none, &none)) << "leaves the times alone";
  EXPECT_FALSE(SetFileTime(file, nullptr, nullptr, &tooLate));
  EXPECT_EQ(platform::toTicks(platform::fileStatus(path(L"f")).writeTime), platform::toTicks(kOlder));
  EXPECT_EQ(platform::toTicks(platform::fileStatus(path(L"f")).creationTime), platform::toTicks(kOlder));
  ASSERT_TRUE(SetFileTime(file, &created, nullptr, nullptr));
  EXPECT_EQ(listxattr((root() / "f").c_str(), nullptr, 0), 0) << "the system's own time needs no attribute";
  CloseHandle(file);
  const HANDLE reader = open(L"f");
  EXPECT_FALSE(SetFileTime(reader, nullptr, nullptr, &kOld));
  EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
  CloseHandle(reader);
}

TEST_F(FilesTest, AttributesAreKeptAndReadAsOthersWriteThem) {
  write(".f");
  EXPECT_EQ(attributes(L".f"), FILE_ATTRIBUTE_ARCHIVE);
  for (const DWORD value : {DWORD{0x26}, DWORD{0x7}, DWORD{0x21}, DWORD{0x2}, DWORD{0x20}, DWORD{0x80}}) {
    ASSERT_TRUE(setAttributes(L".f", value));
    EXPECT_EQ(attributes(L".f"), value);
  }
  const std::string file = (root() / ".f").string();
  for (const std::string& text : {std::string("0x22"), std::string("0x22\0", 5), std::string("0x22\0\3\0\1", 8)}) {
    ASSERT_EQ(setxattr(file.c_str(), "user.DOSATTRIB", text.data(), text.size(), 0), 0);
    EXPECT_EQ(attributes(L".f"), 0x22U);
  }
  fs::permissions(file, fs::perms(0464));
  EXPECT_EQ(attributes(L".f"), 0x23U);
  ASSERT_TRUE(setAttributes(L".f", 0x20));
  EXPECT_EQ(fs::status(file).permissions(), fs::perms(0664)) << "the permissions of others stay";
  fs::create_directory(root() / "d");
  ASSERT_TRUE(setAttributes(L"d", FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_SYSTEM));
  EXPECT_EQ(attributes(L"d"), FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_SYSTEM);
  EXPECT_EQ(openError(L"d\\f", GENERIC_WRITE, 0, CREATE_NEW), ERROR_SUCCESS);
  EXPECT_EQ(attributes(L"none"), INVALID_FILE_ATTRIBUTES);
}

TEST_F(FilesTest, ProtectedFilesRefuseToBeChanged) {
  write("new", "new");
  write("readonly", "old");
  write("hidden", "old");
  setAttributes(L"readonly", FILE_ATTRIBUTE_READONLY);
  setAttributes(L"hidden", FILE_ATTRIBUTE_HIDDEN);
  EXPECT_EQ(copy(L"new", L"readonly"), ERROR_ACCESS_DENIED);
  EXPECT_EQ(copy(L"new", L"hidden"), ERROR_ACCESS_DENIED);
  EXPECT_EQ(move(L"new", L"readonly", MOVEFILE_REPLACE_EXISTING), ERROR_ACCESS_DENIED);
  EXPECT_EQ(remove(L"readonly"), ERROR_ACCESS_DENIED);
  EXPECT_EQ(openError(L"readonly", GENERIC_WRITE, 0, OPEN_EXISTING), ERROR_ACCESS_DENIED);
  EXPECT_EQ(openError(L"hidden", GENERIC_WRITE, 0, CREATE_ALWAYS), ERROR_ACCESS_DENIED);
  EXPECT_EQ(openError(L"hidden", GENERIC_WRITE, 0, OPEN_EXISTING), ERROR_SUCCESS);
  EXPECT_EQ(platform::writeFileAtomically(path(L"readonly"), "x", 1), ERROR_ACCESS_DENIED);
  EXPECT_EQ(_waccess(path(L"READONLY").c_str(), 2), -1);
  EXPECT_EQ(errno, EACCES);
  EXPECT_EQ(_waccess(path(L"READONLY").c_str(), 4), 0);
  EXPECT_EQ(read("readonly"), "old");
  EXPECT_EQ(read("hidden"), "old");
  EXPECT_EQ(entryCount(), 3U) << "nothing temporary is left";
}

TEST_F(FilesTest, CopiesKeepContentTimeAndAttributes) {
  std::string content(3'000'000, 'x');
  content += "end";
  write("from", content);
  write("to", "old");
  setTimes(L"from", &kOlder, &kOld);
  setAttributes(L"from", FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_SYSTEM);
  fs::permissions(root() / "to", fs::perms(0640));
  EXPECT_EQ(copy(L"from", L"TO", TRUE), ERROR_FILE_EXISTS);
  EXPECT_EQ(read("to"), "old");
  EXPECT_EQ(copy(L"from", L"TO"), ERROR_SUCCESS);
  EXPECT_EQ(read("to"), content);
  EXPECT_EQ(attributes(L"to"), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_SYSTEM);
  EXPECT_EQ(fs::status(root() / "to").permissions(), fs::perms(0440)) << "as the replaced file's";
  EXPECT_EQ(platform::toTicks(platform::fileStatus(path(L"to")).writeTime), platform::toTicks(kOld));
  EXPECT_EQ(copy(L"from", L"FROM"), ERROR_SHARING_VIOLATION);
  EXPECT_EQ(copy(L"from", L"none\\to"), ERROR_PATH_NOT_FOUND);
  EXPECT_EQ(copy(L"none", L"to"), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(copy(L".", L"to2"), ERROR_ACCESS_DENIED);
  fs::create_symlink("target", root() / "link");
  write("target", "old");
  EXPECT_EQ(copy(L"from", L"link"), ERROR_SUCCESS);
  EXPECT_EQ(read("target"), content) << "a link stays one";
  EXPECT_EQ(entryCount(), 4U);
}

TEST_F(FilesTest, MovesReplaceOnlyWhenAskedAndChangeCaseAlone) {
  write("a", "a");
  write("b", "b");
  EXPECT_EQ(move(L"a", L"B"), ERROR_ALREADY_EXISTS);
  EXPECT_EQ(move(L"a", L"A"), ERROR_SUCCESS);
  EXPECT_TRUE(exists("A") && !exists("a"));
  EXPECT_EQ(move(L"a", L"B", MOVEFILE_REPLACE_EXISTING), ERROR_SUCCESS);
  EXPECT_EQ(read("B"), "a");
  EXPECT_EQ(entryCount(), 1U);
  fs::create_directory(root() / "dir");
  EXPECT_EQ(move(L"b", L"dir", MOVEFILE_REPLACE_EXISTING), ERROR_ACCESS_DENIED);
  EXPECT_EQ(move(L"b", L"DIR\\moved"), ERROR_SUCCESS);
  EXPECT_EQ(move(L"dir", L"Dir2"), ERROR_SUCCESS);
  EXPECT_EQ(read("Dir2/moved"), "a");
  EXPECT_EQ(move(L"dir2\\none", L"x"), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(move(L"dir2\\moved", L"none\\x"), ERROR_PATH_NOT_FOUND);
}

TEST_F(FilesTest, DirectoriesAreMadeWithTheirParentsAndRemovedEmpty) {
  write("file");
  SetLastError(ERROR_GEN_FAILURE);
  const auto create = [&](const std::wstring& name) { return SHCreateDirectoryExW(nullptr, name.c_str(), nullptr); };
  EXPECT_EQ(create(path(L"a\\b\\c")), 0);
  EXPECT_EQ(create(path(L"A\\B\\C\\")), 183);
  EXPECT_EQ(create(path(L"FILE")), 80);
  EXPECT_EQ(create(path(L"file\\x\\y")), 3);
  EXPECT_EQ(create(L"relative"), 161);
  EXPECT_EQ(GetLastError(), ERROR_GEN_FAILURE);
  EXPECT_EQ(error(CreateDirectoryW(path(L"A").c_str(), nullptr)), ERROR_ALREADY_EXISTS);
  EXPECT_EQ(error(CreateDirectoryW(path(L"x\\y").c_str(), nullptr)), ERROR_PATH_NOT_FOUND);
  EXPECT_EQ(error(RemoveDirectoryW(path(L"a").c_str())), ERROR_DIR_NOT_EMPTY);
  EXPECT_EQ(error(RemoveDirectoryW(path(L"file").c_str())), ERROR_DIRECTORY);
  EXPECT_EQ(error(RemoveDirectoryW(path(L"A\\B\\C").c_str())), ERROR_SUCCESS);
  EXPECT_EQ(remove(L"a"), ERROR_ACCESS_DENIED);
}

TEST_F(FilesTest, RemovingATreeLeavesWhatItsLinksLeadTo) {
  write("outside/kept");
  write("tree/sub/readonly");
  setAttributes(L"tree\\sub\\readonly", FILE_ATTRIBUTE_READONLY);
  fs::create_directory_symlink(root() / "outside", root() / "tree/sub/link");
  fs::create_directory_symlink(root() / "outside", root() / "tree-link");
  fs::permissions(root() / "tree/sub", fs::perms(0));
  EXPECT_EQ(platform::removeTree(path(L"TREE")), ERROR_SUCCESS);
  EXPECT_EQ(platform::removeTree(path(L"tree-link")), ERROR_SUCCESS);
  EXPECT_EQ(platform::removeTree(path(L"tree")), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(platform::removeTree(path(L"outside\\kept")), ERROR_DIRECTORY);
  EXPECT_EQ(platform::removeTree(L"B:\\"), ERROR_ACCESS_DENIED);
  EXPECT_EQ(entryCount(), 1U);
  EXPECT_TRUE(exists("outside/kept"));
}

TEST_F(FilesTest, AtomicWritesReplaceWholeFilesOrNothing) {
  const std::string text = "new content";
  const auto writeTo = [&](const wchar_t* name) {
    return platform::writeFileAtomically(path(name), text.data(), text.size());
  };
  write("f", "old");
  setAttributes(L"f", FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_ARCHIVE);
  fs::permissions(root() / "f", fs::perms(0600));
  EXPECT_EQ(writeTo(L"F"), ERROR_SUCCESS);
  EXPECT_EQ(read("f"), text);
  EXPECT_EQ(attributes(L"f"), FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_ARCHIVE);
  EXPECT_EQ(fs::status(root() / "f").permissions(), fs::perms(0600));
  EXPECT_EQ(writeTo(L"none\\f"), ERROR_PATH_NOT_FOUND);
  EXPECT_EQ(writeTo(L"f\\f"), ERROR_PATH_NOT_FOUND);
  EXPECT_EQ(writeTo(L"."), ERROR_ACCESS_DENIED);
  const std::wstring longName(255, L'n');
  EXPECT_EQ(writeTo(longName.c_str()), ERROR_SUCCESS) << "the temporary name is no longer than a name may be";
  EXPECT_EQ(entryCount(), 2U);

  std::string content = "untouched";
  EXPECT_EQ(platform::readWholeFile(path(L"f"), content, text.size() - 1), ERROR_BAD_LENGTH);
  EXPECT_EQ(content, "untouched");
  EXPECT_EQ(platform::readWholeFile(path(L"f"), content, text.size()), ERROR_SUCCESS);
  EXPECT_EQ(content, text);
}

TEST_F(FilesTest, AHandleTellsThePathThatItsFileHasNow) {
  write("Before");
  const HANDLE file = open(L"before");
  EXPECT_EQ(platform::pathOfHandle(file), path(L"Before"));
  ASSERT_EQ(move(L"before", L"After (deleted)"), ERROR_SUCCESS);
  EXPECT_EQ(platform::pathOfHandle(file), path(L"After (deleted)"));
  ASSERT_EQ(remove(L"After (deleted)"), ERROR_SUCCESS);
  EXPECT_EQ(platform::pathOfHandle(file), L"");
  write("After (deleted)");
  EXPECT_EQ(platform::pathOfHandle(file), L"") << "another file under the old name";
  CloseHandle(file);
  EXPECT_EQ(platform::pathOfHandle(file), L"");
}

}  // namespace
