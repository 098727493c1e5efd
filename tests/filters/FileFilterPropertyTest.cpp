// Every answer of the filter beside a plain scan: each rule an expression by itself, searched in order.
#include <gtest/gtest.h>

#include <algorithm>
#include <boost/regex.hpp>
#include <functional>
#include <random>

#include "filters/NameRules.h"
#include "platform/Text.h"
#include "tests/support/CloudFixture.h"
#include "zephor/FileFilter.h"
#include "zephor/UploadFilters.h"
#include "zephor/UploadRules.h"

namespace {

using namespace Quorvel::FileAccess;

std::mt19937& dice() {
  static std::mt19937 generator(20261122);
  return generator;
}

template <typename Container>
const auto& oneOf(const Container& choices) {
  return choices[dice()() % std::size(choices)];
}

/// Letters whose cases pair up, a lone capital sharp s, and all that means something to an expression.
std::wstring anyText(std::size_t longest) {
  static constexpr std::wstring_view kLetters = L"aAbBeEqQ\\\\\n.*$^[({|+?/ \u00C4\u00E4\u1E9E";
  std::wstring text(dice()() % (longest + 1), L'\0');
  for (wchar_t& c : text) c = oneOf(kLetters);
  return text;
}

struct PlainList {
  std::vector<boost::wregex> rules;

  void add(const std::wstring& before, const std::wstring& text, const std::wstring& behind) {
    if (!text.empty()) rules.emplace_back(before + L"\\Q" + platform::toLower(text) + L"\\E" + behind);
  }
  bool match(const std::wstring& name) const {
    return std::any_of(rules.begin(), rules.end(), [&](const boost::wregex& rule) {
      return boost::regex_search(name, rule, boost::match_any | boost::match_single_line);
    });
  }
};

struct PlainFilter {
  PlainList excludeFiles, includeFiles, excludeDirectories, includeDirectories;

  bool keepsOutFile(const std::wstring& name) const {
    if (name.empty()) return true;
    const std::wstring lowered = platform::toLower(name);
    if (includeFiles.match(lowered)) return false;
    const std::size_t first = name.find(L'\\');
    if (first != std::wstring::npos && first > 0 && includeDirectories.match(lowered.substr(0, first))) return false;
    return excludeFiles.match(lowered);
  }
  bool keepsOutDirectory(const std::wstring& name) const {
    return !includeDirectories.match(platform::toLower(name)) && excludeDirectories.match(platform::toLower(name));
  }
};

using Adder = std::function<void(WGO_FileFilter&, PlainFilter&, const std::wstring&)>;
const Adder kAdders[] = {
    [](auto& f, auto& p, auto& t) { f.ExcludeFileExact(t.c_str()), p.excludeFiles.add(L"^", t, L"$"); },
    [](auto& f, auto& p, auto& t) { f.ExcludeFileLeftMatch(t.c_str()), p.excludeFiles.add(L"^", t, L".*"); },
    [](auto& f, auto& p, auto& t) { f.ExcludeFileRightMatch(t.c_str()), p.excludeFiles.add(L".*", t, L"$"); },
    [](auto& f, auto& p, auto& t) { f.ExcludeDirectoryExact(t.c_str()), p.excludeDirectories.add(L"^", t, L"$"); },
    [](auto& f, auto& p, auto& t) { f.IncludeFileExact(t.c_str()), p.includeFiles.add(L"^", t, L"$"); },
    [](auto& f, auto& p, auto& t) { f.IncludeFileLeftMatch(t.c_str()), p.includeFiles.add(L"^", t, L".*"); },
    [](auto& f, auto& p, auto& t) { f.IncludeFileRightMatch(t.c_str()), p.includeFiles.add(L".*", t, L"$"); },
    [](auto& f, auto& p, auto& t) { f.IncludeDirectoryExact(t.c_str()), p.includeDirectories.add(L"^", t, L"$"); },
};

TEST(FileFilterProperty, AnswersAreThoseOfAPlainScan) {
  int hits = 0;
  for (int round = 0; round < 1500; ++round) {
    WGO_FileFilter filter;
    PlainFilter plain;
    // Without any rule the filter passes what a plain one keeps out.
    kAdders[0](filter, plain, L"never asked for");
    for (std::size_t rules = dice()() % 8; rules > 0; --rules) oneOf(kAdders)(filter, plain, anyText(3));
    const WGO_FileFilter copy = filter;
    for (int query = 0; query < 40; ++query) {
      const std::wstring name = query == 0 ? std::wstring(300, L'b') + anyText(3) : anyText(5);
      const std::size_t last = name.rfind(L'\\');
      const bool either = plain.keepsOutFile(last == std::wstring::npos ? name : name.substr(last + 1)) ||
                          plain.keepsOutDirectory(name.substr(0, name.find(L'\\')));
      const bool file = plain.keepsOutFile(name);
      hits += file ? 1 : 0;
      ASSERT_EQ(copy.IsFileExcluded(name.c_str()), file) << platform::toUtf8(name) << ", round " << round;
      ASSERT_EQ(copy.IsDirectoryExcluded(name.c_str()), plain.keepsOutDirectory(name)) << platform::toUtf8(name);
      ASSERT_EQ(copy.IsFileOrDirectoryExcluded(name.c_str()), either) << platform::toUtf8(name);
    }
  }
  EXPECT_GT(hits, 5000);
}

/// Expressions of the parts that a reader of their ends knows, and of those that it has to leave alone.
TEST(FileFilterProperty, ExpressionsAreSearchedForWhateverTheirEndsPromise) {
  static constexpr std::wstring_view kParts[] = {
      L"a",   L"b",    L"e",   L"\\.",   L".",    L"[ab]",  L"[^a]", L"[\\]b]", L"+",
      L"*",   L"?",    L"{2}", L"{|}",   L"{2|",  L"(?!b)", L"|",    L"(a)",    L"^",
      L"$",   L"(?i)", L"\\d", L"\\x61", L"\\Qb", L"\\E",   L",",    L"{",      L"}",
      L"\\b", L"{0,}", L"[^]", L"(?:b",  L")",    L"\\cA",  L"\\<",  L"(?=a)",  L"[[:alpha:]]"};
  static constexpr std::wstring_view kLetters = L"aabb.e,{}\nA]1";
  int hits = 0;
  for (int round = 0; round < 20000; ++round) {
    std::wstring expression = dice()() % 2 == 0 ? L"^" : L"";
    for (std::size_t parts = 1 + dice()() % 5; parts > 0; --parts) expression += oneOf(kParts);
    if (dice()() % 2 == 0) expression += L"$";
    PlainList plain;
    NameRules rules;
    try {
      plain.rules.emplace_back(expression);
    } catch (const boost::regex_error&) {
      EXPECT_THROW(NameRule{expression}, boost::regex_error) << platform::toUtf8(expression);
      continue;
    }
    rules.add(NameRule(expression));
    for (int query = 0; query < 20; ++query) {
      std::wstring name(dice()() % 5, L'\0');
      for (wchar_t& c : name) c = oneOf(kLetters);
      // What stands for itself is found in the expression's own text.
      if (query % 2 == 0) name = expression.substr(dice()() % expression.size(), name.size());
      hits += plain.match(name) ? 1 : 0;
      ASSERT_EQ(rules.match(name), plain.match(name))
          << platform::toUtf8(expression) << " in " << platform::toUtf8(name);
    }
  }
  EXPECT_GT(hits, 10000);
}

using UploadRulesProperty = zephor_test::CloudFixture;

/// What is told of a name is what the filter of the road does with it.
TEST_F(UploadRulesProperty, TheDecidingRuleAgreesWithTheFilter) {
  desk.writeFile(path(L"WGO_SyncFilter.xml"),
                 "<file include = \"*.bak\" activated = \"1\">\n<directory include = \"old\" activated = \"1\">\n"
                 "<file exclude = \"notes.*\" activated = \"1\">\n");
  for (const UploadRoad road :
       {UploadRoad::Directory, UploadRoad::AllProjectFiles, UploadRoad::ProjectCopy, UploadRoad::Synchronisation}) {
    const std::vector<UploadRule> rules = WGO_describeUploadRules(road);
    WGO_FileFilter filter;
    if (road == UploadRoad::ProjectCopy) {
      WGO_GetPrjCopyUploadFilter(filter);
    } else if (road != UploadRoad::Synchronisation) {
      WGO_GetPrjDirUploadFilter(filter, road == UploadRoad::AllProjectFiles);
    } else {
      for (const UploadRule& rule : rules) WGO_addUploadRule(rule, filter);
    }
    for (int round = 0; round < 400; ++round) {
      std::wstring name = anyText(1) + oneOf(rules).text + (round % 3 == 0 ? oneOf(rules).text : anyText(1));
      std::erase_if(name, [](wchar_t c) { return c == L'\\'; });
      if (round % 5 == 0) name = platform::toUpper(name);
      if (name.empty()) continue;
      for (const bool isDirectory : {false, true}) {
        const UploadRule* rule = WGO_findDecidingRule(rules, name, isDirectory);
        const bool out = isDirectory ? filter.IsDirectoryExcluded(name.c_str()) : filter.IsFileExcluded(name.c_str());
        ASSERT_EQ(rule == nullptr || rule->include, !out) << platform::toUtf8(name) << ", road " << int(road);
      }
    }
  }
}

}  // namespace
