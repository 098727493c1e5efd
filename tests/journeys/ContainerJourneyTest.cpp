// `std`: resources that a team shares in a container, which one changes at a time.
#include <gmock/gmock.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <thread>

#include "tests/journeys/Program.h"

namespace zephor_test {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class Containers : public testing::Test {
 protected:
  /// Anna's container "Styles" with a.sty and sub/b.sty, at both workstations.
  void share() {
    office_.found({"anna", "ben"});
    fs::create_directories(office_.path("source/sub"));
    office_.writeFile("source/a.sty", "a1");
    office_.writeFile("source/sub/b.sty", "b1");
    EXPECT_THAT(office_.must(
                    "anna", {"std", "create", "Styles", "--team", "Office", "--from", office_.path("source").string()}),
                HasSubstr("2 files"));
    office_.must("anna", {"std", "subscribe", "Styles"});
    office_.must("ben", {"std", "subscribe", "Styles"});
  }
  ProgramRun run(const std::string& user, std::vector<std::string> words) const {
    words.insert(words.begin(), "std");
    return office_.run(user, words);
  }
  nlohmann::json status(const std::string& user, const std::string& container = "Styles") const {
    const std::string out = office_.must(user, {"--json", "std", "status", container});
    return nlohmann::json::parse(out.substr(0, out.find('\n')));
  }
  fs::path cache(const std::string& user, const std::string& container = "Styles") const {
    return fs::path(std::string(status(user, container)["directory"]));
  }
  /// Files of a user's cache, without what is the service's.
  std::map<std::string, std::string> files(const std::string& user) const {
    auto tree = treeOf(cache(user));
    std::erase_if(tree, [](const auto& entry) { return entry.first.starts_with(".cor"); });
    return tree;
  }
  static void write(const fs::path& file, const std::string& text) { std::ofstream(file) << text; }

  Office office_;
};

TEST_F(Containers, OneEditsAndTheOthersSeeAllOfACommitOrNothing) {
  share();
  int codes[2] = {-1, -1};
  {
    std::jthread first([&] { codes[0] = run("anna", {"edit"}).exitCode; });
    std::jthread second([&] { codes[1] = run("ben", {"edit"}).exitCode; });
  }
  ASSERT_EQ(codes[0] + codes[1], 4) << "one has it, the other is refused";
  const std::string editor = codes[0] == 0 ? "anna" : "ben";
  const std::string other = codes[0] == 0 ? "ben" : "anna";
  EXPECT_THAT(run(other, {"edit"}).out, HasSubstr(editor + " at "));
  const auto before = files(other);
  write(cache(editor) / "a.sty", "a2");
  write(cache(editor) / "new.sty", "n1");
  fs::remove(cache(editor) / "sub/b.sty");
  EXPECT_THAT(office_.must(editor, {"-n", "std", "commit"}), HasSubstr("new.sty: would be created"));
  office_.must(other, {"std", "subscribe"});
  EXPECT_EQ(files(other), before);
  EXPECT_EQ(run(other, {"unlock"}).exitCode, 4);
  EXPECT_THAT(office_.must(editor, {"std", "commit"}),
              AllOf(HasSubstr("a.sty: changed"), HasSubstr("new.sty: created"), HasSubstr("b.sty: deleted")));
  EXPECT_TRUE(status(other)["newerInStore"]);
  EXPECT_TRUE(status(other)["lockedBy"].is_null());
  office_.must(other, {"std", "subscribe"});
  EXPECT_EQ(files(other)["a.sty"] + files(other)["new.sty"], "a2n1");
  EXPECT_FALSE(fs::exists(cache(other) / "sub/b.sty"));
  office_.must(other, {"std", "edit", "styles"});
  EXPECT_THAT(office_.must(other, {"std", "commit"}), HasSubstr("nothing is changed here"));
  EXPECT_TRUE(status(editor)["lockedBy"].is_null());
}

TEST_F(Containers, ARollbackKeepsWhatItUndoes) {
  share();
  const auto before = files("anna");
  office_.must("anna", {"std", "edit"});
  write(cache("anna") / "a.sty", "mine");
  fs::remove(cache("anna") / "sub/b.sty");
  office_.must("anna", {"-n", "std", "rollback"});
  EXPECT_EQ(contentOf(cache("anna") / "a.sty"), "mine");
  const std::string told = office_.must("anna", {"std", "rollback"});
  EXPECT_EQ(files("anna"), before);
  const std::string mark = "your change is kept: ";
  ASSERT_THAT(told, HasSubstr(mark));
  const std::size_t begin = told.find(mark) + mark.size();
  EXPECT_EQ(contentOf(told.substr(begin, told.find('\n', begin) - begin)), "mine") << told;
  EXPECT_EQ(run("ben", {"edit"}).exitCode, 0);
}

TEST_F(Containers, NobodyLosesAChangeThatWasNotCommitted) {
  share();
  write(cache("ben") / "a.sty", "ben's");
  const ProgramRun refused = run("ben", {"unsubscribe"});
  EXPECT_EQ(refused.exitCode, 3);
  EXPECT_THAT(refused.out, HasSubstr("a.sty: changed here"));
  office_.must("anna", {"std", "edit"});
  write(cache("anna") / "a.sty", "anna's");
  EXPECT_EQ(run("ben", {"commit"}).exitCode, 4);
  office_.must("anna", {"std", "commit"});
  const ProgramRun conflict = run("ben", {"commit"});
  EXPECT_EQ(conflict.exitCode, 3) << conflict.out << conflict.err;
  EXPECT_EQ(contentOf(cache("ben") / "a.sty"), "ben's");
  office_.must("ben", {"std", "unsubscribe", "--force"});
  EXPECT_EQ(contentOf(cache("ben") / "a.sty"), "ben's");
  EXPECT_THAT(office_.must("ben", {"std", "edit", "Styles"}), HasSubstr("your change is kept: "));
  EXPECT_EQ(contentOf(cache("ben") / "a.sty"), "anna's");
  EXPECT_GE(status("ben")["keptCopies"], 1);
  EXPECT_EQ(run("anna", {"delete", "Styles"}).exitCode, 4);
  EXPECT_EQ(run("anna", {"unlock"}).exitCode, 4);
  office_.must("anna", {"std", "unlock", "--force"});
  EXPECT_EQ(run("ben", {"--yes", "delete", "Styles"}).exitCode, 1) << "an editor";
  EXPECT_EQ(run("anna", {"--no", "delete", "Styles"}).exitCode, 1);
  const fs::path directory = cache("anna");
  write(directory / "aux.sty", "left");
  EXPECT_THAT(run("anna", {"commit"}).out, HasSubstr("aux.sty\" has a name that not every workstation can hold"));
  EXPECT_THAT(office_.must("anna", {"--yes", "std", "delete", "Styles"}), HasSubstr("1 change here"));
  EXPECT_FALSE(fs::exists(directory));
  EXPECT_EQ(contentOf(office_.path("anna-desktop") / "Trash/files" / directory.filename() / "aux.sty"), "left");
  EXPECT_EQ(run("ben", {"edit", "Styles"}).exitCode, 1);
}

TEST_F(Containers, CopiesTakeAWorkstationsFolderOrAnotherContainer) {
  share();
  fs::create_symlink("/nowhere", office_.path("source/dead"));
  EXPECT_THAT(run("anna", {"create", "Odd", "--team", "Office", "--from", office_.path("source").string()}).err,
              HasSubstr("dead is no file"));
  const fs::path local = cache("anna").parent_path().parent_path() / "Std";
  write(local / "own.sty", "own");
  office_.must("anna", {"std", "copy", "local", "Own", "--team", "Office"});
  EXPECT_EQ(run("anna", {"copy", "local", "Own", "--team", "Office"}).exitCode, 1) << "the name is taken";
  office_.must("anna", {"std", "copy", "Styles", "Twin", "--team", "Office"});
  office_.must("ben", {"std", "subscribe", "Office/Own"});
  EXPECT_EQ(contentOf(cache("ben", "Own") / "own.sty"), "own");
  EXPECT_THAT(office_.must("ben", {"std", "list"}), AllOf(HasSubstr("Twin"), HasSubstr("Styles"), HasSubstr("Own")));
  office_.must("ben", {"std", "subscribe", "Twin"});
  EXPECT_THAT(office_.must("ben", {"std", "status"}), AllOf(HasSubstr("up to date"), Not(HasSubstr("change"))));
  office_.must("ben", {"std", "unsubscribe"});
  EXPECT_THAT(office_.must("ben", {"std", "status"}), HasSubstr("no container"));
}

}  // namespace
}  // namespace zephor_test
