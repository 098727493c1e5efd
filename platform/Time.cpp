#include "platform/Time.h"

#include <sched.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <ctime>
#include <limits>

#include "platform/Errors.h"
#include "platform/Synchronisation.h"

namespace {

constexpr std::int64_t kTicksPerSecond = 10'000'000;
constexpr std::int64_t kTicksPerMillisecond = 10'000;
constexpr std::int64_t kTicksPerDay = 86'400 * kTicksPerSecond;
constexpr std::int64_t kSecondsTo1970 = 11'644'473'600;
constexpr std::int64_t kSecondsPerDay = 86'400;
constexpr std::int64_t kLatestTicks = std::numeric_limits<std::int64_t>::max();
constexpr WORD kFirstYear = 1601;
constexpr WORD kLastYear = 30827;

constexpr std::chrono::sys_days kFirstDay{std::chrono::year{kFirstYear} / 1 / 1};

FILETIME now() {
  timespec time{};
  ::clock_gettime(CLOCK_REALTIME, &time);
  return platform::fromUnixTime(time.tv_sec, time.tv_nsec);
}

/// False when a field is out of its range; the day of the week is not looked at.
bool toTicks(const SYSTEMTIME& time, std::int64_t& ticks) {
  if (time.wYear < kFirstYear || time.wYear > kLastYear) return false;
  if (time.wHour > 23 || time.wMinute > 59 || time.wSecond > 59 || time.wMilliseconds > 999) return false;
  // The calendar's own types keep eight bits of month and day.
  if (time.wMonth > 12 || time.wDay > 31) return false;
  const std::chrono::year_month_day date{std::chrono::year{time.wYear}, std::chrono::month{time.wMonth},
                                         std::chrono::day{time.wDay}};
  if (!date.ok()) return false;
  const std::int64_t days = (std::chrono::sys_days{date} - kFirstDay).count();
  const std::int64_t seconds = (std::int64_t{time.wHour} * 60 + time.wMinute) * 60 + time.wSecond;
  ticks = days * kTicksPerDay + seconds * kTicksPerSecond + std::int64_t{time.wMilliseconds} * kTicksPerMillisecond;
  return true;
}

/// @param ticks  not negative
SYSTEMTIME toCalendar(std::int64_t ticks) {
  const std::chrono::sys_days day = kFirstDay + std::chrono::days{ticks / kTicksPerDay};
  const std::chrono::year_month_day date{day};
  const std::int64_t rest = ticks % kTicksPerDay;
  const std::int64_t seconds = rest / kTicksPerSecond;
  SYSTEMTIME time{};
  time.wYear = static_cast<WORD>(static_cast<int>(date.year()));
  time.wMonth = static_cast<WORD>(static_cast<unsigned>(date.month()));
  time.wDay = static_cast<WORD>(static_cast<unsigned>(date.day()));
  time.wDayOfWeek = static_cast<WORD>(std::chrono::weekday{day}.c_encoding());
  time.wHour = static_cast<WORD>(seconds / 3600);
  time.wMinute = static_cast<WORD>(seconds / 60 % 60);
  time.wSecond = static_cast<WORD>(seconds % 60);
  time.wMilliseconds = static_cast<WORD>(rest % kTicksPerSecond / kTicksPerMillisecond);
  return time;
}

/// Seconds that the clocks of this machine's zone are ahead of UTC at that moment.
std::int64_t zoneOffset(std::int64_t unixSeconds) {
  static const bool isZoneRead = (::tzset(), true);
  static_cast<void>(isZoneRead);
  const std::time_t moment = unixSeconds;
  std::tm local{};
  return ::localtime_r(&moment, &local) != nullptr ? local.tm_gmtoff : 0;
}

/// @return false when the local time lies outside of the range
bool utcToLocal(std::int64_t utcTicks, std::int64_t& localTicks) {
  const std::int64_t offset = zoneOffset(utcTicks / kTicksPerSecond - kSecondsTo1970) * kTicksPerSecond;
  return !__builtin_add_overflow(utcTicks, offset, &localTicks) && localTicks >= 0;
}

bool localToUtc(std::int64_t localTicks, std::int64_t& utcTicks) {
  const std::int64_t asIfUtc = localTicks / kTicksPerSecond - kSecondsTo1970;
  const std::int64_t offsetBefore = zoneOffset(asIfUtc - kSecondsPerDay);
  const std::int64_t offsetAfter = zoneOffset(asIfUtc + kSecondsPerDay);
  // The offset after a change is tried first: an hour that the clocks show twice is taken for its second pass. An hour
  // that they skip is told by a clock that was not put forward.
  const bool isAfter = zoneOffset(asIfUtc - offsetAfter) == offsetAfter;
  const std::int64_t offset = (isAfter ? offsetAfter : offsetBefore) * kTicksPerSecond;
  return !__builtin_sub_overflow(localTicks, offset, &utcTicks) && utcTicks >= 0;
}

bool isInRange(const FILETIME* time) {
  return time != nullptr && platform::toTicks(*time) <= kLatestTicks;
}

BOOL convert(const void* zone, const SYSTEMTIME* from, SYSTEMTIME* to,
             bool (*conversion)(std::int64_t, std::int64_t&)) {
  std::int64_t ticks = 0;
  std::int64_t result = 0;
  const bool isGood = zone == nullptr && from != nullptr && to != nullptr && toTicks(*from, ticks);
  if (!isGood || !conversion(ticks, result)) return platform::fail(ERROR_INVALID_PARAMETER);
  *to = toCalendar(result);
  return TRUE;
}

}  // namespace

void GetSystemTime(SYSTEMTIME* time) {
  *time = toCalendar(static_cast<std::int64_t>(platform::toTicks(now())));
}

void GetLocalTime(SYSTEMTIME* time) {
  const auto utc = static_cast<std::int64_t>(platform::toTicks(now()));
  std::int64_t local = 0;
  *time = toCalendar(utcToLocal(utc, local) ? local : utc);
}

void GetSystemTimeAsFileTime(FILETIME* time) {
  *time = now();
}

BOOL SystemTimeToFileTime(const SYSTEMTIME* system, FILETIME* file) {
  std::int64_t ticks = 0;
  if (system == nullptr || file == nullptr || !toTicks(*system, ticks)) return platform::fail(ERROR_INVALID_PARAMETER);
  *file = platform::fromTicks(static_cast<std::uint64_t>(ticks));
  return TRUE;
}

BOOL FileTimeToSystemTime(const FILETIME* file, SYSTEMTIME* system) {
  if (!isInRange(file) || system == nullptr) return platform::fail(ERROR_INVALID_PARAMETER);
  *system = toCalendar(static_cast<std::int64_t>(platform::toTicks(*file)));
  return TRUE;
}

BOOL FileTimeToLocalFileTime(const FILETIME* utc, FILETIME* local) {
  std::int64_t ticks = 0;
  const bool isGood =
      isInRange(utc) && local != nullptr && utcToLocal(static_cast<std::int64_t>(platform::toTicks(*utc)), ticks);
  if (!isGood) return platform::fail(ERROR_INVALID_PARAMETER);
  *local = platform::fromTicks(static_cast<std::uint64_t>(ticks));
  return TRUE;
}

BOOL TzSpecificLocalTimeToSystemTime(const void* zone, const SYSTEMTIME* local, SYSTEMTIME* utc) {
  return convert(zone, local, utc, localToUtc);
}

BOOL SystemTimeToTzSpecificLocalTime(const void* zone, const SYSTEMTIME* utc, SYSTEMTIME* local) {
  return convert(zone, utc, local, utcToLocal);
}

LONG CompareFileTime(const FILETIME* a, const FILETIME* b) {
  const std::uint64_t first = platform::toTicks(*a);
  const std::uint64_t second = platform::toTicks(*b);
  return first < second ? -1 : first > second ? 1 : 0;
}

ULONGLONG GetTickCount64() {
  timespec time{};
  ::clock_gettime(CLOCK_MONOTONIC, &time);
  return static_cast<ULONGLONG>(time.tv_sec) * 1000 + static_cast<ULONGLONG>(time.tv_nsec) / 1'000'000;
}

DWORD GetTickCount() {
  return static_cast<DWORD>(GetTickCount64() & 0xFFFFFFFFU);
}

void Sleep(DWORD milliseconds) {
  SleepEx(milliseconds, FALSE);
}

DWORD SleepEx(DWORD milliseconds, BOOL /*alertable*/) {
  if (milliseconds == 0) ::sched_yield();
  while (milliseconds == INFINITE) ::pause();
  timespec rest{milliseconds / 1000, static_cast<long>(milliseconds % 1000) * 1'000'000};
  while (milliseconds != 0 && ::clock_nanosleep(CLOCK_MONOTONIC, 0, &rest, &rest) == EINTR) {
  }
  return 0;
}

namespace platform {

FILETIME fromUnixTime(std::int64_t seconds, long nanoseconds) {
  constexpr long kNanosecondsPerSecond = 1'000'000'000;
  long carry = nanoseconds / kNanosecondsPerSecond;
  nanoseconds %= kNanosecondsPerSecond;
  if (nanoseconds < 0) {
    nanoseconds += kNanosecondsPerSecond;
    --carry;
  }
  std::int64_t whole = 0;
  std::int64_t ticks = 0;
  const bool isTooLarge = __builtin_add_overflow(seconds, carry + kSecondsTo1970, &whole) ||
                          __builtin_mul_overflow(whole, kTicksPerSecond, &ticks) ||
                          __builtin_add_overflow(ticks, nanoseconds / 100, &ticks);
  if (isTooLarge) return fromTicks(seconds < 0 ? 0 : static_cast<std::uint64_t>(kLatestTicks));
  return fromTicks(ticks < 0 ? 0 : static_cast<std::uint64_t>(ticks));
}

std::int64_t toUnixSeconds(const FILETIME& time) {
  return static_cast<std::int64_t>(toTicks(time) / static_cast<std::uint64_t>(kTicksPerSecond)) - kSecondsTo1970;
}

}  // namespace platform
