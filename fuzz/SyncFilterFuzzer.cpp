// "WGO_SyncFilter.xml", the rules of a user.

#include <algorithm>

#include "filters/SyncFilterFile.h"
#include "fuzz/Support.h"

using namespace Quorvel::FileAccess;
using fuzz::require;

namespace {

SyncFilterEntries entriesOf(const std::string& bytes, const wchar_t* keyword) {
  SyncFilterEntries entries;
  platform::TextFile file(fuzz::fileOf(bytes), L"r");
  readSyncFilterLines(file, keyword, entries);
  return entries;
}

/// The same lines, all with one kind of line end.
std::string withLineEnds(std::string_view bytes, std::string_view lineEnd) {
  std::string result;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const bool isPair = bytes.substr(i, 2) == "\r\n";
    if (isPair || bytes[i] == '\n') {
      result += lineEnd;
    } else {
      result += bytes[i];
    }
    if (isPair) ++i;
  }
  return result;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes = fuzz::textOf(data, size);
  const auto lines = std::count(bytes.begin(), bytes.end(), '\n') + 1;
  for (const wchar_t* keyword : {L"exclude", L"include"}) {
    const SyncFilterEntries entries = entriesOf(std::string(bytes), keyword);
    for (const auto& [rule, line] : entries) {
      require(rule.first >= SyncFilterExtension && rule.first <= SyncFilterLeftMatch, "a rule is of a kind");
      require(rule.second.find_first_of(L"\"\n") == std::wstring::npos, "a rule is what stands between its quotes");
      require(line >= 1 && line <= lines, "a rule stands in a line of the file");
    }
    require(entriesOf(withLineEnds(bytes, "\n"), keyword) == entries, "line feeds give the same rules");
    require(entriesOf(withLineEnds(bytes, "\r\n"), keyword) == entries, "carriage returns are no part of a rule");
  }
  return 0;
}
