#include "workstation/watch/DirectoryWatcher.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>
#include <optional>
#include <random>
#include <set>
#include <thread>

#include "platform/Text.h"
#include "tests/support/TemporaryDirectory.h"

namespace workstation {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsSupersetOf;
using ::testing::Not;

/// Polling, or told by the system.
class DirectoryWatcherTest : public ::testing::TestWithParam<bool> {
 protected:
  DirectoryWatcherTest() { fs::create_directories(root_ + "/dir"); }

  void watch() {
    const auto receive = [this](const WatchNotice& notice) {
      std::unique_lock lock(mutex_);
      changed_.wait(lock, [this] { return !isBlocked_; });
      const std::wstring below = notice.path.substr(directory_.libraryPath().size() + 6);
      std::string name = platform::toUtf8(below);
      std::replace(name.begin(), name.end(), '\\', '/');
      told_.push_back(std::string(1, " +-~<>"[notice.action]) + name);
      if (notice.action == kWatchModified) contents_.push_back(zephor_test::contentOf(root_ + "/" + name));
      changed_.notify_all();
    };
    const auto warn = [this](const std::wstring& text) {
      const std::lock_guard lock(mutex_);
      warnings_ += platform::toUtf8(text) + "\n";
      changed_.notify_all();
    };
    watcher_.emplace(std::vector{directory_.libraryPath() + L"\\root"}, receive, warn, options_);
  }
  std::vector<std::string> end() {
    watcher_.reset();
    return told_;
  }
  template <class Condition>
  void waitUntil(Condition condition) {
    std::unique_lock lock(mutex_);
    ASSERT_TRUE(changed_.wait_for(lock, std::chrono::seconds(60), condition)) << ::testing::PrintToString(told_);
  }
  void waitFor(const std::string& notice) {
    waitUntil([&] { return std::find(told_.begin(), told_.end(), notice) != told_.end(); });
  }
  void waitForWarning(const std::string& part) {
    waitUntil([&] { return warnings_.find(part) != std::string::npos; });
  }
  void block(bool isBlocked) {
    const std::lock_guard lock(mutex_);
    isBlocked_ = isBlocked;
    changed_.notify_all();
  }
  void write(const std::string& name, const std::string& content) { std::ofstream(root_ + "/" + name) << content; }
  void rename(const std::string& from, const std::string& to) { fs::rename(root_ + "/" + from, root_ + "/" + to); }

  zephor_test::TemporaryDirectory directory_;
  const std::string root_ = directory_.path("root");
  WatchOptions options_{.poll = milliseconds(40)};
  std::mutex mutex_;
  std::condition_variable changed_;
  bool isBlocked_ = false;
  std::vector<std::string> told_;
  std::vector<std::string> contents_;
  std::string warnings_;
  std::optional<DirectoryWatcher> watcher_;
};

TEST_F(DirectoryWatcherTest, EachKindOfSavingIsOneModificationOfTheWholeFile) {
  for (const char* const name : {"beside", "emptied", "copied", "unnamed"}) write(name, "old");
  watch();
  write("tmp", "new");
  rename("tmp", "beside");
  {
    std::ofstream file(root_ + "/emptied");
    for (int i = 0; i < 5; ++i) {
      file << "part" << std::flush;
      std::this_thread::sleep_for(milliseconds(40));
    }
  }
  rename("copied", "copied.bak");
  write("copied", "new");
  fs::remove(root_ + "/copied.bak");
  fs::last_write_time(root_ + "/copied", fs::file_time_type::clock::now() - std::chrono::hours(1));
  // Its writer still has it open when it gets its name, and its close is told by nobody.
  const int unnamed = ::open(root_.c_str(), O_TMPFILE | O_WRONLY, 0600);
  ASSERT_EQ(::write(unnamed, "new", 3), 3);
  ASSERT_EQ(::linkat(AT_FDCWD, ("/proc/self/fd/" + std::to_string(unnamed)).c_str(), AT_FDCWD,
                     (root_ + "/linked").c_str(), AT_SYMLINK_FOLLOW),
            0);
  waitFor("+linked");
  ::close(unnamed);
  waitFor("~linked");
  const auto told = end();
  for (const char* const name : {"~beside", "~emptied", "~copied", "~linked"}) {
    EXPECT_EQ(std::count(told.begin(), told.end(), name), 1) << name << ::testing::PrintToString(told);
  }
  EXPECT_THAT(told, Not(Contains("-copied")));
  EXPECT_THAT(told, Not(Contains("~tmp")));
  EXPECT_THAT(contents_, ::testing::UnorderedElementsAre("new", "partpartpartpartpart", "new", "new"));
}

TEST_F(DirectoryWatcherTest, OnlyWhatChangesAFileIsTold) {
  write("known", "text");
  write("open", "text");
  watch();
  std::ofstream open(root_ + "/open", std::ios::app);
  open << "more" << std::flush;
  fs::rename(root_ + "/open", root_ + "/renamed");
  write("~0123456789abcdef.tmp", "a transfer's");
  write("back\\slash", "");
  ::symlink("known", (root_ + "/link").c_str());
  ::chmod((root_ + "/known").c_str(), 0600);
  waitForWarning("no other workstation can hold");
  waitFor(">renamed");
  write("last", "");
  waitFor("~last");
  std::ofstream(root_ + "/last", std::ios::app).flush();  // opened for writing, not written
  EXPECT_THAT(end(), ElementsAre("<open", ">renamed", "+last", "~last", "-open"));
}

TEST_P(DirectoryWatcherTest, AJourneyOfFilesAndDirectories) {
  options_.alwaysPoll = GetParam();
  write("dir/first", "1");
  write("dir.a", "sorts between the directory and its files");
  watch();
  EXPECT_EQ(watcher_->isPolling(), GetParam());
  write("new", "1");
  waitFor("~new");
  fs::create_directories(root_ + "/made/deep");
  write("made/deep/file", "1");
  waitFor("~made/deep/file");
  write("dir/first", "22");
  waitFor("~dir/first");
  rename("dir", "moved");
  waitFor("~moved/first");
  waitFor("-dir/first");
  write("moved/first", "333");
  waitUntil([&] { return std::count(contents_.begin(), contents_.end(), "333") == 1; });
  fs::rename(root_ + "/moved", directory_.path("outside"));
  waitFor("-moved/first");
  fs::rename(directory_.path("outside"), root_ + "/inside");
  waitFor("~inside/first");
  fs::remove_all(root_ + "/made");
  waitFor("-made/deep/file");
  const auto told = end();
  EXPECT_THAT(told, IsSupersetOf({"+new", "+made/deep/file", "+inside/first"}));
  EXPECT_THAT(told, Not(Contains("-new")));
  if (GetParam()) return;
  const auto from = std::find(told.begin(), told.end(), "<dir/first");
  ASSERT_NE(from, told.end());
  EXPECT_EQ(*(from + 1), ">moved/first");
}

TEST_P(DirectoryWatcherTest, ARootThatVanishesTakesNoFileAlong) {
  options_.alwaysPoll = GetParam();
  options_.goneFor = milliseconds(500);
  for (int i = 0; i < 50; ++i) write("dir/" + std::to_string(i), "1");
  watch();
  fs::remove_all(root_);
  waitForWarning("is gone");
  fs::create_directories(root_ + "/dir");
  write("dir/0", "again");
  waitFor("~dir/0");
  fs::rename(root_, directory_.path("elsewhere"));
  waitUntil([&] { return warnings_.rfind("is gone") > warnings_.find("is watched"); });
  fs::rename(directory_.path("elsewhere"), root_);
  waitUntil([&] { return warnings_.rfind("is watched") > warnings_.rfind("is gone"); });
  write("dir/1", "new");
  waitFor("~dir/1");
  const auto told = end();
  EXPECT_EQ(std::count(told.begin(), told.end(), "~dir/0"), 1);
  for (const std::string& notice : told) EXPECT_NE(notice.front(), '-') << notice;
}

TEST_P(DirectoryWatcherTest, ADirectoryThatCannotBeReadLosesNoFile) {
  if (::geteuid() == 0) GTEST_SKIP() << "the superuser reads everything";
  options_.alwaysPoll = GetParam();
  write("dir/file", "1");
  watch();
  ::chmod((root_ + "/dir").c_str(), 0);
  write("other", "1");
  if (GetParam()) waitForWarning("can't be read");
  waitFor("~other");
  ::chmod((root_ + "/dir").c_str(), 0700);
  write("dir/file", "22");
  waitFor("~dir/file");
  EXPECT_THAT(end(), Not(Contains("-dir/file")));
}

/// Whoever takes over each modified file and drops each removed one has what there is in the end.
TEST_P(DirectoryWatcherTest, AMirrorOfTheNoticesHasAllFiles) {
  options_.alwaysPoll = GetParam();
  options_.goneFor = milliseconds(50);
  if (!GetParam()) options_.queueLimit = 16384;
  watch();
  std::mt19937 random(20);  // NOLINT(cert-msc51-cpp): the same in each run
  const auto pick = [&](const char* names) { return std::string(1, names[random() % 4]); };
  for (int i = 0; i < 3000; ++i) {
    std::error_code ignored;
    const std::string directory = root_ + "/" + pick("abcd") + (i % 3 != 0 ? "/" + pick("abcd") : "");
    const std::string other = root_ + "/" + pick("abcd") + (random() % 2 != 0 ? "/" + pick("abcd") : "");
    const std::string file = directory + "/" + pick("1234");
    const unsigned what = random() % 16;
    if (what < 8) {
      fs::create_directories(directory, ignored);
      std::ofstream(file) << i;
    } else if (what < 11) {
      fs::rename(file, other + "/" + pick("1234"), ignored);
    } else if (what < 13) {
      fs::rename(directory, other, ignored);
    } else if (what < 15) {
      fs::remove(file, ignored);
    } else {
      fs::remove_all(directory, ignored);
    }
    if (i % 50 == 0) std::this_thread::sleep_for(milliseconds(random() % 60));
  }
  write("last", "");
  waitFor("~last");
  const auto told = end();
  std::map<std::string, std::string> mirror;
  auto content = contents_.begin();
  for (const std::string& notice : told) {
    if (notice.front() == '~') mirror[notice.substr(1)] = *content++;
    if (notice.front() == '-') mirror.erase(notice.substr(1));
  }
  std::map<std::string, std::string> disk;
  for (const auto& entry : fs::recursive_directory_iterator(root_)) {
    const std::string path = entry.path().string();
    if (entry.is_regular_file()) disk[path.substr(root_.size() + 1)] = zephor_test::contentOf(path);
  }
  EXPECT_EQ(mirror, disk);
}

INSTANTIATE_TEST_SUITE_P(Ways, DirectoryWatcherTest, ::testing::Bool(),
                         [](const auto& way) { return way.param ? "Polling" : "Told"; });

TEST_F(DirectoryWatcherTest, ASlowReceiverAndLostEventsLoseNoFile) {
  for (const bool isLossy : {false, true}) {
    const std::string top = isLossy ? "lossy" : "kept";
    std::vector<std::string> directories;
    for (int i = 0; i < 200; ++i) {
      directories.push_back(top + "/" + std::to_string(i % 20) + (i < 100 ? "/d/e/f/" : "/g") + std::to_string(i));
      if (isLossy) fs::create_directories(root_ + "/" + directories.back());
    }
    if (isLossy) options_.queueLimit = 4096;
    watch();
    block(true);
    std::set<std::string> expected;
    for (const std::string& directory : directories) {
      fs::create_directories(root_ + "/" + directory);
      for (int i = 0; i < 10; ++i) {
        const std::string path = directory + "/" + std::to_string(i);
        expected.insert("~" + path);
        write(path, "content");
      }
    }
    rename(top + "/0", top + "/moved");
    block(false);
    waitFor("~" + top + "/moved/d/e/f/0/9");
    waitUntil([&] { return told_.size() > 4000; });
    const auto told = end();
    for (const std::string& notice : expected) {
      if (notice.starts_with("~" + top + "/0/")) continue;
      EXPECT_EQ(std::count(told.begin(), told.end(), notice), 1) << notice;
    }
    EXPECT_THAT(std::count(told.begin(), told.end(), "~" + top + "/moved/g180/3"), 1);
    told_.clear();
  }
  EXPECT_THAT(warnings_, HasSubstr("More events came than could be kept"));
}

TEST_F(DirectoryWatcherTest, WalksWhereTheLimitOfWatchesIsReached) {
  options_.watchLimit = 3;
  watch();
  EXPECT_FALSE(watcher_->isPolling());
  fs::create_directories(root_ + "/a/b/c/d");
  write("a/b/c/d/file", "1");
  waitFor("~a/b/c/d/file");
  EXPECT_TRUE(watcher_->isPolling());
  EXPECT_THAT(warnings_, HasSubstr("fs.inotify.max_user_watches"));
}

TEST_F(DirectoryWatcherTest, TheEndTellsWhatWaits) {
  options_.quiet = std::chrono::hours(1);
  write("gone", "1");
  watch();
  fs::remove(root_ + "/gone");
  write("file", "1");
  std::ofstream open(root_ + "/half");
  open << "1" << std::flush;
  waitFor("+file");
  EXPECT_THAT(end(), ::testing::UnorderedElementsAre("+file", "+half", "~file", "-gone"));
}

}  // namespace
}  // namespace workstation
