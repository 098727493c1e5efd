#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "TemporaryDirectory.h"
#include "platform/Paths.h"
#include "platform/Text.h"

namespace {

using platform::TextFile;

class TextFileTest : public TemporaryDirectoryTest {
 protected:
  std::string bytes() const { return read("file.txt"); }
  void put(const std::string& content) const { TemporaryDirectoryTest::write("file.txt", content); }

  void write(const wchar_t* mode, std::wstring_view text) const {
    TextFile file(path_, mode);
    ASSERT_TRUE(file.isOpen());
    EXPECT_TRUE(file.write(text));
    EXPECT_TRUE(file.close());
  }
  std::vector<std::wstring> lines(const wchar_t* mode, std::size_t bufferSize = 1024) const {
    TextFile file(path_, mode);
    EXPECT_TRUE(file.isOpen());
    std::vector<std::wstring> all;
    for (std::wstring line; file.readLine(line, bufferSize);) all.push_back(line);
    return all;
  }

  const std::wstring path_ = path(L"file.txt");
};

using Lines = std::vector<std::wstring>;

TEST_F(TextFileTest, EachModeWritesItsEncodingAndOneMark) {
  struct Case {
    const wchar_t* write;
    const wchar_t* append;
    std::string bytes;
  };
  using namespace std::string_literals;
  const Case cases[] = {
      {L"w", L"a", "\xE4?\n\x80\n"},
      {L"w,ccs=UTF-8", L"a, ccs=UTF-8", "\xEF\xBB\xBF\xC3\xA4\xF0\x9F\x98\x80\n\xE2\x82\xAC\n"},
      {L"a, ccs=UTF-8", L"a, ccs=UTF-8", "\xEF\xBB\xBF\xC3\xA4\xF0\x9F\x98\x80\n\xE2\x82\xAC\n"},
      {L"w, ccs=UTF-16LE", L"a, ccs=UTF-16LE", "\xFF\xFE\xE4\0\x3D\xD8\x00\xDE\n\0\xAC\x20\n\0"s},
      {L"w, ccs=UTF-16LE", L"a, ccs=UTF-8", "\xFF\xFE\xE4\0\x3D\xD8\x00\xDE\n\0\xAC\x20\n\0"s},  // the mark rules
  };
  for (const Case& c : cases) {
    std::filesystem::remove(root() / "file.txt");
    write(c.write, L"ä\x1F600\n");
    write(c.append, L"€\n");
    EXPECT_EQ(bytes(), c.bytes);
  }
}

TEST_F(TextFileTest, OddEndsLoseNothingThatCanBeRead) {
  struct Case {
    const wchar_t* mode;
    std::string bytes;
    Lines lines;
  };
  using namespace std::string_literals;
  const Case cases[] = {
      {L"r", "", {}},
      {L"r", "a\r\nb\rc\r\r\n\r", {L"a\n", L"b\rc\r\n", L"\r"}},
      {L"rb", "a\r\nb", {L"a\r\n", L"b"}},
      {L"r",
       "a\x1A"
       "b\n\n",
       {L"a\x1A"
        L"b\n",
        L"\n"}},
      {L"r", "\x93\x81\xFC", {L"\x201C\x81ü"}},
      {L"r, ccs=UTF-8", "\xEF\xBB\xBF", {}},
      {L"r, ccs=UTF-8", "no mark \xC3\xA4\n", {L"no mark ä\n"}},
      {L"r, ccs=UTF-8", "a\xFF\xE2\x82", {L"a\xFFFD\xFFFD"}},
      {L"r, ccs=UTF-8", "\xFF\xFEx\0"s, {L"x"}},
      {L"r, ccs=UTF-16LE", "x\0\r\0\n\0y\0"s, {L"x\n", L"y"}},
      {L"r, ccs=UTF-16LE", "\xFF\xFE\x3D\xD8x\0\x00\xDE\x3D\xD8"s, {L"\xFFFDx\xFFFD\xFFFD"}},
      {L"r, ccs=UTF-16LE", "\xFF\xFEx\0y"s, {L"x\xFFFD"}},
      {L"r, ccs=UTF-16LE", "\xEF\xBB\xBF\xC3\xA4", {L"ä"}},
  };
  for (const Case& c : cases) {
    put(c.bytes);
    EXPECT_EQ(lines(c.mode), c.lines) << testing::PrintToString(c.bytes);
  }
}

TEST_F(TextFileTest, LongLinesComeInPieces) {
  put("abcdefg\nhi\n");
  EXPECT_EQ(lines(L"r", 4), (Lines{L"abc", L"def", L"g\n", L"hi\n"}));
  EXPECT_EQ(lines(L"r", 8), (Lines{L"abcdefg", L"\n", L"hi\n"}));
}

TEST_F(TextFileTest, LargeFilesComeBackWhole) {
  // Lengths without a common factor with the block put characters and line ends across every boundary.
  for (const wchar_t* const encoding : {L", ccs=UTF-8", L", ccs=UTF-16LE"}) {
    Lines expected;
    std::wstring text;
    for (std::size_t i = 0; i < 100000; ++i) {
      expected.push_back(std::wstring(i % 7, L'€') + L"\x1F600\n");
      text += expected.back();
      text.insert(text.size() - 1, L"\r");
    }
    write((std::wstring(L"w") + encoding).c_str(), text);
    EXPECT_EQ(lines((std::wstring(L"r") + encoding).c_str()), expected);
  }
}

TEST_F(TextFileTest, AFullDiskIsTold) {
  TextFile small(L"\\dev\\full", L"w");
  ASSERT_TRUE(small.isOpen());
  EXPECT_TRUE(small.write(L"buffered"));
  EXPECT_FALSE(small.close());
  EXPECT_EQ(GetLastError(), ERROR_DISK_FULL);

  TextFile large(L"\\dev\\full", L"w");
  EXPECT_FALSE(large.write(std::wstring(100000, L'x')));
  EXPECT_FALSE(large.close());
}

}  // namespace
