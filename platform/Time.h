// Clocks and calendar times under their Windows names.
#pragma once

#include "platform/WindowsTypes.h"

#ifndef _WIN32
PLATFORM_API void GetLocalTime(SYSTEMTIME* time);
PLATFORM_API void GetSystemTime(SYSTEMTIME* time);
PLATFORM_API void GetSystemTimeAsFileTime(FILETIME* time);
/// Refuses (FALSE, ERROR_INVALID_PARAMETER, output untouched) a field out of its range: hour 24, month 13, 30 February.
PLATFORM_API BOOL SystemTimeToFileTime(const SYSTEMTIME* system, FILETIME* file);
PLATFORM_API BOOL FileTimeToSystemTime(const FILETIME* file, SYSTEMTIME* system);
/// By the rules of the date itself.
PLATFORM_API BOOL FileTimeToLocalFileTime(const FILETIME* utc, FILETIME* local);
/// Null zone: the zone of this machine; others are refused (ERROR_INVALID_PARAMETER). The rules of the date itself
/// hold, not those of today. An hour that the clocks show twice is taken for its second pass (standard time); one that
/// they skip counts on from before the change.
PLATFORM_API BOOL TzSpecificLocalTimeToSystemTime(const void* zone, const SYSTEMTIME* local, SYSTEMTIME* utc);
PLATFORM_API BOOL SystemTimeToTzSpecificLocalTime(const void* zone, const SYSTEMTIME* utc, SYSTEMTIME* local);
/// -1 when `a` is earlier, 0 when both are equal, 1 when `a` is later.
PLATFORM_API LONG CompareFileTime(const FILETIME* a, const FILETIME* b);
/// Milliseconds since an arbitrary start, never going back.
PLATFORM_API DWORD GetTickCount();
PLATFORM_API ULONGLONG GetTickCount64();
PLATFORM_API void Sleep(DWORD milliseconds);
PLATFORM_API DWORD SleepEx(DWORD milliseconds, BOOL alertable);
#endif

#include <cstdint>

namespace platform {

/// 100 ns units since 1601 as one number.
constexpr std::uint64_t toTicks(const FILETIME& time) {
  return (static_cast<std::uint64_t>(time.dwHighDateTime) << 32U) | time.dwLowDateTime;
}
constexpr FILETIME fromTicks(std::uint64_t ticks) {
  return FILETIME{static_cast<DWORD>(ticks & 0xFFFFFFFFU), static_cast<DWORD>(ticks >> 32U)};
}
/// Seconds and nanoseconds since 1970 (POSIX) and back; times outside the range are clamped to it.
PLATFORM_API FILETIME fromUnixTime(std::int64_t seconds, long nanoseconds);
PLATFORM_API std::int64_t toUnixSeconds(const FILETIME& time);

}  // namespace platform
