// Many threads that change one store at once: transactions that they share, and the order of transfers of one file.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <functional>
#include <thread>

#include "platform/Paths.h"
#include "tests/workstation/store/StoreWorld.h"
#include "workstation/store/EmbeddedController.h"
#include "workstation/store/StoreContext.h"

namespace zephor_test {
namespace {

using namespace std::chrono_literals;

/// Somebody else who has the store's database open.
class Database {
 public:
  explicit Database(const StoreWorld& world) {
    EXPECT_EQ(sqlite3_open((world.storePath + "/store.db").c_str(), &database_), SQLITE_OK);
  }
  ~Database() { sqlite3_close(database_); }
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;
  void run(const char* sql) { EXPECT_EQ(sqlite3_exec(database_, sql, nullptr, nullptr, nullptr), SQLITE_OK) << sql; }

 private:
  sqlite3* database_ = nullptr;
};

TEST(CommitQueue, GroupsGoInWholeOrNotAtAllAndTakeNoOtherWithThem) {
  const StoreWorld world;
  const auto store = world.open();
  Database database(world);
  database.run(
      "CREATE TRIGGER refuse BEFORE INSERT ON file_metadata WHEN NEW.key='refuse' BEGIN SELECT RAISE(ABORT, ''); END;"
      "CREATE TRIGGER undo BEFORE INSERT ON file_metadata WHEN NEW.key='undo' BEGIN SELECT RAISE(ROLLBACK, ''); END");
  constexpr std::size_t kGroups = 100;
  for (const bool undoesAll : {false, true, false}) {
    const std::string content = undoesAll ? "second" : "other";
    std::vector<CloudStatus> answers(kGroups);
    std::vector<std::thread> threads;
    database.run("BEGIN IMMEDIATE");  // they gather meanwhile
    for (std::size_t i = 0; i < kGroups; ++i) {
      std::vector<workstation::FilePut> puts(2);
      for (std::size_t k = 0; k < puts.size(); ++k) {
        puts[k].name = std::to_wstring(i) + (k == 0 ? L"a" : L"b");
        puts[k].path = world.local(std::to_string(2 * i + k), content + std::to_string(i));
      }
      if (i % 7 == 3) puts[1].metadata = {{L"refuse", L""}};
      if (undoesAll && i == 50) puts[1].metadata = {{L"undo", L""}};
      threads.emplace_back([&world, &store, &answer = answers[i], puts] {
        std::vector<CloudStatus> statuses;
        answer = store->putFiles(world.editor, world.project, puts, statuses);
      });
    }
    std::this_thread::sleep_for(100ms);
    database.run("COMMIT");
    for (std::thread& thread : threads) thread.join();
    for (std::size_t i = 0; i < kGroups; ++i) {
      const bool isRefused = i % 7 == 3 || (undoesAll && i == 50);
      EXPECT_TRUE(answers[i] != 0 || !isRefused) << i;
      EXPECT_TRUE(answers[i] == 0 || isRefused || undoesAll) << i;
      for (const wchar_t* ending : {L"a", L"b"}) {
        const bool isThere =
            world.get(*store, world.viewer, std::to_wstring(i) + ending) == content + std::to_string(i);
        EXPECT_EQ(isThere, answers[i] == 0) << i << ", answered " << answers[i];
      }
    }
    database.run("DELETE FROM files");
  }
}

TEST(TransferTurn, WhatWasReadBeforeASaveNeverComesBehindWhatWasReadAfterIt) {
  const StoreWorld world;
  const auto store = world.open();
  const auto controller = workstation::makeEmbeddedController(world.storePath, world.editor);
  ASSERT_EQ(controller->Login(false, false), 0);
  ICloudProjectService& service = *controller->GetProjectService();
  const std::wstring base = platform::directoryOf(world.local("x", "old"));
  world.local("y", "");
  const auto upload = [&](const std::vector<std::wstring>& names, std::uint32_t steps) {
    std::vector<QuorvFileInfo> files(names.size());
    for (std::size_t i = 0; i < names.size(); ++i) files[i].name = names[i];
    CloudTransferOptions options;
    options.count = steps;
    std::vector<std::wstring> failed;
    EXPECT_EQ(service.UploadFilesAndMetadata(world.project, base, files, 0, options, failed), 0);
  };
  const std::function<void()> later[] = {[&] { upload({L"X"}, 0); },
                                         [&] { EXPECT_EQ(service.DeleteFile(world.project, L"/X"), 0); }};
  for (const auto& act : later) {
    std::thread second;
    workstation::setTransferProgress([&](std::uint32_t done, std::uint32_t, std::uint64_t, const std::wstring&) {
      if (done != 1) return;  // x was read, y not yet
      world.local("X", "new");
      world.local("x", "new");
      second = std::thread(act);
      std::this_thread::sleep_for(100ms);
    });
    upload({L"x", L"y"}, 2);
    second.join();
    workstation::setTransferProgress({});
    EXPECT_EQ(world.get(*store, world.viewer, L"x"), &act == later ? "new" : "<2>");
    world.local("x", "old");
  }
}

}  // namespace
}  // namespace zephor_test
