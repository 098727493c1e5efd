#include "workstation/program/ServerPaths.h"

#include <gtest/gtest.h>

namespace workstation::program {
namespace {

TEST(ServerPaths, StayBelowTheBaseDirectory) {
  const struct {
    const wchar_t* typed;
    const wchar_t* meant;  // null: refused
  } cases[] = {
      {L"", L""},       {L"/", L""},        {L"a", L"a"},         {L"/a//b/./c/", L"a/b/c"}, {L".", L""},
      {L"a b", L"a b"}, {L"..", nullptr},   {L"a/../b", nullptr}, {L"/..", nullptr},         {L"a\\b", nullptr},
      {L"..a", L"..a"}, {L"a\nb", nullptr}, {L"a\x85", nullptr},
  };
  for (const auto& item : cases) {
    ServerPath path;
    ASSERT_EQ(parseServerPath(item.typed, path), item.meant != nullptr) << item.typed;
    EXPECT_EQ(path.text, item.meant != nullptr ? item.meant : path.text);
  }
}

TEST(ServerPaths, FromAServerAreUsedHereOnlyWhenTheyStayInTheirDirectory) {
  for (const wchar_t* name : {L"a.dxf", L"\x00e4 b", L".hidden"}) EXPECT_TRUE(isUsableHere(L"dir/sub", name)) << name;
  for (const wchar_t* name :
       {L"", L".", L"..", L"../a", L"a/b", L"a\\b", L"..\\a", L"C:a", L"a:b", L"a\nb", L"con", L"a ", L"a."})
    EXPECT_FALSE(isUsableHere(L"dir", name)) << name;
  for (const wchar_t* directory : {L"..", L"a/../..", L"/a", L"a\\b", L"a//b"})
    EXPECT_FALSE(isUsableHere(directory, L"a")) << directory;
}

}  // namespace
}  // namespace workstation::program
