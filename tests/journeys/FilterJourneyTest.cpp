// Which rule keeps a file here, as the program tells it.
#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "tests/journeys/Program.h"

namespace zephor_test {
namespace {

TEST(FilterJourney, EachPathIsToldWithTheRuleThatDecides) {
  Office office;
  office.found({"anna"});
  const std::string project = office.project("anna").string();
  const std::string own = project + "/WGO_SyncFilter.xml";
  office.must("anna", {"filter", "show"});
  EXPECT_FALSE(std::filesystem::exists(own));
  office.writeFile(std::filesystem::relative(own, office.path("")).string(),
                   "<file include = \"keep.*\" activated = \"1\">\n<directory exclude = \"/\" activated = \"1\">\n");
  const struct {
    std::vector<std::string> arguments;
    bool travels;
    const char* decidedOn;
    std::string origin;
  } cases[] = {
      {{"Sub\\notes.txt"}, true, "notes.txt", ""},
      {{project + "/sub/x.BAK"}, false, "x.BAK", "base rules"},
      {{"./keep/../keep.bak"}, true, "keep.bak", own},
      {{"bim/keep.txt"}, false, "bim", "resource files"},
      {{"bim/keep.txt", "--all"}, true, "keep.txt", own},
      {{"Old/"}, false, "Old", "set aside"},
      {{".git/config"}, false, ".git", ""},
      {{"tb000001.zdw"}, false, "tb000001.zdw", "drawings and plans"},
      {{"notes.txt", "--sync"}, false, "notes.txt", own},
  };
  for (const auto& item : cases) {
    std::vector<std::string> words = {"--json", "filter", "test"};
    words.insert(words.end(), item.arguments.begin(), item.arguments.end());
    const auto told = nlohmann::json::parse(office.must("anna", words));
    EXPECT_EQ(told["travels"], item.travels) << told;
    EXPECT_EQ(told["decided_on"], item.decidedOn) << told;
    EXPECT_EQ(told.value("origin", ""), item.origin) << told;
  }
  for (const std::string path : {"../x", "/etc/passwd", "."}) {
    EXPECT_EQ(office.run("anna", {"filter", "test", path}).exitCode, 2) << path;
  }
}

}  // namespace
}  // namespace zephor_test
