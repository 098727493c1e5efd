// Compressed drawings on two workstations: what goes up compressed comes down compressed, and its content is the same.
#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "tests/journeys/Program.h"

namespace zephor_test {
namespace {

using testing::HasSubstr;

nlohmann::json infoOf(const Office& office, const std::string& user, const std::string& drawing) {
  return nlohmann::json::parse(office.must(user, {"info", drawing, "--check", "--json"}));
}

TEST(Compression, CompressedDrawingGoesUpAndComesDownAndStaysSoThroughAChange) {
  Office office;
  office.found({"anna", "ben"});
  std::string content;
  for (int i = 0; i < 20'000; ++i) content += "LINE " + std::to_string(i % 311) + "\r\n";
  office.must("anna", {"import", office.writeFile("floor.dxf", content).string()});
  office.must("anna", {"lock", "tb1"});
  const auto before = infoOf(office, "anna", "tb1");
  EXPECT_THAT(office.must("anna", {"compress", "tb1"}), HasSubstr("% saved"));
  EXPECT_THAT(office.must("anna", {"compress", "--all"}), HasSubstr("compressed already"));
  office.must("anna", {"save", "tb1"});
  office.must("anna", {"unlock", "tb1"});

  office.must("ben", {"fetch", "tb1"});
  const auto fetched = infoOf(office, "ben", "tb1");
  EXPECT_TRUE(fetched["compressed"]);
  EXPECT_LT(fetched["size"], before["size"]);
  EXPECT_EQ(fetched["uncompressed"], before["size"]);
  EXPECT_EQ(fetched["guid"], before["guid"]);
  EXPECT_EQ(office.exported("ben", "tb1"), content);
  for (const std::string user : {"anna", "ben"}) EXPECT_THAT(office.must(user, {"status"}), HasSubstr("in step"));

  content += "changed by ben";
  office.must("ben", {"lock", "tb1"});
  office.must("ben", {"import", office.writeFile("changed.dxf", content).string(), "--into", "tb1"});
  office.must("ben", {"save", "tb1"});
  EXPECT_THAT(office.must("anna", {"status", "tb1"}), HasSubstr("newer in the store"));
  office.must("anna", {"fetch", "tb1"});
  EXPECT_TRUE(infoOf(office, "anna", "tb1")["compressed"]);
  EXPECT_EQ(office.exported("anna", "tb1"), content);
  office.must("anna", {"expand", "tb1"});
  EXPECT_FALSE(infoOf(office, "anna", "tb1")["compressed"]);
  EXPECT_EQ(office.exported("anna", "tb1"), content);
  for (const std::string user : {"anna", "ben"}) EXPECT_THAT(office.must(user, {"status"}), HasSubstr("in step"));
}

TEST(Compression, CompressedProjectSavesEveryTeilbildCompressedAlsoByForce) {
  Office office;
  office.found({"anna", "ben"});
  office.must("anna", {"project", "set", "--compressed", "on"});
  office.share("anna", "one");
  EXPECT_TRUE(infoOf(office, "anna", "tb1")["compressed"]);
  office.must("anna", {"unlock", "tb1"});
  office.must("ben", {"lock", "tb1"});
  office.must("ben", {"fetch", "tb1"});
  office.must("ben", {"import", office.writeFile("b", "ben's").string(), "--into", "tb1"});
  office.must("ben", {"save", "tb1"});
  office.must("ben", {"unlock", "tb1"});
  office.must("anna", {"lock", "tb1"});
  office.must("anna", {"import", office.writeFile("a", "anna's").string(), "--into", "tb1"});
  office.must("anna", {"save", "tb1", "--force"});
  EXPECT_TRUE(infoOf(office, "anna", "tb1")["compressed"]);
  office.must("ben", {"fetch", "tb1"});
  EXPECT_EQ(office.exported("ben", "tb1"), "anna's");
}

TEST(Compression, FilesOfTheProjectAreItsObjectsAndNoExportGoesOverThem) {
  namespace fs = std::filesystem;
  Office office;
  office.found({"anna"});
  const std::string content(9000, 'x');
  for (int i = 0; i < 2; ++i) office.must("anna", {"import", office.writeFile("a.dxf", content).string()});
  const fs::path drawing = office.project("anna") / "tb000001.zdw";
  const std::string plain = contentOf(drawing);
  for (const fs::path& target : {drawing, office.project("anna") / "tb000002.zdw", office.project("anna") / "new.dxf"})
    EXPECT_EQ(office.run("anna", {"export", "--yes", "tb1", target.string()}).exitCode, 1) << target;
  EXPECT_EQ(contentOf(drawing), plain);
  const std::string target = office.writeFile("mine.dxf", "mine").string();
  fs::permissions(target, fs::perms::owner_read | fs::perms::owner_write);
  EXPECT_EQ(office.run("anna", {"export", "tb1", target}).exitCode, 1) << "nobody can be asked";
  EXPECT_EQ(contentOf(target), "mine");
  office.must("anna", {"export", "--yes", "tb1", target});
  EXPECT_EQ(contentOf(target), content);
  EXPECT_EQ(fs::status(target).permissions(), fs::perms::owner_read | fs::perms::owner_write);

  const auto leaveCopy = [&](const std::string& process) {
    for (const auto& entry : fs::recursive_directory_iterator(office.path("anna"))) {
      if (entry.path().filename() != "Temp") continue;
      const fs::path copy = entry.path() / ("tb000001.zdw." + process + "-1.part");
      fs::create_directories(copy);
      return copy;
    }
    return fs::path("no Temp");
  };
  const fs::path left = leaveCopy("2000000000");
  const fs::path inUse = leaveCopy(std::to_string(getpid()));
  const std::string said = office.must("anna", {"compress", drawing.string(), "tb1", drawing.string()});
  EXPECT_THAT(said, testing::StartsWith("tb1: compressed ("));
  EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1);
  EXPECT_TRUE(infoOf(office, "anna", "tb1")["checked"]);
  EXPECT_FALSE(fs::exists(left));
  EXPECT_TRUE(fs::exists(inUse));
}

TEST(Compression, BadDrawingsAreNamedAndLeftAloneWhileTheGoodOnesAreDone) {
  Office office;
  office.found({"anna"});
  office.must("anna", {"import", office.writeFile("a", std::string(9000, 'x')).string()});
  const std::string good = contentOf(office.project("anna") / "tb000001.zdw");
  std::vector<std::string> command{"compress", "--threads", "3"};
  const struct {
    std::string name;
    std::string bytes;
    const char* said;
  } cases[] = {
      {"tb000002.zdw", "", "not an object file"},
      {"tb000003.zdw", "AC1009", "not an object file"},
      {"tb000004.zdw", good.substr(0, 5000), "cut at 5000"},
      {"plan.zdw", good, "expected a name such as tb000012.zdw"},
      {"pb000001.zpl", good, "expected 33"},
      {"tb000005.zdw", good, "% saved"},
  };
  for (const auto& item : cases) command.push_back(office.writeFile(item.name, item.bytes).string());
  command.push_back(office.path("none/tb000001.zdw").string());
  const ProgramRun run = office.run("nobody", command);
  EXPECT_EQ(run.exitCode, 3);
  EXPECT_THAT(run.out, HasSubstr("does not exist"));
  for (const auto& item : cases) {
    EXPECT_THAT(run.out, HasSubstr(item.said));
    const bool isDone = contentOf(office.path(item.name)) != item.bytes;
    EXPECT_EQ(isDone, item.name == "tb000005.zdw") << item.name;
  }
  for (const char* unknown : {"tb0", "tb10000", "no-drawing"})
    EXPECT_EQ(office.run("anna", {"info", unknown}).exitCode, 2);
  office.must("nobody", {"expand", office.path("tb000005.zdw").string()});
  EXPECT_EQ(contentOf(office.path("tb000005.zdw")), good);
}

}  // namespace
}  // namespace zephor_test
