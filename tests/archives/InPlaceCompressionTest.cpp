#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <thread>

#include "host/Headers.h"
#include "host/ObjectFiles.h"
#include "host/Project.h"
#include "host/ProjectDatabase.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "tests/support/TestWorkstation.h"
#include "tests/workstation/Fixtures.h"
#include "toolkit/ZipW.h"
#include "workstation/objects/ObjectFile.h"
#include "workstation/objects/OpenFiles.h"
#include "zephor/Archives.h"

namespace Quorvel::FileAccess {
namespace {

constexpr unsigned long kToolkitFailed = 0xFFFFFFFF;

class InPlaceCompression : public testing::Test {
 protected:
  InPlaceCompression() { desk.createTeamAndProject(L"House"); }

  std::wstring make(int number, std::size_t lines) {
    std::string text;
    for (std::size_t i = 0; i < lines; ++i) text += "LINE\n 10\n" + std::to_string(i * 7919) + ".25\n";
    desk.writeFile(desk.path(L"plan.dxf"), text);
    std::wstring made;
    std::wstring error;
    workstation::createObject(desk.projectPath(), eFileType_Teilbild, number, L"Stairs", desk.path(L"plan.dxf"),
                              {1, L"Ada"}, made, error);
    return made;
  }
  /// What stands in front of the archive, field by field as the format's description lists it.
  static std::string frontByHand(const std::string& plain, const TeilbildHeader& record) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(plain.data());
    const std::size_t head = HEAD_t_GetSizeOfSectionFileHead();
    const std::size_t tables = HEAD_t_GetSizeOfSectionFileTables(bytes, plain.size());
    std::string file = std::string("QVPK\1") + std::string(43, '\0');
    const auto put = [&file](std::size_t position, std::size_t size, std::size_t value) {
      for (; size-- > 0; value >>= 8U) file[position++] = static_cast<char>(value & 0xFFU);
    };
    cgpver(reinterpret_cast<std::uint8_t*>(file.data() + 16));
    put(24, 8, plain.size());
    std::size_t position = 32;
    for (const std::size_t field : {48UL, 48UL, 1576UL, 1624UL, head, 1624 + head, tables, 1624 + head + tables}) {
      put(position, 2, field);
      position += 2;
    }
    file.append(reinterpret_cast<const char*>(&record), sizeof record).at(48 + 1571) = 1;
    return file + plain.substr(0, head) + plain.substr(HEAD_t_GetPosOfSectionFileTables(bytes, plain.size()), tables);
  }
  static TeilbildHeader row(unsigned number) {
    TeilbildHeader found = clearedHeader<TeilbildHeader>();
    ZP_ProjectDBTeilbildSets(kgunit()).getTeilbildRecord(number, found);
    return found;
  }
  /// Writes as the one who has the file open, if somebody has.
  void put(const std::wstring& path, const std::string& bytes) {
    const auto open = workstation::findOpenFile(path);
    if (!open) return desk.writeFile(path, bytes);
    SetFilePointer(open->file, 0, nullptr, FILE_BEGIN);
    DWORD count = 0;
    WriteFile(open->file, bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr);
    SetEndOfFile(open->file);
  }
  static std::shared_ptr<workstation::OpenFile> openIf(bool wanted, const std::wstring& path) {
    std::wstring error;
    return wanted ? workstation::findOpenFile(workstation::openInCore(path, error)) : nullptr;
  }
  /// Error boxes that an operation shows.
  std::size_t boxesOf(unsigned long expected, const std::function<unsigned long()>& operation) {
    const std::size_t before = desk.ui().boxes().size();
    EXPECT_EQ(operation(), expected);
    return desk.ui().boxes().size() - before;
  }

  zephor_test::TestWorkstation desk{{.traceLevel = 2}};
};

/// A Teilbild that is open in the host (true), and one that is not.
class InPlaceOnBothRoads : public InPlaceCompression, public testing::WithParamInterface<bool> {};

TEST_P(InPlaceOnBothRoads, ADrawingBecomesTheFormatByteForByteAndComesBack) {
  const std::wstring path = make(7, 4000);
  const std::string plain = desk.readFile(path);
  TeilbildHeader record = clearedHeader<TeilbildHeader>();
  ASSERT_EQ(ZP_Header_Teilbild::CheckOpenAndReadInfo(1, 7, record, true), 0);
  const auto open = openIf(GetParam(), path);
  ASSERT_EQ(open != nullptr, GetParam());

  WIN32_FIND_DATAW info{};
  ASSERT_EQ(WGO_zipProjectFileEx(path, &info), 0U);
  const std::string packed = desk.readFile(path);
  const std::string front = frontByHand(plain, record);
  EXPECT_EQ(packed.substr(0, front.size()), front);
  const std::size_t archive = packed.size() - front.size();
  EXPECT_EQ(info.dwReserved1, (plain.size() - archive) / (plain.size() / 100));
  EXPECT_EQ(row(7).compressedMark, 1);
  EXPECT_EQ(row(7).guidFirst, record.guidFirst);
  EXPECT_TRUE(WGO_isZipFile(1, 0, 7));
  EXPECT_EQ(open && open->compressed, GetParam());
  EXPECT_TRUE(desk.hasErrorLine(platform::formatWide(
      L"Quorvel::FileAccess::my_WGO_zipProjectFile: file= \"%s\", fileSize=%d zipSize=%d compression=%d%% ", path,
      plain.size(), archive, info.dwReserved1)));
  EXPECT_EQ(WGO_zipProjectFile(path), 183U);
  EXPECT_EQ(desk.readFile(path), packed);

  desk.writeFile(desk.path(L"part.zip"), packed.substr(front.size()));
  for (const std::string tool : {"unzip -p", "7zz e -so",
                                 "python3 -c 'import sys, zipfile; z = zipfile.ZipFile(sys.argv[1]); [n] = "
                                 "z.namelist(); n == \"tb000007.zdw\" and sys.stdout.buffer.write(z.read(n))'"}) {
    if (std::system(("command -v " + tool.substr(0, tool.find(' ')) + " >/dev/null").c_str()) != 0) {
      std::cout << "[  SKIPPED ] not installed: " << tool << "\n";
      continue;
    }
    const std::string out = desk.directory() + "/out";
    EXPECT_EQ(std::system((tool + " " + desk.directory() + "/part.zip 2>/dev/null >" + out).c_str()), 0) << tool;
    EXPECT_EQ(desk.readFile(desk.path(L"out")), plain) << tool;
  }

  EXPECT_EQ(WGO_unzipProjectFile(1, 0, 7), 0U);
  EXPECT_EQ(desk.readFile(path), plain);
  EXPECT_EQ(row(7).compressedMark, 0);
  EXPECT_FALSE(open && open->compressed);
  std::string seen(plain.size(), '\0');
  DWORD count = 0;
  if (open) ReadFile(open->file, seen.data(), static_cast<DWORD>(seen.size()), &count, nullptr);
  EXPECT_EQ(seen == plain, GetParam()) << "the one who has it open reads on from its start";
  EXPECT_EQ(WGO_unzipProjectFile(path), 13U);
  EXPECT_TRUE(desk.ui().boxes().empty());
}

TEST_P(InPlaceOnBothRoads, ALyingOrCutHeaderIsRefusedAndTheFileStays) {
  const std::wstring path = make(7, 50);
  ASSERT_EQ(WGO_zipProjectFile(path), 0U);
  const std::string good = desk.readFile(path);
  const auto open = openIf(GetParam(), path);
  std::vector<std::string> broken;
  const auto breakAt = [&](std::size_t position, int change) {
    broken.push_back(good);
    broken.back()[position] = static_cast<char>(broken.back()[position] + change);
  };
  for (const int change : {1, -1}) {
    breakAt(4, change);
    for (std::size_t position = 32; position < 48; ++position) breakAt(position, change);
  }
  breakAt(31, 0x80);
  const std::size_t archive = 1624 + 128 + static_cast<std::uint8_t>(good[44]);
  for (const std::size_t size : {48UL, 1000UL, 1624UL, 1700UL, archive}) broken.push_back(good.substr(0, size));
  for (const std::string& bytes : broken) {
    put(path, bytes);
    EXPECT_EQ(boxesOf(13, [&] { return WGO_unzipProjectFile(path); }), 1U);
    EXPECT_EQ(desk.readFile(path), bytes);
  }
  EXPECT_TRUE(desk.hasErrorLine(L"offset 46: archive position"));
  for (std::size_t size = 0; size < 48; ++size) {
    put(path, good.substr(0, size));
    EXPECT_EQ(boxesOf(13, [&] { return WGO_unzipProjectFile(path); }), 0U);
  }
  put(path, good);
  EXPECT_EQ(WGO_unzipProjectFile(path), 0U);
}

TEST_P(InPlaceOnBothRoads, ADamagedArchiveStillGivesItsHeader) {
  const std::wstring path = make(7, 500);
  ASSERT_EQ(WGO_zipProjectFile(path), 0U);
  const std::string good = desk.readFile(path);
  const auto open = openIf(GetParam(), path);
  const std::string cut = good.substr(0, good.size() - 30);
  put(path, cut);
  TeilbildHeader header = clearedHeader<TeilbildHeader>();
  EXPECT_TRUE(WGO_getTBHeaderFromZipFile(1, 0, 7, &header));
  EXPECT_EQ(header.number, 7);
  EXPECT_EQ(boxesOf(kToolkitFailed, [&] { return WGO_unzipProjectFile(path); }), 1U);
  EXPECT_EQ(desk.readFile(path), cut) << "an archive that can't be opened leaves the file";

  const std::string garbled = std::string(good).replace(good.size() / 2, 40, 40, '\x55');
  put(path, garbled);
  EXPECT_EQ(WGO_unzipProjectFile(path), GetParam() ? 24U : kToolkitFailed);
  EXPECT_EQ(desk.readFile(path), GetParam() ? "" : garbled) << "behind a handle the file is cut first";
  EXPECT_EQ(desk.hasErrorLine(L"my_WGO_unzipProjectFile: error at Inflate"), GetParam());
}

TEST_P(InPlaceOnBothRoads, AnEntryOfAnotherSizeIsRefusedBeforeTheCut) {
  const std::wstring path = make(7, 50);
  ASSERT_EQ(WGO_zipProjectFile(path), 0U);
  std::string lying = desk.readFile(path);
  ++lying[24];
  const auto open = openIf(GetParam(), path);
  put(path, lying);
  EXPECT_EQ(boxesOf(13, [&] { return WGO_unzipProjectFile(path); }), 1U);
  EXPECT_EQ(desk.readFile(path), lying);
}

INSTANTIATE_TEST_SUITE_P(OpenInTheHost, InPlaceOnBothRoads, testing::Bool());

TEST_F(InPlaceCompression, OnlyAFileInTheOpenProjectsDirectoryWritesItsRow) {
  const std::string plain = desk.readFile(make(7, 50));
  std::filesystem::create_directory_symlink(platform::systemPath(desk.projectPath()), desk.directory() + "/link");
  for (const auto& [path, writes] : {std::pair{desk.path(L"other\\tb000007.zdw"), false},
                                     {desk.projectPath(L"old\\tb000007.zdw"), false},
                                     {platform::toUpper(desk.projectPath(L"tb000007.zdw")), true},
                                     {desk.path(L"link\\tb000007.zdw"), true}}) {
    desk.writeFile(path, plain);
    for (const int mark : {1, 0}) {
      TeilbildHeader before = clearedHeader<TeilbildHeader>();
      before.compressedMark = 5;
      ZP_ProjectDBTeilbildSets(kgunit()).setTeilbildRecord(7, before);
      EXPECT_EQ(mark == 1 ? WGO_zipProjectFile(path) : WGO_unzipProjectFile(path), 0U);
      EXPECT_EQ(row(7).compressedMark, writes ? mark : 5) << platform::toUtf8(path);
    }
  }
}

TEST_F(InPlaceCompression, ALinkedDrawingIsExpandedWhereItLiesAndKeepsItsPermissions) {
  namespace fs = std::filesystem;
  const fs::path link = platform::systemPath(make(7, 50));
  const fs::path place = fs::path(desk.directory()) / "elsewhere.zdw";
  const std::string plain = desk.readFile(desk.projectPath(L"tb000007.zdw"));
  ASSERT_EQ(WGO_zipProjectFile(desk.projectPath(L"tb000007.zdw")), 0U);
  fs::rename(link, place);
  fs::create_symlink(place, link);
  fs::permissions(place, fs::perms::owner_read | fs::perms::owner_write);
  const auto before = fs::file_time_type::clock::now();
  EXPECT_EQ(WGO_unzipProjectFile(1, 0, 7), 0U);
  EXPECT_TRUE(fs::is_symlink(link));
  EXPECT_EQ(desk.readFile(desk.path(L"elsewhere.zdw")), plain);
  EXPECT_EQ(fs::status(place).permissions(), fs::perms::owner_read | fs::perms::owner_write);
  EXPECT_GE(fs::last_write_time(place) + std::chrono::seconds(1), before);
}

TEST_F(InPlaceCompression, WhatIsNoDrawingOrTooSmallStaysAsItIs) {
  struct Case {
    const wchar_t* name;
    std::string bytes;
    unsigned long zip;
  };
  const Case cases[] = {{L"pb000001.zpl", std::string(200, 'x'), 123},
                        {L"notes.zdw", std::string(200, 'x'), 123},
                        {L"tb000003.zdw", "", 0},
                        {L"tb000004.zdw", std::string(99, 'x'), 0},
                        {L"tb000005.zdw", "QVPK\1 and no more", 0},
                        {L"tb000006.zdw", std::string(110, 'x'), 24}};
  for (const Case& given : cases) {
    const std::wstring path = desk.projectPath(given.name);
    desk.writeFile(path, given.bytes);
    EXPECT_EQ(WGO_zipProjectFile(path), given.zip) << platform::toUtf8(given.name);
    EXPECT_EQ(WGO_unzipProjectFile(path), 13U) << platform::toUtf8(given.name);
    EXPECT_EQ(desk.readFile(path), given.bytes) << platform::toUtf8(given.name);
  }
  EXPECT_EQ(WGO_zipProjectFile(desk.projectPath(L"tb000009.zdw")), 0U);
  EXPECT_EQ(WGO_unzipProjectFile(1, 33, 1), 0U);
}

TEST_F(InPlaceCompression, AFailureInsideTheFileIsShownWithItsCode) {
  const std::wstring unknown = desk.projectPath(L"tb000003.zdw");
  desk.writeFile(unknown, std::string(200, 'x'));
  EXPECT_EQ(boxesOf(13, [&] { return WGO_zipProjectFile(unknown); }), 1U);
  EXPECT_EQ(desk.ui().boxes().back().caption, L"Quorvel::FileAccess::my_WGO_zipProjectFile");
  EXPECT_EQ(desk.readFile(unknown), "") << "the file is cut before its head is looked at";

  const std::wstring path = make(4, 50);
  const auto entry = openIf(true, path);
  put(path, std::string(300, 'x'));
  EXPECT_EQ(boxesOf(0, [&] { return WGO_zipProjectFile(path); }), 0U);
  EXPECT_EQ(desk.readFile(path), std::string(300, 'x')) << "an open file without a header is left alone";

  const std::wstring full = make(5, 50);
  const zephor_test::FileSizeLimit limit(1000);
  EXPECT_NE(WGO_zipProjectFile(full), 0U);
}

TEST_F(InPlaceCompression, ADisabledDrawingIsPassedOverUntilTheGuardEnds) {
  const std::wstring paths[] = {make(7, 50), make(8, 50)};
  for (const auto& path : paths) ASSERT_EQ(WGO_zipProjectFile(path), 0U);
  {
    const ScopedDisableUnzipping guard(eFileType_Teilbild, 7);
    for (const auto& path : paths) EXPECT_EQ(WGO_unzipProjectFile(path), 0U);
    EXPECT_TRUE(WGO_isZipFile(1, 0, 7) && !WGO_isZipFile(1, 0, 8));
  }
  EXPECT_EQ(WGO_unzipProjectFile(paths[0]), 0U);
  EXPECT_FALSE(WGO_isZipFile(1, 0, 7));
}

TEST_F(InPlaceCompression, ThreadsThatMeetAtOneDrawingLoseNothing) {
  const std::wstring path = make(7, 2000);
  const std::string plain = desk.readFile(path);
  for (int round = 0; round < 20; ++round) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) threads.emplace_back([&] { WGO_zipProjectFile(path); });
    for (std::thread& thread : threads) thread.join();
    ASSERT_EQ(WGO_unzipProjectFile(path), 0U);
    ASSERT_EQ(desk.readFile(path), plain);
  }
}

TEST_F(InPlaceCompression, AFileOfAnOrdinaryArchiveIsReplacedOrAdded) {
  const std::wstring zipPath = desk.path(L"project.zip");
  const auto add = [&](const std::string& bytes) {
    desk.writeFile(desk.path(L"a.txt"), bytes);
    return WGO_addFileToProjectZipFile(zipPath, desk.path(L"a.txt"));
  };
  EXPECT_EQ(add("first"), 2U);
  CkZipW zip;
  ASSERT_TRUE(zip.NewZip(zipPath.c_str()) && zip.AppendData(L"kept.txt", CkByteData()) && zip.WriteZipAndClose());
  EXPECT_EQ(add("first"), 0U);
  EXPECT_EQ(add("second"), 0U);
  ASSERT_TRUE(zip.OpenZip(zipPath.c_str()) && zip.get_NumEntries() == 2);
  CkByteData bytes;
  ASSERT_TRUE(zip.GetEntryByName(L"a.txt")->Inflate(bytes));
  EXPECT_EQ(std::string(bytes.getData(), bytes.getData() + bytes.getSize()), "second");
  desk.writeFile(zipPath, "no archive");
  EXPECT_NE(add("first"), 0U);
  EXPECT_EQ(desk.ui().boxes().size(), 1U);
}

}  // namespace
}  // namespace Quorvel::FileAccess
