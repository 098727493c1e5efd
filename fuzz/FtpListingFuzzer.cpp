// A server's lines of LIST and MLSD.

#include "fuzz/Support.h"
#include "platform/Time.h"
#include "toolkit/FtpListing.h"

using namespace Quorvel::FileAccess;
using fuzz::require;

namespace {

constexpr FILETIME kNow = platform::fromTicks(134'000'000'000'000'000);  // in 2025

void check(const std::optional<FtpEntry>& entry) {
  if (!entry) return;
  require(!entry->name.empty() && entry->name != "." && entry->name != "..", "a name is one of an entry");
  require(entry->name.find_first_of(std::string_view("/\\\r\n\0", 5)) == std::string::npos, "a name has no separator");
  require(entry->size.value_or(0) >= 0, "a size is not negative");
  require(!nameOf(entry->name).empty(), "a name has a text");
  if (!entry->time) return;
  const auto again = parseFtpTime(formatFtpTime(*entry->time));
  require(again && platform::toTicks(*again) / 10'000'000 == platform::toTicks(*entry->time) / 10'000'000,
          "a time is read as it was written");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view line = fuzz::textOf(data, size);
  const auto listed = parseListLine(line, kNow);
  check(listed);
  check(parseFactsLine(line));
  check(parseFactsOfOne(line));
  isListLine(line);
  isFactsLine(line);
  return 0;
}
