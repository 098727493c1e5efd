// Damaged, foreign and missing things: a clear message with the name, the right code, and nothing changed.
#include <gmock/gmock.h>
#include <sqlite3.h>

#include "tests/journeys/Program.h"

namespace zephor_test {
namespace {

using testing::HasSubstr;

TEST(BadInput, DamagedOrForeignObjectFileIsNamedAndNeverSaved) {
  Office office;
  office.found({"anna", "ben"});
  office.share("anna", "good");
  const auto file = office.project("anna") / "tb000001.zdw";
  const std::string good = contentOf(file);
  for (const std::string& bad : {std::string(), std::string("AC1009 no object"), good.substr(0, good.size() / 2)}) {
    std::filesystem::remove(file);
    office.writeFile(std::filesystem::relative(file, office.path("")).string(), bad);
    const ProgramRun status = office.run("anna", {"status", "tb1"});
    EXPECT_EQ(status.exitCode, 3);
    EXPECT_THAT(status.out, HasSubstr("damaged here"));
    EXPECT_EQ(office.run("anna", {"save", "tb1"}).exitCode, 1);
    const ProgramRun exported = office.run("anna", {"export", "tb1", office.path("out").string()});
    EXPECT_EQ(exported.exitCode, 1);
    EXPECT_THAT(exported.err, HasSubstr("tb1: "));
    EXPECT_EQ(contentOf(file), bad) << "a damaged file is left for a person to look at";
  }
  office.must("ben", {"fetch", "tb1"});
  EXPECT_EQ(office.exported("ben", "tb1"), "good");
}

TEST(BadInput, MissingOrForeignOrNewerStoreIsToldWithItsPath) {
  Office office;
  office.found({"anna"});
  std::filesystem::rename(office.store(), office.path("elsewhere"));
  ProgramRun run = office.run("anna", {"status"});
  EXPECT_EQ(run.exitCode, 5);
  EXPECT_THAT(run.err, HasSubstr(office.store().string()));
  EXPECT_FALSE(std::filesystem::exists(office.store())) << "a missing store must not come into being by looking at it";

  std::filesystem::create_directory(office.store());
  run = office.run("anna", {"status"});
  EXPECT_EQ(run.exitCode, 5);
  EXPECT_THAT(run.err, HasSubstr(office.store().string()));

  std::filesystem::remove_all(office.store());
  std::filesystem::rename(office.path("elsewhere"), office.store());
  sqlite3* database = nullptr;
  ASSERT_EQ(sqlite3_open((office.store() / "store.db").c_str(), &database), SQLITE_OK);
  sqlite3_exec(database, "PRAGMA user_version = 999", nullptr, nullptr, nullptr);
  sqlite3_close(database);
  run = office.run("anna", {"status"});
  EXPECT_EQ(run.exitCode, 5);
  EXPECT_THAT(run.err, HasSubstr("999"));
}

TEST(BadInput, BrokenDescriptorIsToldWithItsNameAndKept) {
  Office office;
  office.found({"anna"});
  const auto descriptor = office.project("anna") / "Project1.Dat.xml";
  const std::string whole = contentOf(descriptor);
  for (const std::string& bad : {whole.substr(0, whole.size() / 2), std::string("not XML"), std::string()}) {
    office.writeFile(std::filesystem::relative(descriptor, office.path("")).string(), bad);
    const ProgramRun run = office.run("anna", {"status"});
    EXPECT_EQ(run.exitCode, 1) << bad;
    EXPECT_THAT(run.err, HasSubstr("Project1.Dat.xml"));
    EXPECT_EQ(contentOf(descriptor), bad);
  }
}

TEST(BadInput, ImpossibleNumbersAndMissingFilesChangeNothing) {
  Office office;
  office.found({"anna"});
  const std::string file = office.writeFile("a.dxf", "x").string();
  EXPECT_EQ(office.run("anna", {"import", file, "--number", "10000"}).exitCode, 1);
  EXPECT_EQ(office.run("anna", {"import", file, "--number", "-1"}).exitCode, 2);
  EXPECT_EQ(office.run("anna", {"import", office.path("none").string()}).exitCode, 1);
  EXPECT_EQ(office.run("anna", {"import", office.path("").string()}).exitCode, 1);
  EXPECT_EQ(office.run("anna", {"export", "tb1"}).exitCode, 1);
  EXPECT_EQ(office.must("anna", {"status"}), "");
  office.must("anna", {"import", file, "--number", "9999"});
  const ProgramRun again = office.run("anna", {"import", file, "--number", "9999"});
  EXPECT_EQ(again.exitCode, 1);
  EXPECT_THAT(again.err, HasSubstr("tb009999.zdw"));
}

}  // namespace
}  // namespace zephor_test
