// Path numbers and the file layer.

#include <gtest/gtest.h>

#include <thread>

#include "host/Files.h"
#include "tests/workstation/Fixtures.h"

namespace {

using zephor_test::offline;
using zephor_test::TestWorkstation;

TEST(PathNumbers, AScopeIsSeenByItsThreadAlone) {
  TestWorkstation workstation(offline());
  std::wstring inOther;
  const ScopedPathPut outer(18, L"C:\\Outer");
  std::thread([&inOther] {
    const ScopedPathPut own(29, L"C:\\Own\\");
    inOther = lfinigC(18) + lfinigC(29);
  }).join();
  EXPECT_EQ(inOther, L"C:\\Data\\Net\\C:\\Own\\");
  {
    const ScopedPathPut inner(18, L"C:\\Inner");
    lfinipC(18, L"C:\\Set");
    EXPECT_EQ(lfinigC(18), L"C:\\Set\\");
  }
  EXPECT_EQ(lfinigC(18), L"C:\\Outer\\") << "what is set within ends with it";
  EXPECT_EQ(lfinigC(29), L"C:\\Data\\Std\\");
}

TEST(FileLayer, NamesStayInTheirDirectory) {
  TestWorkstation workstation(offline());
  std::wstring path = L"untouched";
  for (const wchar_t* name : {L"", L"..\\x", L"\\x", L"C:\\x", L"a\\..\\x", L"a\tb"}) {
    EXPECT_NE(lffnamC(8, name, path), 0) << name;
  }
  EXPECT_NE(lffnamC(1, L"x", path), 0) << "no project is open";
  EXPECT_EQ(path, L"untouched");
  EXPECT_EQ(lffnamC(8, L"BIM\\x.xml", path), 0);
  EXPECT_EQ(path, L"C:\\Data\\Net\\BIM\\x.xml");
}

TEST(FileLayer, TreesAreCopiedWholeAndNeverIntoThemselves) {
  TestWorkstation workstation(offline());
  workstation.writeFile(L"C:\\from\\a\\b.txt", "b");
  EXPECT_EQ(ldircpRAW(L"C:\\from", L"C:\\to", 0), 0);
  EXPECT_EQ(workstation.readFile(L"C:\\to\\a\\b.txt"), "b");
  EXPECT_NE(ldircpRAW(L"C:\\from", L"C:\\from\\a\\again", 0), 0);
  EXPECT_NE(ldircpRAW(L"C:\\from", L"C:\\FROM", 0), 0);
  EXPECT_NE(ldircpRAW(L"C:\\from", L"C:\\from\\..again", 0), 0);
  EXPECT_NE(ldircpRAW(L"C:\\missing", L"C:\\to", 0), 0);
  EXPECT_EQ(ldirrmc(L"C:\\from\\"), 0);
  EXPECT_FALSE(workstation.exists(L"C:\\from"));
  for (const wchar_t* root : {L"", L"C:", L"C:\\", L"\\", L"C:\\to\\.."}) EXPECT_NE(ldirrmc(root), 0) << root;
  EXPECT_TRUE(workstation.exists(L"C:\\to"));
}

}  // namespace
