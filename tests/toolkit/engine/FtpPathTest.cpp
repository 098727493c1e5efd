#include "toolkit/FtpPath.h"

#include <gtest/gtest.h>

using namespace Quorvel::FileAccess;

TEST(FtpPath, RelativePathsAreSeenFromTheBase) {
  const struct {
    const char* base;
    const char* path;
    const char* absolute;
  } table[] = {{"/a", "b", "/a/b"},      {"/", "b", "/b"},   {"/a/b", "..", "/a"}, {"/a", "../../..", "/"},
               {"/a", "/x/./y", "/x/y"}, {"", "b/c", "b/c"}, {"", "/b/..", "/"},   {"/a", "./b/../c", "/a/c"}};
  for (const auto& row : table)
    EXPECT_EQ(absolutePath(row.base, row.path), row.absolute) << row.base << " " << row.path;
}

TEST(FtpPath, QuotesInPrintedDirectoriesAreDoubled) {
  EXPECT_EQ(parsePrintedDirectory("257 \"/a \"\"b\"\" c\" is current"), "/a \"b\" c");
  EXPECT_EQ(parsePrintedDirectory("257 /a"), std::nullopt);
  EXPECT_EQ(parsePrintedDirectory("257 \"/a"), std::nullopt);
  EXPECT_EQ(parsePrintedDirectory("257 \"/a\nDELE b\""), std::nullopt);
}
