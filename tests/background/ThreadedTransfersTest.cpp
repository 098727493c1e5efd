#include "zephor/ThreadedTransfers.h"

#include <gtest/gtest.h>
#include <tbb/global_control.h>

#include <atomic>
#include <chrono>
#include <map>
#include <mutex>
#include <set>
#include <stdexcept>
#include <thread>

#include "ftp/FtpConnection.h"
#include "host/System.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "platform/Time.h"
#include "tests/support/TestWorkstation.h"
#include "zephor/Progress.h"

namespace {

using namespace Quorvel::FileAccess;

constexpr const wchar_t* kSetting = L"Settings\\WGOUseThreading";

zephor_test::TestWorkstationOptions withoutStore() {
  zephor_test::TestWorkstationOptions options;
  options.withStore = false;
  return options;
}

/// Keeps who transferred what, and who holds a connection.
class FakeTransfer final : public CZepFtpConnection {
 public:
  DWORD downloadFile(const wchar_t* name, const wchar_t* dir, const int* serverPathNr, const int* localPathNr,
                     int* number, int objectNumber, unsigned flags) override {
    EXPECT_EQ(*number, 0);
    return transfer(
        platform::formatWide(L"down %s %s %d %d %d %d", name, dir, *serverPathNr, *localPathNr, objectNumber, flags),
        name);
  }
  DWORD uploadFile(const wchar_t* name, const wchar_t* dir, const int* pathNr, bool silent) override {
    return transfer(platform::formatWide(L"up %s %s %d %d", name, dir, *pathNr, silent ? 1 : 0), name);
  }
  DWORD uploadFreeFile(const wchar_t* path, const wchar_t* dir, const int* pathNr, bool silent) override {
    return transfer(platform::formatWide(L"free %s %s %d %d", path, dir, *pathNr, silent ? 1 : 0), path);
  }
  void releaseThreadData() override {
    CZepFtpConnection::releaseThreadData();
    const std::lock_guard guard(mutex_);
    ++releases[std::this_thread::get_id()];
    connected.erase(std::this_thread::get_id());
  }

  std::map<std::wstring, DWORD> failures;  ///< by name
  std::set<std::wstring> throwing;         ///< names
  std::chrono::milliseconds duration{0};   ///< of each transfer
  std::set<std::wstring> calls;
  std::set<std::thread::id> threads;    ///< that transferred
  std::set<std::thread::id> connected;  ///< that have a connection
  std::map<std::thread::id, int> releases;
  std::size_t count = 0;
  std::size_t asking = 0;  ///< transfers that might have opened a dialog

 private:
  DWORD transfer(const std::wstring& call, const wchar_t* name) {
    std::this_thread::sleep_for(duration);
    const std::lock_guard guard(mutex_);
    ++count;
    calls.insert(call);
    threads.insert(std::this_thread::get_id());
    if (!getDialogsSuppressed()) ++asking;
    connected.insert(std::this_thread::get_id());
    if (throwing.contains(name)) throw std::runtime_error("broken");
    const auto failure = failures.find(name);
    return failure == failures.end() ? 0 : failure->second;
  }

  std::mutex mutex_;
};

class CountingProgress final : public IProgress {
 public:
  void setRange(std::uint64_t /*value*/) override {}
  void setPos(std::uint64_t value, bool force) override {
    EXPECT_FALSE(force);
    EXPECT_EQ(std::this_thread::get_id(), creator_);
    positions.push_back(value);
    if (throws) throw std::runtime_error("no display");
  }
  void setText(const std::wstring& /*text*/) override {}

  std::vector<std::uint64_t> positions;
  bool throws = false;

 private:
  std::thread::id creator_ = std::this_thread::get_id();
};

std::vector<InetFileInfo> filesNamed(std::size_t count) {
  std::vector<InetFileInfo> files;
  for (std::size_t i = 0; i < count; ++i) files.push_back({platform::formatWide(L"f%d", i), 0, 1048576});
  return files;
}

class ThreadedTransfers : public testing::Test {
 protected:
  ThreadedTransfers() { ZSYST_ZepRegPutNumber(L"HKCU", kSetting, 1); }

  DWORD download(std::size_t count) {
    return Threading::downloadList(fake, filesNamed(count), L"dir", eServerPrjPath, 7, true, &progress);
  }
  bool onlyThisThread() const { return fake.threads == std::set<std::thread::id>{std::this_thread::get_id()}; }
  /// Every thread that transferred has ended its connection, once, and this one has none to end.
  void expectEachReleasedOnce() const {
    EXPECT_TRUE(fake.connected.empty());
    EXPECT_FALSE(fake.threads.contains(std::this_thread::get_id()));
    EXPECT_EQ(fake.releases.size(), fake.threads.size());
    for (const auto& [thread, times] : fake.releases) EXPECT_EQ(times, 1);
  }

  zephor_test::TestWorkstation desk{withoutStore()};
  FakeTransfer fake;
  CountingProgress counter;
  IProgress* progress = &counter;
};

TEST_F(ThreadedTransfers, SixElementsAreTheFewestThatGoParallel) {
  EXPECT_EQ(download(0), 0U);
  EXPECT_EQ(fake.count, 0U);
  EXPECT_TRUE(counter.positions.empty());
  EXPECT_EQ(download(5), 0U);
  EXPECT_TRUE(onlyThisThread());
  EXPECT_TRUE(fake.releases.empty()) << "the caller keeps its connection";
  EXPECT_EQ(counter.positions, (std::vector<std::uint64_t>{1, 2, 3, 4, 5}));
  fake.threads.clear();
  fake.connected.clear();
  EXPECT_EQ(download(6), 0U);
  expectEachReleasedOnce();
  EXPECT_EQ(counter.positions.back(), 6U);
}

TEST_F(ThreadedTransfers, EachElementIsTransferredOnceWithWhatTheListWasGiven) {
  EXPECT_EQ(download(40), 0U);
  EXPECT_EQ(fake.count, 40U);
  EXPECT_TRUE(fake.calls.contains(L"down f39 dir 11 3 7 1"));
  std::vector<Threading::ServerFile> files;
  for (int i = 0; i < 12; ++i) files.push_back({platform::formatWide(L"d%d", i), {L"f", 0, 1}});
  fake.setDialogsSuppressed(true);
  fake.asking = 0;
  EXPECT_EQ(Threading::downloadList(fake, files, eServerPrjPath, 7, false, &progress), 0U);
  EXPECT_EQ(fake.calls.size(), 52U);
  EXPECT_TRUE(fake.calls.contains(L"down f d11 11 3 7 0"));
  EXPECT_EQ(fake.asking, 0U) << "the threads ask no more than the caller";
  fake.calls.clear();
  EXPECT_EQ(Threading::uploadList(fake, filesNamed(8), L"dir", ePrjPath, true, nullptr), 0U);
  EXPECT_TRUE(fake.calls.contains(L"up f7 dir 3 1"));
  const std::vector<FileSyncPair> pairs(9, {L"C:\\a\\b", {L"to"}});
  fake.count = 0;
  progress = nullptr;
  EXPECT_EQ(Threading::uploadList(fake, pairs, eStdPath, false, &progress), 0U);
  EXPECT_EQ(fake.count, 9U);
  EXPECT_TRUE(fake.calls.contains(L"free C:\\a\\b to 5 0"));
}

TEST_F(ThreadedTransfers, ConnectionsEndWithEveryOneOfManyLists) {
  const tbb::global_control more(tbb::global_control::max_allowed_parallelism, 4);
  for (int list = 0; list < 200; ++list) {
    ASSERT_EQ(download(12), 0U);
    ASSERT_TRUE(fake.connected.empty());
  }
  EXPECT_EQ(fake.count, 2400U);
}

TEST_F(ThreadedTransfers, FailuresStopNobodyAndOneOfThemIsTheAnswer) {
  for (const std::size_t count : {5U, 60U}) {
    fake.count = 0;
    fake.failures = {{L"f1", 29}, {L"f4", 53}};
    const DWORD answer = download(count);
    EXPECT_TRUE(answer == 29 || answer == 53) << answer;
    fake.failures.clear();
    fake.throwing = {L"f2"};
    EXPECT_NE(download(count), 0U) << "an exception is an error of its element";
    fake.throwing.clear();
    EXPECT_EQ(fake.count, 2 * count);
    EXPECT_EQ(download(count), 0U) << "the next list begins anew";
  }
}

TEST_F(ThreadedTransfers, AProgressThatThrowsLeavesNoThreadBehind) {
  counter.throws = true;
  fake.duration = std::chrono::milliseconds(10);
  EXPECT_THROW(download(40), std::runtime_error);
  EXPECT_EQ(fake.count, 40U);
  expectEachReleasedOnce();
}

TEST_F(ThreadedTransfers, TheNewerOfTwoFilesGoesOverTheOlder) {
  // Hours of the two files; 0 for one that is missing.
  const struct {
    int first, second;
    bool copied;
  } table[] = {{1, 2, true}, {2, 1, false}, {1, 1, false}, {0, 1, true}, {1, 0, false}, {0, 0, false}};
  const auto make = [&](const std::wstring& path, int hour, const std::string& text) {
    if (hour == 0) return;
    desk.writeFile(path, text);
    const HANDLE file = CreateFileW(path.c_str(), FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                    OPEN_EXISTING, 0, nullptr);
    const FILETIME time = platform::fromUnixTime(1700000000 + hour * 3600, 0);
    SetFileTime(file, nullptr, nullptr, &time);
    CloseHandle(file);
  };
  std::vector<FileSyncPair> pairs;
  for (const auto& row : table) {
    const std::wstring name = desk.path(L"sync") + std::to_wstring(pairs.size());
    make(name, row.first, "first");
    make(name + L".second", row.second, "second");
    pairs.push_back({name, {name + L".second"}});
  }
  EXPECT_EQ(Threading::syncServerList(pairs, &progress), 0U);
  EXPECT_EQ(counter.positions.back(), 6U);
  for (std::size_t i = 0; i < pairs.size(); ++i) {
    const std::string before = table[i].first != 0 ? "first" : "";
    EXPECT_EQ(desk.readFile(pairs[i].first), table[i].copied ? "second" : before) << i;
  }
  pairs[3].first = desk.path(L"no such directory") + L"\\file";
  EXPECT_EQ(Threading::syncServerList(pairs, nullptr), DWORD{ERROR_PATH_NOT_FOUND});
}

}  // namespace
