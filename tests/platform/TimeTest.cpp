#include "platform/Time.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

namespace {

SYSTEMTIME calendar(unsigned year, unsigned month, unsigned day, unsigned hour = 0, unsigned minute = 0) {
  SYSTEMTIME time{};
  time.wYear = static_cast<WORD>(year);
  time.wMonth = static_cast<WORD>(month);
  time.wDay = static_cast<WORD>(day);
  time.wHour = static_cast<WORD>(hour);
  time.wMinute = static_cast<WORD>(minute);
  return time;
}

TEST(TimeTest, ImpossibleTimesAreRefusedAndTouchNothing) {
  for (const SYSTEMTIME& time :
       {calendar(2024, 1, 1, 24), calendar(2024, 13, 1), calendar(2024, 0, 1), calendar(2023, 2, 29),
        calendar(2024, 4, 31), calendar(1600, 12, 31), calendar(30828, 1, 1), calendar(2024, 1, 1, 0, 60),
        calendar(2024, 1, 0), calendar(2024, 257, 1), calendar(2024, 1, 257)}) {
    FILETIME file{1, 2};
    SetLastError(0);
    EXPECT_FALSE(SystemTimeToFileTime(&time, &file));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(file.dwLowDateTime, 1U);
  }
  const FILETIME late = platform::fromTicks(std::uint64_t{1} << 63U);
  SYSTEMTIME system{};
  EXPECT_FALSE(FileTimeToSystemTime(&late, &system));
}

TEST(TimeTest, LocalTimesFollowTheRulesOfTheirDate) {
  setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
  tzset();
  const struct {
    SYSTEMTIME local;
    unsigned utcDay, utcHour;
  } cases[] = {
      {calendar(2024, 1, 15, 12), 15, 11},
      {calendar(2024, 7, 15, 1), 14, 23},
      {calendar(2024, 3, 31, 1, 59), 31, 0},
      {calendar(2024, 3, 31, 3), 31, 1},
      {calendar(2024, 3, 31, 2, 30), 31, 1} /* skipped */,
      {calendar(2024, 10, 27, 1, 59), 26, 23},
      {calendar(2024, 10, 27, 2, 30), 27, 1} /* twice */,
      {calendar(2024, 10, 27, 3), 27, 2},
  };
  for (const auto& c : cases) {
    SYSTEMTIME time = c.local;
    ASSERT_TRUE(TzSpecificLocalTimeToSystemTime(nullptr, &time, &time));
    EXPECT_EQ(time.wDay, c.utcDay) << c.local.wMonth << ' ' << c.local.wHour;
    EXPECT_EQ(time.wHour, c.utcHour) << c.local.wMonth << ' ' << c.local.wHour;
  }
  const SYSTEMTIME utc = calendar(2024, 12, 31, 23, 30);
  SYSTEMTIME local{};
  ASSERT_TRUE(SystemTimeToTzSpecificLocalTime(nullptr, &utc, &local));
  EXPECT_EQ(local.wYear, 2025);
  EXPECT_EQ(local.wHour, 0);
}

TEST(TimeTest, UnixTimesAreFlooredAndClamped) {
  EXPECT_EQ(platform::toTicks(platform::fromUnixTime(0, 199)), 116'444'736'000'000'001U);
  EXPECT_EQ(platform::toTicks(platform::fromUnixTime(-1, 999'999'900)), 116'444'735'999'999'999U);
  EXPECT_EQ(platform::toUnixSeconds(platform::fromUnixTime(-1, 999'999'900)), -1);
  EXPECT_EQ(platform::toTicks(platform::fromUnixTime(INT64_MIN, 0)), 0U);
  EXPECT_EQ(platform::toTicks(platform::fromUnixTime(INT64_MAX, 999'999'999)), std::uint64_t{INT64_MAX});
  EXPECT_EQ(platform::toUnixSeconds(FILETIME{}), -11'644'473'600);
}

}  // namespace
