#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "host/Files.h"
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

void putField(std::string& bytes, std::size_t position, std::size_t size, std::uint64_t value) {
  for (std::size_t i = 0; i < size; ++i, value >>= 8U) bytes.at(position + i) = static_cast<char>(value & 0xFFU);
}

class InPlaceCompression : public testing::Test {
 protected:
  InPlaceCompression() : desk(options()) { desk.createTeamAndProject(L"House"); }
  static zephor_test::TestWorkstationOptions options() {
    zephor_test::TestWorkstationOptions options;
    options.traceLevel = 2;
    return options;
  }

  std::wstring make(int number, const std::string& content) {
    desk.writeFile(desk.path(L"plan.dxf"), content);
    std::wstring made;
    std::wstring error;
    const DWORD code = workstation::createObject(desk.projectPath(), eFileType_Teilbild, number, L"Stairs",
                                                 desk.path(L"plan.dxf"), {1, L"Ada"}, made, error);
    EXPECT_EQ(code, 0U) << platform::toUtf8(error);
    return made;
  }
  static std::string drawing(std::size_t lines) {
    std::string text;
    for (std::size_t i = 0; i < lines; ++i) text += "LINE\n 10\n" + std::to_string(i * 7919) + ".25\n";
    return text;
  }
  /// What stands in front of the archive, field by field as the format's description lists it.
  static std::string frontByHand(const std::string& plain, const TeilbildHeader& record) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(plain.data());
    const std::size_t head = HEAD_t_GetSizeOfSectionFileHead();
    const std::size_t tables = HEAD_t_GetSizeOfSectionFileTables(bytes, plain.size());
    std::string file(48, '\0');
    file.replace(0, 5, "QVPK\1");
    cgpver(reinterpret_cast<std::uint8_t*>(file.data() + 16));
    putField(file, 24, 8, plain.size());
    const std::size_t fields[] = {48, 48, 1576, 1624, head, 1624 + head, tables, 1624 + head + tables};
    for (std::size_t i = 0; i < std::size(fields); ++i) putField(file, 32 + 2 * i, 2, fields[i]);
    file.append(reinterpret_cast<const char*>(&record), sizeof record);
    file.at(48 + 1571) = 1;
    return file + plain.substr(0, head) + plain.substr(HEAD_t_GetPosOfSectionFileTables(bytes, plain.size()), tables);
  }
  static TeilbildHeader row(unsigned number) {
    TeilbildHeader found = clearedHeader<TeilbildHeader>();
    ZP_ProjectDBTeilbildSets(kgunit()).getTeilbildRecord(number, found);
    return found;
  }
  /// The content through the handle of the one who has the file open, or from the disk.
  std::string contentOf(const std::wstring& path) {
    const auto open = workstation::findOpenFile(path);
    if (!open) return desk.readFile(path);
    std::string bytes(GetFileSize(open->file, nullptr), '\0');
    SetFilePointer(open->file, 0, nullptr, FILE_BEGIN);
    DWORD count = 0;
    ReadFile(open->file, bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr);
    return bytes;
  }
  void put(const std::wstring& path, const std::string& bytes) {
    const auto open = workstation::findOpenFile(path);
    if (!open) return desk.writeFile(path, bytes);
    SetFilePointer(open->file, 0, nullptr, FILE_BEGIN);
    DWORD count = 0;
    WriteFile(open->file, bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr);
    SetEndOfFile(open->file);
  }
  std::shared_ptr<workstation::OpenFile> openIf(bool wanted, const std::wstring& path) {
    std::wstring error;
    return wanted ? workstation::findOpenFile(workstation::openInCore(path, error)) : nullptr;
  }
  std::size_t boxesOf(const std::function<void()>& work) {
    const std::size_t before = desk.ui().boxes().size();
    work();
    return desk.ui().boxes().size() - before;
  }

  zephor_test::TestWorkstation desk;
};

/// A Teilbild that is open in the host (true), and one that is not.
class InPlaceOnBothRoads : public InPlaceCompression, public testing::WithParamInterface<bool> {};

TEST_P(InPlaceOnBothRoads, ADrawingBecomesTheFormatByteForByteAndComesBack) {
  const std::wstring path = make(7, drawing(4000));
  const std::string plain = desk.readFile(path);
  TeilbildHeader record = clearedHeader<TeilbildHeader>();
  ASSERT_EQ(ZP_Header_Teilbild::CheckOpenAndReadInfo(1, 7, record, true), 0);
  const auto open = openIf(GetParam(), path);
  ASSERT_EQ(open != nullptr, GetParam());

  WIN32_FIND_DATAW info{};
  ASSERT_EQ(WGO_zipProjectFileEx(path, &info), 0U);
  const std::string packed = contentOf(path);
  const std::string front = frontByHand(plain, record);
  EXPECT_EQ(packed.substr(0, front.size()), front);
  const std::size_t archive = packed.size() - front.size();
  EXPECT_EQ(info.dwReserved1, (plain.size() - archive) / (plain.size() / 100));
  EXPECT_EQ(row(7).compressedMark, 1);
  EXPECT_EQ(row(7).guidFirst, record.guidFirst);
  EXPECT_TRUE(WGO_isZipFile(1, 0, 7));
  EXPECT_TRUE(desk.hasErrorLine(platform::formatWide(
      L"Quorvel::FileAccess::my_WGO_zipProjectFile: file= \"%s\", fileSize=%d zipSize=%d compression=%d%% ", path,
      plain.size(), archive, info.dwReserved1)));
  EXPECT_EQ(WGO_zipProjectFile(path), 183U);
  EXPECT_EQ(contentOf(path), packed);

  desk.writeFile(desk.path(L"part.zip"), packed.substr(front.size()));
  const std::string zip = desk.directory() + "/part.zip";
  for (const std::string& tool : {"unzip -p " + zip, "7zz e -so " + zip,
                                  "python3 -c 'import sys,zipfile;z=zipfile.ZipFile(sys.argv[1]);"
                                  "assert z.namelist()==[\"tb000007.zdw\"];"
                                  "sys.stdout.buffer.write(z.read(\"tb000007.zdw\"))' " +
                                      zip}) {
    const std::string name = tool.substr(0, tool.find(' '));
    if (std::system(("command -v " + name + " >/dev/null").c_str()) != 0) {
      std::cout << "[  SKIPPED ] " << name << " is not here: the archive is not read by it\n";
      continue;
    }
    EXPECT_EQ(std::system((tool + " >" + desk.directory() + "/out 2>/dev/null").c_str()), 0) << name;
    EXPECT_EQ(desk.readFile(desk.path(L"out")), plain) << name;
  }

  EXPECT_EQ(open && open->compressed, GetParam());
  EXPECT_EQ(WGO_unzipProjectFile(1, 0, 7), 0U);
  EXPECT_EQ(contentOf(path), plain);
  EXPECT_EQ(row(7).compressedMark, 0);
  EXPECT_FALSE(open && open->compressed);
  EXPECT_EQ(WGO_unzipProjectFile(path), 13U);
  EXPECT_EQ(contentOf(path), plain);
  std::wstring error;
  EXPECT_EQ(workstation::verifyObject(path, error), 0U) << platform::toUtf8(error);
  EXPECT_TRUE(desk.ui().boxes().empty());
}

TEST_P(InPlaceOnBothRoads, ALyingOrCutHeaderIsRefusedAndTheFileStays) {
  const std::wstring path = make(7, drawing(50));
  ASSERT_EQ(WGO_zipProjectFile(path), 0U);
  const std::string good = desk.readFile(path);
  const auto open = openIf(GetParam(), path);
  std::vector<std::string> broken;
  for (const std::size_t field : {4U, 32U, 34U, 36U, 38U, 40U, 42U, 44U, 46U}) {
    for (const int change : {1, -1}) {
      broken.push_back(good);
      broken.back()[field] = static_cast<char>(broken.back()[field] + change);
    }
    broken.push_back(good);
    broken.back()[field] = broken.back()[field + 1] = '\xFF';
  }
  broken.push_back(good);
  broken.back()[31] = '\x80';
  const std::size_t archive = 1624 + 128 + static_cast<std::uint8_t>(good[44]);
  for (const std::size_t size : {48UL, 1000UL, 1624UL, 1700UL, archive}) broken.push_back(good.substr(0, size));
  for (const std::string& bytes : broken) {
    put(path, bytes);
    EXPECT_EQ(boxesOf([&] { EXPECT_EQ(WGO_unzipProjectFile(path), 13U); }), 1U);
    EXPECT_EQ(contentOf(path), bytes);
  }
  for (std::size_t size = 0; size < 48; ++size) {
    put(path, good.substr(0, size));
    EXPECT_EQ(boxesOf([&] { EXPECT_EQ(WGO_unzipProjectFile(path), 13U); }), 0U);
  }
  EXPECT_TRUE(desk.hasErrorLine(L"offset 46: archive position"));
  put(path, good);
  EXPECT_EQ(WGO_unzipProjectFile(path), 0U);
}

TEST_P(InPlaceOnBothRoads, ADamagedArchiveStillGivesItsHeader) {
  const std::wstring path = make(7, drawing(500));
  ASSERT_EQ(WGO_zipProjectFile(path), 0U);
  const std::string good = desk.readFile(path);
  const auto open = openIf(GetParam(), path);
  const std::string cut = good.substr(0, good.size() - 30);
  put(path, cut);
  TeilbildHeader header = clearedHeader<TeilbildHeader>();
  EXPECT_TRUE(WGO_getTBHeaderFromZipFile(1, 0, 7, &header));
  EXPECT_EQ(header.number, 7);
  EXPECT_EQ(boxesOf([&] { EXPECT_EQ(WGO_unzipProjectFile(path), kToolkitFailed); }), 1U);
  EXPECT_EQ(contentOf(path), cut) << "an archive that can't be opened leaves the file";

  std::string garbled = good;
  garbled.replace(good.size() / 2, 40, 40, '\x55');
  put(path, garbled);
  EXPECT_EQ(WGO_unzipProjectFile(path), GetParam() ? 24U : kToolkitFailed);
  EXPECT_EQ(contentOf(path), GetParam() ? "" : garbled) << "behind a handle the file is cut first";
  EXPECT_EQ(desk.hasErrorLine(L"my_WGO_unzipProjectFile: error at Inflate"), GetParam());
}

INSTANTIATE_TEST_SUITE_P(OpenInTheHost, InPlaceOnBothRoads, testing::Bool());

TEST_F(InPlaceCompression, WhatIsNoDrawingOrTooSmallStaysAsItIs) {
  struct Case {
    const wchar_t* name;
    std::string bytes;
    unsigned long zip;
    unsigned long unzip;
  };
  const Case cases[] = {{L"pb000001.zpl", std::string(200, 'x'), 123, 13},
                        {L"notes.zdw", std::string(200, 'x'), 123, 13},
                        {L"tb000003.zdw", "", 0, 13},
                        {L"tb000004.zdw", std::string(99, 'x'), 0, 13},
                        {L"tb000005.zdw", "QVPK" + std::string(43, '\0'), 0, 13},
                        {L"tb000006.zdw", std::string(110, 'x'), 24, 13}};
  for (const Case& given : cases) {
    const std::wstring path = desk.projectPath(given.name);
    desk.writeFile(path, given.bytes);
    EXPECT_EQ(WGO_zipProjectFile(path), given.zip) << platform::toUtf8(given.name);
    EXPECT_EQ(WGO_unzipProjectFile(path), given.unzip) << platform::toUtf8(given.name);
    EXPECT_EQ(desk.readFile(path), given.bytes) << platform::toUtf8(given.name);
  }
  EXPECT_EQ(WGO_zipProjectFile(desk.projectPath(L"tb000009.zdw")), 0U);
  EXPECT_EQ(WGO_unzipProjectFile(1, 33, 1), 0U);
  EXPECT_FALSE(WGO_isZipFile(1, 33, 1));
}

TEST_F(InPlaceCompression, AFailureInsideTheFileIsShownWithItsCode) {
  const std::wstring unknown = desk.projectPath(L"tb000003.zdw");
  desk.writeFile(unknown, std::string(200, 'x'));
  EXPECT_EQ(boxesOf([&] { EXPECT_EQ(WGO_zipProjectFile(unknown), 13U); }), 1U);
  EXPECT_EQ(desk.ui().boxes().back().caption, L"Quorvel::FileAccess::my_WGO_zipProjectFile");
  EXPECT_EQ(desk.readFile(unknown), "") << "the file is cut before its head is looked at";

  const std::wstring open = make(4, drawing(50));
  const auto entry = openIf(true, open);
  put(open, std::string(300, 'x'));
  EXPECT_EQ(boxesOf([&] { EXPECT_EQ(WGO_zipProjectFile(open), 0U); }), 0U) << "an open file of no header is left";
  EXPECT_EQ(contentOf(open), std::string(300, 'x'));

  const std::wstring full = make(5, drawing(50));
  const zephor_test::FileSizeLimit limit(1000);
  EXPECT_EQ(boxesOf([&] { EXPECT_NE(WGO_zipProjectFile(full), 0U); }), 1U);
}

TEST_F(InPlaceCompression, ADisabledDrawingIsPassedOverUntilTheGuardEnds) {
  const std::wstring seven = make(7, drawing(50));
  const std::wstring eight = make(8, drawing(50));
  for (const auto& path : {seven, eight}) ASSERT_EQ(WGO_zipProjectFile(path), 0U);
  {
    const ScopedDisableUnzipping guard(eFileType_Teilbild, 7);
    for (const auto& path : {seven, eight}) EXPECT_EQ(WGO_unzipProjectFile(path), 0U);
    EXPECT_TRUE(WGO_isZipFile(seven.c_str(), nullptr));
    EXPECT_FALSE(WGO_isZipFile(eight.c_str(), nullptr));
  }
  EXPECT_EQ(WGO_unzipProjectFile(seven), 0U);
  EXPECT_FALSE(WGO_isZipFile(seven.c_str(), nullptr));
  EXPECT_FALSE(WGO_isProjectCompressed());
  PRJ compressed = get_ActivePrj();
  compressed.compressed = true;
  set_ActivePrj(compressed);
  EXPECT_TRUE(WGO_isProjectCompressed());
}

TEST_F(InPlaceCompression, ThreadsThatMeetAtOneDrawingLoseNothing) {
  const std::wstring path = make(7, drawing(2000));
  const std::string plain = desk.readFile(path);
  for (int round = 0; round < 20; ++round) {
    std::vector<std::thread> threads;
    std::atomic<int> done{0};
    for (int i = 0; i < 4; ++i) threads.emplace_back([&] { done += WGO_zipProjectFile(path) == 0 ? 1 : 0; });
    for (std::thread& thread : threads) thread.join();
    EXPECT_GE(done, 1);
    ASSERT_EQ(WGO_unzipProjectFile(path), 0U);
    ASSERT_EQ(desk.readFile(path), plain);
  }
}

TEST_F(InPlaceCompression, AFileOfAnOrdinaryArchiveIsReplacedOrAdded) {
  const std::wstring zipPath = desk.path(L"project.zip");
  const std::wstring file = desk.path(L"a.txt");
  const auto add = [&](const std::string& bytes) {
    desk.writeFile(file, bytes);
    return WGO_addFileToProjectZipFile(zipPath, file);
  };
  EXPECT_EQ(add("first"), 2U);
  desk.writeFile(zipPath, "no archive");
  EXPECT_EQ(boxesOf([&] { EXPECT_NE(add("first"), 0U); }), 1U);
  CkZipW made;
  ASSERT_TRUE(made.NewZip(zipPath.c_str()) && made.AppendData(L"kept.txt", CkByteData()) && made.WriteZipAndClose());
  EXPECT_EQ(add("first"), 0U);
  EXPECT_EQ(add("second"), 0U);
  CkZipW zip;
  ASSERT_TRUE(zip.OpenZip(zipPath.c_str()));
  EXPECT_EQ(zip.get_NumEntries(), 2);
  CkByteData bytes;
  ASSERT_TRUE(zip.GetEntryByName(L"a.txt")->Inflate(bytes));
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(bytes.getData()), bytes.getSize()), "second");
}

}  // namespace
}  // namespace Quorvel::FileAccess
