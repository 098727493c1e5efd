#include "toolkit/FtpData.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "toolkit/FtpEntryList.h"
#include "toolkit/FtpListing.h"

using namespace Quorvel::FileAccess;

namespace {

/// Feeds a text in pieces of a size, as the network might.
std::vector<std::string> linesOf(const std::string& text, std::size_t pieceBytes) {
  std::vector<std::string> lines;
  FtpLineSink sink([&](std::string_view line) { lines.emplace_back(line); });
  for (std::size_t at = 0; at < text.size();) {
    const FtpSpace space = sink.space();
    const std::size_t count = std::min({pieceBytes, space.size, text.size() - at});
    std::memcpy(space.data, text.data() + at, count);
    EXPECT_TRUE(sink.filled(count));
    at += count;
  }
  EXPECT_TRUE(sink.finish(true));
  return lines;
}

}  // namespace

TEST(FtpLineSink, AnEndlessLineIsLeftOutAndTheNextIsRead) {
  const std::vector<std::string> expected = {"before", "after"};
  EXPECT_EQ(linesOf("before\n" + std::string(1000000, 'x') + "\nafter\n", 4096), expected);
}

TEST(FtpEntryList, TakesNoMoreThanItsLimitAndSaysSo) {
  FtpEntryList list(2);
  FtpEntry entry;
  entry.name = std::string(FtpEntryList::kBlockBytes / 8, 'x');
  for (int i = 0; i < 16; ++i) EXPECT_TRUE(list.add(entry));
  EXPECT_FALSE(list.add(entry));
  EXPECT_EQ(list.size(), 16U);
}
