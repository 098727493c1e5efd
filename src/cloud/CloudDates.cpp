#include "cloud/CloudDates.h"

#include <array>
#include <limits>

#include "platform/Text.h"
#include "platform/Time.h"

namespace Quorvel::FileAccess {
namespace {

constexpr WORD kNoCalendarValue = std::numeric_limits<WORD>::max();

WORD numberAt(const std::wstring& text, std::size_t position) {
  const int value = _wtoi(text.c_str() + position);
  return value < 0 || value > kNoCalendarValue ? kNoCalendarValue : static_cast<WORD>(value);
}

/// Fills the fields in turn from numbers parted by `separator`. @return the position of the last field's text, or npos
/// when a part is missing
std::size_t readFields(const std::wstring& text, std::size_t position, wchar_t separator,
                       const std::array<WORD*, 3>& fields) {
  for (std::size_t field = 0;; ++field) {
    *fields.at(field) = numberAt(text, position);
    if (field + 1 == fields.size()) return position;
    const std::size_t end = text.find(separator, position);
    if (end == std::wstring::npos) return std::wstring::npos;
    position = end + 1;
  }
}

}  // namespace

void Ondrath_ParseDate(const std::wstring& text, SYSTEMTIME& out) {
  out = SYSTEMTIME{};
  const bool twelveHours = text.find(L'/') != std::wstring::npos;
  const std::array<WORD*, 3> date = twelveHours ? std::array<WORD*, 3>{&out.wMonth, &out.wDay, &out.wYear}
                                                : std::array<WORD*, 3>{&out.wDay, &out.wMonth, &out.wYear};
  const std::size_t year = readFields(text, 0, twelveHours ? L'/' : L'.', date);
  if (year == std::wstring::npos) return;
  const std::size_t blank = text.find(L' ', year);
  if (blank == std::wstring::npos) return;
  readFields(text, blank + 1, L':', {&out.wHour, &out.wMinute, &out.wSecond});
  // Noon and the hour behind it become hour 24, which no file time has: the service's readers have always read it so.
  if (twelveHours && text.find(L"PM") != std::wstring::npos && out.wHour != kNoCalendarValue) {
    out.wHour = static_cast<WORD>(out.wHour + 12);
  }
}

void readListingDate(const std::wstring& text, SYSTEMTIME& calendar, FILETIME& fileTime) {
  Ondrath_ParseDate(text, calendar);
  SystemTimeToFileTime(&calendar, &fileTime);
}

}  // namespace Quorvel::FileAccess
