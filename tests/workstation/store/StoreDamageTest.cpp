// Stores that are none, that are newer, damaged or full.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>
#include <fstream>

#include "platform/Text.h"
#include "tests/workstation/Fixtures.h"
#include "tests/workstation/store/StoreWorld.h"
#include "workstation/store/JournalMode.h"

namespace zephor_test {
namespace {

using namespace workstation;  // NOLINT(google-build-using-namespace): the room under test

std::string refusal(const std::string& directory, CloudStatus& status) {
  std::wstring error;
  EXPECT_EQ(CloudStore::open(directory, status, error), nullptr);
  return platform::toUtf8(error);
}

void sql(const std::string& directory, const char* statements) {
  sqlite3* database = nullptr;
  ASSERT_EQ(sqlite3_open((directory + "/store.db").c_str(), &database), SQLITE_OK);
  EXPECT_EQ(sqlite3_exec(database, statements, nullptr, nullptr, nullptr), SQLITE_OK);
  sqlite3_close(database);
}

TEST(StoreOpening, NewerStoreIsRefusedAndLeftAsItIs) {
  const StoreWorld world;
  sql(world.storePath, "PRAGMA user_version=7; PRAGMA wal_checkpoint(TRUNCATE)");
  const std::string before = contentOf(world.storePath + "/store.db");
  CloudStatus status = 0;
  const std::string text = refusal(world.storePath, status);
  EXPECT_EQ(status, kStoreNewerVersion);
  EXPECT_THAT(text, ::testing::AllOf(::testing::HasSubstr(world.storePath), ::testing::HasSubstr("version 7"),
                                     ::testing::HasSubstr("up to 2")));
  EXPECT_EQ(contentOf(world.storePath + "/store.db"), before);
}

TEST(StoreOpening, InterruptedCreationIsTakenUp) {
  const TemporaryDirectory directory;
  std::filesystem::create_directories(directory.path("store/bodies"));
  std::ofstream(directory.path("store/store.db")).flush();
  std::wstring error;
  EXPECT_EQ(CloudStore::create(directory.path("store"), error), 0) << platform::toUtf8(error);
  CloudStatus status = 0;
  EXPECT_NE(CloudStore::open(directory.path("store"), status, error), nullptr);
}

TEST(StoreDamage, DamagedBodyIsRefusedUntilItsContentComesAgain) {
  const StoreWorld world;
  const auto store = world.open();
  ASSERT_EQ(world.put(*store, world.editor, L"a.txt", "content"), 0);
  StoredFile file;
  ASSERT_EQ(store->findFile(world.viewer, world.project, L"a.txt", file), 0);
  const std::string body = world.storePath + "/bodies/" + file.sha256.substr(0, 2) + "/" + file.sha256;
  std::ofstream(body) << "cOntent";
  EXPECT_EQ(world.get(*store, world.viewer, L"a.txt"), "<13>");
  EXPECT_FALSE(std::filesystem::exists(world.directory.path("got")));
  EXPECT_THAT(platform::toUtf8(CloudStore::lastText()), ::testing::HasSubstr(body));
  for (const char* damage : {"cut", "of 7 b."}) {
    std::ofstream(body) << damage;
    EXPECT_EQ(world.put(*store, world.editor, L"b.txt", "content"), 0);
    EXPECT_EQ(world.get(*store, world.viewer, L"a.txt"), "content") << damage;
  }
  std::filesystem::remove(body);
  EXPECT_EQ(world.get(*store, world.viewer, L"a.txt"), "<13>");
}

TEST(StoreJournal, StoreThatLeavesItKeepsItsRecordsAndTheRollbackJournal) {
  const StoreWorld world;
  ASSERT_EQ(world.put(*world.open(), world.editor, L"a.txt", "before"), 0);
  leaveWriteAhead(world.storePath);
  leaveWriteAhead(world.storePath);
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(contentOf(world.storePath + "/store.db")[18], 1);
    EXPECT_EQ(world.get(*world.open(), world.viewer, L"a.txt"), "before");
    EXPECT_EQ(world.put(*world.open(), world.editor, L"b.txt", "after"), 0);
  }
  EXPECT_FALSE(std::filesystem::exists(world.storePath + "/store.db-wal"));
}

TEST(StoreDamage, WhatAClockDatedAheadIsForgotten) {
  const StoreWorld world;
  const auto store = world.open();
  const auto isInUse = [&] {
    bool inUse = false;
    EXPECT_EQ(store->isProjectInUse(world.editor, world.project, "asking", true, inUse), 0);
    return inUse;
  };
  for (const char* ahead : {"36000000000", "36000000000000"}) {
    EXPECT_EQ(store->beat(world.owner, "crashed", world.project, ""), 0);
    sql(world.storePath, (std::string("UPDATE sessions SET heartbeat=heartbeat+") + ahead).c_str());
    EXPECT_EQ(store->setSetting("session_timeout_seconds", -1), 0);
    EXPECT_TRUE(isInUse());
    SweepResult swept;
    EXPECT_EQ(store->sweep(swept), 0);
    EXPECT_EQ(isInUse(), std::string(ahead) == "36000000000") << "an hour may be another workstation's clock";
    EXPECT_EQ(store->beat(world.owner, "next", L"", ""), 0);
    EXPECT_FALSE(isInUse()) << "this workstation's own clock tells";
  }
}

TEST(StoreDamage, FullDiskLeavesTheStoreAsItWas) {
  const StoreWorld world;
  const auto store = world.open();
  ASSERT_EQ(world.put(*store, world.editor, L"a.txt", "before"), 0);
  std::vector<FilePut> files(2);
  files[0].name = L"a.txt";
  files[0].path = world.local("small", "after");
  files[1].name = L"b.txt";
  files[1].path = world.local("big", std::string(4'000'000, 'b'));
  std::vector<CloudStatus> statuses;
  {
    const FileSizeLimit inTheBody(3'000'000);
    EXPECT_EQ(store->putFiles(world.editor, world.project, files, statuses), kStoreDiskFull);
    EXPECT_THAT(statuses, ::testing::ElementsAre(kStoreDiskFull, kStoreDiskFull));
  }
  files.pop_back();
  {
    const FileSizeLimit inTheDatabase(10);
    EXPECT_EQ(store->putFiles(world.editor, world.project, files, statuses), statusOfError(ERROR_WRITE_FAULT))
        << "the database knows one cause of a full disk by its name, and this limit is none";
  }
  EXPECT_EQ(world.get(*store, world.viewer, L"a.txt"), "before");
  EXPECT_EQ(world.get(*store, world.viewer, L"b.txt"), "<2>");
  const auto incoming = std::filesystem::directory_iterator(world.storePath + "/incoming");
  EXPECT_EQ(std::distance(incoming, {}), 1) << "the lock alone";
  EXPECT_EQ(store->putFiles(world.editor, world.project, files, statuses), 0);
  EXPECT_EQ(world.get(*store, world.viewer, L"a.txt"), "after");
}

TEST(StoreDamage, SourceThatKeepsChangingIsNotTaken) {
  const StoreWorld world;
  const auto store = world.open();
  FilePut file;
  file.name = L"a.txt";
  file.path = L"Z:\\proc\\self\\status";  // never as long as it says
  std::vector<CloudStatus> statuses;
  EXPECT_EQ(store->putFiles(world.editor, world.project, {file}, statuses), kStoreInUse);
  EXPECT_EQ(world.get(*store, world.viewer, L"a.txt"), "<2>");
}

}  // namespace
}  // namespace zephor_test
