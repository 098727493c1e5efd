// `push`: all that changed in one batch, told truthfully.
#include <gmock/gmock.h>
#include <sys/resource.h>

#include <csignal>
#include <fstream>

#include "tests/journeys/Program.h"

namespace zephor_test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

TEST(Push, SendsWhatMayGoTellsWhatMayNotAndForgetsNothing) {
  Office office;
  office.found({"anna", "ben"});
  office.must("anna", {"import", office.writeFile("a.dxf", std::string(5000, 'a')).string()});
  office.must("anna", {"import", office.writeFile("b.dxf", std::string(5000, 'b')).string()});
  office.must("anna", {"create", "pb", "Plan", "--number", "3"});
  office.must("anna", {"lock", "tb1", "pb3"});
  std::filesystem::create_directories(office.project("anna") / "copies");
  std::filesystem::copy(office.project("anna") / "tb000001.zdw", office.project("anna") / "copies" / "tb000001.zdw");
  std::ofstream(office.project("anna") / "notes.txt") << "text";
  EXPECT_THAT(office.run("anna", {"-n", "push"}).out, HasSubstr("tb1: would be sent"));
  const ProgramRun first = office.run("anna", {"push"});
  EXPECT_EQ(first.exitCode, 3);
  EXPECT_THAT(first.out, AllOf(HasSubstr("tb1: sent (version 1)"), HasSubstr("pb3: sent"), HasSubstr("notes.txt: sent"),
                               HasSubstr("tb2: refused (it is not locked; lock it first)"),
                               HasSubstr("copies\\tb000001.zdw: refused"), Not(HasSubstr("QuorvelProject"))));
  EXPECT_EQ(contentOf(office.project("anna") / "tb000001.zdw").substr(0, 4), "QVPK") << "compressed here too";
  EXPECT_THAT(office.must("anna", {"status", "tb1"}), HasSubstr("in step"));
  office.must("ben", {"fetch", "tb1", "pb3", "notes.txt"});
  EXPECT_EQ(office.exported("ben", "tb1"), std::string(5000, 'a'));

  std::filesystem::remove_all(office.project("anna") / "copies");
  office.must("anna", {"lock", "tb2"});
  EXPECT_THAT(office.must("anna", {"push"}), AllOf(HasSubstr("tb2: sent"), Not(HasSubstr("tb1"))));
  EXPECT_EQ(office.must("anna", {"push"}), "");

  std::filesystem::remove(office.project("anna") / "notes.txt");
  office.must("anna", {"unlock", "tb1"});
  office.must("ben", {"lock", "tb1"});
  office.must("anna", {"import", office.writeFile("c.dxf", "c").string(), "--into", "tb1"});
  EXPECT_EQ(office.run("anna", {"push", "tb1"}).exitCode, 4);
  EXPECT_THAT(office.run("anna", {"push"}).out,
              AllOf(HasSubstr("notes.txt: left in the store"), HasSubstr("locked by ben")));
  EXPECT_THAT(office.run("anna", {"push", "--delete"}).out, HasSubstr("notes.txt: refused (not deleted in the store"));
  EXPECT_THAT(office.run("anna", {"--yes", "push", "--delete"}).out, HasSubstr("notes.txt: deleted in the store"));
  EXPECT_EQ(office.run("ben", {"save", "notes.txt"}).exitCode, 0) << "ben's copy is still there";
}

TEST(Push, SendsNothingThatIsNotWholeHereAndKeepsTheOnlyCopy) {
  Office office;
  office.found({"anna"});
  const auto project = office.project("anna");
  const std::string drawing(300000, 'a');
  for (int i = 0; i < 3; ++i) office.must("anna", {"import", office.writeFile("a.dxf", drawing).string()});
  office.must("anna", {"lock", "tb1", "tb2", "tb3"});
  std::ofstream(project / "notes.txt") << "text";
  office.must("anna", {"changes"});
  std::filesystem::copy(project / "tb000002.zdw", project / "TB000002.ZDW");
  std::filesystem::create_symlink("/nowhere", project / "dangling.txt");
  std::fstream(project / "tb000003.zdw", std::ios::in | std::ios::out).seekp(200000) << "XX";
  const std::string before = contentOf(project / "tb000001.zdw");

  std::signal(SIGXFSZ, SIG_IGN);
  rlimit free{};
  ::getrlimit(RLIMIT_FSIZE, &free);
  const rlimit full{200000, free.rlim_max};
  ::setrlimit(RLIMIT_FSIZE, &full);
  const ProgramRun onFullDisk = office.run("anna", {"push"});
  ::setrlimit(RLIMIT_FSIZE, &free);
  EXPECT_THAT(onFullDisk.out,
              AllOf(HasSubstr("notes.txt: sent"), HasSubstr("tb1: refused (it can't be compressed"),
                    HasSubstr("tb2: refused (two files here differ only in letter case)"),
                    HasSubstr("tb3: refused (damaged here"), HasSubstr("dangling.txt: refused (it can't be read")));
  EXPECT_EQ(contentOf(project / "tb000001.zdw"), before);
  EXPECT_THAT(office.run("anna", {"push"}).out, AllOf(HasSubstr("tb1: sent"), Not(HasSubstr("notes.txt"))));
  EXPECT_THAT(office.run("anna", {"status"}).out, AllOf(HasSubstr("tb2  "), HasSubstr("only here")));
}

TEST(Push, DeletesNothingForFilesThatWereMovedAwayAndMendsAnInterruptedPush) {
  Office office;
  office.found({"anna"});
  const auto project = office.project("anna");
  std::filesystem::path record;
  office.share("anna", "a");
  std::ofstream(project / "notes.txt") << "1";
  office.must("anna", {"push"});
  for (const auto& entry : std::filesystem::recursive_directory_iterator(office.path("anna"))) {
    if (entry.path().filename() == project.stem().string() + ".db3") record = entry.path();
  }
  std::filesystem::copy(record, office.path("record"));
  std::ofstream(project / "notes.txt") << "22";
  office.must("anna", {"push"});
  // As if it had been killed before it wrote what is in step now.
  std::filesystem::copy(office.path("record"), record, std::filesystem::copy_options::overwrite_existing);
  EXPECT_EQ(office.must("anna", {"push"}), "");

  const auto moveContent = [](const std::filesystem::path& from, const std::filesystem::path& to) {
    for (const auto& entry : std::filesystem::directory_iterator(to)) std::filesystem::remove_all(entry.path());
    for (const auto& entry : std::filesystem::directory_iterator(from))
      std::filesystem::rename(entry.path(), to / entry.path().filename());
  };
  std::filesystem::create_directory(office.path("away"));
  moveContent(project, office.path("away"));
  EXPECT_THAT(office.run("anna", {"--yes", "push", "--delete"}).err, HasSubstr("hardly any is in"));
  moveContent(office.path("away"), project);
  std::filesystem::remove(project / "tb000001.zdw");
  EXPECT_THAT(office.must("anna", {"--yes", "push", "--delete", "tb1"}), HasSubstr("your lock was given back"));
  EXPECT_THAT(office.must("anna", {"locks"}), Not(HasSubstr("tb1")));
}

TEST(Push, DeletesWhatWasFetchedAndDeletedButNothingOfADirectoryThatIsGone) {
  Office office;
  office.found({"anna", "ben"});
  for (const char* name : {"Notes.txt", "b.txt", "c.txt"}) std::ofstream(office.project("anna") / name) << name;
  office.must("anna", {"push"});
  office.must("ben", {"fetch", "Notes.txt", "b.txt", "c.txt"});
  const auto project = office.project("ben");
  // Of another directory, made anew in its place, nothing is remembered that could be missing.
  std::filesystem::rename(project, office.path("away"));
  EXPECT_THAT(office.run("ben", {"--yes", "push", "--delete"}).out, Not(HasSubstr("deleted")));
  std::filesystem::remove_all(project);
  std::filesystem::rename(office.path("away"), project);
  office.must("ben", {"fetch", "Notes.txt", "b.txt", "c.txt"});

  std::filesystem::remove(project / "Notes.txt");
  std::filesystem::remove(project / "b.txt");
  std::ofstream(office.project("anna") / "b.txt") << "newer";
  office.must("anna", {"push"});
  EXPECT_THAT(office.run("ben", {"push"}).out, HasSubstr("Notes.txt: left in the store"));
  EXPECT_THAT(office.run("ben", {"--yes", "push", "--delete"}).out,
              AllOf(HasSubstr("Notes.txt: deleted in the store"), HasSubstr("b.txt: refused (somebody saved a newer")));
  EXPECT_EQ(office.must("anna", {"fetch", "b.txt"}), "b.txt: in step (nothing to fetch)\n");
  EXPECT_EQ(office.run("anna", {"fetch", "Notes.txt"}).exitCode, 1);
}

TEST(Push, PassesOverWhatOnlyTheStoreHasChanged) {
  Office office;
  office.found({"anna", "ben"});
  std::ofstream(office.project("anna") / "notes.txt") << "1";
  office.must("anna", {"push"});
  office.must("ben", {"fetch", "notes.txt"});
  std::ofstream(office.project("ben") / "notes.txt") << "22";
  office.must("ben", {"push"});
  std::ofstream(office.project("anna") / "more.txt") << "3";
  EXPECT_THAT(office.must("anna", {"push"}), AllOf(HasSubstr("more.txt: sent"), Not(HasSubstr("notes.txt"))));
  EXPECT_EQ(office.run("anna", {"push", "notes.txt"}).exitCode, 1);
  office.must("anna", {"fetch", "notes.txt"});
  EXPECT_EQ(contentOf(office.project("anna") / "notes.txt"), "22");
}

}  // namespace
}  // namespace zephor_test
