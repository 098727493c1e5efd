// `zephor server ...` from end to end, over a plain directory in the place of a server.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "tests/journeys/Program.h"

namespace zephor_test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;
using Words = std::vector<std::string>;

/// One workstation without a store that knows the directory "remote" as the server "share".
class ServerDirectory : public testing::Test {
 protected:
  ServerDirectory() {
    ::unsetenv("ZEPHOR_SERVER_PASSWORD");
    fs::create_directories(remote());
    office_.must("anna", {"server", "add", "share", "--directory", remote().string()});
  }

  /// Runs `zephor server WORDS...`.
  ProgramRun server(Words words) const {
    words.insert(words.begin(), "server");
    return office_.run("anna", words);
  }
  std::string must(Words words) const {
    words.insert(words.begin(), "server");
    return office_.must("anna", words);
  }
  fs::path remote() const { return office_.path("remote"); }
  fs::path here() const { return office_.path("here"); }
  fs::path write(const fs::path& path, const std::string& content) const {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << content;
    return path;
  }
  void setAge(const fs::path& path, std::chrono::seconds age) const {
    fs::last_write_time(path, fs::file_time_type::clock::now() - age);
  }
  void writeTree(const fs::path& root) const {
    for (int i = 0; i < 9; ++i)
      write(root / ("plan " + std::to_string(i) + ".dxf"), std::string(static_cast<std::size_t>(i) * 1000, 'p'));
    write(root / "details" / "\xC3\xA4rgernis.dxf", "umlaut");
    fs::create_directories(root / "empty");
  }

  Office office_;
};

TEST_F(ServerDirectory, GetsAndGivesWholeTrees) {
  writeTree(here());
  must({"put", "share", "-r", here().string(), "--to", "a/b"});
  EXPECT_EQ(treeOf(remote() / "a/b/here"), treeOf(here()));
  must({"get", "share", "-r", "a/b/here", "--to", office_.path("back").string(), "--jobs", "3"});
  EXPECT_EQ(treeOf(office_.path("back/here")), treeOf(here()));
  const std::string again = must({"get", "share", "-r", "a/b/here", "--to", office_.path("back").string()});
  EXPECT_THAT(again, HasSubstr("in step"));
  EXPECT_THAT(again, Not(HasSubstr("fetched")));
  must({"get", "share", "a/b/here/plan ?.dxf", "--to", office_.path("plans").string()});
  EXPECT_EQ(treeOf(office_.path("plans")).size(), 9U);
}

TEST_F(ServerDirectory, PrintsAnyPieceOfAFile) {
  std::string content;
  for (int i = 0; i < 700'000; ++i) content += static_cast<char>(i * 7 + i / 256);
  write(remote() / "large", content);
  EXPECT_EQ(must({"cat", "share", "large"}), content);
  EXPECT_EQ(must({"cat", "share", "large", "--range", "300000-300009"}), content.substr(300000, 10));
  EXPECT_EQ(must({"cat", "share", "large", "--range", "10+5"}), content.substr(10, 5));
  EXPECT_EQ(must({"cat", "share", "large", "--range", "-3"}), content.substr(content.size() - 3));
  EXPECT_EQ(server({"cat", "share", "large", "--range", "700000-"}).exitCode, 1);
  EXPECT_EQ(server({"cat", "share", "large", "--range", "9-3"}).exitCode, 2);
  EXPECT_EQ(server({"cat", "share", "none"}).exitCode, 1);
}

TEST_F(ServerDirectory, ASyncUpAndDownBringsTwoPeopleInStep) {
  writeTree(here());
  must({"sync", "up", "share", "T", "--local", here().string()});
  must({"sync", "down", "share", "T", "--local", office_.path("ben").string()});
  EXPECT_EQ(treeOf(office_.path("ben")), treeOf(here()));
  EXPECT_EQ(must({"sync", "up", "share", "T", "--local", here().string()}), "");
  EXPECT_EQ(must({"sync", "down", "share", "T", "--local", office_.path("ben").string()}), "");

  write(office_.path("ben/plan 3.dxf"), "Ben's");
  fs::last_write_time(office_.path("ben/plan 3.dxf"),
                      fs::last_write_time(here() / "plan 3.dxf") + std::chrono::seconds(2));
  EXPECT_THAT(must({"compare", "share", "T", "--local", office_.path("ben").string()}), HasSubstr("newer here"));
  EXPECT_EQ(must({"sync", "up", "share", "T", "--local", office_.path("ben").string()}), "plan 3.dxf: sent\n");
  EXPECT_EQ(must({"sync", "down", "share", "T", "--local", here().string()}), "plan 3.dxf: fetched\n");
  EXPECT_EQ(treeOf(here()), treeOf(office_.path("ben")));
}

TEST_F(ServerDirectory, WhatIsNewerHereStays) {
  write(remote() / "plan", "server");
  setAge(remote() / "plan", std::chrono::hours(1));
  write(here() / "plan", "work of today");
  for (const Words& words : {Words{"get", "share", "plan", "--to", here().string()},
                             Words{"sync", "down", "share", "--local", here().string()}}) {
    EXPECT_THAT(server(words).out, HasSubstr("plan: kept"));
    EXPECT_EQ(contentOf(here() / "plan"), "work of today");
  }
  must({"get", "share", "plan", "--to", here().string(), "--force"});
  EXPECT_EQ(contentOf(here() / "plan"), "server");
}

// The program died while it sent "plan": the copy beside it is left, and the server has the first bytes of it.
TEST_F(ServerDirectory, AnInterruptedUploadIsSentAgainAndNeverFetched) {
  write(here() / "plan", "the whole plan");
  write(here() / "plan.upload", "the whole plan");
  setAge(here() / "plan", std::chrono::hours(1));
  write(remote() / "plan", "the who");
  const ProgramRun down = server({"sync", "down", "share", "--local", here().string()});
  EXPECT_EQ(down.exitCode, 1);
  EXPECT_THAT(down.out, HasSubstr("interrupted"));
  EXPECT_EQ(contentOf(here() / "plan"), "the whole plan");
  EXPECT_EQ(must({"sync", "up", "share", "--local", here().string()}), "plan: sent\n");
  EXPECT_EQ(contentOf(remote() / "plan"), "the whole plan");
  EXPECT_FALSE(fs::exists(remote() / "plan.upload"));
  EXPECT_FALSE(fs::exists(here() / "plan.upload"));

  write(here() / "plan.upload", "");
  write(remote() / "plan", "another one's");
  EXPECT_EQ(server({"sync", "up", "share", "--local", here().string()}).exitCode, 1);
  EXPECT_EQ(contentOf(remote() / "plan"), "another one's");
}

TEST_F(ServerDirectory, AFailedUploadIsToldAndTheFileStaysNewer) {
  for (int i = 0; i < 8; ++i) write(here() / ("f" + std::to_string(i)), "content");
  fs::create_directories(remote() / "f3");  // no file can be made under this name
  const auto before = fs::last_write_time(here() / "f3");
  for (const char* jobs : {"1", "4"}) {
    const ProgramRun up = server({"sync", "up", "share", "--local", here().string(), "--jobs", jobs});
    EXPECT_EQ(up.exitCode, 3) << up.out << up.err;
    EXPECT_THAT(up.out, HasSubstr("f3: not sent"));
    EXPECT_EQ(fs::last_write_time(here() / "f3"), before);
    fs::remove(remote() / "f4");
    Words put{"put", "share", "--jobs", jobs};
    for (int i = 0; i < 8; ++i) put.push_back((here() / ("f" + std::to_string(i))).string());
    const ProgramRun sent = server(put);
    EXPECT_EQ(sent.exitCode, 3) << sent.out << sent.err;
    EXPECT_THAT(sent.out, HasSubstr("f3: not sent"));
    EXPECT_THAT(sent.out, HasSubstr("f4: sent"));
    EXPECT_EQ(contentOf(remote() / "f4"), "content");
  }
}

TEST_F(ServerDirectory, NamesThatCanNotBeHereAreSkippedAndTold) {
  for (const char* name : {"good", "a:b", "what?", "COM1", "end.", "same", "SAME"}) write(remote() / name, name);
  const ProgramRun down = server({"sync", "down", "share", "--local", here().string()});
  EXPECT_EQ(down.exitCode, 3);
  EXPECT_EQ(treeOf(here()).size(), 2U) << "good, and one of the two that differ in letter case";
  for (const char* name : {"a:b", "what?", "COM1", "end."}) EXPECT_THAT(down.out, HasSubstr(name));
  const ProgramRun get = server({"get", "share", "-r", "/", "--to", office_.path("got").string()});
  EXPECT_EQ(get.exitCode, 3);
  EXPECT_EQ(treeOf(office_.path("got")).size(), 2U);
}

TEST_F(ServerDirectory, DryRunChangesNothing) {
  writeTree(here());
  write(remote() / "old", "old");
  write(remote() / "dir/deep", "deep");
  const auto there = treeOf(remote());
  const auto local = treeOf(here());
  for (const Words& words :
       {Words{"put", "share", "-r", here().string()}, Words{"get", "share", "-r", "dir", "--to", here().string()},
        Words{"sync", "up", "share", "--local", here().string()},
        Words{"sync", "down", "share", "--local", here().string()}, Words{"mv", "share", "old", "new"},
        Words{"rm", "share", "-r", "old", "dir"}, Words{"mkdir", "share", "made"}, Words{"remove", "share"},
        Words{"add", "other", "--directory", here().string()}}) {
    Words dry{"-n", "server"};
    dry.insert(dry.end(), words.begin(), words.end());
    EXPECT_THAT(office_.must("anna", dry), HasSubstr("would be")) << words.front();
  }
  EXPECT_EQ(treeOf(remote()), there);
  EXPECT_EQ(treeOf(here()), local);
  EXPECT_THAT(must({"list"}), HasSubstr("share"));
  EXPECT_THAT(must({"list"}), Not(HasSubstr("other")));
}

TEST_F(ServerDirectory, RenamesAndDeletesWhatIsMeant) {
  for (const char* name : {"dir/a", "dir/b", "dir/sub/c", "keep"}) write(remote() / name, name);
  EXPECT_EQ(server({"mv", "share", "dir/a", "b"}).exitCode, 1) << "b is there";
  EXPECT_EQ(server({"mv", "share", "dir/a", "keep/a"}).exitCode, 2);
  must({"mv", "share", "dir/a", "A"});
  EXPECT_EQ(treeOf(remote()).count("dir/A"), 1U);
  EXPECT_EQ(server({"rm", "share", "dir"}).exitCode, 1) << "a directory needs -r";
  EXPECT_EQ(server({"rm", "share", "-r", "dir"}).exitCode, 1) << "nobody said yes";
  EXPECT_EQ(server({"rm", "share", "../" + here().filename().string()}).exitCode, 2);
  EXPECT_EQ(server({"rm", "share", "-r", "/"}).exitCode, 2);
  EXPECT_EQ(server({"rm", "share", "keep", "none"}).exitCode, 3);
  office_.must("anna", {"--yes", "server", "rm", "share", "-r", "dir"});
  EXPECT_EQ(treeOf(remote()).size(), 0U);
}

TEST_F(ServerDirectory, PasswordsAreTakenFromPrivateFilesOnlyAndNeverShown) {
  const std::string file = write(office_.path("password"), "secret word\n").string();
  ::chmod(file.c_str(), 0644);
  const Words add{"add", "far", "--host", "127.0.0.1:1", "--user", "u", "--password-file", file};
  const ProgramRun wide = server(add);
  EXPECT_EQ(wide.exitCode, 1);
  EXPECT_THAT(wide.err, HasSubstr("600"));
  ::chmod(file.c_str(), 0600);
  must(add);
  const fs::path settings = office_.path("anna/config/settings.json");
  EXPECT_THAT(contentOf(settings), HasSubstr("secret word"));
  const ProgramRun listed = server({"ls", "far"});
  EXPECT_EQ(listed.exitCode, 1);
  for (const std::string& text : {must({"list"}), listed.out, listed.err}) EXPECT_THAT(text, Not(HasSubstr("secret")));
  for (const auto& entry : fs::recursive_directory_iterator(office_.path("anna/log"))) {
    EXPECT_THAT(entry.is_regular_file() ? contentOf(entry.path()) : "", Not(HasSubstr("secret")));
  }
  ::chmod(settings.c_str(), 0644);
  const ProgramRun leaky = server({"ls", "far"});
  EXPECT_EQ(leaky.exitCode, 1);
  EXPECT_THAT(leaky.err, HasSubstr("chmod 600"));
  must({"add", "far", "--host", "127.0.0.1:1", "--user", "u", "--no-password-stored", "--replace"});
  EXPECT_THAT(contentOf(settings), Not(HasSubstr("secret")));
  EXPECT_EQ(server({"ls", "far"}).exitCode, 5) << "there is nobody to ask for the password";
}

TEST_F(ServerDirectory, LocksOfAProjectHoldAgainstOthers) {
  fs::create_directories(remote() / "House.prj");
  EXPECT_EQ(must({"projects", "share"}), "House\n");
  office_.must("ben", {"server", "add", "share", "--directory", remote().string()});
  EXPECT_THAT(must({"lock", "share", "House", "tb12", "pb3"}), HasSubstr("tb12: locked"));
  const ProgramRun refused = office_.run("ben", {"server", "lock", "share", "House", "tb12"});
  EXPECT_EQ(refused.exitCode, 4) << refused.out << refused.err;
  EXPECT_EQ(office_.run("ben", {"server", "unlock", "share", "House", "tb12"}).exitCode, 4);
  const std::string locks = office_.must("ben", {"server", "locks", "share", "House"});
  EXPECT_THAT(locks, HasSubstr("tb12"));
  EXPECT_THAT(locks, HasSubstr("pb3"));
  // What is fetched while a lock is held, and sent behind its end, locks nothing.
  write(remote() / "House.prj/plan", "p");
  must({"sync", "down", "share", "House.prj", "--local", here().string()});
  must({"unlock", "share", "House", "tb12"});
  must({"sync", "up", "share", "House.prj", "--local", here().string()});
  must({"put", "share", "-r", here().string(), "--to", "House.prj"});
  office_.must("ben", {"server", "lock", "share", "House", "tb12"});
  EXPECT_EQ(server({"locks", "share", "Villa"}).exitCode, 1);
  EXPECT_EQ(server({"lock", "share", "../x", "tb1"}).exitCode, 1);
}

}  // namespace
}  // namespace zephor_test
