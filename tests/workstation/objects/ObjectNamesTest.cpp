#include "workstation/objects/ObjectNames.h"

#include <gtest/gtest.h>

#include <boost/regex.hpp>
#include <fstream>
#include <sstream>
#include <tuple>

#include "host/Files.h"
#include "platform/Text.h"
#include "platform/WindowsTypes.h"
#include "tests/support/TemporaryDirectory.h"
#include "workstation/objects/FolderListing.h"
#include "workstation/objects/LockNames.h"

TEST(ObjectNames, KnownNamesTellKindAndNumber) {
  for (const auto& [path, expectedType, expectedNumber] : {std::tuple{L"tb000001.zdw", eFileType_Teilbild, 1},
                                                           {L"X:\\prj\\a.prj\\TB009999.ZDW", eFileType_Teilbild, 9999},
                                                           {L"Ze999999.000", eFileType_Zeichnung, 999999},
                                                           {L"/a/b/pb123456.zpl", eFileType_Plan, 123456},
                                                           {L"QuorvelBim.xml", eFileType_QuorvelBim, 0},
                                                           {L"\\p\\quorvellayout.XML", eFileType_QuorvelLayout, 0},
                                                           {L"marks.zra", eFileType_ResourceA, 0},
                                                           {L"marks.ZRB", eFileType_ResourceB, 0}}) {
    QuorvelFileType type = eFileType_Unknown;
    int number = -1;
    EXPECT_TRUE(GetTypeFromFilePathName(path, type, number)) << platform::toUtf8(path);
    EXPECT_EQ(type, expectedType) << platform::toUtf8(path);
    EXPECT_EQ(number, expectedNumber) << platform::toUtf8(path);
  }
}

TEST(ObjectNames, OtherNamesAreNoObjects) {
  for (const wchar_t* path :
       {L"", L"tb000000.zdw", L"tb010000.zdw", L"tb00001.zdw", L"tb0000001.zdw", L"tb-00001.zdw", L"tb+00001.zdw",
        L"tb 00001.zdw", L"tb000001.zdw ", L" tb000001.zdw", L"tb000001.zdw.part", L"xtb000001.zdw", L"tb000001.zpl",
        L"pb000000.zpl", L"ze000001.zdw", L"tb00000\x0661.zdw", L"tb000001.zdw\\", L".zra", L"QuorvelBim.xml.bak"}) {
    QuorvelFileType type = eFileType_Plan;
    int number = 5;
    EXPECT_FALSE(GetTypeFromFilePathName(path, type, number)) << platform::toUtf8(path);
    EXPECT_EQ(type, eFileType_Unknown);
    EXPECT_EQ(number, -1);
  }
}

TEST(ObjectNames, TheExpressionOfATypeFindsItsNamesAndNoOthers) {
  std::wistringstream list(
      L"tb000000.zdw|tb000001.zdw|tb009999.zdw|tb010000.zdw|tb000001xzdw|xtb000001.zdw|tb000001.zdw\n|ze000000.000|"
      L"ze000001.000|ze00001.000|pb000000.zpl|pb100000.zpl|pb0000001.zpl|.zra|a.zra|\n.zra|azra|b\\.zra|b\\a.zra|a.zrb|"
      L"a.zrb.x|quorvelbim.xml|quorvelbim_xml|quorvellayout.xml");
  for (std::wstring name; std::getline(list, name, L'|');) {
    QuorvelFileType type = eFileType_Unknown;
    int number = -1;
    GetTypeFromFilePathName(name, type, number);
    for (int each = 0; each < 100; ++each) {
      const wchar_t* expression = GetBoostRegExFilterExpression(static_cast<QuorvelFileType>(each));
      const bool found =
          expression != nullptr && boost::regex_search(name, boost::wregex(expression), boost::match_single_line);
      EXPECT_EQ(found, each == type) << platform::toUtf8(name) << ", type " << each;
    }
  }
}

TEST(LockNames, OtherNamesAreNoLocks) {
  for (const wchar_t* name :
       {L"", L".lck", L"tb000001.zdw.lck", L"tb000001.zdw.007.lck", L"tb000001.zdw.0007", L"tb000001.zdw.0007.lckx",
        L"tb000000.zdw.0007.lck", L"tb000001.zdw.00x7.lck", L"tb000001.zdw.0007-.lck", L"tb000001.zdw.0007-a_b.lck",
        L"tb000001.zdw.0007-123456789.lck", L"tb000001.zdw.9999999999.lck", L"d\\tb000001.zdw.0007.lck",
        L"note.0007.lck"}) {
    EXPECT_FALSE(workstation::parseLockName(name)) << platform::toUtf8(name);
  }
}

TEST(FolderListing, FindsTheObjectsOfOneKindAndTheFirstFreeNumber) {
  const zephor_test::TemporaryDirectory directory;
  for (const char* name : {"tb000001.zdw", "TB000002.ZDW", "tb000004.zdw", "tb000004.zdw.1-1.part", "pb000003.zpl",
                           "tb010000.zdw", "ze000009.000"})
    std::ofstream(directory.path(name)) << "x";
  std::set<int> numbers;
  EXPECT_EQ(workstation::listObjectNumbers(directory.libraryPath(), eFileType_Teilbild, numbers), ERROR_SUCCESS);
  EXPECT_EQ(numbers, (std::set<int>{1, 2, 4}));
  EXPECT_EQ(workstation::nextFreeNumber(directory.libraryPath(), eFileType_Teilbild), 3);
  EXPECT_EQ(workstation::nextFreeNumber(directory.libraryPath(), eFileType_Plan), 1);
  EXPECT_EQ(workstation::nextFreeNumber(directory.libraryPath(), eFileType_ResourceA), 0);

  // A directory that can't be listed never passes for an empty one.
  EXPECT_NE(workstation::listObjectNumbers(directory.libraryPath() + L"\\none", eFileType_Plan, numbers),
            ERROR_SUCCESS);
  EXPECT_EQ(numbers.size(), 3U);
}
