// Points in time as MLSD, MDTM and MFMT write them.

#include <algorithm>
#include <charconv>
#include <chrono>

#include "platform/Text.h"
#include "platform/Time.h"
#include "toolkit/FtpListing.h"

namespace Quorvel::FileAccess {

namespace {

constexpr std::size_t kWholeSeconds = 14;  // YYYYMMDDhhmmss
constexpr std::size_t kFractionDigits = 7;
constexpr std::int64_t kSecondsPerDay = 86400;
constexpr std::uint64_t kTicksPerSecond = 10'000'000;
constexpr int kFirstYear = 1601;
constexpr int kLastYear = 9999;

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

unsigned number(std::string_view digits) {
  unsigned value = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), value);
  return value;
}

/// 100 ns units of ".123". @return false when it is no fraction
bool parseFraction(std::string_view text, std::uint64_t& ticks) {
  ticks = 0;
  if (text.empty()) return true;
  if (text[0] != '.' || text.size() < 2 || !std::all_of(text.begin() + 1, text.end(), isDigit)) return false;
  std::string digits(text.substr(1, kFractionDigits));
  digits.resize(kFractionDigits, '0');
  ticks = number(digits);
  return true;
}

}  // namespace

std::optional<FILETIME> parseFtpTime(std::string_view text) {
  std::uint64_t fraction = 0;
  const std::string_view digits = text.substr(0, kWholeSeconds);
  if (digits.size() < kWholeSeconds || !std::all_of(digits.begin(), digits.end(), isDigit)) return std::nullopt;
  if (!parseFraction(text.substr(kWholeSeconds), fraction)) return std::nullopt;
  const std::chrono::year_month_day date{std::chrono::year(static_cast<int>(number(digits.substr(0, 4)))),
                                         std::chrono::month(number(digits.substr(4, 2))),
                                         std::chrono::day(number(digits.substr(6, 2)))};
  const unsigned hour = number(digits.substr(8, 2));
  const unsigned minute = number(digits.substr(10, 2));
  unsigned second = number(digits.substr(12, 2));
  if (!date.ok() || date.year() < std::chrono::year(kFirstYear)) return std::nullopt;
  if (hour > 23 || minute > 59 || second > 60) return std::nullopt;
  second = std::min(second, 59U);
  const std::int64_t days = std::chrono::sys_days(date).time_since_epoch().count();
  const std::int64_t seconds = days * kSecondsPerDay + std::int64_t{hour} * 3600 + std::int64_t{minute} * 60 + second;
  return platform::fromTicks(platform::toTicks(platform::fromUnixTime(seconds, 0)) + fraction);
}

std::string formatFtpTime(const FILETIME& time) {
  // Beyond the last year that the form can hold there is only its last second.
  const std::chrono::sys_days end(std::chrono::year(kLastYear + 1) / 1 / 1);
  const std::uint64_t last =
      platform::toTicks(platform::fromUnixTime(end.time_since_epoch().count() * kSecondsPerDay - 1, 0));
  const std::uint64_t ticks = std::min(platform::toTicks(time), last) / kTicksPerSecond * kTicksPerSecond;
  const std::chrono::sys_seconds seconds{std::chrono::seconds(platform::toUnixSeconds(platform::fromTicks(ticks)))};
  const auto days = std::chrono::floor<std::chrono::days>(seconds);
  const std::chrono::year_month_day date(days);
  const std::chrono::hh_mm_ss clock(seconds - days);
  return platform::toUtf8(platform::formatWide(
      L"%04d%02u%02u%02d%02d%02d", static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
      static_cast<unsigned>(date.day()), static_cast<int>(clock.hours().count()),
      static_cast<int>(clock.minutes().count()), static_cast<int>(clock.seconds().count())));
}

}  // namespace Quorvel::FileAccess
