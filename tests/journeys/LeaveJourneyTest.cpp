// `close` and `cache remove`: leaving a project without losing a line.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>

#include "tests/journeys/Program.h"

namespace zephor_test {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class Leave : public testing::Test {
 protected:
  /// A project with tb1 and notes.txt in step, which `user` may leave.
  void settle(const std::string& user) {
    office_.found({"anna", "ben"});
    office_.share("anna", "drawing");
    std::ofstream(office_.project("anna") / "notes.txt") << "text";
    office_.must("anna", {"push"});
    if (user == "anna") return;
    office_.must(user, {"fetch", "tb1", "notes.txt"});
  }
  ProgramRun remove(const std::string& user, std::vector<std::string> more = {}) const {
    more.insert(more.begin(), {"cache", "remove"});
    return office_.run(user, more);
  }
  fs::path trashed(const std::string& user, const fs::path& project) const {
    return office_.path(user + "-desktop") / "Trash/files" / project.filename();
  }

  Office office_;
};

TEST_F(Leave, TellsWhatIsUnsentAndLockedAndTakesNothingOfItAwayUnasked) {
  settle("anna");
  const fs::path project = office_.project("anna");
  office_.must("anna", {"import", office_.writeFile("b.dxf", "b").string()});
  std::ofstream(project / "notes.txt") << "changed";
  std::ofstream(project / "WGO_SyncFilter.xml") << "   <file exclude = \"*.sketch\" activated = \"1\">\n";
  for (const char* name : {"own.sketch", "a.tmp", "Backup/tb000001.zdw", "design/Backup/old.txt"}) {
    fs::create_directories((project / name).parent_path());
    std::ofstream(project / name) << "work";
  }
  const ProgramRun closed = office_.run("anna", {"close"});
  EXPECT_EQ(closed.exitCode, 0);
  EXPECT_THAT(closed.err, AllOf(HasSubstr("4 items here are not in the store"), HasSubstr("the locks of tb1")));
  office_.must("anna", {"open", "Library"});
  const auto before = treeOf(project);
  const ProgramRun refused = remove("anna");
  EXPECT_EQ(refused.exitCode, 1);
  EXPECT_THAT(refused.out, AllOf(HasSubstr("tb2: not sent"), HasSubstr("notes.txt: not sent"), Not(HasSubstr("tb1:")),
                                 HasSubstr("own.sketch: not sent"), HasSubstr("a.tmp: not sent")));
  EXPECT_THAT(refused.err, HasSubstr("2 backup copies"));
  EXPECT_THAT(office_.must("anna", {"-v", "cache", "info"}),
              AllOf(HasSubstr("Backup\\tb000001.zdw: not sent"), HasSubstr("design\\Backup\\old.txt: not sent")));
  EXPECT_EQ(office_.run("anna", {"--project", "Other", "close"}).exitCode, 1);
  EXPECT_EQ(office_.run("anna", {"-n", "open", "Nope"}).exitCode, 1);
  office_.must("anna", {"-n", "cache", "remove", "--force"});
  EXPECT_EQ(treeOf(project), before);
}

TEST_F(Leave, WithoutATrashOnlyWhoAsksForItLosesTheDirectoryForGood) {
  const fs::path volume = office_.path("anna");
  fs::create_directory(volume);
  // A volume of this process and its children alone, which ends with them.
  const bool isMounted = ::unshare(CLONE_NEWNS) == 0 &&
                         ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                         ::mount("none", volume.c_str(), "tmpfs", 0, nullptr) == 0;
  if (!isMounted) GTEST_SKIP() << "needs the right to mount";
  settle("anna");
  const fs::path project = office_.project("anna");
  std::ofstream(volume / (".Trash-" + std::to_string(::getuid()))) << "no place for a trash";
  std::ofstream(office_.path("anna-desktop")) << "nor here";
  std::ofstream(project / "mine.txt") << "mine";
  const auto before = treeOf(project);
  EXPECT_THAT(remove("anna", {"--force"}).err,
              AllOf(HasSubstr("-desktop/Trash, and stays"), HasSubstr("Not a directory")));
  EXPECT_EQ(remove("anna", {"--permanently"}).exitCode, 1) << "not what was never sent";
  EXPECT_EQ(treeOf(project), before);
  EXPECT_THAT(office_.must("anna", {"status", "tb1"}), HasSubstr("in step")) << "what was remembered is still known";
  EXPECT_THAT(remove("anna", {"--force", "--permanently"}).out, HasSubstr("deleted for good"));
  EXPECT_FALSE(fs::exists(project));
  ::umount2(volume.c_str(), MNT_DETACH);
}

TEST_F(Leave, WhoJoinsAnewDeletesNothing) {
  settle("anna");
  const fs::path project = office_.project("anna");
  // What a watch has left, one that was killed too.
  for (const char* ending : {"", ".4711.part"}) {
    std::ofstream(project / (std::string("OndrathBackgroundService.log.xml") + ending)) << "log";
  }
  const ProgramRun told = office_.run("anna", {"sync"});
  EXPECT_THAT(told.out + told.err, Not(HasSubstr("never sent")));
  const ProgramRun removed = remove("anna");
  ASSERT_EQ(removed.exitCode, 0) << removed.out << removed.err;
  EXPECT_THAT(removed.out, AllOf(HasSubstr("tb1: unlocked"), HasSubstr("moved to the trash")));
  EXPECT_FALSE(fs::exists(project));
  EXPECT_EQ(contentOf(trashed("anna", project) / "notes.txt"), "text");
  EXPECT_EQ(office_.run("anna", {"status"}).exitCode, 1) << "no project is open";
  EXPECT_EQ(remove("anna", {"--force"}).exitCode, 1);
  office_.must("anna", {"open", "Library"});
  EXPECT_THAT(office_.run("anna", {"--yes", "push", "--delete"}).out, Not(HasSubstr("deleted")));
  office_.must("ben", {"fetch", "tb1", "notes.txt"});
  office_.must("anna", {"fetch", "tb1", "notes.txt"});
  EXPECT_EQ(office_.exported("anna", "tb1"), "drawing");
  // A directory that goes without the program is no deletion of its files either.
  fs::rename(project, office_.path("away"));
  office_.must("anna", {"open", "Library"});
  EXPECT_THAT(office_.run("anna", {"--yes", "push", "--delete"}).out, Not(HasSubstr("deleted")));
  office_.must("ben", {"status", "tb1"});
}

TEST_F(Leave, AMemberWhoWasTakenOutLeavesAndKeepsWhatCantBeTold) {
  settle("ben");
  const fs::path project = office_.project("ben");
  office_.must("anna", {"project", "remove", "ben@example.org"});
  std::ofstream(project / "mine.txt") << "mine";
  const ProgramRun refused = remove("ben");
  EXPECT_EQ(refused.exitCode, 1);
  EXPECT_THAT(refused.out, AllOf(HasSubstr("mine.txt: not sent"), Not(HasSubstr("notes.txt")), Not(HasSubstr("tb1"))));
  fs::rename(office_.store(), office_.path("gone"));
  const fs::path record = fs::path(project).replace_extension(".files");
  std::ofstream(record) << "what the store told";
  EXPECT_EQ(office_.run("ben", {"close"}).exitCode, 0);
  const ProgramRun removed = office_.run("ben", {"--project", project.stem().string(), "cache", "remove", "--force"});
  EXPECT_EQ(removed.exitCode, 0) << removed.err;
  EXPECT_EQ(contentOf(trashed("ben", project) / "mine.txt"), "mine");
  EXPECT_FALSE(fs::exists(record));
}

TEST_F(Leave, WaitsForNobodyWhoHasTheProjectOpen) {
  settle("ben");
  const fs::path project = office_.project("ben");
  fs::path mark;
  for (const auto& entry : fs::recursive_directory_iterator(office_.path("ben"))) {
    if (entry.path().filename() == project.stem().string() + ".open") mark = entry.path();
  }
  // As a process that has the project open and lets others read alone.
  const int file = ::open(mark.c_str(), O_RDONLY | O_CLOEXEC);
  struct flock lock {};
  lock.l_type = F_RDLCK;
  lock.l_start = 0x7FFF'FFFF'FFFF'FF00;
  lock.l_len = 1;
  ASSERT_EQ(::fcntl(file, F_OFD_SETLK, &lock), 0);
  const ProgramRun refused = remove("ben");
  EXPECT_EQ(refused.exitCode, 1);
  EXPECT_THAT(refused.err, HasSubstr("another process of this workstation has the project open"));
  ::close(file);
  EXPECT_EQ(remove("ben").exitCode, 0);
}

TEST_F(Leave, AKillInTheMiddleLeavesAStateThatIsSafe) {
  settle("ben");
  const fs::path project = office_.project("ben");
  int killed = 0;
  for (int pause = 3; pause < 2000 && fs::exists(project); pause += 3) {
    const pid_t child = ::fork();
    if (child == 0) {
      ::setenv("XDG_DATA_HOME", office_.path("ben-desktop").c_str(), 1);
      const std::string desk = office_.path("ben").string();
      ::freopen("/dev/null", "w", stdout);
      ::freopen("/dev/null", "w", stderr);
      ::execl(ZEPHOR_PROGRAM, ZEPHOR_PROGRAM, "--workstation", desk.c_str(), "cache", "remove", nullptr);
      ::_exit(127);
    }
    ::usleep(static_cast<useconds_t>(pause) * 1000);
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    if (!fs::exists(project)) break;
    ++killed;
    EXPECT_THAT(office_.run("ben", {"--yes", "push", "--delete"}).out, Not(HasSubstr("deleted"))) << pause;
  }
  EXPECT_GT(killed, 2);
  ASSERT_TRUE(fs::exists(trashed("ben", project) / "notes.txt"));
  office_.must("ben", {"open", "Library"});
  EXPECT_THAT(office_.run("ben", {"--yes", "push", "--delete"}).out, Not(HasSubstr("deleted")));
  office_.must("ben", {"fetch", "tb1", "notes.txt"});
  EXPECT_EQ(contentOf(project / "notes.txt"), "text");
}

TEST_F(Leave, TheSessionTimeOutHasBounds) {
  office_.found({"anna"});
  office_.must("anna", {"store", "set", "session-timeout", "300"});
  EXPECT_THAT(office_.must("anna", {"--json", "store", "info"}), HasSubstr("\"session_timeout\":300"));
  EXPECT_EQ(office_.run("anna", {"store", "set", "session-timeout", "5"}).exitCode, 2);
}

}  // namespace
}  // namespace zephor_test
