#include "zephor/ProjectArchives.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>

#include "host/Guid.h"
#include "host/Project.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "tests/support/TestWorkstation.h"
#include "tests/workstation/Fixtures.h"

namespace Quorvel::FileAccess {
namespace {

namespace fs = std::filesystem;

/// Archives that nobody should unpack. Each is a sound project's, with one thing wrong.
constexpr const char* kHostileArchives = R"(
import sys, warnings, zipfile, zlib
warnings.simplefilter('ignore')
info = sys.stdin.read()
def make(name, entries, info=info, mode=0):
    with zipfile.ZipFile(name + '.qpn', 'w', zipfile.ZIP_DEFLATED) as z:
        z.writestr('Project1.Dat.xml', info)
        z.writestr('good.txt', 'good' * 1000)
        for entry in entries:
            e = zipfile.ZipInfo(entry)
            e.external_attr = mode << 16
            e.compress_type = zipfile.ZIP_DEFLATED
            z.writestr(e, b'\0' * 100000)
    return name + '.qpn'
def patch(name, edit):
    data = bytearray(open(name, 'rb').read())
    edit(data)
    open(name, 'wb').write(data)
def last(data, signature, offset, value, size):
    at = data.rindex(signature) + offset
    data[at:at + size] = value.to_bytes(size, 'little')
make('leaving', ['sub/../../leaving.txt'])
make('absolute', ['/tmp/zephor-absolute.txt'])
make('link', ['link'], mode=0o120777)
make('twice', ['same.txt', 'SAME.TXT'])
patch(make('encrypted', ['x']), lambda d: last(d, b'PK\1\2', 8, 1, 2))
patch(make('bomb', ['x']), lambda d: (last(d, b'PK\1\2', 24, 0xF0000000, 4), last(d, b'PK\3\4', 22, 0xF0000000, 4)))
patch(make('crc', ['x']), lambda d: (last(d, b'PK\1\2', 16, 7, 4), last(d, b'PK\3\4', 14, 7, 4)))
make('named-away', [], info.replace('<Name>House</Name>', '<Name>../../away</Name>')
                           .replace('<DirectoryName>House</DirectoryName>', '<DirectoryName>../away</DirectoryName>'))
make('no-xml', [], 'no xml')
patch(make('cut', ['x']), lambda d: d.__delitem__(slice(len(d) - 30, None)))
open('empty.qpn', 'wb').close()
)";

class ProjectArchives : public testing::Test {
 protected:
  ProjectArchives() {
    desk.createTeamAndProject(L"Open");
    desk.writeFile(path(L"House\\tb000001.zdw"), std::string(30000, 'd'));
    desk.writeFile(path(L"House\\BIM\\Wände.xml"), "walls");
    desk.writeFile(path(L"House\\Lck\\tb000001.lck"), "locked");
    desk.writeFile(path(L"House\\BIM\\lck\\x.lck"), "locked");
    PRJ prj = get_ActivePrj();
    prj.shownName = L"House";
    std::wcscpy(prj.directoryName, L"House");
    std::wcscpy(prj.host, L"localhost");
    EXPECT_EQ(NetID_WritePrjInfoByPath(path(L"House"), prj, 0), 0);
  }

  std::wstring path(const std::wstring& name) const { return desk.path(name); }
  std::string root() const { return platform::systemPath(path(L"")); }
  int run(const std::string& command) const {
    return std::system(("cd '" + root() + "' && (" + command + ") > /dev/null 2>&1").c_str());
  }
  bool pack(const std::wstring& archive) {
    return WGO_zipProjectFolder(path(L"House").c_str(), path(archive).c_str(), false, nullptr);
  }
  bool unpack(const std::wstring& archive, const std::wstring& target = L"out") {
    return WGO_unzipProjectFolderToPath(path(archive), path(target), projectName);
  }
  PRJ inspect(const std::wstring& archive) {
    PRJ info;
    EXPECT_TRUE(WGO_getProjectDatXmlFromZipFile(path(archive).c_str(), xml, &info));
    return info;
  }
  /// Names below a directory, "" for one that is not there.
  std::string tree(const std::wstring& directory) const {
    std::set<std::string> names;
    const fs::path top = platform::systemPath(directory);
    if (!fs::exists(top)) return "";
    for (const auto& entry : fs::recursive_directory_iterator(top))
      names.insert(fs::relative(entry.path(), top).string());
    std::string all = ".";
    for (const std::string& name : names) all += " " + name;
    return all;
  }
  /// Texts of the boxes since the last call.
  std::vector<std::wstring> boxes() {
    std::vector<std::wstring> texts;
    for (; told < desk.ui().boxes().size(); ++told) texts.push_back(desk.ui().boxes()[told].text);
    return texts;
  }

  zephor_test::TestWorkstation desk;
  std::wstring projectName;
  std::wstring xml;
  std::size_t told = 0;
};

TEST_F(ProjectArchives, PackedProjectIsAFreshCopyThatUnpacksAgain) {
  const std::string before = desk.readFile(path(L"House\\Project1.Dat.xml"));
  ASSERT_TRUE(pack(L"My copy.QPN"));
  ASSERT_TRUE(pack(L"Other.qpn"));
  EXPECT_EQ(run("unzip -t 'My copy.QPN' && python3 -m zipfile -t 'My copy.QPN'"), 0);
  EXPECT_EQ(desk.readFile(path(L"House\\Project1.Dat.xml")), before);

  const PRJ copy = inspect(L"My copy.QPN");
  EXPECT_EQ(std::wstring(copy.GetProjectName()), L"My copy");
  EXPECT_EQ(std::wstring(copy.host), L"localhost");
  EXPECT_FALSE(copy.IsOndrathProject());
  EXPECT_NE(xml.find(L"<Name>My copy</Name>"), std::wstring::npos);
  PRJ source;
  NetID_ReadPrjInfoByPath(path(L"House"), source);
  for (const PRJ& other : {source, inspect(L"Other.qpn")}) {
    EXPECT_FALSE(Cad::Service::ZP_GUIDValueProvider::IsEqualGUID(copy.projectGuid, other.projectGuid));
  }

  ASSERT_TRUE(unpack(L"My copy.QPN"));
  EXPECT_EQ(projectName, L"My copy");
  EXPECT_EQ(tree(path(L"out")),
            ". My copy.prj My copy.prj/BIM My copy.prj/BIM/Wände.xml My copy.prj/Project1.Dat.xml "
            "My copy.prj/tb000001.zdw");
  EXPECT_EQ(desk.readFile(path(L"out\\My copy.prj\\tb000001.zdw")), std::string(30000, 'd'));
  PRJ unpacked;
  EXPECT_EQ(NetID_ReadPrjInfoByPath(path(L"out\\My copy.prj"), unpacked), 0);
  EXPECT_EQ(std::wstring(unpacked.GetDirectoryName()), L"My copy");
  EXPECT_TRUE(Cad::Service::ZP_GUIDValueProvider::IsEqualGUID(copy.projectGuid, unpacked.projectGuid));
  EXPECT_TRUE(boxes().empty());
  EXPECT_EQ(tree(platform::libraryPath(std::getenv("TMPDIR"))), ".");
  EXPECT_EQ(desk.ui().busyCursorDepth(), 0);
}

TEST_F(ProjectArchives, ArchiveThatIsThereIsAskedAbout) {
  desk.writeFile(path(L"a.zip"), "precious");
  EXPECT_FALSE(pack(L"a.zip"));
  EXPECT_EQ(boxes(), std::vector<std::wstring>{L"\"" + path(L"a.zip") +
                                               L"\"\n\nThis file already exists. Do you want to replace it?"});
  EXPECT_EQ(desk.readFile(path(L"a.zip")), "precious");
  desk.ui().answerWith(IDYES);
  EXPECT_TRUE(pack(L"a.zip"));
  EXPECT_EQ(boxes().size(), 1U);
  {
    const ScopedIgnoreExisting ignore;
    EXPECT_TRUE(pack(L"a.zip"));
  }
  EXPECT_TRUE(boxes().empty());
  EXPECT_FALSE(unpack(L"a.zip")) << "only a packed project has the information";
  EXPECT_EQ(boxes(), std::vector<std::wstring>{path(L"a.zip") + L"\n\nInvalid project zipfile!"});
}

TEST_F(ProjectArchives, FailedPackingLeavesTheOldArchive) {
  desk.writeFile(path(L"a.qpn"), "precious");
  const ScopedIgnoreExisting ignore;
  {
    const zephor_test::FileSizeLimit fullDisk(0);
    EXPECT_FALSE(pack(L"a.qpn"));
  }
  desk.writeFile(path(L"House\\Project1.Dat.xml"), "no xml");
  EXPECT_FALSE(pack(L"a.qpn"));
  EXPECT_FALSE(WGO_zipProjectFolder(path(L"missing").c_str(), path(L"a.qpn").c_str(), false, nullptr));
  EXPECT_FALSE(pack(std::wstring(60, L'n') + L".qpn")) << "no project directory can have this name";
  EXPECT_EQ(boxes().size(), 4U);
  EXPECT_EQ(desk.readFile(path(L"a.qpn")), "precious");
  EXPECT_EQ(tree(platform::libraryPath(std::getenv("TMPDIR"))), ".");
}

TEST_F(ProjectArchives, ProjectThatIsThereIsNeverMixedOrLost) {
  ASSERT_TRUE(pack(L"House.qpn"));
  desk.writeFile(path(L"out\\House.prj\\old.txt"), "precious");
  EXPECT_FALSE(unpack(L"House.qpn"));
  EXPECT_EQ(desk.readFile(path(L"out\\House.prj\\old.txt")), "precious");
  EXPECT_EQ(boxes().size(), 1U);

  desk.ui().answerWith(IDYES);
  EXPECT_TRUE(unpack(L"House.qpn"));
  EXPECT_FALSE(desk.exists(path(L"out\\House.prj\\old.txt")));
  const fs::path trash = fs::path(std::getenv("XDG_DATA_HOME")) / "Trash/files/House.prj/old.txt";
  EXPECT_TRUE(fs::exists(trash)) << trash;
  EXPECT_EQ(tree(path(L"out")).find(".tmp"), std::string::npos);

  fs::remove_all(fs::path(std::getenv("XDG_DATA_HOME")) / "Trash");
  std::system(("rm -rf \"$XDG_DATA_HOME\"; touch \"$XDG_DATA_HOME\"; touch '" + root() + "/.Trash-0'").c_str());
  desk.writeFile(path(L"out\\House.prj.bak\\older.txt"), "precious too");
  desk.ui().answerWith(IDYES);
  EXPECT_TRUE(unpack(L"House.qpn")) << "no trash takes it";
  EXPECT_TRUE(desk.exists(path(L"out\\House.prj.bak\\older.txt")));
}

TEST_F(ProjectArchives, WhatAKilledUnpackingLeftGoesWithTheNext) {
  ASSERT_TRUE(pack(L"House.qpn"));
  const auto leave = [&](const std::wstring& name, bool isMarked) {
    desk.writeFile(path(L"out\\" + name + L"\\half.zdw"), "half");
    if (isMarked) desk.writeFile(path(L"out\\" + name + L"\\.zephor-unfinished"), "");
  };
  const std::wstring guid = Cad::Service::ZP_GUIDValueProvider::printGUID(GetGUID());
  const std::wstring left = L".House.prj." + guid + L".tmp";
  const std::wstring inWork = L".Other.prj." + guid + L".tmp";
  const std::wstring foreign = L".x." + guid + L".tmp";
  leave(left, true);
  leave(inWork, true);
  leave(foreign, false);
  leave(L".notes.tmp", true);
  const std::wstring mark = path(L"out\\" + inWork + L"\\.zephor-unfinished");
  EXPECT_EQ(run("touch -d '2 days ago' out/.*/.zephor-unfinished"), 0);
  HANDLE owner = CreateFileW(mark.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  EXPECT_TRUE(unpack(L"House.qpn"));
  CloseHandle(owner);
  EXPECT_FALSE(desk.exists(path(L"out\\" + left)));
  for (const std::wstring& name : {inWork, foreign, std::wstring(L".notes.tmp")}) {
    EXPECT_TRUE(desk.exists(path(L"out\\" + name + L"\\half.zdw"))) << name.c_str();
  }
  EXPECT_FALSE(desk.exists(path(L"out\\House.prj\\.zephor-unfinished")));
}

TEST_F(ProjectArchives, OpenProjectIsNotReplaced) {
  const std::wstring open = get_ActPrjPath();
  std::wstring archive = platform::fileNameOf(open);
  archive.replace(archive.size() - 4, 4, L".qpn");
  ASSERT_TRUE(pack(archive));
  desk.writeFile(desk.projectPath(L"work.txt"), "precious");
  desk.ui().answerWith(IDYES);
  EXPECT_FALSE(WGO_unzipProjectFolderToPath(path(archive), platform::directoryOf(open), projectName));
  EXPECT_EQ(boxes().size(), 2U);
  EXPECT_EQ(desk.readFile(desk.projectPath(L"work.txt")), "precious");
}

TEST_F(ProjectArchives, HostileArchivesLeaveNothing) {
  desk.writeFile(path(L"make.py"), kHostileArchives);
  if (run("python3 make.py < House/Project1.Dat.xml") != 0) GTEST_SKIP() << "python3 is missing";
  desk.writeFile(path(L"there\\good.txt"), "precious");
  const std::string before = tree(path(L""));
  int count = 0;
  for (const auto& file : fs::directory_iterator(root())) {
    if (file.path().extension() != ".qpn") continue;
    const std::wstring name = platform::fromUtf8(file.path().filename().string());
    SCOPED_TRACE(file.path().filename().string());
    projectName = L"untouched";
    EXPECT_FALSE(unpack(name, L"new\\deep"));
    EXPECT_EQ(projectName, L"untouched");
    EXPECT_EQ(boxes().size(), 1U);
    // What is wrong with the project alone is nothing to a folder.
    if (name != L"named-away.qpn" && name != L"no-xml.qpn") {
      EXPECT_FALSE(WGO_unzipFolder(path(name).c_str(), path(L"folder").c_str()));
      EXPECT_FALSE(WGO_unzipFolder(path(name).c_str(), path(L"there").c_str()));
      EXPECT_EQ(boxes().size(), 2U);
    }
    EXPECT_EQ(desk.readFile(path(L"there\\good.txt")), "precious");
    EXPECT_EQ(tree(path(L"")), before);
    ++count;
  }
  EXPECT_EQ(count, 11);
  EXPECT_FALSE(fs::exists("/tmp/zephor-absolute.txt"));
}

TEST_F(ProjectArchives, ShareProjectIsToldByItsContent) {
  desk.writeFile(path(L"shared\\Link4\\Resource\\tb000002.zdw"), "drawing");
  PRJ linked;
  NetID_ReadPrjInfoByPath(path(L"House"), linked);
  linked.link = true;
  linked.owner = 77;
  NetID_WritePrjInfoByPath(path(L"shared\\Link4\\Resource"), linked, 0);
  ASSERT_TRUE(WGO_zipFolder(path(L"shared").c_str(), path(L"s.zip").c_str(), {}, true));
  ASSERT_TRUE(WGO_zipFolder(path(L"House").c_str(), path(L"plain.zip").c_str(), {L"LCK", L"BIM"}, true));
  EXPECT_TRUE(WGO_isShareProjectZipFile(path(L"s.zip").c_str()));
  EXPECT_FALSE(WGO_isShareProjectZipFile(path(L"plain.zip").c_str()));
  EXPECT_FALSE(WGO_isShareProjectZipFile(path(L"missing.zip").c_str()));
  EXPECT_EQ(std::wstring(inspect(L"s.zip").GetProjectName()), L"House");
  ASSERT_TRUE(unpack(L"s.zip"));
  EXPECT_EQ(boxes(), std::vector<std::wstring>{path(L"s.zip") + L"\n\nThe archive holds a link to a project of another "
                                                                L"user:\n\n#77"});
  EXPECT_EQ(tree(path(L"out")),
            ". House.prj House.prj/Link4 House.prj/Link4/Resource House.prj/Link4/Resource/Project1.Dat.xml "
            "House.prj/Link4/Resource/tb000002.zdw");
  ASSERT_TRUE(WGO_unzipFolder(path(L"plain.zip").c_str(), path(L"plain\\").c_str()));
  EXPECT_EQ(tree(path(L"plain")), ". Project1.Dat.xml tb000001.zdw");
}

TEST_F(ProjectArchives, SingleFilesGoIntoAnArchiveThatTheUserNames) {
  const std::vector<std::wstring> files{path(L"House\\tb000001.zdw"), path(L"House\\BIM\\Wände.xml")};
  WGO_zipFiles(files);
  desk.ui().answerWithFileName(path(L"picked"));
  WGO_zipFiles(files);
  EXPECT_EQ(run("unzip -t picked.zip 'Wände.xml' tb000001.zdw"), 0);
  desk.writeFile(path(L"other\\TB000001.zdw"), "another drawing");
  desk.ui().answerWithFileName(path(L"twice.zip"));
  WGO_zipFiles({files[0], path(L"other\\TB000001.zdw")});
  EXPECT_FALSE(desk.exists(path(L"twice.zip"))) << "one of them would be lost";
  const auto shown = boxes();
  ASSERT_EQ(shown.size(), 4U);
  EXPECT_EQ(shown[0], L"ZIP (*.zip)");
}

TEST_F(ProjectArchives, TenThousandFilesShowTheirNumberAndProgress) {
  fs::create_directory(root() + "/many");
  for (int i = 0; i < 10000; ++i) std::ofstream(root() + "/many/" + std::to_string(i)) << i;
  ASSERT_TRUE(WGO_zipFolder(path(L"many").c_str(), path(L"many.zip").c_str(), {}, false));
  const std::vector<std::wstring> calls = desk.ui().progressCalls();
  EXPECT_EQ(calls.front(), L"create Packing (10000 files)");
  EXPECT_EQ(calls.back(), L"close");
  EXPECT_NE(std::find(calls.begin(), calls.end(), L"position 100"), calls.end());
  ASSERT_TRUE(WGO_unzipFolder(path(L"many.zip").c_str(), path(L"again").c_str()));
  EXPECT_EQ(run("diff -r many again && unzip -t many.zip"), 0);
}

}  // namespace
}  // namespace Quorvel::FileAccess
