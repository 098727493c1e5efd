// What every implementation of the cloud's seam has to do. A program takes the suite in by including this file once and
// instantiating CloudContract with a factory of its store.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "host/Cloud.h"
#include "host/Headers.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "platform/Time.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/workstation/store/StoreWorld.h"

namespace zephor_test {

enum class Person { Owner, Admin, Editor, Viewer, Stranger };

/// A team with one project, in it all persons but the stranger.
class CloudWorld {
 public:
  virtual ~CloudWorld() = default;
  /// The controller of a person at one of their workstations (1 or 2), not logged in yet.
  virtual ICloudController& controller(Person person, int workstation = 1) = 0;
  virtual std::wstring team() const = 0;
  virtual std::wstring project() const = 0;
};

struct CloudWorldFactory {
  const char* store;
  std::unique_ptr<CloudWorld> (*make)();
};
inline void PrintTo(const CloudWorldFactory& factory, std::ostream* out) {
  *out << factory.store;
}

class CloudContract : public ::testing::TestWithParam<CloudWorldFactory> {
 protected:
  CloudContract() : world(GetParam().make()), project(world->project()), team(world->team()) {}

  ICloudProjectService& as(Person person, int workstation = 1) {
    return *world->controller(person, workstation).GetProjectService();
  }
  std::wstring directory(const std::string& name) {
    std::filesystem::create_directories(temporary.path(name));
    return platform::libraryPath(temporary.path(name));
  }
  void write(const std::string& name, const std::string& content) {
    const std::filesystem::path path = temporary.path("out/" + name);
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << content;
  }
  /// Uploads local files of these names whose content is their name, unless they are written already.
  CloudStatus upload(Person person, const std::vector<std::wstring>& names, int workstation = 1) {
    failed.clear();
    std::vector<QuorvFileInfo> files(names.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
      files[i].name = names[i];
      std::string local = platform::toUtf8(names[i]);
      std::replace(local.begin(), local.end(), '\\', '/');
      if (!std::filesystem::exists(temporary.path("out/" + local))) write(local, local);
    }
    return as(person, workstation).UploadFilesAndMetadata(project, directory("out"), files, 0, {}, failed);
  }
  std::string got(const std::string& name) { return contentOf(temporary.path("in/" + name)); }
  bool has(const std::wstring& name) {
    bool found = false;
    EXPECT_EQ(as(Person::Viewer).HasFile(project, name, found), 0);
    return found;
  }
  std::vector<std::wstring> names(int kind) {
    std::vector<std::wstring> list;
    EXPECT_EQ(as(Person::Viewer).GetQuorvelProjectResourceFiles(project, list, kind), 0);
    return list;
  }

  TemporaryDirectory temporary;
  std::unique_ptr<CloudWorld> world;
  std::wstring project;
  std::wstring team;
  std::vector<std::wstring> failed;
};

TEST_P(CloudContract, RoleDecidesWhatAPersonMayDo) {
  ASSERT_EQ(upload(Person::Owner, {L"a.txt", L"b.txt", L"c.txt"}), 0);
  struct Row {
    Person person;
    bool sees, writes, isAdmin;
    const wchar_t* file;
  };
  for (const Row& row : {Row{Person::Stranger, false, false, false, L"a.txt"},
                         {Person::Viewer, true, false, false, L"a.txt"},
                         {Person::Editor, true, true, false, L"a.txt"},
                         {Person::Admin, true, true, true, L"b.txt"},
                         {Person::Owner, true, true, true, L"c.txt"}}) {
    SCOPED_TRACE(static_cast<int>(row.person));
    ICloudProjectService& service = as(row.person);
    std::wstring text;
    std::wstring teamName;
    std::wstring teamUuid;
    EXPECT_EQ(service.GetProjectInfo(project, text, teamName, teamUuid) == 0, row.sees);
    EXPECT_EQ(service.CheckProjectAccess(project, text) == 0, row.sees);
    EXPECT_EQ(text.empty(), row.sees);
    std::vector<std::wstring> lines;
    EXPECT_EQ(service.GetProjectFileInfos(project, lines, kCloudKindOrdinary) == 0, row.sees);
    EXPECT_EQ(lines.empty(), !row.sees);
    EXPECT_EQ(service.DownloadFile(project, directory("in"), L"c.txt", L"") == 0,
              row.sees || row.person == Person::Owner);
    bool inRole = true;
    EXPECT_EQ(service.IsCurrentUserInRole(inRole, project, 1) == 0, row.sees);
    EXPECT_EQ(inRole, row.isAdmin);
    service.IsCurrentUserInRole(inRole, project, 2);
    EXPECT_EQ(inRole, row.writes);
    EXPECT_EQ(upload(row.person, {L"new.txt"}) == 0, row.writes);
    EXPECT_EQ(failed.size(), row.writes ? 0U : 1U);
    EXPECT_EQ(service.DeleteFile(project, row.file) == 0, row.writes);
    if (!row.isAdmin) {
      EXPECT_NE(service.DeleteProject(project), 0);
    }
  }
  EXPECT_EQ(as(Person::Admin).DeleteProject(project), 0);
  std::wstring text;
  EXPECT_NE(as(Person::Owner).CheckProjectAccess(project, text), 0);
}

TEST_P(CloudContract, FileArrivesElsewhereWithContentTimeAndHeader) {
  const std::string content(3'000'000, 'x');
  write("tb000007.zdw", content);
  const FILETIME written = platform::fromTicks(133'500'000'012'345'678U);
  const std::wstring source = directory("out") + L"\\tb000007.zdw";
  const HANDLE handle =
      CreateFileW(source.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(handle, INVALID_HANDLE_VALUE);
  SetFileTime(handle, nullptr, nullptr, &written);
  SetFilePointer(handle, 17, nullptr, FILE_BEGIN);
  const TeilbildHeader header = teilbildHeader(7, 42, u"Süd");
  QuorvFileInfo file;
  file.name = source;  // a full path below the base directory, and held open by the host
  file.fileHandle = reinterpret_cast<std::intptr_t>(handle);
  file.header = &header;
  file.AddMetadata(L"origin", L"test");
  ASSERT_EQ(
      as(Person::Editor)
          .UploadFilesAndMetadata(project, platform::toUpper(directory("out")), {file}, sizeof header, {}, failed),
      0);
  EXPECT_EQ(SetFilePointer(handle, 0, nullptr, FILE_CURRENT), 17U);
  CloseHandle(handle);

  ASSERT_EQ(as(Person::Viewer, 2).DownloadFile(project, directory("in"), L"TB000007.zdw", L".Part"), 0);
  EXPECT_EQ(got("tb000007.zdw") + got("TB000007.zdw"), content);
  const auto status = platform::fileStatus(directory("in") + L"\\tb000007.zdw");
  EXPECT_EQ(platform::toTicks(status.writeTime), platform::toTicks(written));
  HeaderMap headers{{L"TB000007.ZDW", {}}, {L"tb000008.zdw", {}}};
  EXPECT_GE(as(Person::Viewer).GetFileHeaders(project, headers, 3264), 0);
  EXPECT_TRUE(headers[L"tb000008.zdw"].empty());
  const HeaderBits& bits = headers[L"TB000007.ZDW"];
  std::vector<std::uint8_t> image(bits.size() / 8);
  for (std::size_t i = 0; i < bits.size(); ++i) {
    if (bits[i]) image[i / 8] = static_cast<std::uint8_t>(image[i / 8] | (1U << (i % 8)));
  }
  TeilbildHeader read = clearedHeader<TeilbildHeader>();
  ASSERT_TRUE(datwaTBHeaderToLatest(image.data(), kStoredHeaderSize, static_cast<std::uint32_t>(image.size()), read));
  EXPECT_EQ(std::memcmp(&read, &header, sizeof header), 0);  // NOLINT(bugprone-suspicious-memory-comparison)
}

TEST_P(CloudContract, LetterCaseDoesNotTellFilesApart) {
  ASSERT_EQ(upload(Person::Editor, {L"BIM\\Walls.xml"}), 0);
  ASSERT_EQ(upload(Person::Admin, {L"bim\\WALLS.xml"}), 0);
  EXPECT_THAT(names(kCloudKindBim), ::testing::ElementsAre(L"bim\\WALLS.xml"));
  EXPECT_TRUE(has(L"BIM/walls.XML"));
  ASSERT_EQ(as(Person::Editor).DownloadFile(project, directory("in"), L"BIM\\walls.xml", L""), 0);
  EXPECT_EQ(got("BIM/walls.xml"), "bim/WALLS.xml");
}

TEST_P(CloudContract, WhatCanGoGoesAndTheRestIsNamed) {
  write("good.txt", "good");
  std::vector<QuorvFileInfo> files(4);
  files[0].name = L"absent.txt";
  files[1].name = L"\\good.txt";
  files[2].name = L"..\\escape.txt";
  files[3].name = L"aux";
  const CloudStatus status = as(Person::Editor).UploadFilesAndMetadata(project, directory("out"), files, 0, {}, failed);
  EXPECT_EQ(static_cast<std::uint32_t>(status), 0x80070002U);
  EXPECT_THAT(failed, ::testing::ElementsAre(L"absent.txt", L"..\\escape.txt", L"aux"));
  EXPECT_TRUE(has(L"good.txt"));
  EXPECT_THAT(names(kCloudKindWholeProject), ::testing::ElementsAre(L"good.txt"));
}

TEST_P(CloudContract, ListingsAreByKind) {
  ASSERT_EQ(upload(Person::Editor, {L"tb000001.zdw", L"pb000002.zpl", L"ze000003.000", L"BIM\\sub\\a.xml",
                                    L"design\\x.txt", L"old\\tb000001.zdw"}),
            0);
  using ::testing::ElementsAre;
  EXPECT_THAT(names(2), ElementsAre(L"tb000001.zdw"));
  EXPECT_THAT(names(4), ElementsAre(L"BIM\\sub\\a.xml"));
  std::vector<std::wstring> copyCheck;
  for (const int kind : {1, 4, 3}) {
    for (const std::wstring& name : names(kind)) copyCheck.push_back(name);
  }
  EXPECT_THAT(copyCheck, ::testing::UnorderedElementsAreArray(names(5)));
  std::vector<std::wstring> lines;
  ASSERT_EQ(as(Person::Viewer).GetProjectFileInfos(project, lines, 3), 0);
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_THAT(
      platform::toUtf8(lines[0]),
      ::testing::MatchesRegex("pb000002\\.zpl\\|Edda\\|..\\...\\..... ..:..:..\\|..\\...\\..... ..:..:..\\|1\\|12"));
  EXPECT_NE(as(Person::Viewer).GetProjectFileInfos(project, lines, 99), 0);
  HeaderMap headers;
  EXPECT_LT(as(Person::Viewer).GetAllFileHeaders(project, headers, 3264, 1), 0);
  EXPECT_GE(as(Person::Viewer).GetAllFileHeaders(project, headers, 3264, 3), 0);
  EXPECT_EQ(headers.count(L"pb000002.zpl"), 1U);
}

TEST_P(CloudContract, DeletedFilesAreListedByClassUntilTheyComeBack) {
  const std::vector<std::wstring> all{L"ze000003.000", L"a.txt", L"tb000001.zdw", L"pb000002.zpl", L"BIM\\b.xml"};
  ASSERT_EQ(upload(Person::Editor, all), 0);
  for (const std::wstring& name : all) EXPECT_EQ(as(Person::Editor).DeleteFile(project, name), 0);
  EXPECT_NE(as(Person::Editor).DeleteFile(project, all[0]), 0);
  for (int i = 0; i < 5; ++i) {
    EXPECT_THAT(names(kCloudKindDeletedFirst + i), ::testing::ElementsAre(all[static_cast<std::size_t>(i)]));
  }
  EXPECT_FALSE(has(L"a.txt"));
  EXPECT_EQ(as(Person::Viewer).DownloadFile(project, directory("in"), L"a.txt", L""), 2);
  ASSERT_EQ(upload(Person::Admin, {L"A.txt"}), 0);
  EXPECT_TRUE(names(33).empty());
  for (const auto& [kind, count] : {std::pair{32, -1}, {33, 1}, {34, 0}, {36, 0}, {37, -1}}) {
    std::vector<std::wstring> lines;
    EXPECT_EQ(as(Person::Viewer).GetProjectFileInfos(project, lines, kind) == 0, count >= 0) << kind;
    EXPECT_EQ(lines.size(), static_cast<std::size_t>(std::max(count, 0))) << kind << ": live files, of the new share";
  }
  EXPECT_TRUE(has(L"a.txt"));
}

TEST_P(CloudContract, DownloadLeavesWhatItMayNotReplace) {
  ASSERT_EQ(upload(Person::Editor, {L"a.txt", L"sub\\b.txt"}), 0);
  const std::wstring in = directory("in");
  std::ofstream(temporary.path("in/a.txt")) << "mine";
  std::filesystem::permissions(temporary.path("in/a.txt"), std::filesystem::perms::owner_read);
  EXPECT_EQ(static_cast<std::uint32_t>(as(Person::Editor).DownloadFile(project, in, L"a.txt", L"")), 0x80070005U);
  EXPECT_EQ(got("a.txt"), "mine");
  std::filesystem::create_directory_symlink(temporary.path("out"), temporary.path("in/sub"));
  EXPECT_NE(as(Person::Editor).DownloadFile(project, in, L"sub\\b.txt", L""), 0);
  EXPECT_NE(as(Person::Editor).DownloadFile(project, in, L"..\\a.txt", L""), 0);
  EXPECT_EQ(as(Person::Editor).DownloadFile(project, in, L"none.txt", L""), 2);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(temporary.path("in")), {}), 2);
}

TEST_P(CloudContract, BulkDownloadBringsAllThatThereIs) {
  ASSERT_EQ(upload(Person::Editor, {L"tb000001.zdw", L"a.txt", L"BIM\\b.xml", L"c.txt"}), 0);
  const std::wstring in = directory("in");
  EXPECT_EQ(as(Person::Viewer).DownloadQuorvelProjectBaseFiles(project, in, 1, {}), 0);
  EXPECT_EQ(got("a.txt") + got("tb000001.zdw") + got("BIM/b.xml"), "a.txt");
  EXPECT_EQ(as(Person::Viewer).DownloadQuorvelProjectBwsFiles(project, in, true, failed, {}), 0);
  EXPECT_EQ(got("BIM/b.xml"), "BIM/b.xml");
  std::ofstream(temporary.path("in/A.TXT")) << "stale";
  std::filesystem::remove(temporary.path("in/a.txt"));
  EXPECT_EQ(as(Person::Viewer).DownloadQuorvelProjectFiles(project, in, kCloudKindWholeProject, {}), 0);
  EXPECT_EQ(got("A.TXT"), "a.txt");
  EXPECT_EQ(got("tb000001.zdw"), "tb000001.zdw");
  std::filesystem::remove(temporary.path("in/c.txt"));
  EXPECT_NE(as(Person::Viewer).DownloadFiles(project, in, {L"absent", L"c.txt"}, {}), 0);
  EXPECT_EQ(got("c.txt"), "c.txt");
}

TEST_P(CloudContract, ProjectLocksExcludeEachOtherAndWriters) {
  using enum OndrathProjectLockType;
  struct Row {
    OndrathProjectLockType held, wanted;
    bool granted;
  };
  constexpr auto R = eOndrathProjectLock_Read;
  constexpr auto W = eOndrathProjectLock_Write;
  constexpr auto X = eOndrathProjectLock_Exclusive;
  for (const Row& row : {Row{R, R, true}, {R, W, true}, {R, X, false}, {W, R, true}, {W, W, false}, {X, R, false}}) {
    EXPECT_EQ(as(Person::Editor).SetProjectLock(team, project, row.held), 0);
    EXPECT_EQ(as(Person::Editor).SetProjectLock(team, project, row.held), 0);
    EXPECT_EQ(as(Person::Admin).SetProjectLock(team, project, row.wanted) == 0, row.granted) << row.held << row.wanted;
    EXPECT_EQ(upload(Person::Owner, {L"a.txt"}) == 0, row.held == R && row.wanted != W);
    EXPECT_NE(as(Person::Editor).RemoveProjectLock(team, project, L"", true), 0);
    EXPECT_EQ(as(Person::Owner).RemoveProjectLock(team, project, L"", true), 0);
  }
  EXPECT_EQ(as(Person::Editor).SetProjectLock(team, project, W), 0);
  EXPECT_NE(as(Person::Editor, 2).SetProjectLock(team, project, W), 0);
  std::vector<LockUser> locks;
  EXPECT_EQ(as(Person::Viewer).GetProjectLocks(team, project, locks), 0);
  ASSERT_EQ(locks.size(), 1U);
  EXPECT_EQ(locks[0].name, L"Edda");
  EXPECT_EQ(as(Person::Editor).RemoveProjectLock(team, project, L"", false), 0);
  EXPECT_EQ(upload(Person::Owner, {L"a.txt"}), 0);
}

}  // namespace zephor_test
