// Lines of the cloud's listings, and the dates in them.

#include <tuple>

#include "cloud/CloudDates.h"
#include "cloud/Ondrath_Services.h"
#include "fuzz/Support.h"
#include "platform/Text.h"
#include "platform/Time.h"

using namespace Quorvel::FileAccess;

namespace {

auto secondsOf(const SYSTEMTIME& time) {
  return std::tie(time.wYear, time.wMonth, time.wDay, time.wHour, time.wMinute, time.wSecond);
}

void checkDate(const SYSTEMTIME& calendar, const FILETIME& time) {
  SYSTEMTIME back{};
  FILETIME again{};
  const bool isTime = SystemTimeToFileTime(&calendar, &again) != FALSE;
  fuzz::require(platform::toTicks(time) == platform::toTicks(again), "a file time is there when the calendar has it");
  fuzz::require(!isTime || (FileTimeToSystemTime(&time, &back) != FALSE && secondsOf(back) == secondsOf(calendar)),
                "a file time is the calendar's");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::wstring line = platform::fromUtf8(fuzz::textOf(data, size));
  const CResourceInfo info = parseListingLine(line);
  std::size_t length = 0;
  for (const auto* field : {&info.name, &info.text1, &info.text2, &info.text3, &info.text4, &info.text5}) {
    fuzz::require(field->find(L'|') == std::wstring::npos, "a field has no separator");
    length += field->size();
  }
  fuzz::require(length <= line.size(), "no field shows another's text");
  checkDate(info.createdCalendar, info.createdTime);
  checkDate(info.modifiedCalendar, info.modifiedTime);
  SYSTEMTIME calendar{};
  FILETIME time{};
  readListingDate(line, calendar, time);
  checkDate(calendar, time);
  return 0;
}
