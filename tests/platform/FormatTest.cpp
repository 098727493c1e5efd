#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "platform/Text.h"

namespace {

using platform::formatWide;

TEST(FormatTest, NumbersShowAsTheRuntimeShowsThem) {
  EXPECT_EQ(formatWide(L"%d|%i|%5d|%-5d|%05d|%+d|% d", -1, 2, 3, 4, -5, 6, 7), L"-1|2|    3|4    |-0005|+6| 7");
  EXPECT_EQ(formatWide(L"%02d.%02d.%4d|%3.3d|%06d|%03u", 1, 2, 2024, 7, 42, 9U), L"01.02.2024|007|000042|009");
  EXPECT_EQ(formatWide(L"%*d|%-*d|%.*d", 4, 1, 3, 2, 2, 3), L"   1|2  |03");
  EXPECT_EQ(formatWide(L"%x|%X|%#x|%#x|%08lx|%#010X|%o", 255, 255U, 255, 0, 0x20B10001U, 0xABU, 8),
            L"ff|FF|0xff|0|20b10001|0X000000AB|10");
  EXPECT_EQ(formatWide(L"%lld|%I64d|%ld|%lu|%hd", 1LL << 40, -(1LL << 40), 5L, 6UL, 7),
            L"1099511627776|-1099511627776|5|6|7");
  EXPECT_EQ(formatWide(L"%d", std::numeric_limits<long long>::min()), L"-9223372036854775808");
  EXPECT_EQ(formatWide(L"[%.0d]%u", 0, 0), L"[]0");
}

TEST(FormatTest, StatusesShowAsThirtyTwoBits) {
  EXPECT_EQ(formatWide(L"%08lx|%x|%u", -1, -1L, -2), L"ffffffff|ffffffff|4294967294");
  EXPECT_EQ(formatWide(L"%x", -(1LL << 40)), L"ffffff0000000000");
  EXPECT_EQ(formatWide(L"%d|%ld|%lld", 0x80004005U, 0xFFFFFFFFUL, 0xFFFFFFFFULL), L"-2147467259|-1|4294967295");
}

TEST(FormatTest, BrokenFormatsAreShownInsteadOfThrowing) {
  EXPECT_EQ(formatWide(L"%s %d", L"a"), L"<bad format: %s %d>");
  EXPECT_EQ(formatWide(L"%s", 1), L"<bad format: %s>");
  EXPECT_EQ(formatWide(L"%d", L"x"), L"<bad format: %d>");
  EXPECT_EQ(formatWide(L"%d", 1.5), L"<bad format: %d>");
  EXPECT_EQ(formatWide(L"%*d", L"x", 1), L"<bad format: %*d>");
  EXPECT_EQ(formatWide(L"%n", 1), L"<bad format: %n>");
  EXPECT_EQ(formatWide(L"50%"), L"<bad format: 50%>");
  EXPECT_EQ(formatWide(L"%999999999999d", 1), L"<bad format: %999999999999d>");
  EXPECT_EQ(formatWide(nullptr), L"<bad format: (null)>");
  EXPECT_EQ(formatWide(L"enough", 1, L"x"), L"enough");
}

}  // namespace
