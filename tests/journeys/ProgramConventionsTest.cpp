// What people expect of a command-line tool: streams, exit codes, dry runs, the order of flag, environment and file.
#include <gmock/gmock.h>

#include <cstdlib>
#include <nlohmann/json.hpp>
#include <sstream>

#include "tests/journeys/Program.h"

namespace zephor_test {
namespace {

using testing::HasSubstr;

/// The words of a command line, in which "@" stands before the names of the office's files.
std::vector<std::string> wordsOf(const Office& office, const std::string& command) {
  std::vector<std::string> words;
  std::istringstream text(command);
  for (std::string word; text >> word;) words.push_back(word[0] == '@' ? office.path(word.substr(1)).string() : word);
  return words;
}

TEST(ProgramConventions, WrongUseAnswersTwoAndSaysWhatWasExpected) {
  Office office;
  office.found({"anna"});
  const struct {
    std::vector<std::string> arguments;
    const char* said;
  } cases[] = {
      {{"no-such-command"}, "no-such-command"},
      {{"lock"}, "OBJECT"},
      {{"lock", "tb0"}, "tb0"},
      {{"lock", "tb1234567"}, "tb1234567"},
      {{"save", "../other/tb000001.zdw"}, "below the project's directory"},
      {{"save", "C:\\x"}, "below the project's directory"},
      {{"fetch"}, "--all"},
      {{"save", "tb10000"}, "tb10000"},
      {{"save", "Project1.Dat.xml"}, "not shared"},
      {{"fetch", "quorvelprojectdb.db3"}, "not shared"},
      {{"import", "x", "y", "--into", "tb1"}, "exactly one file"},
      {{"create", "zz", "Name"}, "expected tb, pb or ze"},
      {{"--yes", "--no", "status"}, "--no"},
  };
  for (const auto& item : cases) {
    const ProgramRun run = office.run("anna", item.arguments);
    EXPECT_EQ(run.exitCode, 2) << item.arguments.front() << run.out << run.err;
    EXPECT_THAT(run.err, HasSubstr(item.said));
    EXPECT_EQ(run.out, "");
  }
}

TEST(ProgramConventions, EveryResultIsOneJsonObjectALine) {
  Office office;
  office.found({"anna"});
  office.writeFile("\xC3\xA4\"quoted\".dxf", "x");
  std::filesystem::create_directory(office.path("share"));
  office.writeFile("share/x", "1");
  int count = 0;
  for (const std::string command :
       {"import @\xC3\xA4\"quoted\".dxf", "lock tb1", "save tb1", "status", "locks", "users", "project locks",
        "project in-use", "team list", "project list", "store info", "server add share --directory @share",
        "server list", "server ls share", "server get share x --to @here"}) {
    std::istringstream lines(office.must("anna", wordsOf(office, "--json " + command)));
    for (std::string line; std::getline(lines, line); ++count) EXPECT_TRUE(nlohmann::json::accept(line)) << line;
  }
  EXPECT_EQ(count, 14);
}

TEST(ProgramConventions, DryRunChangesNothing) {
  Office office;
  office.found({"anna", "ben"});
  office.share("anna", "x");
  office.must("anna", {"import", office.writeFile("a", "x").string(), "--into", "tb1"});
  const std::string before = office.must("anna", {"status", "--json"}) + office.must("anna", {"locks", "--json"});
  for (const std::string command :
       {"save tb1", "unlock tb1", "import @a @a", "import @a --into tb1", "remove tb1", "create pb Plan",
        "project create Other --team Office", "project remove ben@example.org"}) {
    office.must("anna", wordsOf(office, "-n " + command));
  }
  EXPECT_EQ(office.must("anna", {"status", "--json"}) + office.must("anna", {"locks", "--json"}), before);
  EXPECT_THAT(office.must("anna", {"project", "members"}), HasSubstr("ben@example.org"));
  EXPECT_THAT(office.must("anna", {"project", "list"}), Not(HasSubstr("Other")));
}

TEST(ProgramConventions, FlagBeatsTheEnvironment) {
  Office office;
  office.found({"anna"});
  ::setenv("ZEPHOR_PROJECT", "None", 1);
  EXPECT_EQ(office.run("anna", {"status"}).exitCode, 1);
  EXPECT_EQ(office.run("anna", {"--project", "Library", "status"}).exitCode, 0);
  ::setenv("ZEPHOR_STORE", "/nonexistent", 1);
  EXPECT_EQ(office.run("anna", {"--project", "Library", "status"}).exitCode, 5);
  EXPECT_EQ(office.run("anna", {"--project", "Library", "--store", office.store().string(), "status"}).exitCode, 0);
}

TEST(ProgramConventions, ClosedAndFullOutputsAreNoticed) {
  Office office;
  office.found({"anna"});
  const auto shell = [&](const std::string& redirection) {
    const std::string command =
        std::string(ZEPHOR_PROGRAM) + " -w " + office.path("anna").string() + " team list " + redirection;
    return WEXITSTATUS(std::system(command.c_str()));
  };
  EXPECT_EQ(shell(">/dev/full 2>/dev/null"), 1);
  EXPECT_EQ(shell(">&- 2>&- <&-"), 0);
  EXPECT_EQ(shell("| true"), 0);
}

TEST(ProgramConventions, SomeDoneAndSomeRefusedIsPartlyDone) {
  Office office;
  office.found({"anna"});
  office.must("anna", {"create", "tb", "One"});
  office.must("anna", {"lock", "tb1"});
  const ProgramRun run = office.run("anna", {"save", "tb1", "tb2"});
  EXPECT_EQ(run.exitCode, 3);
  EXPECT_THAT(run.out, HasSubstr("tb1: saved"));
  EXPECT_THAT(run.out, HasSubstr("tb2: refused"));
}

TEST(ProgramConventions, WhoIsNotKnownOrNoMemberGetsNothing) {
  Office office;
  office.found({"anna"});
  EXPECT_EQ(office.run("stranger", {"status"}).exitCode, 5);
  office.must("carl", {"init", "--store", office.store().string(), "--name", "Carl", "--email", "carl@example.org"});
  EXPECT_EQ(office.run("carl", {"open", "Library"}).exitCode, 1);
  EXPECT_EQ(office.must("carl", {"project", "list"}), "");
  EXPECT_EQ(office.run("carl", {"project", "create", "Mine", "--team", "Office"}).exitCode, 1);
}

}  // namespace
}  // namespace zephor_test
