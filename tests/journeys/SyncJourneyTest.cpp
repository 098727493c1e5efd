// `sync`: two workstations of one project, brought in step in both directions.
#include <gmock/gmock.h>
#include <sqlite3.h>

#include <fstream>

#include "tests/journeys/Program.h"

namespace zephor_test {
namespace {

using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

void write(const std::filesystem::path& file, const std::string& content) {
  std::filesystem::create_directories(file.parent_path());
  std::ofstream(file, std::ios::binary) << content;
}

TEST(Sync, BringsBothSidesInStepAndThenHasNothingToDo) {
  Office office;
  office.found({"anna", "ben"});
  const auto anna = office.project("anna");
  const auto ben = office.project("ben");
  office.must("anna", {"import", office.writeFile("a.dxf", "first").string()});
  office.must("anna", {"lock", "tb1"});
  for (int i = 0; i < 12; ++i) write(anna / "notes" / (std::to_string(i) + ".txt"), std::to_string(i));
  // The first look makes what a workstation has for itself.
  office.must("anna", {"-n", "sync"});
  office.must("ben", {"-n", "sync"});
  const auto before = treeOf(anna);
  const auto beforeBen = treeOf(ben);
  EXPECT_THAT(office.must("anna", {"-n", "sync"}), AllOf(HasSubstr("tb1: would be sent"), HasSubstr("notes\\11.txt")));
  EXPECT_TRUE(treeOf(anna) == before);
  EXPECT_THAT(office.must("anna", {"sync"}), HasSubstr("tb1: sent (version 1)"));
  EXPECT_THAT(office.must("ben", {"-n", "sync"}), HasSubstr("tb1: would be fetched"));
  EXPECT_TRUE(treeOf(ben) == beforeBen);
  EXPECT_THAT(office.must("ben", {"sync"}),
              AllOf(HasSubstr("tb1: fetched (version 1)"), HasSubstr("notes\\11.txt: f")));
  EXPECT_EQ(contentOf(ben / "notes" / "11.txt"), "11");
  EXPECT_EQ(office.exported("ben", "tb1"), "first");
  office.must("ben", {"changes"});

  // Both at work at once, on different files.
  write(ben / "notes" / "0.txt", "ben's");
  std::filesystem::remove(ben / "notes" / "1.txt");
  write(anna / "notes" / "2.txt", "anna's");
  office.must("anna", {"import", office.writeFile("b.dxf", "second").string(), "--into", "tb1"});
  office.must("anna", {"remove", "notes\\3.txt"});
  office.must("anna", {"sync"});
  const ProgramRun run = office.run("ben", {"sync"});
  EXPECT_EQ(run.exitCode, 0) << run.out << run.err;
  EXPECT_THAT(run.out, AllOf(HasSubstr("notes\\0.txt: sent"), HasSubstr("notes\\1.txt: fetched"),
                             HasSubstr("notes\\2.txt: fetched"), HasSubstr("notes\\3.txt: moved to the trash"),
                             HasSubstr("tb1: fetched (version 2)")));
  EXPECT_THAT(run.err, HasSubstr("3 fetched, 1 sent, 1 to the trash"));
  EXPECT_FALSE(std::filesystem::exists(ben / "notes" / "3.txt"));
  bool isInTrash = false;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(office.path("ben-desktop"))) {
    isInTrash = isInTrash || entry.path().filename() == "3.txt";
  }
  EXPECT_TRUE(isInTrash);
  EXPECT_EQ(office.exported("ben", "tb1"), "second");
  EXPECT_EQ(office.must("ben", {"changes"}), "") << "what a sync moved is no change";
  office.must("anna", {"sync"});
  for (const char* const user : {"anna", "ben"}) {
    const ProgramRun idle = office.run(user, {"sync"});
    EXPECT_EQ(idle.out, "");
    EXPECT_THAT(idle.err, ContainsRegex("in step: [0-9]+ files"));
  }
}

TEST(Sync, KeepsEveryWorkThatOnlyOneSideHas) {
  Office office;
  office.found({"anna", "ben"});
  const auto anna = office.project("anna");
  const auto ben = office.project("ben");
  office.share("anna", "first");
  for (const char* const name : {"both.txt", "gone.txt", "plain.txt"}) write(anna / name, "1");
  office.must("anna", {"sync"});
  office.must("ben", {"sync"});

  write(anna / "both.txt", "anna's");
  office.must("anna", {"remove", "gone.txt"});
  office.must("anna", {"sync"});
  write(ben / "both.txt", "ben's own");
  write(ben / "gone.txt", "ben's own");
  write(ben / "plain.txt", "sent all the same");
  office.must("ben", {"import", office.writeFile("b.dxf", "unlocked").string(), "--into", "tb1"});
  const std::string unlocked = contentOf(ben / "tb000001.zdw");
  const ProgramRun run = office.run("ben", {"--json", "sync"});
  EXPECT_EQ(run.exitCode, 3);
  EXPECT_THAT(run.out,
              AllOf(HasSubstr(R"({"item":"both.txt","outcome":"kept","detail":"changed here and in the store)"),
                    HasSubstr(R"({"item":"gone.txt","outcome":"kept","detail":"changed here, and somebody)"),
                    HasSubstr(R"({"item":"tb1","outcome":"kept","detail":"locked by anna)"),
                    HasSubstr(R"({"item":"plain.txt","outcome":"sent","detail":""})")));
  EXPECT_EQ(contentOf(ben / "both.txt"), "ben's own");
  EXPECT_EQ(contentOf(ben / "gone.txt"), "ben's own");
  EXPECT_EQ(contentOf(ben / "tb000001.zdw"), unlocked);

  office.must("ben", {"fetch", "--force", "both.txt", "tb1"});
  office.must("ben", {"push", "gone.txt"});
  office.must("ben", {"sync"});
  EXPECT_EQ(contentOf(ben / "both.txt"), "anna's");
  office.must("anna", {"sync"});
  EXPECT_EQ(contentOf(anna / "gone.txt"), "ben's own");
}

TEST(Sync, AnOldCopyThatWasPutBackReplacesNothingNewer) {
  Office office;
  office.found({"anna", "ben"});
  const auto ben = office.project("ben");
  office.share("anna", "first");
  office.must("ben", {"sync"});
  const std::string old = contentOf(ben / "tb000001.zdw");
  office.must("anna", {"import", office.writeFile("a.dxf", "second").string(), "--into", "tb1"});
  office.must("anna", {"sync"});
  office.must("anna", {"unlock", "tb1"});
  office.must("ben", {"sync"});
  write(ben / "tb000001.zdw", old);
  office.must("ben", {"lock", "tb1"});
  EXPECT_EQ(office.run("ben", {"sync"}).exitCode, 3);
  EXPECT_EQ(contentOf(ben / "tb000001.zdw"), old);
  office.must("ben", {"save", "--force", "tb1"});
  office.must("anna", {"sync"});
  EXPECT_EQ(office.exported("anna", "tb1"), "first") << "who means it saves it as the newest";
}

TEST(Sync, APlaceThatNothingMayGoToKeepsOnlyItsOwnFilesBack) {
  Office office;
  office.found({"anna", "ben"});
  const auto ben = office.project("ben");
  office.must("ben", {"sync"});
  for (int i = 0; i < 12; ++i) write(office.project("anna") / "open" / (std::to_string(i) + ".txt"), "1");
  write(office.project("anna") / "shut" / "a.txt", "1");
  office.must("anna", {"sync"});
  std::filesystem::create_directories(office.path("elsewhere"));
  std::filesystem::create_directory_symlink(office.path("elsewhere"), ben / "shut");
  const ProgramRun run = office.run("ben", {"sync"});
  EXPECT_EQ(run.exitCode, 3);
  EXPECT_THAT(run.out,
              AllOf(HasSubstr("shut\\a.txt: kept (it could not be fetched"), HasSubstr("open\\11.txt: fetched")));
  EXPECT_TRUE(std::filesystem::is_empty(office.path("elsewhere")));
  std::filesystem::remove(ben / "shut");
  EXPECT_THAT(office.must("ben", {"sync"}), AllOf(HasSubstr("shut\\a.txt: fetched"), Not(HasSubstr("open"))));
}

TEST(Sync, WhoMayNotSendIsToldWhyForEachItemAndAskedNothing) {
  Office office;
  office.found({"anna", "ben"});
  write(office.project("anna") / "notes.txt", "1");
  office.must("anna", {"sync"});
  office.must("anna", {"project", "lock"});
  write(office.project("ben") / "own.txt", "1");
  ProgramRun run = office.run("ben", {"sync"});
  EXPECT_EQ(run.exitCode, 3);
  EXPECT_THAT(run.out, AllOf(HasSubstr("own.txt: kept (the project is locked by anna on"),
                             HasSubstr("notes.txt: fetched"), Not(HasSubstr(".cfg: kept"))));
  EXPECT_THAT(run.err, Not(HasSubstr("try again")));
  office.must("anna", {"project", "unlock"});
  office.must("anna", {"project", "add", "ben@example.org", "--role", "viewer"});
  run = office.run("ben", {"sync"});
  EXPECT_THAT(run.out, HasSubstr("own.txt: kept (you are a viewer in this project)"));
  EXPECT_THAT(run.err, Not(HasSubstr("try again")));
}

TEST(Sync, AnObjectThatOnlyLooksLikeTheStoresIsReadWhole) {
  Office office;
  office.found({"anna", "ben"});
  office.share("anna", "content");
  office.must("ben", {"sync"});
  const auto here = office.project("ben") / "tb000001.zdw";
  for (const char* packing : {"compress", "expand"}) {
    office.must("ben", {packing, "tb1"});
    EXPECT_THAT(office.must("ben", {"status", "tb1"}), HasSubstr("in step")) << packing;
  }
  std::filesystem::resize_file(here, std::filesystem::file_size(here) - 1);
  const ProgramRun run = office.run("ben", {"sync"});
  EXPECT_EQ(run.exitCode, 3);
  EXPECT_THAT(run.out, HasSubstr("tb1: kept (the file here is damaged"));
  office.must("ben", {"fetch", "--force", "tb1"});
  EXPECT_EQ(contentOf(here), contentOf(office.project("anna") / "tb000001.zdw"));
}

TEST(Sync, AnObjectWhoseStoredHeaderIsGoneIsToldAndHidesNoOther) {
  Office office;
  office.found({"anna", "ben"});
  office.share("anna", "first");
  office.must("anna", {"import", office.writeFile("b.dxf", "second").string()});
  office.must("anna", {"lock", "tb2"});
  office.must("anna", {"sync"});
  sqlite3* store = nullptr;
  ASSERT_EQ(sqlite3_open((office.store() / "store.db").c_str(), &store), SQLITE_OK);
  sqlite3_exec(store, "UPDATE files SET header = x'00' WHERE name = 'tb000001.zdw'", nullptr, nullptr, nullptr);
  sqlite3_close(store);
  office.run("ben", {"sync"});
  EXPECT_EQ(office.exported("ben", "tb1"), "first");
  EXPECT_EQ(office.exported("ben", "tb2"), "second");
  const ProgramRun run = office.run("ben", {"sync"});
  EXPECT_EQ(run.exitCode, 3);
  EXPECT_THAT(run.out, HasSubstr("tb1: kept (the same here and in the store, but"));
  office.must("anna", {"save", "tb1"});
  EXPECT_EQ(office.must("ben", {"sync"}), "");
}

TEST(Sync, OneRunCompletesACacheWithUnsentWorkAndForgetsWhatIsGone) {
  Office office;
  office.found({"anna", "ben"});
  const auto ben = office.project("ben");
  for (const char* const name : {"both.txt", "gone.txt"}) write(office.project("anna") / name, "1");
  office.must("anna", {"sync"});
  std::filesystem::remove_all(ben);
  office.must("ben", {"open", "Library", "--no-load"});
  write(ben / "both.txt", "ben's own");
  EXPECT_EQ(office.run("ben", {"sync"}).exitCode, 3);
  EXPECT_THAT(office.must("ben", {"--json", "open", "Library"}), HasSubstr("\"complete\":true"));
  EXPECT_EQ(contentOf(ben / "both.txt"), "ben's own");

  office.must("anna", {"remove", "gone.txt"});
  std::filesystem::remove(ben / "gone.txt");
  office.run("ben", {"sync"});
  write(ben / "gone.txt", "another one");
  EXPECT_THAT(office.run("ben", {"sync"}).out, HasSubstr("gone.txt: sent"));
}

}  // namespace
}  // namespace zephor_test
