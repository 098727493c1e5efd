// "teamsFilter.json", the teams whose projects are listed.

#include "fuzz/Support.h"
#include "zephor/Portal.h"

using namespace Quorvel::FileAccess;
using fuzz::require;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // Longer ones may not fit into the reader's line with what is written before them.
  constexpr std::size_t kSurelyInOneLine = 1000;
  fuzz::fileOf(fuzz::textOf(data, size), "teamsFilter.json");
  std::map<std::wstring, std::wstring> teams;
  require(WGO_ReadOndrathTeamFilter(teams), "a file that is there is read");
  bool isShort = true;
  for (const auto& [uuid, name] : teams) {
    for (const std::wstring& value : {uuid, name}) {
      require(value.find_first_of(L"\"\n") == std::wstring::npos, "a value is what stands between its quotes");
      isShort = isShort && value.size() < kSurelyInOneLine;
    }
  }
  require(WGO_WriteOndrathTeamFilter(teams), "a filter can be written");
  std::map<std::wstring, std::wstring> again;
  require(WGO_ReadOndrathTeamFilter(again), "what was written is read");
  require(again == teams || !isShort, "a filter is read as it was written");
  return 0;
}
