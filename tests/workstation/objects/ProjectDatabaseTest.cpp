#include "host/ProjectDatabase.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>
#include <thread>

#include "host/Headers.h"
#include "host/Project.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "tests/support/TestWorkstation.h"
#include "workstation/Session.h"
#include "workstation/objects/ProjectDatabaseFile.h"

namespace {

TeilbildHeader teilbild(int number, std::uint32_t version) {
  auto header = clearedHeader<TeilbildHeader>();
  header.number = number;
  header.versionCounter = version;
  return header;
}

class ProjectDatabaseTest : public testing::Test {
 protected:
  ProjectDatabaseTest() { workstation_.createTeamAndProject(L"House"); }

  std::wstring databasePath() const { return workstation_.projectPath(L"QuorvelProjectDB.db3"); }
  /// Works on the database as another process does: through a connection of its own.
  void asOther(const char* sql) const {
    sqlite3* other = nullptr;
    ASSERT_EQ(sqlite3_open(platform::systemPath(databasePath()).c_str(), &other), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(other, sql, nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(other);
    sqlite3_close(other);
  }

  zephor_test::TestWorkstation workstation_;
};

TEST_F(ProjectDatabaseTest, RowsComeBackAsTheyWereSet) {
  ZP_ProjectDBTeilbildSets sets(kgunit());
  TeilbildHeader header = teilbild(12, 5);
  header.opaque[858] = 7;
  EXPECT_EQ(sets.setTeilbildRecord(12, header), 1);
  EXPECT_EQ(sets.setTeilbildRecord(3, teilbild(4, 6)), 1) << "the header's own number does not matter";
  TeilbildHeader found{};
  EXPECT_EQ(sets.getTeilbildRecord(12, found), 1);
  EXPECT_TRUE(ZP_PrjDBTeilbildRecordData(found).isEqual(header));
  EXPECT_EQ(sets.getTeilbildRecord(13, found), 0);
  std::vector<TeilbildHeader> all;
  EXPECT_EQ(sets.getTeilbildRecords(all, true), 2);
  EXPECT_EQ(all[0].number, 3);
  for (const unsigned number : {0U, 10000U, 0xFFFFFFFFU}) EXPECT_EQ(sets.setTeilbildRecord(number, header), -1);
}

TEST_F(ProjectDatabaseTest, CacheIsInvalidAsSoonAsAnotherConnectionChangesARow) {
  ZP_ProjectDBTeilbildSets sets(kgunit());
  sets.setTeilbildRecord(1, teilbild(1, 5));
  TeilbildHeader found{};
  EXPECT_EQ(sets.getTeilbildRecordFromCache(1, found), 0) << "nothing was read yet";
  EXPECT_EQ(sets.getTeilbildRecord(1, found), 1);
  EXPECT_EQ(ZP_ProjectDBTeilbildSets(kgunit()).getTeilbildRecordFromCache(1, found), 1) << "shared by all sets";

  asOther("UPDATE teilbild SET header=(SELECT zeroblob(1576)) WHERE number=1");
  EXPECT_EQ(sets.getTeilbildRecordFromCache(1, found), 0);
  EXPECT_EQ(sets.getTeilbildRecord(1, found), 1);
  EXPECT_EQ(found.versionCounter, 0U);

  EXPECT_EQ(sets.setTeilbildRecord(1, teilbild(1, 8)), 1);
  EXPECT_EQ(sets.getTeilbildRecordFromCache(1, found), 0) << "an own change counts too";
  EXPECT_EQ(sets.getTeilbildRecordFromDataBase(1, found), 1);
  EXPECT_EQ(found.versionCounter, 8U);
}

TEST_F(ProjectDatabaseTest, ChangesAreAppliedAllOrNone) {
  ZP_ProjectDBTeilbildSets sets(kgunit());
  std::vector<ZP_PrjDBTeilbildRecordData> rows{ZP_PrjDBTeilbildRecordData(teilbild(50, 1)),
                                               ZP_PrjDBTeilbildRecordData(teilbild(10000, 1))};
  for (auto& row : rows) row.setState(kRowNew);
  EXPECT_EQ(sets.applyTeilbildRecordChanges(rows), -1);
  EXPECT_EQ(rows[0].state(), kRowNew) << "still to be done";
  TeilbildHeader found{};
  EXPECT_EQ(sets.getTeilbildRecord(50, found), 0);
}

TEST_F(ProjectDatabaseTest, NewerBrokenAndForeignDatabasesAreRefusedAndKept) {
  // Without statements the file holds no database at all.
  for (const auto& [sql, says] :
       {std::pair<const char*, const wchar_t*>{"PRAGMA user_version=2", L"schema version 2, expected 1"},
        {"CREATE TABLE things(a)", L"without a schema version"},
        {nullptr, L"not a database"}}) {
    SCOPED_TRACE(platform::toUtf8(says));
    workstation::closeProjectDatabases();
    for (const wchar_t* ending : {L"", L"-wal", L"-shm"})
      std::filesystem::remove(platform::systemPath(databasePath() + ending));
    if (sql != nullptr) {
      asOther(sql);
    } else {
      workstation_.writeFile(databasePath(), std::string(5000, 'b'));
    }
    const std::string before = workstation_.readFile(databasePath());
    ZP_ProjectDBTeilbildSets sets(kgunit());
    TeilbildHeader header = teilbild(1, 1);
    std::vector<TeilbildHeader> all;
    EXPECT_EQ(sets.getTeilbildRecord(1, header), -1);
    EXPECT_EQ(sets.getTeilbildRecords(all, true), -1);
    EXPECT_EQ(sets.setTeilbildRecord(1, header), -1);
    EXPECT_EQ(sets.getProjectInfo(), nullptr);
    EXPECT_EQ(workstation_.readFile(databasePath()), before);
    EXPECT_TRUE(workstation_.hasErrorLine(says));
    EXPECT_TRUE(workstation_.hasErrorLine(L"QuorvelProjectDB.db3"));
  }
}

TEST_F(ProjectDatabaseTest, DatabaseOfARemovedProjectIsNotRemembered) {
  TeilbildHeader found = teilbild(1, 1);
  ZP_ProjectDBTeilbildSets(kgunit()).setTeilbildRecord(1, found);
  for (const wchar_t* ending : {L"", L"-wal", L"-shm"})
    std::filesystem::remove(platform::systemPath(databasePath() + ending));
  EXPECT_EQ(ZP_ProjectDBTeilbildSets(kgunit()).getTeilbildRecord(1, found), 0);
}

TEST_F(ProjectDatabaseTest, SetsAreUsedFromManyThreads) {
  constexpr unsigned kThreads = 4;
  constexpr unsigned kRows = 20;
  {
    std::vector<std::jthread> threads;
    for (unsigned t = 0; t < kThreads; ++t) {
      threads.emplace_back([t] {
        ZP_ProjectDBTeilbildSets sets(kgunit());
        for (unsigned i = 0; i < kRows; ++i) {
          const unsigned number = 1 + t * kRows + i;
          EXPECT_EQ(sets.setTeilbildRecord(number, teilbild(static_cast<int>(number), i)), 1);
          TeilbildHeader found{};
          EXPECT_EQ(sets.getTeilbildRecord(number, found), 1);
        }
      });
    }
  }
  std::vector<TeilbildHeader> all;
  EXPECT_EQ(ZP_ProjectDBTeilbildSets(kgunit()).getTeilbildRecords(all, true), static_cast<int>(kThreads * kRows));
}

}  // namespace
