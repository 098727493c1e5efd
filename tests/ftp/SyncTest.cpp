// Directories brought in step with the server, on every store.
#include "ftp/SyncDecision.h"
#include "host/System.h"
#include "platform/Paths.h"
#include "platform/Time.h"
#include "tests/ftp/FakeServerFixture.h"
#include "tests/ftp/TransferStore.h"
#include "zephor/FileFilter.h"

namespace {

using namespace Quorvel::FileAccess;
using zephor_test::kNoReply;
using zephor_test::TransferStoreKind;

constexpr std::time_t kSpring = 1'741'600'000;  // 2025-03-10, hours away from any change of clocks
constexpr std::time_t kHour = 3600;

class Sync : public zephor_test::TransferFixture, public testing::WithParamInterface<TransferStoreKind> {
 protected:
  void SetUp() override {
    startStore(GetParam());
    if (IsSkipped()) return;
    connection().remote().setDialogsSuppressed(true);
    ZSYST_ZepRegPutNumber(L"HKCU", L"Settings\\WGOUseThreading", 1);
    if (GetParam().name != "Directory") return;
    // A directory counts as a server where the host knows it as one; the projects' local place is then the host's.
    connection().setServerName(L"files");
    const std::filesystem::path place = platform::systemPath(connection().getPathFromNr(local()));
    std::filesystem::create_directories(place.parent_path());
    std::filesystem::create_directory_symlink(root() / "local/Prj", place);
  }

  void here(const std::string& name, const std::string& content, std::time_t time) {
    writeLocal(name, content);
    std::filesystem::last_write_time(root() / "local/Prj" / name,
                                     std::chrono::file_clock::from_sys(std::chrono::system_clock::from_time_t(time)));
  }
  void there(const std::string& name, const std::string& content, std::time_t time) {
    store().write(name, content);
    store().setTime(name, time);
  }
  DWORD up(const wchar_t* directory, const WGO_FileFilter* filter = nullptr) {
    return connection().syncServerDirectory(local(), directory, filter, 0);
  }
  DWORD down(const wchar_t* directory, const WGO_FileFilter* filter = nullptr) {
    return connection().syncFromServer(directory, local(), filter, 0, true);
  }
};

TEST_P(Sync, OnlyWhatIsNewerHereGoesUp) {
  here("p/newer.txt", "mine", kSpring + 2 * kHour);
  there("p/newer.txt", "old", kSpring);
  here("p/Older.txt", "restored from a backup", kSpring);
  there("p/older.txt", "theirs", kSpring + 2 * kHour);
  here("p/equal.txt", "another size", kSpring);
  there("p/equal.txt", "x", kSpring);
  here("p/new.txt", "new", kSpring);
  here("p/keep.bak", "no", kSpring);
  there("p/only there.txt", "stays", kSpring);
  WGO_FileFilter filter;
  filter.ExcludeFileExtension(L".bak");
  ASSERT_EQ(up(L"p", &filter), 0U);
  EXPECT_EQ(GetLastError(), 0U);
  EXPECT_EQ(store().read("p/newer.txt"), "mine");
  EXPECT_EQ(store().read("p/older.txt"), "theirs");
  EXPECT_EQ(store().read("p/equal.txt"), "x");
  EXPECT_EQ(store().read("p/new.txt"), "new");
  EXPECT_TRUE(store().exists("p/only there.txt"));
  EXPECT_FALSE(store().exists("p/keep.bak"));
  EXPECT_EQ(localTime(L"p\\new.txt"), serverTime(L"p/new.txt")) << "so that neither side is newer now";
  ASSERT_EQ(down(L"p"), 0U);
  EXPECT_EQ(localFile("p/newer.txt"), "mine");
  EXPECT_EQ(localFile("p/older.txt"), "theirs") << "an older local file is fetched over";
  EXPECT_EQ(localFile("p/only there.txt"), "stays");
}

TEST_P(Sync, ATreeGoesUpAndComesDownElsewhere) {
  for (int i = 0; i < 10; ++i) here("p/a/f" + std::to_string(i), std::string(1000 * i, 'x'), kSpring);
  here("p/a/b/deep.txt", "deep", kSpring);
  here("p/root.txt", "root", kSpring);
  here("p/Lck/lock.lck", "", kSpring);
  std::filesystem::create_directories(root() / "local/Prj/p/empty");
  there("p/a/b/deep.txt", "old", kSpring - kHour);
  for (const char* name : {"Twin", "twin"}) there(std::string("p/") + name + "/x", name, kSpring);
  WGO_FileFilter filter;
  filter.ExcludeDirectoryExact(L"Lck");
  ASSERT_EQ(connection().syncServerDirectoryTree(L"p", local(), &filter, 0, true), 0U);
  EXPECT_EQ(GetLastError(), 0U);
  EXPECT_TRUE(store().read("p/a/f9") == std::string(9000, 'x'));
  EXPECT_EQ(store().read("p/a/b/deep.txt"), "deep");
  EXPECT_EQ(store().read("p/root.txt"), "root");
  EXPECT_TRUE(store().exists("p/empty"));
  EXPECT_FALSE(store().exists("p/Lck"));

  std::filesystem::rename(root() / "local/Prj/p", root() / "before");
  ASSERT_EQ(down(L"p"), 0U);
  EXPECT_TRUE(localFile("p/a/f9") == std::string(9000, 'x'));
  EXPECT_EQ(localFile("p/a/b/deep.txt"), "deep");
  const std::string one = hasLocal("p/twin") ? "twin" : "Twin";
  EXPECT_EQ(localFile("p/" + one + "/x"), one);
  EXPECT_EQ(localTime(L"p\\a\\b\\deep.txt"), serverTime(L"p/a/b/deep.txt"));
  const std::uint64_t before = localTime(L"p\\a\\f9");
  store().write("p/a/b/deep.txt", "changed");
  store().setTime("p/a/b/deep.txt", kSpring + 1000 * kHour * 24);
  ASSERT_EQ(down(L"p", &filter), 0U);
  EXPECT_EQ(localFile("p/a/b/deep.txt"), "changed");
  EXPECT_EQ(localTime(L"p\\a\\f9"), before);
}

TEST_P(Sync, AMissingDirectoryIsToldOrMade) {
  EXPECT_EQ(down(L"nowhere"), DWORD{ERROR_PATH_NOT_FOUND});
  EXPECT_EQ(up(L"nowhere"), DWORD{ERROR_PATH_NOT_FOUND});
  here("fresh/one.txt", "1", kSpring);
  EXPECT_EQ(up(L"fresh"), 0U);
  EXPECT_EQ(store().read("fresh/one.txt"), "1");
  EXPECT_EQ(up(L".."), DWORD{ERROR_INVALID_DATA}) << "a path that leaves its root";
  EXPECT_EQ(down(L"a/../.."), DWORD{ERROR_INVALID_DATA});
}

INSTANTIATE_TEST_SUITE_P(Stores, Sync, testing::ValuesIn(zephor_test::allTransferStores()),
                         [](const testing::TestParamInfo<TransferStoreKind>& kind) { return kind.param.name; });

/// A server that fails while directories are brought in step.
class FailingSync : public zephor_test::FakeServerFixture {
 protected:
  void SetUp() override {
    FakeServerFixture::SetUp();
    connection().setDialogsSuppressed(true);
    for (const char* name : {"a", "b", "c"}) write(std::string("local/Prj/p/") + name, name);
  }
  DWORD upTree() { return connection().syncServerDirectoryTree(L"p", project(), nullptr, 0, true); }
};

TEST_F(FailingSync, AFileThatDoesNotArriveShowsInTheLastError) {
  server.failAlways("PutFile b", {.code = 552});
  EXPECT_EQ(connection().syncServerDirectory(project(), L"p", nullptr, 0), 0U);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_WRITE_FAULT});
  EXPECT_EQ(server.files[L"a"] + server.files[L"c"], "ac") << "the others arrive";
  EXPECT_EQ(upTree(), 0U);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_WRITE_FAULT});
  server.recover();
  EXPECT_EQ(upTree(), 0U);
  EXPECT_EQ(GetLastError(), 0U);
  EXPECT_EQ(server.files[L"b"], "b") << "the next run is right";
}

TEST_F(FailingSync, ADirectoryThatTheListingDidNotShowIsLookedIntoBeforeFilesGoThere) {
  server.files[L"theirs"] = "newer";
  write("local/Prj/p/Sub/theirs", "older");
  write("local/Prj/p/Sub/a.upload", "left over");
  write("local/Prj/p/Sub/a", "a");
  const auto old = std::chrono::file_clock::from_sys(std::chrono::system_clock::from_time_t(kHour));
  std::filesystem::last_write_time(root() / "local/Prj/p/Sub/theirs", old);
  EXPECT_EQ(upTree(), 0U);
  EXPECT_EQ(server.files[L"theirs"], "newer");
  EXPECT_EQ(server.files[L"a"], "a");
  EXPECT_FALSE(server.files.contains(L"a.upload"));
}

TEST_F(FailingSync, AListingThatFailsMovesNothing) {
  server.failAlways("List", {.code = 451});
  EXPECT_EQ(connection().syncServerDirectory(project(), L"p", nullptr, 0), DWORD{ERROR_READ_FAULT});
  EXPECT_NE(upTree(), 0U);
  EXPECT_NE(connection().syncFromServer(L"p", project(), nullptr, 0, true), 0U);
  EXPECT_TRUE(server.files.empty());
  EXPECT_EQ(server.count("PutFile") + server.count("GetFile"), 0);
}

TEST_F(FailingSync, ADownloadThatFailsLeavesTheLocalFileAndIsToldOnce) {
  server.files = {{L"a", "theirs"}, {L"d", "theirs"}};
  for (const char* name : {"a", "b", "c"}) {
    std::filesystem::last_write_time(root() / "local/Prj/p" / name,
                                     std::chrono::file_clock::from_sys(std::chrono::system_clock::from_time_t(kHour)));
  }
  server.failAlways("GetFile a", kNoReply);
  EXPECT_EQ(connection().syncFromServer(L"p", project(), nullptr, 0, false), DWORD{ERROR_FILE_NOT_FOUND});
  EXPECT_EQ(read("local/Prj/p/a"), "a");
  EXPECT_EQ(read("local/Prj/p/d"), "theirs");
}

TEST_F(FailingSync, OfNamesThatDifferInLetterCaseOnlyTheFirstComesDown) {
  server.files = {{L"X", "first"}, {L"x", "second"}};
  EXPECT_EQ(connection().syncFromServer(L"p", project(), nullptr, 0, false), 0U);
  EXPECT_EQ(read("local/Prj/p/X"), "first");
  EXPECT_EQ(server.count("GetFile"), 1);
}

RemoteFileEntry entry(const wchar_t* name, std::uint64_t ticks, std::int64_t size = 1) {
  return {name, platform::fromTicks(ticks), size};
}

std::vector<std::wstring> sent(const std::vector<RemoteFileEntry>& local, const std::vector<RemoteFileEntry>& server) {
  std::vector<std::wstring> names;
  for (const RemoteFileEntry& file : filesToSend(local, server)) names.push_back(file.name);
  return names;
}

using Names = std::vector<std::wstring>;

TEST(SyncDecision, TimesAloneSayWhatGoesUp) {
  EXPECT_EQ(sent({}, {entry(L"a", 1)}), Names());
  EXPECT_EQ(sent({entry(L"b", 5), entry(L"a", 5)}, {}), (Names{L"b", L"a"})) << "in the order of the list";
  EXPECT_EQ(sent({entry(L"a", 10, 1)}, {entry(L"a", 10, 2)}), Names()) << "sizes do not count";
  EXPECT_EQ(sent({entry(L"a", 11)}, {entry(L"a", 10)}), (Names{L"a"})) << "one tick is enough";
  EXPECT_EQ(sent({entry(L"a", 9)}, {entry(L"A", 10)}), Names()) << "letter case is ignored";
  EXPECT_EQ(sent({entry(L"\u00c4", 9), entry(L"b", 9)}, {entry(L"\u00e4", 9)}), (Names{L"b"}));
  EXPECT_EQ(sent({entry(L"a", 9), entry(L"A", 12)}, {entry(L"A", 10), entry(L"a", 10)}), (Names{L"A"}))
      << "where both sides tell letter cases apart, each file has its own counterpart";
  EXPECT_EQ(sent({entry(L"a", 1)}, {entry(L"b", 9), entry(L"b", 9)}), (Names{L"a"}));
}

}  // namespace
