#include "platform/Paths.h"

#include <gtest/gtest.h>

#include "TemporaryDirectory.h"

namespace {

using namespace platform;  // NOLINT

class PathsTest : public TemporaryDirectoryTest {};

TEST_F(PathsTest, NamesAreFoundWithoutRegardToCaseAndTheExactOneFirst) {
  write("Projects/Übersicht.ZDW");
  write("Projects/tb1.zdw");
  write("Projects/TB1.zdw");
  write("Projects/Tb1.ZDW");
  write("projects2/other/a");
  const std::string base = root().string();
  EXPECT_EQ(systemPath(path(L"PROJECTS\\üBERSICHT.zdw")), base + "/Projects/Übersicht.ZDW");
  EXPECT_EQ(systemPath(path(L"projects/tb1.zdw")), base + "/Projects/tb1.zdw");
  EXPECT_EQ(systemPath(path(L"Projects\\tB1.zdw")), base + "/Projects/TB1.zdw") << "the first in byte order";
  EXPECT_EQ(systemPath(path(L"PROJECTS2\\Other\\..\\OTHER\\.\\A\\")), base + "/projects2/other/a");
  EXPECT_EQ(systemPath(path(L"PROJECTS\\New\\NewToo.txt")), base + "/Projects/New/NewToo.txt");
}

TEST_F(PathsTest, DrivesLeadToTheirDirectoriesAndNeverAboveThem) {
  write("share/Plans/a.txt");
  std::filesystem::create_directory_symlink(root() / "share", root() / "alias");
  ASSERT_TRUE(setDrive(L'p', (root() / "alias/").string()));
  ASSERT_TRUE(setDrive(L'Q', (root() / "alias/Plans").string()));
  EXPECT_FALSE(setDrive(L'Z', "/tmp"));
  EXPECT_FALSE(setDrive(L'1', "/tmp"));
  EXPECT_EQ(systemPath(L"P:\\..\\..\\plans\\A.TXT"), (root() / "alias/Plans/a.txt").string());
  EXPECT_EQ(libraryPath((root() / "alias/Plans/a.txt").string()), L"Q:\\a.txt");
  EXPECT_EQ(libraryPath((root() / "share/b").string()), L"P:\\b") << "the place that the link leads to";
  EXPECT_EQ(libraryPath((root() / "share").string()), L"P:\\");
  EXPECT_EQ(libraryPath((root() / "shared").string()), path(L"shared")) << "a longer name is another directory";
  setDrive(L'P', "");
  EXPECT_EQ(systemPath(L"P:\\a"), "");
  EXPECT_EQ(systemPath(L""), "");
  EXPECT_EQ(systemPath(std::wstring(L"Z:\\a\0b", 6)), "");
  EXPECT_EQ(systemPath(L"Z:\\"), "/");
  EXPECT_EQ(systemPath(L"\\..\\.."), "/");
}

TEST_F(PathsTest, CanonicalPathsTellWhereALinkLeads) {
  write("real/Inner/x");
  std::filesystem::create_directory_symlink(root() / "real", root() / "link");
  std::filesystem::create_symlink("../outside/new.txt", root() / "real/dangling");
  EXPECT_EQ(weaklyCanonical(path(L"LINK\\inner\\..\\INNER\\X")), path(L"real\\Inner\\x"));
  EXPECT_EQ(weaklyCanonical(path(L"link\\none\\..\\New\\file")), path(L"real\\New\\file"));
  EXPECT_EQ(weaklyCanonical(path(L"link\\dangling")), path(L"outside\\new.txt"));
  EXPECT_EQ(weaklyCanonical(L"B:\\none"), L"");
}

TEST(PathTextTest, RelativePathsLeadFromTheBase) {
  const struct {
    const wchar_t* path;
    const wchar_t* base;
    const wchar_t* expected;
  } cases[] = {
      {L"X:\\prj\\BIM\\a.xml", L"x:\\Prj", L"BIM\\a.xml"},
      {L"\\a\\b\\c", L"\\a\\x\\y", L"..\\..\\b\\c"},
      {L"\\a", L"\\a\\", L"."},
      {L"X:\\a", L"Y:\\a", L""},
      {L"a\\b", L"\\a", L""},
      {L"\\a\\..\\b/c", L"\\b", L"c"},
      {L"\\abc", L"\\ab", L"..\\abc"},
  };
  for (const auto& c : cases) EXPECT_EQ(lexicallyRelative(c.path, c.base), c.expected) << c.path;
}

TEST(PathTextTest, SafeNamesStayInTheirDirectory) {
  const std::wstring longest = std::wstring(129, L'a') + L"\\" + std::wstring(129, L'b');
  for (const wchar_t* const name : {L"tb000001.zdw", L"BIM\\0001/a b.xml", L".hidden", L"COM10", L"console.txt",
                                    L"a..b", L"Grüße", longest.c_str()}) {
    EXPECT_TRUE(isSafeRelativeName(name)) << testing::PrintToString(name);
  }
  for (const wchar_t* const name :
       {L"",   L"\\a",   L"/a",  L"C:\\a",       L"C:a",       L"a\\..\\b", L"..",   L".",  L"a//b",     L"a\\",
        L"a.", L"a \\b", L"nul", L"x\\Com1.txt", L"LPT\u00b9", L"con .txt", L"a\tb", L"a?", L"a:stream", L"a|b"}) {
    EXPECT_FALSE(isSafeRelativeName(name)) << testing::PrintToString(name);
  }
  for (const std::wstring& name :
       {std::wstring(L"a\0b", 3), std::wstring{L'a', wchar_t{0xD800}}, std::wstring(200, L'ü'), longest + L"c"}) {
    EXPECT_FALSE(isSafeRelativeName(name)) << testing::PrintToString(name);
  }
}

}  // namespace
