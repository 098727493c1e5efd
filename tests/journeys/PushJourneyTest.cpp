// `push`: all that changed in one batch, told truthfully.
#include <gmock/gmock.h>

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
  EXPECT_THAT(office.run("anna", {"push", "--delete"}).out, HasSubstr("notes.txt: deleted in the store"));
  EXPECT_EQ(office.run("ben", {"save", "notes.txt"}).exitCode, 0) << "ben's copy is still there";
}

}  // namespace
}  // namespace zephor_test
