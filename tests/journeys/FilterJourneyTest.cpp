// Which rule keeps a file here, as the program tells it.
#include <gtest/gtest.h>

#include <iterator>
#include <nlohmann/json.hpp>
#include <sstream>
#include <tuple>

#include "tests/journeys/Program.h"

namespace zephor_test {
namespace {

TEST(FilterJourney, EachPathIsToldWithTheRuleThatDecides) {
  Office office;
  office.found({"anna"});
  const std::string project = office.project("anna").string();
  const std::string own = project + "/WGO_SyncFilter.xml";
  std::filesystem::remove(own);  // opening the project has made it
  office.must("anna", {"filter", "show"});
  EXPECT_FALSE(std::filesystem::exists(own));
  office.writeFile(std::filesystem::relative(own, office.path("")).string(),
                   "<file include = \"keep.*\" activated = \"1\">\n<directory exclude = \"/\" activated = \"1\">\n");
  std::filesystem::create_directory_symlink(office.path(""), project + "/link");
  using Case = std::tuple<std::string, bool, std::string, std::string>;
  for (const auto& [arguments, travels, decidedOn, origin] :
       {Case{"Sub\\notes.txt", true, "notes.txt", ""}, Case{project + "/sub/x.BAK", false, "x.BAK", "base rules"},
        Case{"./keep/../keep.bak", true, "keep.bak", own},
        Case{"bim/keep.txt --directory", false, "bim", "resource files"}, Case{"bim/keep.txt", true, "keep.txt", own},
        Case{"Old/", false, "Old", "set aside"}, Case{".git/config", false, ".git", ""},
        Case{"link/notes.txt", false, "link", ""}, Case{"a*/notes.txt", false, "a*", ""},
        Case{"sub/x.tmp", false, "x.tmp", ""}, Case{"a*.txt", false, "a*.txt", ""},
        Case{"tb000001.zdw", true, "tb000001.zdw", ""},
        Case{"tb000001.zdw --directory", false, "tb000001.zdw", "drawings and plans"},
        Case{"notes.txt --sync", false, "notes.txt", own}}) {
    std::istringstream words("--json filter test " + arguments);
    const auto told = nlohmann::json::parse(
        office.must("anna", {std::istream_iterator<std::string>(words), std::istream_iterator<std::string>()}));
    EXPECT_EQ(told["travels"], travels) << told;
    EXPECT_EQ(told["decided_on"], decidedOn) << told;
    EXPECT_EQ(told.value("origin", ""), origin) << told;
  }
  EXPECT_EQ(office.run("anna", {"filter", "test", "../x"}).exitCode, 2);
}

}  // namespace
}  // namespace zephor_test
