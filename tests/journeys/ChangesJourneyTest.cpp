// `changes`: what happened in the project's directory, kept apart from looking at it.
#include <gmock/gmock.h>

#include <fstream>

#include "tests/journeys/Program.h"

namespace zephor_test {
namespace {

TEST(Changes, AreToldUntilTheyAreTakenOver) {
  Office office;
  office.found({"anna"});
  const std::filesystem::path project = office.project("anna");
  std::ofstream(project / "gone.txt") << "gone";
  office.must("anna", {"-n", "changes"});
  EXPECT_EQ(office.must("anna", {"changes"}) + office.must("anna", {"changes"}), "") << "first look, nothing since";
  std::filesystem::rename(project / "gone.txt", project / "neü.txt");
  for (const char* option : {"--dry-run", "--quiet"}) {
    EXPECT_THAT(office.must("anna", {"--json", option, "changes", "--accept"}),
                R"({"change":"deleted","file":"gone.txt","size":null,"size_before":4})"
                "\n"
                R"({"change":"created","file":"neü.txt","size":4,"size_before":null})"
                "\n");
  }
  EXPECT_EQ(office.must("anna", {"changes"}), "");
}

}  // namespace
}  // namespace zephor_test
