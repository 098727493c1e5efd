#include <gtest/gtest.h>

#include "workstation/store/CloudStore.h"

namespace {

using workstation::FileClass;

TEST(StoreNames, AcceptedNamesAreBroughtToOneForm) {
  struct Row {
    const wchar_t *given, *name;
    FileClass fileClass;
  };
  for (const Row& row : {Row{L"a.txt", L"a.txt", FileClass::Ordinary},
                         {L"\\tb000012.zdw", L"tb000012.zdw", FileClass::Teilbild},
                         {L"TB000012.ZDW", L"TB000012.ZDW", FileClass::Teilbild},
                         {L"pb000001.zpl", L"pb000001.zpl", FileClass::Plan},
                         {L"ze000001.000", L"ze000001.000", FileClass::Resource},
                         {L"bim/x.xml", L"bim\\x.xml", FileClass::Bim},
                         {L"BIM\\tb000001.zdw", L"BIM\\tb000001.zdw", FileClass::Bim},
                         {L"BIM", L"BIM", FileClass::Ordinary},
                         {L"old\\tb000001.zdw", L"old\\tb000001.zdw", FileClass::Ordinary},
                         {L"Ünïcode é.dat", L"Ünïcode é.dat", FileClass::Ordinary}}) {
    std::wstring name;
    EXPECT_TRUE(workstation::normaliseStoreName(row.given, name));
    EXPECT_EQ(name, row.name);
    EXPECT_EQ(workstation::classOfName(name), row.fileClass);
  }
}

TEST(StoreNames, NamesThatLeaveTheProjectAreRefused) {
  for (const wchar_t* name : {L"", L"\\", L"..", L"..\\a", L"a\\..\\..\\b", L"/../a", L"\\\\server\\a", L"C:\\a",
                              L"a:b", L"a\\\\b", L"a|b", L"nul", L"con.txt", L"a\nb", L"end.", L"end ", L"a\\.\\b"}) {
    std::wstring out = L"untouched";
    EXPECT_FALSE(workstation::normaliseStoreName(name, out));
    EXPECT_EQ(out, L"untouched");
  }
}

}  // namespace
