#include "cloud/CloudDates.h"

#include <gtest/gtest.h>

#include "platform/Text.h"
#include "platform/Time.h"

namespace Quorvel::FileAccess {
namespace {

struct DateCase {
  const wchar_t* text;
  int year, month, day, hour, minute, second;
};

TEST(CloudDates, PartsAreReadInTheOrderOfTheirSeparator) {
  const DateCase cases[] = {
      {L"21.11.2026 18:04:05", 2026, 11, 21, 18, 4, 5},   {L"11/21/2026 06:04:05 PM", 2026, 11, 21, 18, 4, 5},
      {L"11/21/2026 06:04:05 AM", 2026, 11, 21, 6, 4, 5}, {L"06/01/2026 12:30:00 PM", 2026, 6, 1, 24, 30, 0},
      {L"21.11.2026 18", 2026, 11, 21, 18, 0, 0},         {L"21.11 18:04:05", 0, 11, 21, 0, 0, 0},
  };
  for (const DateCase& expected : cases) {
    SYSTEMTIME time{9, 9, 9, 9, 9, 9, 9, 9};
    Ondrath_ParseDate(expected.text, time);
    const int read[] = {time.wYear, time.wMonth, time.wDay, time.wHour, time.wMinute, time.wSecond};
    const int wanted[] = {expected.year, expected.month, expected.day, expected.hour, expected.minute, expected.second};
    EXPECT_TRUE(std::equal(std::begin(read), std::end(read), std::begin(wanted))) << platform::toUtf8(expected.text);
  }
}

TEST(CloudDates, ADateThatNoCalendarHasLeavesTheFileTime) {
  for (const wchar_t* text : {L"06/01/2026 12:30:00 PM", L"30.02.2026 01:02:03", L"65557.11.2026 1:2:3",
                              L"21.11.2026 -1:00:00", L"no date"}) {
    SYSTEMTIME calendar{};
    FILETIME time{7, 7};
    readListingDate(text, calendar, time);
    EXPECT_EQ(platform::toTicks(time), platform::toTicks(FILETIME{7, 7})) << platform::toUtf8(text);
  }
}

}  // namespace
}  // namespace Quorvel::FileAccess
