// `pack`, `unpack`, `inspect`, and an unpacked project that is shared again.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>

#include "tests/journeys/Program.h"

namespace zephor_test {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

constexpr std::uintmax_t kLarge = 150'000'000;

class Archive : public testing::Test {
 protected:
  Archive() { office_.found({"anna", "ben"}); }

  std::string at(const std::string& name) const { return office_.path(name).string(); }
  void makeArchive() const {
    office_.share("anna", "drawing");
    fs::create_directory(office_.project("anna") / "Photos");
    std::ofstream(office_.project("anna") / "Photos/site.jpg") << "photo";
    office_.must("anna", {"pack", at("House.qpn")});
  }
  /// One that takes its time.
  void makeLarge() const {
    const fs::path file = office_.project("anna") / "large.bin";
    std::ofstream(file) << "large";
    fs::resize_file(file, kLarge);
  }
  /// Names in the office's directory, those of what was left among them.
  std::vector<std::string> names(const fs::path& directory) const {
    std::vector<std::string> found;
    for (const auto& entry : fs::directory_iterator(directory)) found.push_back(entry.path().filename().string());
    std::sort(found.begin(), found.end());
    return found;
  }
  int interrupted(const std::string& user, const std::vector<std::string>& arguments, int signal) const {
    const auto run = office_.start(user, arguments);
    EXPECT_TRUE(run->waitFor("0 %"));
    run->signal(signal);
    return run->end().exitCode;
  }

  Office office_;
};

TEST_F(Archive, AProjectGoesToAnotherWorkstationAndIsSharedThereAsANewOne) {
  makeArchive();
  const std::string looked = office_.must("ben", {"--json", "inspect", "--check", at("House.qpn")});
  EXPECT_THAT(looked, AllOf(HasSubstr("\"kind\":\"packed project\""), HasSubstr("\"project\":\"House\""),
                            HasSubstr("\"problems\":0")));
  EXPECT_THAT(office_.must("ben", {"-n", "unpack", at("House.qpn")}), HasSubstr("would unpack House"));
  office_.must("ben", {"unpack", at("House.qpn")});
  const fs::path unpacked = office_.path("ben/data/Data/Prj/localhost/House.prj");
  auto sent = treeOf(office_.project("anna"));
  auto come = treeOf(unpacked);
  EXPECT_NE(come["Project1.Dat.xml"], sent["Project1.Dat.xml"]);
  for (auto* const tree : {&sent, &come}) tree->erase("Project1.Dat.xml");
  for (const char* const aside : {"QuorvelProjectDB.db3-wal", "QuorvelProjectDB.db3-shm"}) {
    EXPECT_FALSE(come.contains(aside));
    sent.erase(aside);
  }
  EXPECT_EQ(come, sent);

  EXPECT_EQ(office_.run("ben", {"unpack", at("House.qpn")}).exitCode, 1) << "a project that is there is asked about";
  EXPECT_THAT(office_.run("ben", {"--yes", "unpack", at("House.qpn")}).err, HasSubstr("moved to the trash"));
  EXPECT_THAT(office_.must("ben", {"project", "create", "House", "--team", "Office", "--from", unpacked.string()}),
              AllOf(HasSubstr("tb1: sent"), HasSubstr("site.jpg: sent")));
  EXPECT_EQ(office_.exported("ben", "tb1"), "drawing");
  EXPECT_THAT(office_.must("ben", {"locks"}), Not(HasSubstr("tb1")));
  office_.must("ben", {"sync"});
  const ProgramRun again = office_.run("ben", {"project", "create", "House", "--team", "Office", "--from", unpacked});
  EXPECT_THAT(again.err, HasSubstr("with files already"));
}

TEST_F(Archive, AnArchiveIsOfOneMomentOrNotWritten) {
  makeArchive();
  makeLarge();
  const std::string before = contentOf(office_.path("House.qpn"));
  EXPECT_EQ(office_.run("anna", {"pack", at("House.qpn")}).exitCode, 1) << "nobody said yes";
  EXPECT_THAT(office_.must("anna", {"-n", "pack", at("House.qpn")}), HasSubstr("Photos/site.jpg"));
  const auto packing = office_.start("anna", {"--yes", "pack", at("House.qpn")});
  const fs::path photo = office_.project("anna") / "Photos/site.jpg";
  packing->waitUntil([&](const ProgramRun& run) {
    std::ofstream(photo, std::ios::app) << "more";
    return run.err.find("was not written") != std::string::npos;
  });
  EXPECT_EQ(packing->end().exitCode, 1);
  EXPECT_EQ(contentOf(office_.path("House.qpn")), before);
  const ProgramRun calm = office_.run("anna", {"--yes", "pack", "Library", at("House.qpn")});
  EXPECT_EQ(calm.exitCode, 0) << calm.err;
  EXPECT_THAT(calm.err, HasSubstr("2 items that the store does not have"));
  office_.must("ben", {"inspect", "--check", at("House.qpn")});
}

TEST_F(Archive, WhatIsInterruptedLeavesNothingUnderANameThatCounts) {
  makeArchive();
  makeLarge();
  const std::string small = contentOf(office_.path("House.qpn"));
  const auto before = names(office_.path(""));
  EXPECT_EQ(interrupted("anna", {"--yes", "pack", at("House.qpn")}, SIGINT), 130);
  EXPECT_EQ(names(office_.path("")), before);
  EXPECT_EQ(interrupted("anna", {"--yes", "pack", at("House.qpn")}, SIGKILL), 1000 + SIGKILL);
  EXPECT_EQ(contentOf(office_.path("House.qpn")), small);
  office_.must("anna", {"--yes", "pack", at("House.qpn")});
  EXPECT_EQ(names(office_.path("")), before) << "the next run clears what was killed";

  EXPECT_EQ(interrupted("ben", {"unpack", at("House.qpn"), "--to", at("new/place")}, SIGINT), 130);
  EXPECT_FALSE(fs::exists(office_.path("new")));
  EXPECT_EQ(interrupted("ben", {"unpack", at("House.qpn"), "--to", at("new/place")}, SIGKILL), 1000 + SIGKILL);
  EXPECT_FALSE(fs::exists(office_.path("new/place/House.prj")));
  office_.must("ben", {"unpack", at("House.qpn"), "--to", at("new/place")});
  EXPECT_EQ(fs::file_size(office_.path("new/place/House.prj/large.bin")), kLarge);
}

TEST_F(Archive, WhatCantBeTrustedIsToldAndNotUnpacked) {
  makeArchive();
  const std::string whole = contentOf(office_.path("House.qpn"));
  const auto renamed = [&](const std::string& to) {
    std::string bytes = whole;
    for (std::size_t at = bytes.find("Photos/site.jpg"); at != std::string::npos;
         at = bytes.find("Photos/site.jpg", at))
      bytes.replace(at, to.size(), to);
    return bytes;
  };
  std::string damaged = whole;
  damaged[whole.find("tb000001.zdw") + 60] ^= 0x55;
  const struct {
    std::string bytes;
    const char* told;
  } cases[] = {
      {whole.substr(0, whole.size() / 2), "can't be read as an archive"},
      {"", "can't be read as an archive"},
      {damaged, "tb000001.zdw: is damaged"},
      {renamed("../otos/site.jp"), "../otos/site.jp: its name would leave the directory"},
      {renamed("NUL.os/site.jpg"), "NUL.os/site.jpg: its name"},
  };
  for (const auto& item : cases) {
    const std::string file = office_.writeFile("Bad.qpn", item.bytes).string();
    const ProgramRun looked = office_.run("ben", {"inspect", "--check", file});
    EXPECT_EQ(looked.exitCode, 1) << item.told;
    EXPECT_THAT(looked.err, HasSubstr(item.told));
    EXPECT_EQ(office_.run("ben", {"unpack", file, "--to", at("out")}).exitCode, 1) << item.told;
    EXPECT_FALSE(fs::exists(office_.path("out"))) << item.told;
  }
}

TEST_F(Archive, AFolderIsPackedAndUnpackedAsOne) {
  fs::create_directories(office_.path("folder/inner/skip"));
  office_.writeFile("folder/inner/b.txt", "b");
  office_.writeFile("folder/inner/skip/c.txt", "c");
  EXPECT_EQ(office_.run("anna", {"pack", "--folder", at("folder"), at("x.qpn")}).exitCode, 2);
  EXPECT_EQ(office_.run("anna", {"pack", "--folder", at("folder"), at("folder/x.zip")}).exitCode, 2);
  office_.must("anna", {"pack", "--folder", at("folder"), "--exclude", "skip", at("x.zip")});
  EXPECT_THAT(office_.must("anna", {"inspect", "--list", at("x.zip")}),
              AllOf(HasSubstr("inner/b.txt"), Not(HasSubstr("c.txt"))));
  EXPECT_EQ(office_.run("ben", {"unpack", at("x.zip")}).exitCode, 2) << "there is no project in it";
  office_.must("ben", {"unpack", at("x.zip"), "--to", at("out")});
  EXPECT_EQ(contentOf(office_.path("out/inner/b.txt")), "b");
  office_.writeFile("out/inner/b.txt", "mine");
  EXPECT_EQ(office_.run("ben", {"unpack", at("x.zip"), "--to", at("out")}).exitCode, 1);
  EXPECT_EQ(contentOf(office_.path("out/inner/b.txt")), "mine");
  office_.must("ben", {"--yes", "unpack", at("x.zip"), "--to", at("out")});
  EXPECT_EQ(contentOf(office_.path("out/inner/b.txt")), "b");
}

TEST_F(Archive, WhatAnotherRunBringsMeanwhileIsNotReplacedUnasked) {
  makeArchive();
  makeLarge();
  EXPECT_EQ(office_.run("anna", {"pack", at(".qpn")}).exitCode, 1) << "no name for the project";
  const auto packing = office_.start("anna", {"pack", at("New.qpn")});
  EXPECT_TRUE(packing->waitFor("0 %"));
  office_.writeFile("New.qpn", "mine");
  EXPECT_EQ(packing->end().exitCode, 1);
  EXPECT_EQ(contentOf(office_.path("New.qpn")), "mine");

  for (const char* const directory : {"folder", "out"}) fs::create_directory(office_.path(directory));
  office_.writeFile("folder/same.txt", "theirs");
  office_.must("anna", {"pack", "--folder", at("folder"), at("x.zip")});
  const int other = ::open(at("").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  ASSERT_EQ(::flock(other, LOCK_EX), 0);
  const auto unpacking = office_.start("ben", {"unpack", at("x.zip"), "--to", at("out")});
  EXPECT_TRUE(unpacking->waitFor("; waiting"));
  office_.writeFile("out/same.txt", "mine");
  ::close(other);
  EXPECT_EQ(unpacking->end().exitCode, 1);
  EXPECT_EQ(contentOf(office_.path("out/same.txt")), "mine");
}

}  // namespace
}  // namespace zephor_test
