// What holds of the transfer object whatever store it is aimed at.
#include <sys/resource.h>

#include <algorithm>
#include <csignal>
#include <set>
#include <thread>

#include "platform/Files.h"
#include "platform/Text.h"
#include "platform/Time.h"
#include "tests/ftp/TransferStore.h"
#include "toolkit/ByteData.h"

namespace {

using namespace Quorvel::FileAccess;
using zephor_test::TransferStoreKind;

constexpr std::time_t kSpring = 1'741'600'000;  // 2025-03-10, hours away from any change of clocks

std::string patternOf(std::size_t size) {
  std::string text(size, '\0');
  for (std::size_t i = 0; i < size; ++i) text[i] = static_cast<char>((i * 31 + i / 251) & 0xFF);
  return text;
}

class TransferContract : public zephor_test::TransferFixture, public testing::WithParamInterface<TransferStoreKind> {
 protected:
  void SetUp() override { startStore(GetParam()); }

  std::set<std::wstring> listed(const wchar_t* pattern, const WGO_ListOptions* options = nullptr) {
    std::vector<std::wstring> names;
    EXPECT_EQ(connection().getServerFileNames(store().serverPath(L"").c_str(), pattern, names, options), 0U);
    return {names.begin(), names.end()};
  }
};

TEST_P(TransferContract, AFileGoesUpAndComesDownWithContentAndTime) {
  const std::string content = patternOf(300'000);
  writeLocal("sub/a b.dat", content);
  store().write("sub/other.txt", "");
  ASSERT_EQ(connection().uploadFile(L"a b.dat", L"sub", local(), true), 0U);
  EXPECT_EQ(GetLastError(), 0U);
  EXPECT_EQ(store().read("sub/a b.dat"), content);
  EXPECT_EQ(entryCount("local/Prj/sub"), 1U) << "the side copy is gone";
  EXPECT_NE(serverTime(L"sub/a b.dat"), 0U);
  EXPECT_EQ(localTime(L"sub\\a b.dat"), serverTime(L"sub/a b.dat"));

  store().write("sub/a b.dat", "changed");
  store().setTime("sub/a b.dat", kSpring);
  int number = -1;
  ASSERT_EQ(connection().downloadFile(L"a b.dat", L"sub", server(), local(), &number, 7, 0), 0U);
  EXPECT_EQ(number, 0);
  EXPECT_EQ(localFile("sub/a b.dat"), "changed");
  EXPECT_EQ(localTime(L"sub\\a b.dat"), serverTime(L"sub/a b.dat"));
  EXPECT_EQ(entryCount("local/Prj/sub"), 1U) << "no part is left";
}

TEST_P(TransferContract, WhatIsNotThereLeavesTheLocalFileWhole) {
  connection().remote().setDialogsSuppressed(true);
  writeLocal("a.txt", "mine");
  int number = -1;
  EXPECT_EQ(connection().downloadFile(L"a.txt", nullptr, server(), local(), &number, 0, 0), 2U);
  EXPECT_EQ(number, 2);
  EXPECT_EQ(connection().downloadFile(L"a.txt", L"nowhere", server(), local(), nullptr, 0, 0), 3U);
  EXPECT_EQ(localFile("a.txt"), "mine");
  EXPECT_FALSE(hasLocal("a.txt.part"));

  EXPECT_EQ(connection().openFile(L"b.txt", nullptr, server()), nullptr);
  EXPECT_EQ(GetLastError(), 2U);
  EXPECT_FALSE(connection().existDirectory(store().serverPath(L"nowhere").c_str()));
  std::vector<RemoteFileEntry> entries = {{L"stale", {}, 0}};
  EXPECT_EQ(connection().getServerFiles(store().serverPath(L"nowhere").c_str(), entries), 3U);
  EXPECT_TRUE(entries.empty());
  EXPECT_TRUE(user.boxes().empty());
}

TEST_P(TransferContract, AFullDiskHereLeavesTheOldFile) {
  connection().setDialogsSuppressed(true);
  store().write("a.dat", patternOf(300'000));
  writeLocal("a.dat", "mine");
  rlimit before{};
  getrlimit(RLIMIT_FSIZE, &before);
  const rlimit small = {100'000, before.rlim_max};
  std::signal(SIGXFSZ, SIG_IGN);
  setrlimit(RLIMIT_FSIZE, &small);
  const DWORD code = connection().downloadFile(L"a.dat", nullptr, server(), local(), nullptr, 0, 0);
  setrlimit(RLIMIT_FSIZE, &before);
  EXPECT_EQ(code, 2U);
  EXPECT_EQ(localFile("a.dat"), "mine");
  EXPECT_EQ(entryCount("local/Prj"), 1U);
  EXPECT_EQ(connection().downloadFile(L"a.dat", nullptr, server(), local(), nullptr, 0, 0), 0U);
  EXPECT_EQ(localFile("a.dat"), store().read("a.dat"));
}

TEST_P(TransferContract, AFailedUploadShowsInTheLastErrorAlone) {
  connection().setDialogsSuppressed(true);
  writeLocal("nowhere/a.txt", "mine");
  const std::uint64_t before = localTime(L"nowhere\\a.txt");
  EXPECT_EQ(connection().uploadFile(L"a.txt", L"nowhere", local(), true), 0U);
  EXPECT_EQ(GetLastError(), 3U);
  EXPECT_EQ(localTime(L"nowhere\\a.txt"), before) << "it must not look equal to what never arrived";
  EXPECT_EQ(connection().uploadFile(L"missing.txt", nullptr, local(), true), 29U);
  EXPECT_EQ(connection().uploadFile(L"../a.txt", nullptr, local(), true), 13U) << "it would leave its directory";
  EXPECT_EQ(connection().uploadFile(nullptr, nullptr, local(), true), 13U);
}

TEST_P(TransferContract, PiecesAreReadAnywhere) {
  const std::string content = patternOf(2'000'000);
  store().write("large.dat", content);
  CPartialDownload* file = connection().openFile(L"large.dat", nullptr, server());
  ASSERT_NE(file, nullptr);
  struct Piece {
    long long offset;
    int origin;
    std::size_t size;
    std::size_t position;
    std::size_t received;
  };
  const Piece pieces[] = {{0, 0, 100, 0, 100},          {0, 1, 100, 0, 100},  // reading moves nothing
                          {350, 0, 5000, 350, 5000},    {1'000'000, 1, 70'000, 1'000'350, 70'000},
                          {-10, 2, 100, 1'999'990, 10},  // only what is left
                          {5, 2, 100, 2'000'005, 0},    {0, 0, 2'000'000, 0, 2'000'000}};
  for (const Piece& piece : pieces) {
    SCOPED_TRACE(piece.position);
    EXPECT_EQ(connection().seekFile(file, piece.offset, piece.origin), 1);
    std::string buffer(piece.size + 1, '#');
    ASSERT_EQ(connection().readFilePartial(file, buffer.data(), piece.size), piece.received);
    EXPECT_TRUE(buffer.compare(0, piece.received, content, std::min(piece.position, content.size()), piece.received) ==
                0);
    EXPECT_EQ(buffer[piece.received], '#') << "nothing behind what was asked for";
  }
  EXPECT_EQ(connection().seekFile(file, 0, 3), -1);
  EXPECT_EQ(connection().seekFile(file, -1, 0), -1);
  EXPECT_EQ(connection().closeFile(file), 0U);
  EXPECT_EQ(connection().closeFile(file), 6U);
  EXPECT_EQ(connection().seekFile(file, 0, 0), -1);
  EXPECT_EQ(connection().downloadFile(L"large.dat", nullptr, server(), local(), nullptr, 0, 0), 0U)
      << "the session goes on";
}

TEST_P(TransferContract, RenamingTakesTheLocalFileWithIt) {
  store().write("a.txt", "theirs");
  writeLocal("a.txt", "mine");
  ASSERT_EQ(connection().renameFile(L"a.txt", L"b.txt", nullptr, local()), 0U);
  EXPECT_EQ(store().read("b.txt"), "theirs");
  EXPECT_FALSE(store().exists("a.txt"));
  EXPECT_EQ(localFile("b.txt"), "mine");
  ASSERT_EQ(connection().renameFile(L"b.txt", L"B.TXT", nullptr, server()), 0U);
  EXPECT_EQ(listed(L"*"), (std::set<std::wstring>{L"B.TXT"}));
  EXPECT_TRUE(hasLocal("B.TXT"));

  connection().setDialogsSuppressed(true);
  EXPECT_EQ(connection().renameFile(L"nothing", L"something", nullptr, local()), 12U);
  EXPECT_EQ(connection().renameFile(nullptr, L"something", nullptr, local()), 13U);
}

TEST_P(TransferContract, DeletingWhatIsNotThereIsSuccess) {
  store().write("sub/a.txt", "x");
  EXPECT_EQ(connection().deleteFile(L"a.txt", L"sub", local()), 0U);
  EXPECT_FALSE(store().exists("sub/a.txt"));
  EXPECT_EQ(connection().deleteFile(L"a.txt", L"sub", local()), 0U);
  store().write("sub/b.txt", "x");
  EXPECT_TRUE(connection().deleteServerPath(store().serverPath(L"sub/b.txt").c_str()));
  EXPECT_FALSE(store().exists("sub/b.txt"));
  EXPECT_EQ(connection().deleteFile(L"a.txt", L"nowhere", local()), 3U);
}

TEST_P(TransferContract, DirectoriesAreMadeAndRemovedWhole) {
  const std::wstring deep = store().serverPath(L"one/two/three");
  EXPECT_TRUE(connection().createServerDirectory(deep.c_str()));
  EXPECT_TRUE(connection().createServerDirectory(deep.c_str())) << "it is there already";
  EXPECT_TRUE(connection().existDirectory(deep.c_str()));
  store().remove("one");
  EXPECT_FALSE(connection().existDirectory(deep.c_str())) << "somebody deleted it";
  EXPECT_TRUE(connection().createServerDirectory(deep.c_str()));
  store().remove("one");
  writeLocal("free", "x");
  EXPECT_EQ(connection().uploadFreeFile(path(L"local\\Prj\\free").c_str(), L"one/two", server(), true), 0U);
  store().write("one/two/a.txt", "x");
  store().write("one/.dot", "x");
  store().write("keep.txt", "x");
  EXPECT_EQ(connection().deleteServerDirectory(L"two", L"one", server()), 0U);
  EXPECT_FALSE(store().exists("one/two"));
  EXPECT_EQ(connection().deleteServerDirectory(store().serverPath(L"one").c_str(), nullptr, nullptr), 0U);
  EXPECT_FALSE(store().exists("one"));
  EXPECT_EQ(connection().deleteServerDirectory(L"one", nullptr, server()), 3U);
  EXPECT_EQ(connection().deleteServerDirectory(L"/", nullptr, nullptr), 13U);
  for (const wchar_t* path : {L"../Prj", L".", L"/", L"one/.", L"one/.."}) {
    EXPECT_EQ(connection().deleteServerDirectory(path, nullptr, server()), 13U) << path;
  }
  for (const wchar_t* name : {L".", L"one/..", L"../Prj"}) {
    EXPECT_EQ(connection().deleteServerDirectory(store().serverPath(name).c_str(), nullptr, nullptr), 13U) << name;
    EXPECT_FALSE(connection().deleteServerPath(store().serverPath(name).c_str())) << name;
  }
  EXPECT_TRUE(store().exists("keep.txt"));
}

TEST_P(TransferContract, ListingsTellNamesSizesAndTimes) {
  store().write("a.txt", "12345");
  store().write("b.dat", "");
  store().write("sub/c.txt", "x");
  store().write("sub/deep/d.txt", "x");
  store().setTime("a.txt", kSpring);
  std::vector<RemoteFileEntry> entries;
  ASSERT_EQ(connection().getServerFileInfos(store().serverPath(L"").c_str(), L"*.TXT", entries, nullptr), 0U);
  ASSERT_EQ(entries.size(), 1U);
  EXPECT_EQ(entries[0].name, L"a.txt");
  EXPECT_EQ(entries[0].size, 5);
  EXPECT_EQ(platform::toUnixSeconds(entries[0].time), kSpring);
  EXPECT_EQ(platform::toTicks(entries[0].time), serverTime(L"a.txt")) << "one file and a listing agree";

  EXPECT_EQ(listed(L"*"), (std::set<std::wstring>{L"a.txt", L"b.dat"}));
  EXPECT_EQ(listed(L"*.none"), std::set<std::wstring>());
  WGO_ListOptions options;
  options.recursive = true;
  options.excludes = [](const std::wstring& name) { return name == L"a.txt"; };
  EXPECT_EQ(listed(L"*.txt", &options), (std::set<std::wstring>{L"sub/c.txt", L"sub/deep/d.txt"}));

  std::vector<std::wstring> directories;
  ASSERT_TRUE(connection().getServerDirectories(store().serverPath(L"").c_str(), 0, directories));
  EXPECT_EQ(directories, (std::vector<std::wstring>{L"sub"}));
  ASSERT_TRUE(connection().getServerDirectories(store().serverPath(L"").c_str(), 1, directories));
  EXPECT_EQ(directories, (std::vector<std::wstring>{L"sub", L"sub/deep"}));
  EXPECT_FALSE(connection().getServerDirectories(store().serverPath(L"nowhere").c_str(), 0, directories));
  std::vector<WIN32_FIND_DATAW> projects;
  ASSERT_EQ(connection().getProjectDirectories(nullptr, projects), 0U);
  ASSERT_EQ(projects.size(), 1U);
  EXPECT_STREQ(projects[0].cFileName, L"sub");
}

TEST_P(TransferContract, CheckSumsAreThoseOfTheBytes) {
  const std::string content = patternOf(100'000);
  store().write("a.dat", content);
  CkByteData bytes;
  bytes.append(content.data(), content.size());
  std::uint32_t crc = 0;
  ASSERT_TRUE(connection().getCRC(crc, L"a.dat", nullptr, server()));
  EXPECT_EQ(crc, CkZipCrc::CalculateCrc(bytes));
  connection().setDialogsSuppressed(true);
  EXPECT_FALSE(connection().getCRC(crc, L"missing.dat", nullptr, server()));
}

TEST_P(TransferContract, AProjectIsFoundByItsDescriptor) {
  if (connection().getConnectionType() == 0) {
    EXPECT_TRUE(connection().existFile(L"anything")) << "a directory is never asked";
    return;
  }
  store().write("house.prj/Project1.Dat.xml", "<x/>");
  EXPECT_TRUE(connection().existFile(store().serverPath(L"house.prj").c_str()));
  EXPECT_TRUE(connection().existFile(store().serverPath(L"house.prj/Project1.Dat.xml").c_str()));
  EXPECT_FALSE(connection().existFile(store().serverPath(L"garden.prj").c_str()));
  EXPECT_FALSE(connection().existFile(store().serverPath(L"house.prj/other").c_str()));
}

TEST_P(TransferContract, ThreadsWorkSideBySideOnTheirOwnConnections) {
  constexpr int kThreads = 4;
  constexpr int kFiles = 8;
  std::vector<std::thread> threads;
  std::atomic<int> failures{0};
  const std::string all = patternOf(300'000);
  store().write("all.dat", all);
  for (int thread = 0; thread < kThreads; ++thread) {
    const std::string directory = "t" + std::to_string(thread);
    for (int file = 0; file < kFiles; ++file) {
      writeLocal(directory + "/" + std::to_string(file), patternOf(static_cast<std::size_t>(1000 * thread + file)));
    }
    threads.emplace_back([&, directory] {
      const std::wstring wide = platform::fromUtf8(directory);
      for (int file = 0; file < kFiles; ++file) {
        const std::wstring name = std::to_wstring(file);
        const std::wstring from = path(L"local\\Prj\\" + wide + L"\\" + name);
        if (connection().uploadFreeFile(from.c_str(), (L"same/" + wide).c_str(), server(), true) != 0) ++failures;
        if (connection().downloadFile(name.c_str(), (L"same/" + wide).c_str(), server(), local(), nullptr, file, 0)) {
          ++failures;
        }
        const DWORD code = connection().downloadFile(L"all.dat", nullptr, server(), local(), nullptr, 0, 0);
        if (code != 0 && code != ERROR_SHARING_VIOLATION) ++failures;
      }
      connection().releaseThreadData();
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(failures, 0);
  EXPECT_EQ(localFile("all.dat"), all);
  EXPECT_FALSE(hasLocal("all.dat.part"));
  for (int thread = 0; thread < kThreads; ++thread) {
    for (int file = 0; file < kFiles; ++file) {
      const std::string name = "t" + std::to_string(thread) + "/" + std::to_string(file);
      EXPECT_EQ(store().read("same/" + name), localFile(name)) << name;
      EXPECT_EQ(localFile("same/" + name), localFile(name)) << name;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Stores, TransferContract, testing::ValuesIn(zephor_test::allTransferStores()),
                         [](const testing::TestParamInfo<TransferStoreKind>& kind) { return kind.param.name; });

}  // namespace
