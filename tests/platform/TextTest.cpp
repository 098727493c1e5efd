#include "platform/Text.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

namespace {

std::wstring allCharacters() {
  std::wstring text;
  for (wchar_t c = 1; c < 0x10000; ++c) {
    if (c < 0xD800 || c > 0xDFFF) text += c;
  }
  for (const wchar_t c : {0x10000, 0x1F600, 0x2F800, 0xFFFFF, 0x10FFFF}) text += c;
  return text;
}

TEST(TextTest, EveryCharacterSurvivesUtf8AndUtf16) {
  const std::wstring text = allCharacters();
  EXPECT_EQ(platform::fromUtf8(platform::toUtf8(text)), text);
  EXPECT_EQ(platform::fromUtf16(platform::toUtf16(text)), text);
  EXPECT_TRUE(platform::isValidUtf8(platform::toUtf8(text)));
}

TEST(TextTest, EachMaximalIllFormedPartGivesOneReplacement) {
  struct Case {
    std::string bytes;
    std::wstring text;
  };
  const Case cases[] = {
      {"a\x80z", L"a\xFFFDz"},                                              // a trailing byte alone
      {"\xC0\xAF", L"\xFFFD\xFFFD"},                                        // overlong
      {"\xE0\x80\xAF", L"\xFFFD\xFFFD\xFFFD"},                              // overlong
      {"\xED\xA0\x80", L"\xFFFD\xFFFD\xFFFD"},                              // a surrogate
      {"\xF4\x91\x92\x93\xFF", L"\xFFFD\xFFFD\xFFFD\xFFFD\xFFFD"},          // above the last character
      {"\xE1\x80\xE2\xF0\x91\x92\xF1\xBF!", L"\xFFFD\xFFFD\xFFFD\xFFFD!"},  // cut sequences
      {"x\xE2\x82", L"x\xFFFD"},                                            // cut at the end
      {"\xF0\x9F\x98", L"\xFFFD"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(platform::fromUtf8(c.bytes), c.text) << testing::PrintToString(c.bytes);
    EXPECT_FALSE(platform::isValidUtf8(c.bytes));
  }
}

TEST(TextTest, WhatIsNoCharacterBecomesTheReplacement) {
  for (const wchar_t c : {wchar_t{0xD800}, wchar_t{0xDFFF}, wchar_t{0x110000}, wchar_t{-1}}) {
    EXPECT_EQ(platform::toUtf8(std::wstring(1, c)), "\xEF\xBF\xBD");
    EXPECT_EQ(platform::toUtf16(std::wstring(1, c)), u"\xFFFD");
  }
  const std::u16string lone = {0xD83D, u'a', 0xDE00, 0xD83D};
  EXPECT_EQ(platform::fromUtf16(lone),
            L"\xFFFD"
            L"a\xFFFD\xFFFD");
}

TEST(TextTest, LetterCaseIsThatOfSimplePairsWhateverTheLocale) {
  const std::wstring capitals = L"ABZ ÄÖÜ ÀÞ Ÿ ΑΣΩ ЁЯ Ő Ǆ 𐐀";
  const std::wstring smalls = L"abz äöü àþ ÿ ασω ёя ő ǆ 𐐨";
  EXPECT_EQ(platform::toLower(capitals), smalls);
  EXPECT_EQ(platform::toUpper(smalls), capitals);
  EXPECT_TRUE(platform::equalsIgnoreCase(capitals, smalls));
  // Their partner has another partner.
  for (const wchar_t* const unpaired : {L"ß", L"ı", L"İ", L"ſ", L"ς", L"µ", L"\x212A"}) {
    EXPECT_EQ(platform::toLower(unpaired), unpaired);
    EXPECT_EQ(platform::toUpper(unpaired), unpaired);
  }
  EXPECT_FALSE(platform::equalsIgnoreCase(L"İ", L"i"));
  EXPECT_EQ(platform::findIgnoreCase(L"Haus.PRJ", L".prj"), 4U);
  EXPECT_LT(_wcsicmp(L"Ab", L"aC"), 0);
  EXPECT_EQ(_wcsnicmp(L"ÖLx", L"öly", 2), 0);
}

TEST(CodePageTest, EveryByteOfThePagesSurvives) {
  std::string bytes;
  for (int b = 0; b < 256; ++b) bytes += static_cast<char>(b);
  for (const UINT page : {CP_ACP, UINT{1252}, UINT{28591}}) {
    std::array<wchar_t, 256> wide{};
    ASSERT_EQ(MultiByteToWideChar(page, 0, bytes.data(), 256, wide.data(), 256), 256);
    std::string back(256, 'x');
    BOOL substituted = TRUE;
    ASSERT_EQ(WideCharToMultiByte(page, 0, wide.data(), 256, back.data(), 256, nullptr, &substituted), 256);
    EXPECT_EQ(back, bytes) << page;
    EXPECT_FALSE(substituted);
  }
}

TEST(CodePageTest, SizesAreToldAndKept) {
  EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, L"ä€", -1, nullptr, 0, nullptr, nullptr), 6);
  std::array<char, 4> out = {'#', '#', '#', '#'};
  EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, L"ä€", 2, out.data(), 4, nullptr, nullptr), 0);
  EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
  EXPECT_EQ(std::string(out.data(), 4), "\xC3\xA4##");
  EXPECT_EQ(MultiByteToWideChar(1250, 0, "a", 1, nullptr, 0), 0);
  EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, "\xC3", 1, nullptr, 0), 0);
  EXPECT_EQ(GetLastError(), ERROR_NO_UNICODE_TRANSLATION);
}

}  // namespace
