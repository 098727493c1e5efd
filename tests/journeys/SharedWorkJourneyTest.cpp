// Two workstations, one project: what one saves reaches the other, and nothing that somebody did is lost on the way.
#include <gmock/gmock.h>

#include <fstream>
#include <thread>

#include "tests/journeys/Program.h"

namespace zephor_test {
namespace {

using std::filesystem::path;
using testing::HasSubstr;

TEST(SharedWork, SavedDrawingReachesTheOtherWorkstationByteForByte) {
  Office office;
  office.found({"anna", "ben"});
  const path drawing = path(ZEPHOR_EXAMPLES) / "ground-floor.dxf";
  const std::string binary = std::string("\0\xFF\r\n\x1A", 5) + std::string(5'000'000, '\x7F');
  office.must("anna", {"import", drawing.string(), office.writeFile("big.bin", binary).string()});
  office.must("anna", {"import", office.writeFile("empty.txt", "").string(), "--as", "pb"});
  office.must("anna", {"import", drawing.string(), "--as", "ze", "--number", "7"});
  office.must("anna", {"lock", "tb1", "tb2", "pb1", "ze7"});
  office.must("anna", {"save", "tb1", "tb2", "pb1", "ze7"});

  office.must("ben", {"fetch", "--all"});
  const auto fetched = [&](const std::string& object) { return office.exported("ben", object); };
  EXPECT_EQ(fetched("tb1"), contentOf(drawing));
  EXPECT_EQ(fetched("tb2"), binary);
  EXPECT_EQ(fetched("pb1"), "");
  EXPECT_EQ(fetched("ze7"), contentOf(drawing));
  const std::string status = office.must("ben", {"status", "--json"});
  EXPECT_THAT(status, Not(HasSubstr("changed")));
  EXPECT_EQ(std::count(status.begin(), status.end(), '\n'), 4);
}

TEST(SharedWork, ChangesGoBackAndForthAndTheVersionRises) {
  Office office;
  office.found({"anna", "ben"});
  office.share("anna", "first");
  office.must("anna", {"unlock", "tb1"});
  for (int round = 0; round < 3; ++round) {
    const std::string writer = round % 2 == 0 ? "ben" : "anna";
    const std::string reader = round % 2 == 0 ? "anna" : "ben";
    const std::string content = "round " + std::to_string(round);
    office.must(writer, {"fetch", "tb1"});
    office.must(writer, {"lock", "tb1"});
    office.must(writer, {"import", office.writeFile("change.dxf", content).string(), "--into", "tb1"});
    EXPECT_THAT(office.must(writer, {"status", "tb1"}), HasSubstr("changed here"));
    office.must(writer, {"save", "tb1"});
    office.must(writer, {"unlock", "tb1"});
    EXPECT_THAT(office.must(reader, {"status", "tb1"}), HasSubstr("newer in the store"));
    office.must(reader, {"fetch", "tb1"});
    EXPECT_EQ(office.exported(reader, "tb1"), content);
  }
}

TEST(SharedWork, ObjectThatSomebodyElseHoldsIsRefusedAndStaysAsItIs) {
  Office office;
  office.found({"anna", "ben"});
  office.share("anna", "anna's");
  office.must("ben", {"fetch", "tb1"});
  office.must("ben", {"import", office.writeFile("b.dxf", "ben's").string(), "--into", "tb1"});

  const ProgramRun lock = office.run("ben", {"lock", "tb1"});
  EXPECT_EQ(lock.exitCode, 4);
  EXPECT_THAT(lock.out, HasSubstr("anna"));
  EXPECT_EQ(office.run("ben", {"save", "tb1"}).exitCode, 4);
  EXPECT_EQ(office.run("ben", {"remove", "tb1"}).exitCode, 4);
  EXPECT_EQ(office.run("ben", {"unlock", "tb1"}).exitCode, 4);
  office.must("anna", {"project", "lock", "--kind", "exclusive"});
  EXPECT_EQ(office.run("ben", {"project", "lock"}).exitCode, 4);
  EXPECT_EQ(office.run("ben", {"project", "unlock"}).exitCode, 4);

  EXPECT_EQ(office.exported("ben", "tb1"), "ben's");
  office.must("anna", {"fetch", "tb1"});
  EXPECT_EQ(office.exported("anna", "tb1"), "anna's");
}

TEST(SharedWork, FetchNeverOverwritesAChangeThatWasNotSaved) {
  Office office;
  office.found({"anna", "ben"});
  office.share("anna", "one");
  office.must("ben", {"fetch", "tb1"});
  office.must("ben", {"import", office.writeFile("b.dxf", "ben's").string(), "--into", "tb1"});
  office.must("anna", {"import", office.writeFile("a.dxf", "two").string(), "--into", "tb1"});
  office.must("anna", {"save", "tb1"});
  office.must("anna", {"unlock", "tb1"});

  EXPECT_EQ(office.run("ben", {"fetch", "tb1"}).exitCode, 1);
  EXPECT_THAT(office.must("ben", {"status", "tb1"}), HasSubstr("changed on both sides"));
  office.must("ben", {"lock", "tb1"});
  EXPECT_EQ(office.run("ben", {"save", "tb1"}).exitCode, 1) << "saved over a version that was never seen";
  EXPECT_EQ(office.exported("ben", "tb1"), "ben's");

  office.must("ben", {"fetch", "tb1", "--force"});
  EXPECT_EQ(office.exported("ben", "tb1"), "two");
  EXPECT_FALSE(std::filesystem::is_empty(office.project("ben") / "Backup"));
}

TEST(SharedWork, OfTwoSavesAtOnceOneIsToldThatItCameTooLate) {
  Office office;
  office.found({"anna", "ben"});
  for (int round = 0; round < 5; ++round) {
    ProgramRun runs[2];
    const std::string users[] = {"anna", "ben"};
    std::vector<std::thread> threads;
    for (int i = 0; i < 2; ++i) {
      std::ofstream(office.project(users[i]) / "list.txt") << users[i] << std::string(round, '.');
      threads.emplace_back([&, i] { runs[i] = office.run(users[i], {"save", "list.txt"}); });
    }
    for (std::thread& thread : threads) thread.join();
    ASSERT_NE(runs[0].exitCode == 0, runs[1].exitCode == 0) << runs[0].out << runs[1].out;
    const int loser = runs[0].exitCode == 0 ? 1 : 0;
    EXPECT_THAT(runs[loser].out, testing::AnyOf(HasSubstr("saved meanwhile by " + users[1 - loser]),
                                                HasSubstr("refused (changed here and in the store")));
    office.must(users[loser], {"fetch", "--force", "list.txt"});
    EXPECT_EQ(contentOf(office.project(users[loser]) / "list.txt"), users[1 - loser] + std::string(round, '.'));
  }
}

TEST(SharedWork, TwoDrawingsOfOneNumberAreNeverTakenForVersionsOfOne) {
  Office office;
  office.found({"anna", "ben"});
  const std::string file = office.writeFile("a.dxf", "anna's").string();
  office.must("ben", {"import", office.writeFile("b.dxf", "ben's").string(), "--number", "5"});
  office.must("anna", {"import", file, "--number", "5"});
  office.must("anna", {"import", file, "--into", "tb5"});
  office.must("anna", {"lock", "tb5"});
  office.must("anna", {"save", "tb5"});
  office.must("anna", {"unlock", "tb5"});
  EXPECT_EQ(office.run("ben", {"fetch", "--all"}).exitCode, 1);
  office.must("ben", {"lock", "tb5"});
  EXPECT_EQ(office.run("ben", {"save", "tb5"}).exitCode, 1);
  EXPECT_EQ(office.exported("ben", "tb5"), "ben's");
  EXPECT_THAT(office.must("ben", {"import", file}), HasSubstr("tb1:")) << "numbers of the store are not free";
  office.must("anna", {"import", file});
  office.must("anna", {"lock", "tb1"});
  office.must("anna", {"save", "tb1"});
  EXPECT_THAT(office.must("ben", {"import", file}), HasSubstr("tb2:"));
}

TEST(SharedWork, ForcedSaveKeepsTheOtherVersionAndReachesTheOthers) {
  Office office;
  office.found({"anna", "ben"});
  office.share("anna", "one");
  office.must("ben", {"fetch", "tb1"});
  office.must("anna", {"import", office.writeFile("a.dxf", "anna's").string(), "--into", "tb1"});
  office.must("anna", {"save", "tb1"});
  office.must("anna", {"unlock", "tb1"});
  office.must("ben", {"lock", "tb1"});
  office.must("ben", {"import", office.writeFile("b.dxf", "ben's").string(), "--into", "tb1"});
  office.must("ben", {"save", "tb1", "--force"});
  EXPECT_FALSE(std::filesystem::is_empty(office.project("ben") / "Backup"));
  office.must("anna", {"fetch", "tb1"});
  EXPECT_EQ(office.exported("anna", "tb1"), "ben's");
}

TEST(SharedWork, ChangeOfAZeichnungIsSeenHoweverSoonAfterASave) {
  Office office;
  office.found({"anna", "ben"});
  office.must("anna", {"create", "ze", "Z", "--number", "7"});
  office.must("anna", {"lock", "ze7"});
  for (const std::string content : {"a", "b", "c"}) {
    office.must("anna", {"import", office.writeFile("z.txt", content).string(), "--into", "ze7"});
    EXPECT_THAT(office.must("anna", {"save", "ze7"}), HasSubstr("saved"));
    office.must("ben", {"fetch", "ze7"});
    EXPECT_EQ(office.exported("ben", "ze7"), content);
  }
}

TEST(SharedWork, ParallelFailuresAreAllRemembered) {
  Office office;
  office.found({"anna"});
  std::vector<std::thread> makers;
  for (int i = 0; i < 4; ++i) {
    makers.emplace_back([&] { office.must("anna", {"create", "tb", "Parallel"}); });
  }
  for (auto& maker : makers) maker.join();
  office.must("anna", {"lock", "tb1", "tb2", "tb3", "tb4"});
  std::filesystem::remove_all(office.store() / "incoming");
  office.writeFile("store/incoming", "no directory");
  std::vector<std::thread> savers;
  for (int i = 1; i <= 4; ++i) {
    savers.emplace_back([&office, i] { office.run("anna", {"--no", "save", "tb" + std::to_string(i)}); });
  }
  for (auto& saver : savers) saver.join();
  const std::string list = office.must("anna", {"not-uploaded", "list", "--json"});
  EXPECT_EQ(std::count(list.begin(), list.end(), '\n'), 4) << list;
}

TEST(SharedWork, FailedUploadAnsweredNoIsRememberedAndCaughtUp) {
  Office office;
  office.found({"anna", "ben"});
  office.must("anna", {"import", office.writeFile("a.dxf", "kept").string()});
  office.must("anna", {"lock", "tb1"});
  const path incoming = office.store() / "incoming";
  std::filesystem::rename(incoming, office.path("aside"));
  office.writeFile("store/incoming", "no directory");
  const ProgramRun failed = office.run("anna", {"--no", "save", "tb1"});
  EXPECT_EQ(failed.exitCode, 1);
  EXPECT_THAT(failed.err, HasSubstr("tb000001.zdw"));
  EXPECT_THAT(office.must("anna", {"not-uploaded", "list", "--json"}), HasSubstr("tb000001.zdw"));
  EXPECT_THAT(contentOf(office.project("anna") / "NotUploadedFiles.xml"),
              HasSubstr("   <file type=TEILBILD number=1>"));
  EXPECT_EQ(office.run("ben", {"fetch", "tb1"}).exitCode, 1);

  std::filesystem::remove(incoming);
  std::filesystem::rename(office.path("aside"), incoming);
  office.must("anna", {"not-uploaded", "retry"});
  EXPECT_EQ(office.must("anna", {"not-uploaded", "list"}), "");
  EXPECT_FALSE(std::filesystem::exists(office.project("anna") / "NotUploadedFiles.xml"));
  office.must("ben", {"fetch", "tb1"});
  EXPECT_EQ(office.exported("ben", "tb1"), "kept");
}

TEST(SharedWork, TwoProcessesRacingForOneLockHaveOneWinner) {
  Office office;
  office.found({"anna", "ben"});
  office.must("anna", {"create", "tb", "Contested"});
  for (int round = 0; round < 5; ++round) {
    int codes[2] = {-1, -1};
    std::thread other([&] { codes[1] = office.run("ben", {"lock", "tb1"}).exitCode; });
    codes[0] = office.run("anna", {"lock", "tb1"}).exitCode;
    other.join();
    EXPECT_EQ(codes[0] + codes[1], 4) << codes[0] << " and " << codes[1];
    office.must(codes[0] == 0 ? "anna" : "ben", {"unlock", "tb1"});
  }
}

TEST(SharedWork, RemovedObjectGoesToTheTrashAndIsToldToTheOthers) {
  Office office;
  office.found({"anna", "ben"});
  office.share("anna", "x");
  office.must("anna", {"create", "pb", "Sheet"});
  office.must("anna", {"lock", "pb1"});
  office.must("anna", {"save", "pb1"});
  office.must("anna", {"unlock", "tb1", "pb1"});
  office.must("ben", {"fetch", "--all"});
  office.must("anna", {"remove", "tb1", "pb1"});
  EXPECT_TRUE(std::filesystem::exists(office.path("anna-desktop") / "Trash" / "files" / "tb000001.zdw"));
  EXPECT_THAT(office.must("ben", {"status", "tb1"}), HasSubstr("removed from the store"));

  office.must("ben", {"import", office.writeFile("b.dxf", "ben's").string(), "--into", "tb1"});
  EXPECT_EQ(office.must("ben", {"deleted", "--json"}),
            R"({"item":"tb1","class":"teilbild","here":true,"unsent":true,"file":"tb000001.zdw"}
{"item":"pb1","class":"plan","here":true,"unsent":false,"file":"pb000001.zpl"}
)");
  office.must("ben", {"deleted", "--remove"});
  EXPECT_EQ(office.exported("ben", "tb1"), "ben's") << "never sent";
  EXPECT_FALSE(std::filesystem::exists(office.project("ben") / "pb000001.zpl"));
  EXPECT_EQ(treeOf(office.project("ben") / "Backup").size(), 1U);
}

TEST(SharedWork, OrdinaryFileTravelsByItsNameBelowTheProject) {
  Office office;
  office.found({"anna", "ben"});
  std::filesystem::create_directories(office.project("anna") / "BIM");
  office.writeFile("notes.txt", "hello");
  std::filesystem::copy(office.path("notes.txt"), office.project("anna") / "BIM" / "notes.txt");
  office.must("anna", {"save", "BIM/notes.txt"});
  office.must("ben", {"fetch", "BIM\\notes.txt"});
  EXPECT_EQ(contentOf(office.project("ben") / "BIM" / "notes.txt"), "hello");
  EXPECT_EQ(office.run("ben", {"fetch", "BIM/none.txt"}).exitCode, 1);

  std::filesystem::remove(office.project("ben") / "BIM" / "notes.txt");
  office.writeFile("ben.txt", "ben's notes");
  std::filesystem::copy(office.path("ben.txt"), office.project("ben") / "BIM" / "notes.txt");
  office.writeFile("anna.txt", "anna's newer notes");
  std::filesystem::copy(office.path("anna.txt"), office.project("anna") / "BIM" / "notes.txt",
                        std::filesystem::copy_options::overwrite_existing);
  office.must("anna", {"save", "BIM/notes.txt"});
  EXPECT_EQ(office.run("ben", {"fetch", "BIM/notes.txt"}).exitCode, 1);
  EXPECT_EQ(office.run("ben", {"save", "BIM/notes.txt"}).exitCode, 1);
  EXPECT_EQ(contentOf(office.project("ben") / "BIM" / "notes.txt"), "ben's notes");
}

/// A viewer's list is never sent, so two who join at the same time give themselves the same number.
TEST(SharedWork, EverybodyKnowsEverybodyByOneNumber) {
  Office office;
  office.found({"anna"});
  for (const auto& [user, role] : {std::pair<std::string, std::string>("ben", "viewer"), {"dan", "editor"}}) {
    office.must(user, {"init", "--store", office.store().string(), "--name", user, "--email", user + "@example.org"});
    office.must("anna", {"project", "add", user + "@example.org", "--role", role});
    office.must(user, {"open", "Library"});
  }
  for (const std::string giver : {"dan", "anna"}) {
    std::ofstream(office.project(giver) / (giver + ".txt")) << "news";
    office.must(giver, {"save", giver + ".txt"});
    for (const char* user : {"anna", "dan", "ben"}) office.must(user, {"sync"});
  }
  const auto list = [&](const std::string& user) { return contentOf(office.project(user) / "Net" / "user.cfg"); };
  EXPECT_THAT(list("anna"), HasSubstr("ben@example.org"));
  EXPECT_EQ(list("ben"), list("anna"));
  EXPECT_EQ(list("dan"), list("anna"));
  EXPECT_EQ(office.run("ben", {"fetch", "Net/user.cfg"}).exitCode, 2) << "the services alone keep it";
}

}  // namespace
}  // namespace zephor_test
