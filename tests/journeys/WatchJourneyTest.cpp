// `watch`: what one person saves is at the others' workstations a moment later, and nobody's work is lost on the way.
#include <gmock/gmock.h>
#include <signal.h>
#include <sqlite3.h>

#include <cstdlib>
#include <fstream>
#include <nlohmann/json.hpp>
#include <thread>

#include "tests/journeys/Program.h"

namespace zephor_test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

using Watching = std::unique_ptr<RunningProgram>;

void write(const std::filesystem::path& file, const std::string& content) {
  std::filesystem::create_directories(file.parent_path());
  std::ofstream(file, std::ios::binary) << content;
}

std::size_t countOf(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

Watching watch(const Office& office, const std::string& user, std::vector<std::string> options = {}) {
  options.insert(options.begin(), "watch");
  Watching running = office.start(user, options);
  running->waitFor("watching Library");
  return running;
}

bool waitUntilHere(RunningProgram& running, const std::filesystem::path& file, const std::string& content) {
  return running.waitUntil([&](const ProgramRun&) { return contentOf(file) == content; });
}

ProgramRun stop(RunningProgram& running) {
  running.signal(SIGINT);
  return running.end();
}

std::int64_t changeCounter(const Office& office) {
  sqlite3* database = nullptr;
  sqlite3_stmt* row = nullptr;
  sqlite3_open_v2((office.store() / "store.db").c_str(), &database, SQLITE_OPEN_READWRITE, nullptr);
  sqlite3_prepare_v2(database, "SELECT sum(change_counter) FROM projects", -1, &row, nullptr);
  sqlite3_step(row);
  const std::int64_t counter = sqlite3_column_int64(row, 0);
  sqlite3_finalize(row);
  sqlite3_close(database);
  return counter;
}

TEST(Watch, WhatIsSavedIsAtTheOthersAMomentLaterAndIsSentOnce) {
  Office office;
  office.found({"anna", "ben"});
  const auto anna = office.project("anna");
  const auto ben = office.project("ben");
  write(anna / "before.zra", "saved while nobody watched");
  const Watching annas = watch(office, "anna", {"--json"});
  const Watching bens = watch(office, "ben");
  EXPECT_TRUE(waitUntilHere(*bens, ben / "before.zra", "saved while nobody watched"));

  write(anna / "plain.zra", "1");
  write(anna / "design" / "below" / "x.bin", std::string(300000, 'd'));
  write(anna / "beside.tmp", "written beside and renamed");
  std::filesystem::rename(anna / "beside.tmp", anna / "renamed.zrb");
  EXPECT_TRUE(waitUntilHere(*bens, ben / "plain.zra", "1"));
  EXPECT_TRUE(waitUntilHere(*bens, ben / "design" / "below" / "x.bin", std::string(300000, 'd')));
  EXPECT_TRUE(waitUntilHere(*bens, ben / "renamed.zrb", "written beside and renamed"));
  // The old one is set aside, written anew, and thrown away.
  std::filesystem::rename(anna / "plain.zra", anna / "plain.zra.bak");
  write(anna / "plain.zra", "second");
  std::filesystem::remove(anna / "plain.zra.bak");
  EXPECT_TRUE(waitUntilHere(*bens, ben / "plain.zra", "second"));
  write(ben / "plain.zra", "ben's turn");
  EXPECT_TRUE(waitUntilHere(*annas, anna / "plain.zra", "ben's turn"));

  write(anna / "notes.txt", "of no kind that is sent at once");
  EXPECT_TRUE(annas->waitFor(R"({"item":"notes.txt","outcome":"waits")"));
  std::filesystem::remove(anna / "renamed.zrb");
  EXPECT_TRUE(bens->waitFor("renamed.zrb: moved to the trash"));
  EXPECT_TRUE(annas->waitFor(R"("item":"renamed.zrb","outcome":"deleted there")"));

  const std::int64_t counter = changeCounter(office);
  std::this_thread::sleep_for(std::chrono::seconds(3));
  EXPECT_EQ(changeCounter(office), counter) << "what was fetched was sent back";
  const ProgramRun run = stop(*annas);
  EXPECT_EQ(run.exitCode, 3) << run.out << run.err;
  for (const char* const line :
       {R"({"item":"before.zra","outcome":"sent")", R"({"item":"renamed.zrb","outcome":"sent")",
        R"("item":"notes.txt","outcome":"waits")"}) {
    EXPECT_EQ(countOf(run.out, line), 1U) << line << "\n" << run.out;
  }
  EXPECT_EQ(countOf(run.out, R"({"item":"plain.zra","outcome":"sent")"), 2U) << run.out;
  EXPECT_THAT(run.out, Not(HasSubstr("failed")));
  EXPECT_FALSE(std::filesystem::exists(ben / "notes.txt"));
  const ProgramRun other = stop(*bens);
  EXPECT_EQ(other.exitCode, 0) << other.out << other.err;
  EXPECT_EQ(countOf(other.out, "plain.zra: sent"), 1U) << other.out;
  EXPECT_THAT(office.must("anna", {"background", "log"}), AllOf(HasSubstr("plain.zra"), HasSubstr("0x00000000")));
  EXPECT_EQ(office.must("ben", {"sync"}), "");
}

TEST(Watch, WhatAColleagueSavedMeanwhileIsKeptOnBothSides) {
  Office office;
  office.found({"anna", "ben"});
  const auto anna = office.project("anna");
  const auto ben = office.project("ben");
  write(anna / "both.zra", "1");
  office.must("anna", {"sync"});
  office.must("ben", {"sync"});
  const Watching annas = watch(office, "anna", {"--send-only"});
  write(ben / "both.zra", "ben's work");
  office.must("ben", {"push", "both.zra"});
  write(anna / "both.zra", "anna's work");
  EXPECT_TRUE(annas->waitFor("both.zra: kept"));
  EXPECT_EQ(stop(*annas).exitCode, 3);

  const Watching again = watch(office, "anna");
  EXPECT_TRUE(again->waitFor("both.zra: kept"));
  write(anna / "both.zra", "anna's further work");
  write(anna / "other.zra", "goes all the same");
  EXPECT_TRUE(again->waitFor("other.zra: sent"));
  const ProgramRun run = stop(*again);
  EXPECT_EQ(countOf(run.out, "both.zra"), 1U) << run.out;
  EXPECT_EQ(contentOf(anna / "both.zra"), "anna's further work");
  office.must("ben", {"sync"});
  EXPECT_EQ(contentOf(ben / "both.zra"), "ben's work");
}

TEST(Watch, ABurstArrivesWhole) {
  const char* const wanted = std::getenv("ZEPHOR_WATCH_BURST");
  const int count = wanted != nullptr ? std::atoi(wanted) : 200;
  Office office;
  office.found({"anna", "ben"});
  const auto anna = office.project("anna");
  const auto ben = office.project("ben");
  const Watching annas = watch(office, "anna");
  const Watching bens = watch(office, "ben");
  const auto name = [](int i) { return "design/" + std::to_string(i % 7) + "/" + std::to_string(i) + ".dat"; };
  for (int i = 0; i < count; ++i) write(anna / name(i), "content " + std::to_string(i));
  EXPECT_TRUE(annas->waitUntil(
      [&](const ProgramRun& run) { return countOf(run.out, ": sent") == static_cast<std::size_t>(count); }));
  for (int i = 0; i < count; ++i) {
    if (!waitUntilHere(*bens, ben / name(i), "content " + std::to_string(i))) break;
  }
  const ProgramRun run = stop(*annas);
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(countOf(run.out, ": sent"), static_cast<std::size_t>(count));
  EXPECT_THAT(run.out, AllOf(Not(HasSubstr("fetched")), Not(HasSubstr("kept")))) << "its own were taken for others'";
  EXPECT_EQ(stop(*bens).exitCode, 0);
}

TEST(Watch, AStoreThatIsAwayGetsEverythingWhenItIsBack) {
  Office office;
  office.found({"anna"});
  const auto anna = office.project("anna");
  const Watching annas = watch(office, "anna");
  const auto incoming = office.store() / "incoming";
  std::filesystem::rename(incoming, office.path("away"));
  office.writeFile("store/incoming", "in the way");
  write(anna / "a.zra", "saved without a store");
  EXPECT_TRUE(annas->waitFor("a.zra: failed"));
  std::filesystem::remove(incoming);
  std::filesystem::rename(office.path("away"), incoming);
  EXPECT_TRUE(annas->waitFor("a.zra: sent"));
  const ProgramRun run = stop(*annas);
  EXPECT_EQ(run.exitCode, 0) << run.out << run.err;
  EXPECT_EQ(countOf(run.out, "a.zra"), 2U) << run.out;
  const std::string failures = office.must("anna", {"background", "log", "--errors"});
  EXPECT_THAT(failures, HasSubstr("a.zra"));
  EXPECT_THAT(failures, Not(HasSubstr("0x00000000")));
  std::ofstream(anna / "OndrathBackgroundService.log.xml", std::ios::app) << "<Upload>";
  const ProgramRun damaged = office.run("anna", {"background", "log"});
  EXPECT_EQ(damaged.exitCode, 1);
  EXPECT_THAT(damaged.err, HasSubstr("OndrathBackgroundService.log.xml line "));
}

TEST(Watch, AnEmptiedDirectoryEmptiesNoStore) {
  Office office;
  office.found({"anna"});
  const auto anna = office.project("anna");
  for (int i = 0; i < 60; ++i) write(anna / "design" / std::to_string(i), std::to_string(i));
  office.must("anna", {"sync"});
  const Watching annas = watch(office, "anna");
  EXPECT_EQ(office.run("anna", {"watch"}).exitCode, 1) << "two watches of one project";
  const std::int64_t counter = changeCounter(office);
  std::filesystem::remove_all(anna / "design");
  EXPECT_TRUE(annas->waitFor("60 files: kept"));
  EXPECT_EQ(stop(*annas).exitCode, 3);
  const Watching again = watch(office, "anna");
  EXPECT_TRUE(again->waitFor("59: waits (it was removed here"));
  std::filesystem::remove_all(anna);
  const ProgramRun run = again->end();
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.err, HasSubstr("nothing was deleted in the store"));
  EXPECT_EQ(changeCounter(office), counter);
}

TEST(Watch, ASecondInterruptEndsAtOnceAndTheNextWatchTakesUpTheRest) {
  Office office;
  office.found({"anna", "ben"});
  const auto anna = office.project("anna");
  const Watching annas = watch(office, "anna");
  for (int i = 0; i < 100; ++i) write(anna / "design" / std::to_string(i), std::to_string(i));
  annas->signal(SIGINT);
  annas->signal(SIGTERM);
  EXPECT_EQ(annas->end().exitCode, 130);
  const Watching again = watch(office, "anna");
  const Watching bens = watch(office, "ben");
  for (int i = 0; i < 100; ++i) {
    if (!waitUntilHere(*bens, office.project("ben") / "design" / std::to_string(i), std::to_string(i))) break;
  }
  EXPECT_EQ(stop(*again).exitCode, 0);
}

TEST(Watch, WhatIsOfOneSizeAndTimeOrNameIsStillTwoFiles) {
  Office office;
  office.found({"anna", "ben"});
  const auto anna = office.project("anna");
  const auto ben = office.project("ben");
  const auto time = std::filesystem::file_time_type::clock::now() - std::chrono::hours(1);
  write(ben / "same.zra", "ben's");
  write(anna / "same.zra", "anna'");
  for (const auto& place : {anna, ben}) std::filesystem::last_write_time(place / "same.zra", time);
  office.must("ben", {"sync"});
  for (const std::string option : {"--send-only", "--json"}) {
    const Watching annas = watch(office, "anna", {option});
    EXPECT_TRUE(annas->waitFor("kept")) << option;
    EXPECT_EQ(stop(*annas).exitCode, 3);
  }
  const Watching annas = watch(office, "anna");
  write(anna / "twin.zra", "one");
  EXPECT_TRUE(annas->waitFor("twin.zra: sent"));
  write(anna / "TWIN.zra", "two");
  write(anna / "aux.zra", "the name of a device");
  EXPECT_TRUE(annas->waitFor("TWIN.zra: kept"));
  EXPECT_TRUE(annas->waitFor("aux.zra: kept"));
  EXPECT_THAT(annas->soFar().out, Not(HasSubstr("failed")));
}

TEST(Watch, AStoreThatIsRestoredFromABackupEndsIt) {
  Office office;
  office.found({"anna"});
  const auto anna = office.project("anna");
  const Watching annas = watch(office, "anna");
  std::filesystem::copy(office.store(), office.path("backup"), std::filesystem::copy_options::recursive);
  write(anna / "a.zra", "sent to the one that is lost");
  EXPECT_TRUE(annas->waitFor("a.zra: sent"));
  std::filesystem::rename(office.store(), office.path("lost"));
  std::filesystem::rename(office.path("backup"), office.store());
  write(anna / "b.zra", "saved behind");
  const ProgramRun run = annas->end();
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.err, HasSubstr("another store"));
  EXPECT_THAT(run.out, Not(HasSubstr("b.zra: sent")));
  const Watching again = watch(office, "anna");
  EXPECT_TRUE(again->waitFor("b.zra: sent"));
  EXPECT_TRUE(again->waitFor("a.zra: kept"));
}

TEST(Watch, FourChangesInTheContainersCacheReachTheColleague) {
  Office office;
  office.found({"anna", "ben"});
  std::filesystem::create_directories(office.path("source"));
  office.writeFile("source/a.sty", "a1");
  office.must("anna", {"std", "create", "Styles", "--team", "Office", "--from", office.path("source").string()});
  std::map<std::string, std::filesystem::path> cache;
  for (const std::string user : {"anna", "ben"}) {
    office.must(user, {"std", "subscribe", "Styles"});
    const std::string out = office.must(user, {"--json", "std", "status", "Styles"});
    cache[user] = std::string(nlohmann::json::parse(out.substr(0, out.find('\n')))["directory"]);
  }
  const Watching annas = watch(office, "anna");
  const Watching bens = watch(office, "ben");
  const auto change = [&](const std::string& content) {
    for (const char* const name : {"a.sty", "sub/b.sty", "c.sty", "d.sty"}) write(cache["anna"] / name, content);
  };
  const auto arrives = [&](const std::string& content) {
    for (const char* const name : {"a.sty", "sub/b.sty", "c.sty", "d.sty"}) {
      EXPECT_TRUE(waitUntilHere(*bens, cache["ben"] / name, content)) << name;
    }
  };
  change("a2");
  arrives("a2");
  const auto incoming = office.store() / "incoming";
  std::filesystem::rename(incoming, office.path("away"));
  office.writeFile("store/incoming", "in the way");
  change("saved while nothing could be committed");
  std::this_thread::sleep_for(std::chrono::seconds(2));
  std::filesystem::remove(incoming);
  std::filesystem::rename(office.path("away"), incoming);
  arrives("saved while nothing could be committed");
  const ProgramRun run = stop(*annas);
  EXPECT_EQ(run.exitCode, 0) << run.out << run.err;
  EXPECT_EQ(countOf(run.out, ": committed"), 8U) << run.out;
  EXPECT_EQ(stop(*bens).exitCode, 0);
}

}  // namespace
}  // namespace zephor_test
