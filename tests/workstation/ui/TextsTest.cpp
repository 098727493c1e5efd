#include "workstation/ui/Texts.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "platform/Text.h"
#include "workstation/ui/TextTable.h"

namespace {

using workstation::LanguageText;

using Key = std::pair<int, int>;

std::set<char> placesIn(const std::string& text) {
  std::set<char> places;
  for (std::size_t i = 0; i + 1 < text.size(); ++i) {
    if (text[i] == '%') places.insert(text[i + 1]);
  }
  return places;
}

TEST(LanguageTables, HoldTheSameNumbersWithTheSamePlaces) {
  const auto english = workstation::englishTexts();
  const auto german = workstation::germanTexts();
  ASSERT_EQ(english.size(), german.size());
  for (std::size_t i = 0; i < english.size(); ++i) {
    const LanguageText& text = english[i];
    EXPECT_EQ(Key(text.id, text.part), Key(german[i].id, german[i].part));
    EXPECT_EQ(placesIn(text.utf8), placesIn(german[i].utf8)) << text.id;
    if (i > 0) {
      EXPECT_LT(Key(english[i - 1].id, english[i - 1].part), Key(text.id, text.part)) << "not sorted";
    }
    for (const char* utf8 : {text.utf8, german[i].utf8}) {
      EXPECT_TRUE(platform::isValidUtf8(utf8)) << text.id;
      // The library asks for 256 characters at most.
      EXPECT_LT(platform::fromUtf8(utf8).size(), 256U) << text.id;
    }
  }
}

TEST(Parameters, TakeTheirPlaces) {
  using Parameters = std::vector<std::wstring>;
  EXPECT_EQ(workstation::withParameters(L"%2 of %1, %1", Parameters({L"a", L"b"})), L"b of a, a");
  EXPECT_EQ(workstation::withParameters(L"100 %% of %1%", Parameters({L"%2"})), L"100 % of %2%");
  EXPECT_EQ(workstation::withParameters(L"Failed (%1).\n%2\n%3", Parameters({L"5"})), L"Failed (5).");
  EXPECT_EQ(workstation::withParameters(L"No place ", Parameters({L"5"})), L"No place ");
  EXPECT_EQ(workstation::splitParameters(L"0x5\x1e a b\x1e\x1f"), Parameters({L"0x5", L" a b"}));
  EXPECT_EQ(workstation::splitParameters(L""), Parameters());
}

}  // namespace
