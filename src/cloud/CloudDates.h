// Dates as the cloud's listings write them.
#pragma once

#include <string>

#include "platform/WindowsTypes.h"

namespace Quorvel::FileAccess {

/// Reads "21.11.2026 18:04:05" (day first) or, where the text holds a slash, "11/21/2026 06:04:05 PM" (month first).
///
/// Nothing is judged: a part that is missing leaves it and all behind it 0, and a number that no calendar field can
/// hold becomes one that no conversion accepts.
void Ondrath_ParseDate(const std::wstring& text, SYSTEMTIME& out);

/// The calendar time of `text` and its file time; `fileTime` stays as it is when the calendar has no such time.
void readListingDate(const std::wstring& text, SYSTEMTIME& calendar, FILETIME& fileTime);

}  // namespace Quorvel::FileAccess
