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

TEST(ByteRanges, AreReadInFourForms) {
  const struct {
    const wchar_t* typed;
    std::int64_t fileSize;
    std::int64_t offset;  // -1: behind the end of the file
    std::int64_t bytes;
  } cases[] = {
      {L"0-9", 100, 0, 10},   {L"10-", 100, 10, 90},    {L"10+5", 100, 10, 5}, {L"-7", 100, 93, 7},
      {L"-700", 100, 0, 100}, {L"90-200", 100, 90, 10}, {L"5-5", 100, 5, 1},   {L"0-0", 0, 0, 0},
      {L"-7", 0, 0, 0},       {L"0+0", 100, 0, 0},      {L"100-", 100, -1, 0}, {L"101+1", 100, -1, 0},
      {L"99+10", 100, 99, 1}, {L"1-2", 1, -1, 0},
  };
  for (const auto& item : cases) {
    ByteRange range;
    ASSERT_TRUE(parseRange(item.typed, range)) << item.typed;
    std::int64_t offset = -1;
    std::int64_t bytes = 0;
    EXPECT_EQ(range.cutTo(item.fileSize, offset, bytes), item.offset >= 0) << item.typed;
    EXPECT_EQ(offset, item.offset) << item.typed;
    EXPECT_EQ(bytes, item.bytes) << item.typed;
  }
  for (const wchar_t* wrong : {L"", L"7", L"+7", L"-", L"9-3", L"a-b", L"1-2-3", L"--1", L"1+", L"1+-2", L" 1-2",
                               L"0x1-2", L"0-9223372036854775807", L"99999999999999999999-"}) {
    ByteRange range;
    EXPECT_FALSE(parseRange(wrong, range)) << wrong;
  }
}

}  // namespace
}  // namespace workstation::program
