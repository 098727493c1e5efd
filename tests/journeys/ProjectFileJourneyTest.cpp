// `get` and `put`: files of the project by name, from one workstation to the other, and what stays.
#include <gmock/gmock.h>

#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>

#include "tests/journeys/Program.h"

namespace zephor_test {
namespace {

using testing::AllOf;
using testing::HasSubstr;

void write(const std::filesystem::path& file, const std::string& content) {
  std::filesystem::create_directories(file.parent_path());
  std::ofstream(file, std::ios::binary) << content;
}

bool hasBackup(const std::filesystem::path& directory, const std::string& content) {
  for (const auto& [name, kept] : treeOf(directory)) {
    if (name.find("Backup") != std::string::npos && kept == content) return true;
  }
  return false;
}

TEST(ProjectFiles, TravelByNamePatternAndDirectoryAndNobodysWorkIsLost) {
  Office office;
  office.found({"anna", "ben"});
  const auto anna = office.project("anna");
  const auto ben = office.project("ben");
  for (const char* const name : {"design/a.sty", "design/b.sty", "design/sub/c.sty", "notes.txt"}) {
    write(anna / name, name);
  }
  EXPECT_THAT(office.must("anna", {"-n", "put", "design/"}), HasSubstr("design\\sub\\c.sty: would be sent"));
  EXPECT_THAT(office.must("anna", {"put", "Design/*.STY", "notes.txt", "--jobs", "2"}),
              AllOf(HasSubstr("design\\a.sty: sent"), HasSubstr("design\\b.sty: sent"), HasSubstr("notes.txt: sent")));
  const ProgramRun put = office.run("anna", {"put", "-r", "design", "tb1", "none.txt"});
  EXPECT_EQ(put.exitCode, 3);
  EXPECT_THAT(put.out, AllOf(HasSubstr("design\\a.sty: up to date"), HasSubstr("design\\sub\\c.sty: sent"),
                             HasSubstr("tb1: refused (it is an object; zephor save"), HasSubstr("none.txt: refused")));

  write(ben / "design/b.sty", "ben's");
  const ProgramRun get = office.run("ben", {"--json", "get", "design/?.sty", "nothing*"});
  EXPECT_EQ(get.exitCode, 3);
  std::map<std::string, std::string> outcomes;
  std::istringstream lines(get.out);
  for (std::string line; std::getline(lines, line);) {
    const auto result = nlohmann::json::parse(line);
    outcomes[result["item"]] = result["outcome"];
  }
  EXPECT_EQ(outcomes, (std::map<std::string, std::string>{
                          {"design\\a.sty", "fetched"}, {"design\\b.sty", "kept"}, {"nothing*", "refused"}}));
  EXPECT_EQ(contentOf(ben / "design/a.sty") + contentOf(ben / "design/b.sty"), "design/a.styben's");
  EXPECT_EQ(office.must("ben", {"get", "design/a.sty"}), "design\\a.sty: up to date\n");
  EXPECT_THAT(office.must("ben", {"get", "--force", "design/b.sty"}), HasSubstr("design\\b.sty: fetched"));
  EXPECT_EQ(contentOf(ben / "design/b.sty"), "design/b.sty");
  EXPECT_TRUE(hasBackup(ben, "ben's"));

  // What came is in step by its dates; what is changed on it stays until it is forced.
  write(ben / "design/a.sty", "ben's work");
  EXPECT_EQ(office.run("ben", {"get", "design/"}).exitCode, 3);
  EXPECT_EQ(contentOf(ben / "design/a.sty"), "ben's work");
  office.must("ben", {"put", "design/a.sty"});
  write(anna / "design/a.sty", "anna's work");
  const ProgramRun kept = office.run("anna", {"put", "design/a.sty"});
  EXPECT_EQ(kept.exitCode, 1);
  EXPECT_THAT(kept.out, HasSubstr("design\\a.sty: kept"));
  office.must("anna", {"put", "--force", "design/a.sty"});
  EXPECT_TRUE(hasBackup(anna, "ben's work"));
  office.must("ben", {"get", "design/a.sty"});
  EXPECT_EQ(contentOf(ben / "design/a.sty"), "anna's work");
  write(ben / "design/a.sty", "once more");
  office.must("ben", {"get", "--force", "design/a.sty"});
  EXPECT_EQ(contentOf(ben / "design/a.sty"), "anna's work") << "also when its dates are in step";
  EXPECT_EQ(office.run("ben", {"put", "../x"}).exitCode, 2);
}

}  // namespace
}  // namespace zephor_test
