// Lines of LIST, as `ls -l` and as DOS write them.

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <vector>

#include "platform/Text.h"
#include "platform/Time.h"
#include "toolkit/FtpEntryText.h"
#include "toolkit/FtpListing.h"

namespace Quorvel::FileAccess {

namespace {

constexpr std::uint64_t kTicksPerDay = 864'000'000'000;
constexpr int kLongestLeapCycle = 8;  // years between two 29ths of February
constexpr std::size_t kPermissionsLength = 10;
constexpr std::size_t kDosNameIndent = 10;  // blanks between "<DIR>" and the name

struct Word {
  std::string_view text;
  std::size_t end = 0;  // position behind it in the line
};

struct Clock {
  int hour = 0;
  int minute = 0;
  int second = 0;
  bool hasSeconds = false;
};

/// Words of a line that blanks separate, as far as a date can stand.
std::vector<Word> wordsOf(std::string_view line) {
  constexpr std::size_t kMostWords = 24;
  std::vector<Word> words;
  std::size_t position = 0;
  while (words.size() < kMostWords) {
    position = line.find_first_not_of(' ', position);
    if (position == std::string_view::npos) break;
    const std::size_t end = std::min(line.find(' ', position), line.size());
    words.push_back({line.substr(position, end - position), end});
    position = end;
  }
  return words;
}

/// A number of at most `digits` digits. @return -1 when the text is none
int smallNumber(std::string_view text, std::size_t digits) {
  int value = 0;
  if (!isNumber(text) || text.size() > digits) return -1;
  std::from_chars(text.data(), text.data() + text.size(), value);
  return value;
}

/// 1 to 12, or 0.
int monthOf(std::string_view text) {
  static constexpr std::array<std::string_view, 12> kMonths = {"jan", "feb", "mar", "apr", "may", "jun",
                                                               "jul", "aug", "sep", "oct", "nov", "dec"};
  const auto* const found = std::find(kMonths.begin(), kMonths.end(), lowerCase(text));
  return found == kMonths.end() ? 0 : static_cast<int>(found - kMonths.begin()) + 1;
}

/// "10:15" and "10:15:59", with a fraction that does not count.
std::optional<Clock> clockOf(std::string_view text) {
  const std::size_t colon = text.find(':');
  if (colon == std::string_view::npos) return std::nullopt;
  Clock clock;
  clock.hour = smallNumber(text.substr(0, colon), 2);
  std::string_view rest = text.substr(colon + 1);
  clock.minute = rest.size() < 2 ? -1 : smallNumber(rest.substr(0, 2), 2);
  rest.remove_prefix(std::min<std::size_t>(2, rest.size()));
  if (!rest.empty()) {
    clock.hasSeconds = true;
    clock.second = rest[0] == ':' ? smallNumber(rest.substr(1, 2), 2) : -1;
    rest.remove_prefix(std::min<std::size_t>(3, rest.size()));
    if (!rest.empty() && (rest[0] != '.' || !isNumber(rest.substr(1)))) return std::nullopt;
  }
  const bool isClock = clock.hour >= 0 && clock.hour < 24 && clock.minute >= 0 && clock.minute < 60 &&
                       clock.second >= 0 && clock.second <= 60;
  return isClock ? std::optional(clock) : std::nullopt;
}

std::optional<FILETIME> timeOf(int year, int month, int day, const Clock& clock) {
  return parseFtpTime(platform::toUtf8(
      platform::formatWide(L"%04d%02d%02d%02d%02d%02d", year, month, day, clock.hour, clock.minute, clock.second)));
}

std::optional<FILETIME> timeWithoutYear(int month, int day, const Clock& clock, const FILETIME& now) {
  const std::uint64_t latest = platform::toTicks(now) + kTicksPerDay;
  const std::string last = formatFtpTime(platform::fromTicks(latest));
  const int lastYear = smallNumber(last.substr(0, 4), 4);
  for (int year = lastYear; year >= lastYear - kLongestLeapCycle; --year) {
    const auto time = timeOf(year, month, day, clock);
    if (time && platform::toTicks(*time) <= latest) return time;
  }
  return std::nullopt;
}

/// A date of a Unix line and the words that it takes.
struct UnixDate {
  FILETIME time{};
  std::size_t words = 0;
};

std::string_view wordAt(const std::vector<Word>& words, std::size_t i) {
  return i < words.size() ? words[i].text : std::string_view();
}

/// "Jan 31 10:15", "31 Jan 10:15", "Jan 31 2024", "Jan 31 10:15:59 2024"
std::optional<UnixDate> namedDateAt(const std::vector<Word>& words, std::size_t i, const FILETIME& now) {
  const bool isMonthFirst = monthOf(wordAt(words, i)) != 0;
  const int month = monthOf(wordAt(words, isMonthFirst ? i : i + 1));
  const int day = smallNumber(wordAt(words, isMonthFirst ? i + 1 : i), 2);
  if (month == 0 || day < 1) return std::nullopt;
  const std::string_view third = wordAt(words, i + 2);
  const auto clock = clockOf(third);
  std::optional<FILETIME> time;
  std::size_t count = 3;
  if (!clock) {
    time = third.size() == 4 ? timeOf(smallNumber(third, 4), month, day, {}) : std::nullopt;
  } else if (clock->hasSeconds) {
    time = timeOf(smallNumber(wordAt(words, i + 3), 4), month, day, *clock);
    count = 4;
  } else {
    time = timeWithoutYear(month, day, *clock, now);
  }
  return time ? std::optional(UnixDate{*time, count}) : std::nullopt;
}

/// "2024-01-31 10:15", "2024-01-31 10:15:59.123456789 +0100"
std::optional<UnixDate> isoDateAt(const std::vector<Word>& words, std::size_t i) {
  const std::string_view date = wordAt(words, i);
  const auto clock = clockOf(wordAt(words, i + 1));
  if (!clock || date.size() != 10 || date[4] != '-' || date[7] != '-') return std::nullopt;
  const auto time = timeOf(smallNumber(date.substr(0, 4), 4), smallNumber(date.substr(5, 2), 2),
                           smallNumber(date.substr(8), 2), *clock);
  if (!time) return std::nullopt;
  const std::string_view zone = wordAt(words, i + 2);
  const bool hasZone = clock->hasSeconds && zone.size() == 5 && (zone[0] == '+' || zone[0] == '-');
  if (!hasZone) return UnixDate{*time, 2};
  const int hours = smallNumber(zone.substr(1, 2), 2);
  const int minutes = smallNumber(zone.substr(3), 2);
  if (hours < 0 || minutes < 0) return UnixDate{*time, 2};
  const std::uint64_t offset = static_cast<std::uint64_t>(hours * 60 + minutes) * 600'000'000;
  const std::uint64_t ticks = platform::toTicks(*time);
  if (zone[0] == '-') return UnixDate{platform::fromTicks(ticks + offset), 3};
  return UnixDate{platform::fromTicks(ticks - std::min(ticks, offset)), 3};
}

/// "drwxr-xr-x", with a mark of an access list or of further attributes behind it.
bool isPermissions(std::string_view text, std::string_view types = "-dl") {
  if (text.size() == kPermissionsLength + 1 && std::string_view("+.@").find(text.back()) != std::string_view::npos) {
    text.remove_suffix(1);
  }
  if (text.size() != kPermissionsLength || types.find(text[0]) == std::string_view::npos) return false;
  return text.find_first_not_of("-rwxsStTlL", 1) == std::string_view::npos;
}

/// Owner and group may be numbers, hold blanks or be missing: the date is what shows where the name begins. It follows
/// the size, a number.
std::optional<FtpEntry> parseUnixLine(std::string_view line, const FILETIME& now) {
  const std::vector<Word> words = wordsOf(line);
  if (line[0] == ' ' || !isPermissions(words[0].text)) return std::nullopt;
  for (std::size_t i = 2; i < words.size(); ++i) {
    if (!isNumber(words[i - 1].text)) continue;
    auto date = namedDateAt(words, i, now);
    if (!date) date = isoDateAt(words, i);
    if (!date) continue;
    // One blank ends the date; further ones are the name's.
    const std::size_t nameBegin = words[i + date->words - 1].end + 1;
    if (nameBegin > line.size()) return std::nullopt;
    std::string_view name = line.substr(nameBegin);
    FtpEntry entry;
    entry.isDirectory = line[0] == 'd';
    entry.isLink = line[0] == 'l';
    // A link's size is that of the path in it, and a directory's that of its list of names.
    if (line[0] == '-') entry.size = parseSize(words[i - 1].text);
    if (entry.isLink) name = name.substr(0, name.find(" -> "));
    if (!isEntryName(name)) return std::nullopt;
    entry.name = name;
    entry.time = date->time;
    return entry;
  }
  return std::nullopt;
}

/// "01-31-24" and "01-31-2024" with "10:15", "10:15AM" and "10:15 PM". @param used  words that it takes
std::optional<FILETIME> dosTimeOf(const std::vector<Word>& words, std::size_t& used) {
  const std::string_view date = wordAt(words, 0);
  if ((date.size() != 8 && date.size() != 10) || date[2] != '-' || date[5] != '-') return std::nullopt;
  int year = smallNumber(date.substr(6), 4);
  if (year >= 0 && date.size() == 8) year += year < 70 ? 2000 : 1900;

  std::string clockText = lowerCase(wordAt(words, 1));
  std::string half = lowerCase(wordAt(words, 2));
  used = 3;
  if (half != "am" && half != "pm") {
    used = 2;
    half = clockText.size() > 2 ? clockText.substr(clockText.size() - 2) : std::string();
    const bool hasHalf = half == "am" || half == "pm";
    if (hasHalf) clockText.resize(clockText.size() - 2);
    if (!hasHalf) half.clear();
  }
  auto clock = clockOf(clockText);
  if (!clock || (!half.empty() && clock->hour > 12)) return std::nullopt;
  if (!half.empty()) clock->hour = clock->hour % 12 + (half == "pm" ? 12 : 0);
  return timeOf(year, smallNumber(date.substr(0, 2), 2), smallNumber(date.substr(3, 2), 2), *clock);
}

std::optional<FtpEntry> parseDosLine(std::string_view line) {
  const std::vector<Word> words = wordsOf(line);
  std::size_t used = 0;
  FtpEntry entry;
  entry.time = dosTimeOf(words, used);
  if (!entry.time || words.size() < used + 2) return std::nullopt;
  const Word& kind = words[used];
  entry.isDirectory = lowerCase(kind.text) == "<dir>";
  if (!entry.isDirectory && !isNumber(kind.text)) return std::nullopt;
  if (!entry.isDirectory) entry.size = parseSize(kind.text);
  std::string_view name = line.substr(kind.end);
  const std::size_t blanks = name.find_first_not_of(' ');
  const std::size_t indent = entry.isDirectory ? kDosNameIndent : 1;
  name.remove_prefix(std::min(blanks, indent));
  if (!isEntryName(name)) return std::nullopt;
  entry.name = name;
  return entry;
}

}  // namespace

bool isListLine(std::string_view line) {
  line = withoutLineEnd(line);
  const std::string_view last = line.substr(line.rfind(' ') + 1);
  return isPermissions(line.substr(0, line.find(' ')), "-dlbcps") || last == "." || last == "..";
}

std::optional<FtpEntry> parseListLine(std::string_view line, const FILETIME& now) {
  line = withoutLineEnd(line);
  if (line.find_first_not_of(' ') == std::string_view::npos) return std::nullopt;
  auto entry = parseUnixLine(line, now);
  return entry ? entry : parseDosLine(line);
}

}  // namespace Quorvel::FileAccess
