#include "cloud/CloudPaths.h"

#include <gtest/gtest.h>

#include "tests/support/CloudFixture.h"

namespace Quorvel::FileAccess {
namespace {

const std::wstring kUuid = L"0c1e6f5e-7a0e-4c1e-9d5e-0000000000ab";

struct IdentityCase {
  std::wstring path;
  const wchar_t* bySplit;   ///< null: refused
  const wchar_t* bySearch;  ///< null: refused
};

TEST(CloudPaths, APathBecomesTheNameBelowTheProjectDirectory) {
  const std::wstring root = L"Z:\\nowhere\\" + kUuid + L".prj";
  const IdentityCase cases[] = {
      {root + L"\\tb000012.zdw", L"tb000012.zdw", L"tb000012.zdw"},
      {L"Z:/nowhere/" + kUuid + L".prj/BIM/x.xml", L"BIM\\x.xml", L"BIM\\x.xml"},
      {root + L"\\BIM\\..\\tb000012.zdw", L"tb000012.zdw", nullptr},
      {root + L"\\..\\user.cfg", nullptr, nullptr},
      {root + L"\\BIM\\..\\..\\..\\secret", nullptr, nullptr},
      {root, nullptr, nullptr},
      {root + L".backup\\tb000012.zdw", nullptr, nullptr},
      {L"Z:\\nowhere\\" + platform::toUpper(kUuid) + L".prj\\tb000012.zdw", nullptr, nullptr},
      {L"Z:\\nowhere\\x" + kUuid + L".prj\\tb000012.zdw", nullptr, L"tb000012.zdw"},
  };
  for (const IdentityCase& expected : cases) {
    std::wstring root1;
    std::wstring root2;
    std::wstring name;
    EXPECT_EQ(Ondrath_SplitProjectPath(kUuid, expected.path, root1, name), expected.bySplit != nullptr)
        << platform::toUtf8(expected.path);
    EXPECT_EQ(name, expected.bySplit != nullptr ? expected.bySplit : L"");
    EXPECT_EQ(splitAtProjectDirectory(kUuid, expected.path, root2, name), expected.bySearch != nullptr)
        << platform::toUtf8(expected.path);
    EXPECT_EQ(name, expected.bySearch != nullptr ? expected.bySearch : L"");
  }
  std::wstring base;
  std::wstring name;
  EXPECT_FALSE(Ondrath_SplitProjectPath(L"", L"Z:\\.prj\\tb000012.zdw", base, name));
  EXPECT_TRUE(splitAtProjectDirectory(kUuid, root + L"\\BIM\\x.xml", base, name));
  EXPECT_EQ(base, root + L"\\");
}

using CloudPathsInProject = zephor_test::CloudFixture;

TEST_F(CloudPathsInProject, AFileIsResolvedIntoTheProjectsCache) {
  const std::wstring cache = prj().GetFullProjectPath(true);
  for (const std::wstring& own : {std::wstring(), uuid, platform::toUpper(uuid) + L".PRJ"}) {
    EXPECT_EQ(Ondrath_ResolveProjectPath(prj(), own, L"a.txt"), cache + L"\\a.txt");
    EXPECT_EQ(Ondrath_ResolveProjectPath(prj(), own, L"\\a.txt"), cache + L"\\a.txt");
  }
  for (const wchar_t* directory : {L"BIM", L"BIM\\", L"\\BIM/"}) {
    EXPECT_EQ(Ondrath_ResolveProjectPath(prj(), directory, L"a.txt"), cache + L"\\BIM\\a.txt");
  }
  EXPECT_EQ(Ondrath_ResolveProjectPath(prj(), L"", L"\\BIM\\a.txt"), cache + L"\\BIM\\a.txt");
  EXPECT_EQ(Ondrath_ResolveProjectPath(prj(), cache + L"\\", L"a.txt"), cache + L"\\a.txt");
  EXPECT_EQ(Ondrath_ResolveProjectPath(prj(), L"BIM", cache + L"\\b.txt"), cache + L"\\b.txt");
  const std::wstring outside = desk.path(L"elsewhere");
  desk.writeFile(outside + L"\\a.txt", "text");
  for (const std::wstring& place : {outside, outside.substr(2)}) {
    EXPECT_EQ(Ondrath_ResolveProjectPath(prj(), place, L"a.txt"), place + L"\\a.txt");
    EXPECT_EQ(Ondrath_ResolveProjectPath(prj(), L"", place + L"\\a.txt"), place + L"\\a.txt");
  }
}

}  // namespace
}  // namespace Quorvel::FileAccess
