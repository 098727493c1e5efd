// Queries over the full upload filter, beside a plain scan of the same rules as expressions. Run by
// scripts/bench-filters.
#include <benchmark/benchmark.h>

#include <boost/regex.hpp>
#include <random>
#include <string>
#include <vector>

#include "platform/Text.h"
#include "zephor/FileFilter.h"
#include "zephor/UploadFilters.h"
#include "zephor/UploadRules.h"

namespace {

using namespace Quorvel::FileAccess;

constexpr std::size_t kNames = 4096;
constexpr std::size_t kLength = 20;

/// Names of 20 characters as they lie in a project; one in eight is hit by a rule.
std::vector<std::wstring> makeNames() {
  std::mt19937 dice(1);
  const wchar_t* const endings[] = {L".dat", L".xml", L".png", L".PDF", L".ifc", L".zdw", L".txt", L".bak"};
  const std::wstring letters = L"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_- ";
  std::vector<std::wstring> names;
  for (std::size_t i = 0; i < kNames; ++i) {
    std::wstring name;
    while (name.size() < kLength - 4) name += letters[dice() % letters.size()];
    names.push_back(name + endings[i % std::size(endings)]);
  }
  return names;
}

/// Each rule an expression of its own, tried in order: what the rules mean, and nothing else.
class PlainScan {
 public:
  explicit PlainScan(const std::vector<UploadRule>& rules) {
    for (const UploadRule& rule : rules) {
      if (rule.kind != UploadRuleKind::Directory)
        (rule.include ? includes_ : excludes_).emplace_back(expressionOf(rule));
    }
  }
  bool isFileExcluded(const std::wstring& name) const {
    const std::wstring lowered = platform::toLower(name);
    return !hits(includes_, lowered) && hits(excludes_, lowered);
  }

 private:
  static std::wstring expressionOf(const UploadRule& rule) {
    const std::wstring quoted = L"\\Q" + platform::toLower(rule.text) + L"\\E";
    if (rule.kind == UploadRuleKind::FileType) return GetBoostRegExFilterExpression(rule.type);
    if (rule.kind == UploadRuleKind::Extension) return L".*" + quoted + L"$";
    return L"^" + quoted + (rule.kind == UploadRuleKind::LeftMatch ? L".*" : L"$");
  }
  static bool hits(const std::vector<boost::wregex>& rules, const std::wstring& name) {
    for (const boost::wregex& rule : rules) {
      if (boost::regex_search(name, rule, boost::match_any | boost::match_single_line)) return true;
    }
    return false;
  }

  std::vector<boost::wregex> includes_;
  std::vector<boost::wregex> excludes_;
};

template <typename Query>
void run(benchmark::State& state, const Query& isExcluded) {
  const std::vector<std::wstring> names = makeNames();
  std::size_t next = 0;
  std::size_t excluded = 0;
  for (auto _ : state) {
    excluded += isExcluded(names[next++ % kNames]) ? 1 : 0;
  }
  state.SetItemsProcessed(state.iterations());
  state.counters["kept_out"] = static_cast<double>(excluded) / static_cast<double>(state.iterations());
}

void filterQueries(benchmark::State& state) {
  WGO_FileFilter filter;
  WGO_GetPrjDirUploadFilter(filter, false);
  run(state, [&](const std::wstring& name) { return filter.IsFileExcluded(name.c_str()); });
}
BENCHMARK(filterQueries);

void plainScanQueries(benchmark::State& state) {
  const PlainScan scan(WGO_describeUploadRules(UploadRoad::Directory));
  run(state, [&](const std::wstring& name) { return scan.isFileExcluded(name); });
}
BENCHMARK(plainScanQueries);

void buildingTheFilter(benchmark::State& state) {
  for (auto _ : state) {
    WGO_FileFilter filter;
    WGO_GetPrjDirUploadFilter(filter, false);
    benchmark::DoNotOptimize(filter);
  }
}
BENCHMARK(buildingTheFilter);

}  // namespace

BENCHMARK_MAIN();
