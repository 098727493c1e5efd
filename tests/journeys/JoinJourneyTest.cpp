// Joining a project on a new workstation: everything comes, an interruption costs nothing, nothing here is lost.
#include <gmock/gmock.h>
#include <sqlite3.h>

#include <cstdlib>
#include <fstream>

#include "tests/journeys/Program.h"

namespace zephor_test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

/// A project of anna's with files and objects in all its corners, and ben's workstation that never had it.
void foundWithContent(Office& office, int files) {
  office.found({"anna"});
  office.must("ben", {"init", "--store", office.store().string(), "--name", "ben", "--email", "ben@example.org"});
  office.must("anna", {"team", "add", "Office", "ben@example.org"});
  office.must("anna", {"project", "add", "ben@example.org"});
  const fs::path project = office.project("anna");
  for (const char* directory : {"design/deep", "BIM/rooms"}) fs::create_directories(project / directory);
  std::ofstream(project / "BIM" / "rooms" / "plan.xml") << "<room/>";
  for (int i = 0; i < files; ++i) {
    std::ofstream(project / "design" / "deep" / ("part" + std::to_string(i) + ".txt"))
        << std::string(static_cast<std::size_t>(i) * 100, 'x') << i;
  }
  const std::string drawing = office.writeFile("drawing.dxf", "drawing").string();
  office.must("anna", {"import", drawing});
  office.must("anna", {"import", drawing, "--as", "pb"});
  office.must("anna", {"import", drawing, "--as", "ze", "--number", "7"});
  office.must("anna", {"lock", "tb1", "pb1", "ze7"});
  office.must("anna", {"save", "tb1", "pb1", "ze7"});
  office.must("anna", {"push", "--quiet"});
}

/// What ben's program remembers to have been in step.
std::int64_t recordedCount(const Office& office) {
  const std::string uuid = office.project("ben").stem().string();
  fs::path record;
  for (const auto& entry : fs::recursive_directory_iterator(office.path("ben"))) {
    if (entry.path().filename() == uuid + ".db3") record = entry.path();
  }
  sqlite3* database = nullptr;
  sqlite3_stmt* row = nullptr;
  std::int64_t count = -1;
  if (sqlite3_open(record.c_str(), &database) == SQLITE_OK &&
      sqlite3_prepare_v2(database, "SELECT count(*) FROM sync_points", -1, &row, nullptr) == SQLITE_OK &&
      sqlite3_step(row) == SQLITE_ROW) {
    count = sqlite3_column_int64(row, 0);
  }
  sqlite3_finalize(row);
  sqlite3_close(database);
  return count;
}

/// Without what a killed run has left beside the places of its files.
std::map<std::string, std::string> workOf(const fs::path& directory) {
  auto tree = treeOf(directory);
  std::erase_if(tree, [](const auto& file) { return file.first.ends_with(".tmp"); });
  return tree;
}

void expectJoined(const Office& office) {
  for (const char* directory : {"design", "BIM"}) {
    EXPECT_TRUE(workOf(office.project("ben") / directory) == workOf(office.project("anna") / directory)) << directory;
  }
  const std::string status = office.must("ben", {"status", "--json"});
  EXPECT_EQ(std::count(status.begin(), status.end(), '\n'), 3);
  EXPECT_THAT(status, Not(HasSubstr("changed")));
  EXPECT_THAT(status, Not(HasSubstr("only")));
  EXPECT_THAT(office.must("ben", {"cache", "info"}), HasSubstr(", complete"));
}

TEST(Join, BringsEverythingOnceAndRemembersIt) {
  Office office;
  foundWithContent(office, 20);
  EXPECT_THAT(office.must("ben", {"--dry-run", "open", "Library"}), HasSubstr("would open"));
  EXPECT_THAT(office.must("ben", {"open", "Library"}), HasSubstr(" files, "));
  expectJoined(office);
  EXPECT_GE(recordedCount(office), 24);
  EXPECT_THAT(office.must("ben", {"open", "Library"}), Not(HasSubstr(" files, ")));
}

TEST(Join, KilledAtAnyPointItEndsWholeWhenItIsRunAgain) {
  Office office;
  foundWithContent(office, 300);
  const std::string open = "timeout -s KILL %s " ZEPHOR_PROGRAM " -q --workstation '" + office.path("ben").string() +
                           "' open Library >/dev/null 2>&1";
  for (int milliseconds = 10; milliseconds < 200; milliseconds += 15) {
    std::string command = open;
    command.replace(command.find("%s"), 2, "0." + std::to_string(1000 + milliseconds).substr(1));
    if (std::system(command.c_str()) == 0) break;  // NOLINT(cert-env33-c,concurrency-mt-unsafe)
  }
  office.must("ben", {"open", "Library"});
  expectJoined(office);
  EXPECT_GE(recordedCount(office), 304);
}

TEST(Join, WorkInACacheThatNeverHadEverythingIsKept) {
  Office office;
  foundWithContent(office, 3);
  office.must("ben", {"open", "--no-load", "Library"});
  const fs::path project = office.project("ben");
  fs::create_directories(project / "BIM" / "rooms");
  std::ofstream(project / "BIM" / "rooms" / "plan.xml") << "ben's";
  const ProgramRun run = office.run("ben", {"open", "Library"});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.out + run.err, HasSubstr("zephor sync"));
  EXPECT_EQ(contentOf(project / "BIM" / "rooms" / "plan.xml"), "ben's");
  EXPECT_TRUE(fs::exists(project / "design" / "deep" / "part1.txt")) << "what nobody worked on comes all the same";
}

}  // namespace
}  // namespace zephor_test
