// `db`, `project delete`, `team filter`, `portal`, `login` and `doctor`.
#include <gmock/gmock.h>
#include <sqlite3.h>

#include <chrono>
#include <fstream>
#include <thread>

#include "tests/journeys/Program.h"

namespace zephor_test {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class Administration : public testing::Test {
 protected:
  static void execute(const fs::path& database, const std::string& sql) {
    sqlite3* raw = nullptr;
    ASSERT_EQ(sqlite3_open(database.c_str(), &raw), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(raw, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(raw);
    sqlite3_close(raw);
  }
  /// All that the log of a user holds.
  std::string logsOf(const std::string& user) const {
    std::string text;
    for (const auto& [name, content] : treeOf(office_.path(user) / "log")) text += content;
    return text;
  }

  Office office_;
};

TEST_F(Administration, TheDatabaseIsToldApartFromItsObjectsAndBroughtInLine) {
  office_.found({"anna"});
  office_.share("anna", "drawing");
  office_.must("anna", {"create", "ze", "Site plan", "--number", "5"});
  office_.must("anna", {"db", "update"});
  EXPECT_EQ(office_.must("anna", {"db", "check"}), "");
  const fs::path database = office_.project("anna") / "QuorvelProjectDB.db3";
  fs::copy_file(database, office_.path("old.db3"));
  office_.must("anna", {"import", "--into", "tb1", office_.writeFile("new.dxf", "new").string()});
  fs::rename(office_.path("old.db3"), database);
  fs::remove(office_.project("anna") / "ze000005.000");
  const auto before = treeOf(office_.project("anna"));
  const ProgramRun checked = office_.run("anna", {"db", "check"});
  EXPECT_EQ(checked.exitCode, 3);
  EXPECT_THAT(checked.out, AllOf(HasSubstr("tb1: differs from its row"), HasSubstr("ze5: row without file")));
  EXPECT_THAT(office_.must("anna", {"-n", "db", "update"}), HasSubstr("tb1: would be brought in line"));
  EXPECT_EQ(treeOf(office_.project("anna")), before);
  EXPECT_THAT(office_.must("anna", {"--json", "db", "update"}), HasSubstr("\"outcome\":\"brought in line\""));
  execute(database, "DELETE FROM teilbild");
  EXPECT_THAT(office_.must("anna", {"db", "update"}), HasSubstr("tb1: added"));
  EXPECT_EQ(office_.must("anna", {"db", "check"}), "");
}

TEST_F(Administration, TheDatabaseIsUpdatedBesideOthersAndMadeAnewWhenItIsDamaged) {
  office_.found({"anna"});
  office_.share("anna", "drawing");
  const fs::path database = office_.project("anna") / "QuorvelProjectDB.db3";
  sqlite3* other = nullptr;
  ASSERT_EQ(sqlite3_open(database.c_str(), &other), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(other, "DELETE FROM teilbild; BEGIN IMMEDIATE", nullptr, nullptr, nullptr), SQLITE_OK);
  const auto updating = office_.start("anna", {"db", "update"});
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  sqlite3_exec(other, "COMMIT", nullptr, nullptr, nullptr);
  sqlite3_close(other);
  EXPECT_THAT(updating->end().out, HasSubstr("tb1: added"));
  EXPECT_EQ(office_.must("anna", {"db", "check"}), "");

  office_.writeFile(database.string(), std::string(5000, 'b'));
  const ProgramRun refused = office_.run("anna", {"db", "update"});
  EXPECT_EQ(refused.exitCode, 1);
  EXPECT_THAT(refused.err, AllOf(HasSubstr("file is not a database"), HasSubstr("zephor doctor tells")));
  EXPECT_THAT(office_.run("anna", {"doctor"}).out, HasSubstr("QuorvelProjectDB.db3 is damaged"));
  fs::remove(database);
  EXPECT_THAT(office_.must("anna", {"db", "update"}), HasSubstr("tb1: added"));
}

TEST_F(Administration, ALockIsTakenAwayFromALostWorkstation) {
  office_.found({"anna", "ben"});
  office_.share("ben", "drawing");
  office_.must("laptop", {"init", "--store", office_.store().string(), "--name", "ben", "--email", "ben@example.org"});
  office_.must("laptop", {"open", "Library"});
  const ProgramRun plain = office_.run("laptop", {"unlock", "tb1"});
  EXPECT_EQ(plain.exitCode, 4);
  EXPECT_THAT(plain.err, HasSubstr("unlock --force"));
  EXPECT_THAT(office_.run("laptop", {"unlock", "--force", "tb1"}).out, HasSubstr("tb1: stays locked"));
  EXPECT_THAT(office_.must("laptop", {"--yes", "unlock", "--force", "tb1"}), HasSubstr("it was locked by ben"));
  EXPECT_THAT(logsOf("laptop"), HasSubstr("the lock of tb1 in Library was taken away from ben"));
  office_.must("anna", {"lock", "tb1"});
  EXPECT_EQ(office_.run("ben", {"--yes", "unlock", "--force", "tb1"}).exitCode, 1) << "an editor";
}

TEST_F(Administration, AProjectGoesWhenItIsAskedForAndNobodyWorksInIt) {
  office_.found({"anna", "ben"});
  office_.share("anna", "drawing");
  const fs::path project = office_.project("anna");
  std::ofstream(project / "mine.txt") << "mine";
  EXPECT_THAT(office_.run("ben", {"--yes", "project", "delete", "Library"}).err, HasSubstr("you are editor"));
  {
    const auto watching = office_.start("ben", {"watch"});
    ASSERT_TRUE(watching->waitFor("watching"));
    const ProgramRun refused = office_.run("anna", {"--yes", "project", "delete", "Library"});
    EXPECT_EQ(refused.exitCode, 4);
    EXPECT_THAT(refused.err, HasSubstr("Library is open: ben at"));
    watching->signal(SIGINT);
    watching->end();
  }
  const auto before = treeOf(project);
  const ProgramRun unasked = office_.run("anna", {"project", "delete", "Library"});
  EXPECT_EQ(unasked.exitCode, 1);
  EXPECT_THAT(unasked.err, AllOf(HasSubstr("for 30 days"), HasSubstr("1 of them not in the store")));
  EXPECT_THAT(office_.must("anna", {"-n", "project", "delete", "Library"}),
              AllOf(HasSubstr("mine.txt: not sent"), HasSubstr("Library: would be deleted")));
  EXPECT_EQ(treeOf(project), before);
  office_.must("ben", {"status"});
  EXPECT_THAT(office_.must("anna", {"--yes", "project", "delete", "Library"}), HasSubstr("Library: deleted"));
  EXPECT_FALSE(fs::exists(project));
  EXPECT_EQ(contentOf(office_.path("anna-desktop") / "Trash/files" / project.filename() / "mine.txt"), "mine");
  EXPECT_THAT(office_.must("anna", {"project", "list"}), Not(HasSubstr("Library")));
  EXPECT_NE(office_.run("ben", {"status"}).exitCode, 0);
  EXPECT_TRUE(fs::exists(office_.project("ben"))) << "what others have on their workstations stays theirs";
  office_.must("anna", {"project", "create", "Library", "--team", "Office"});
}

TEST_F(Administration, TheFilterOfTeamsLimitsWhatIsListed) {
  office_.found({"anna"});
  office_.must("anna", {"team", "create", "Site"});
  office_.must("anna", {"project", "create", "Bridge", "--team", "Site"});
  EXPECT_EQ(office_.run("anna", {"team", "filter", "Nobody"}).exitCode, 1);
  EXPECT_THAT(office_.must("anna", {"team", "filter", "Site"}), HasSubstr("Site"));
  const ProgramRun listed = office_.run("anna", {"project", "list"});
  EXPECT_THAT(listed.out, AllOf(HasSubstr("Bridge"), Not(HasSubstr("Library"))));
  EXPECT_THAT(listed.err, HasSubstr("1 project of other teams not shown"));
  EXPECT_THAT(office_.must("anna", {"project", "list", "--all"}), HasSubstr("Library"));
  office_.must("anna", {"team", "filter", "--clear"});
  EXPECT_THAT(office_.must("anna", {"project", "list"}), HasSubstr("Library"));
}

TEST_F(Administration, ALinkHasTheSessionOnlyWhereItIsAskedFor) {
  office_.found({"anna"});
  EXPECT_THAT(office_.must("anna", {"--json", "login"}),
              AllOf(HasSubstr("\"email\":\"anna@example.org\""), HasSubstr("\"session\":\"online\"")));
  EXPECT_THAT(office_.must("anna", {"login", "--logout"}), HasSubstr("signed off anna"));
  EXPECT_THAT(office_.must("anna", {"portal", "Library", "--print"}),
              AllOf(HasSubstr("/#/dashboard?team_id="), Not(HasSubstr("token"))));
  EXPECT_THAT(office_.must("anna", {"portal", "--viewer", "--print"}), HasSubstr("/viewer/#/viewer?project_id="));
  const std::string link = office_.must("anna", {"-vv", "portal", "--print", "--with-token"});
  const std::string token = link.substr(link.find("?token=") + 7, 64);
  ASSERT_EQ(token.find_first_not_of("0123456789abcdef"), std::string::npos) << link;
  EXPECT_THAT(logsOf("anna"), Not(HasSubstr(token)));
  EXPECT_EQ(office_.run("anna", {"portal", "--with-token"}).exitCode, 2);
}

TEST_F(Administration, TheDoctorTellsWhatIsWrongAndWhatToDo) {
  office_.found({"anna"});
  office_.share("anna", "drawing");
  const auto before = treeOf(office_.store());
  const ProgramRun well = office_.run("anna", {"doctor"});
  EXPECT_EQ(well.exitCode, 0) << well.out << well.err;
  EXPECT_THAT(well.out, AllOf(HasSubstr("as anna"), HasSubstr("1 lock held from here"), Not(HasSubstr("problem "))));
  EXPECT_EQ(treeOf(office_.store()).size(), before.size());
  for (const auto& entry : fs::recursive_directory_iterator(office_.path("anna-desktop"))) {
    EXPECT_THAT(entry.path().filename().string(), Not(HasSubstr("doctor")));
  }
  for (const auto& entry : fs::recursive_directory_iterator(office_.path("anna"))) {
    if (!entry.path().string().ends_with(".cache.db3")) continue;
    std::fstream record(entry.path(), std::ios::binary | std::ios::in | std::ios::out);
    record << "this is no record";
    fs::create_directories(entry.path().parent_path() / "none.db3");
  }
  std::fstream(office_.store() / "store.db", std::ios::binary | std::ios::in | std::ios::out) << "this is no store";
  const ProgramRun damaged = office_.run("anna", {"--json", "doctor"});
  EXPECT_EQ(damaged.exitCode, 3);
  EXPECT_THAT(damaged.out, AllOf(HasSubstr(".cache.db3 is damaged"), HasSubstr("store.db is damaged"),
                                 HasSubstr("none.db3 can't be looked at"), HasSubstr("\"state\":\"problem\"")));
  fs::rename(office_.store(), office_.path("gone"));
  const ProgramRun apart = office_.run("anna", {"doctor"});
  EXPECT_EQ(apart.exitCode, 3);
  EXPECT_THAT(apart.out, AllOf(HasSubstr("there is no such directory"), HasSubstr("mount its disk")));
  EXPECT_THAT(office_.run("nobody", {"doctor"}).out, HasSubstr("zephor init"));
}

}  // namespace
}  // namespace zephor_test
