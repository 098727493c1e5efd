#include "platform/Messages.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

#include "platform/Paths.h"

namespace {

TEST(ResourcesTest, StringsAreCutToTheBuffer) {
  const HMODULE library = LoadLibraryW(platform::libraryPath(ZEPHOR_TEST_STRINGS).c_str());
  ASSERT_NE(library, nullptr);
  std::array<wchar_t, 64> buffer{};
  EXPECT_EQ(LoadStringW(library, 101, buffer.data(), 64), 17);
  EXPECT_STREQ(buffer.data(), L"Übertragung läuft");
  EXPECT_EQ(LoadStringW(library, 101, buffer.data(), 6), 5);
  EXPECT_STREQ(buffer.data(), L"Übert");
  EXPECT_EQ(LoadStringW(library, 303, buffer.data(), 3), 2);
  EXPECT_STREQ(buffer.data(), L"€\x1F600");
  EXPECT_EQ(LoadStringW(library, 101, buffer.data(), 1), 0);
  SetLastError(0);
  EXPECT_EQ(LoadStringW(library, 202, buffer.data(), 64), 0);
  EXPECT_EQ(GetLastError(), 0U);
  EXPECT_EQ(LoadStringW(library, 404, buffer.data(), 64), 0);
  EXPECT_EQ(GetLastError(), ERROR_RESOURCE_NAME_NOT_FOUND);
  EXPECT_TRUE(FreeLibrary(library));
  EXPECT_EQ(LoadStringW(library, 101, buffer.data(), 64), 0);
}

TEST(ResourcesTest, WhatIsNoResourceLibraryDoesNotLoad) {
  for (const wchar_t* const path : {L"", L"libc.so.6", L"none.dll", L"\\etc\\passwd", L"\\tmp", L"\\lib\\netmsg.dll"}) {
    SetLastError(0);
    EXPECT_EQ(LoadLibraryW(path), nullptr) << path;
    EXPECT_EQ(GetLastError(), ERROR_MOD_NOT_FOUND);
  }
  EXPECT_EQ(LoadLibraryW(nullptr), nullptr);
}

}  // namespace
