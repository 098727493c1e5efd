#include "workstation/ui/Texts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <set>
#include <string>

#include "host/UserMessages.h"
#include "platform/Messages.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/ui/HostInterface.h"
#include "workstation/ui/TextTable.h"

namespace {

using workstation::LanguageText;

using Key = std::pair<int, int>;

/// Every text that the library asks for, by number and part.
constexpr Key kTextsOfTheLibrary[] = {
    {100460, 0},  {100461, 0},  {1500379, 6}, {1500379, 7}, {1500388, 1}, {1500388, 2}, {1500388, 3}, {1500389, 1},
    {1500389, 2}, {1500431, 0}, {1500454, 0}, {1500493, 0}, {1500506, 0}, {1500507, 0}, {1500508, 0}, {1500509, 0},
    {1500510, 0}, {1500511, 0}, {1500512, 0}, {1500513, 0}, {1500514, 0}, {1500517, 0}, {1500548, 0}, {1500647, 0},
    {1500648, 0}, {1500654, 0}, {1500655, 0}, {1500657, 0}, {1500658, 0}, {1500659, 0}, {1500660, 0}, {1500661, 0},
    {1500662, 0}, {1500663, 0}, {1500772, 0}, {1500773, 0}, {1501623, 0}, {1501646, 0}, {1502500, 0}, {1502674, 0},
    {1502913, 0}, {1800533, 0}, {2500124, 0}, {2500481, 0}, {3201973, 0}};

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

TEST(LanguageTables, HoldEveryTextOfTheLibrary) {
  for (const Key& key : kTextsOfTheLibrary) {
    EXPECT_TRUE(std::ranges::any_of(workstation::englishTexts(),
                                    [&](const LanguageText& text) { return Key(text.id, text.part) == key; }))
        << key.first << ", part " << key.second;
  }
}

TEST(LanguageText, ComesInTheLanguageThatWasSet) {
  workstation::setLanguage("de");
  EXPECT_EQ(workstation::languageText(100461), L"Abbrechen");
  EXPECT_EQ(workstation::languageText(1500772).find(L"Das Projekt"), 0U);
  workstation::setLanguage("en");
  EXPECT_EQ(workstation::languageText(100461), L"Cancel");
  EXPECT_EQ(workstation::languageText(4711), L"#4711");
}

TEST(LanguageText, FollowsTheEnvironmentWhenNoneWasSet) {
  unsetenv("LC_ALL");
  unsetenv("LC_MESSAGES");
  setenv("LANG", "de_AT.UTF-8", 1);
  workstation::setLanguage("");
  EXPECT_EQ(workstation::language(), "de");
  setenv("LC_ALL", "C", 1);
  workstation::setLanguage("fr");
  EXPECT_EQ(workstation::language(), "en");
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

TEST(QuoString, GivesPartsParametersAndTheLimit) {
  workstation::setLanguage("en");
  CQuoString text;
  EXPECT_EQ(text.GetQuorvotParText(1500379, nullptr, 7, 256).text(), L"Password");
  EXPECT_EQ(text.GetQuorvotParText(1500512,
                                   L"3\x1e"
                                   L"12\x1e",
                                   2, 256)
                .text(),
            L"File 3 of 12");
  EXPECT_EQ(text.GetQuorvotParText(1502913, nullptr, 10, 7).text(), L"Reading");
  EXPECT_STREQ(text.GetQuorvotParText(1500379, nullptr, 1, 256).c_str(), L"#1500379");
}

TEST(ResourceLibraries, HoldTheStringsOfTheConnectionBox) {
  const std::wstring directory = platform::libraryPath(ZEPHOR_PROGRAM_DIRECTORY);
  for (const wchar_t* language : {L"en", L"de"}) {
    const std::wstring name = std::wstring(L"Zephor_InetExtensions_") + language + L".dll";
    const HMODULE module = LoadLibraryW(platform::joinPath(directory, name).c_str());
    ASSERT_NE(module, nullptr) << platform::toUtf8(name);
    wchar_t text[256] = {};
    for (UINT id = 1000; id <= 1020; ++id) EXPECT_GT(LoadStringW(module, id, text, 256), 0) << id;
    EXPECT_EQ(LoadStringW(module, 1021, text, 256), 0);
    ASSERT_GT(LoadStringW(module, 1019, text, 256), 0);
    EXPECT_NE(platform::formatWide(text, L"ftp.example.org").find(L"ftp.example.org"), std::wstring::npos);
    EXPECT_TRUE(FreeLibrary(module));
  }
}

}  // namespace
