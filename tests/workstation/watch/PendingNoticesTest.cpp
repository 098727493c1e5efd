#include "workstation/watch/PendingNotices.h"

#include <gtest/gtest.h>

namespace workstation {
namespace {

using std::chrono::milliseconds;

class PendingNoticesTest : public ::testing::Test {
 protected:
  static PendingNotices::Time at(int ms) { return PendingNotices::Time(milliseconds(1'000'000 + ms)); }
  static FileState ofSize(std::int64_t size) { return {size, 1, 1, 1}; }
  /// What is due, in order, `-` before a missing one.
  std::string taken(int ms) {
    std::string all;
    while (const auto due = pending_.take(at(ms))) all += (due->isGone ? "-" : "") + due->path + " ";
    return all;
  }
  PendingNotices pending_{milliseconds(25), milliseconds(300)};
};

TEST_F(PendingNoticesTest, QuietBeginsAgainWithEachCloseButNotForEver) {
  pending_.written("/r/a", ofSize(1), true, at(0));
  pending_.written("/r/a", ofSize(2), true, at(20));
  pending_.written("/r/a", ofSize(2), false, at(40));  // as it was: no new quiet
  EXPECT_EQ(taken(44), "");
  EXPECT_EQ(taken(45), "/r/a ");
  EXPECT_FALSE(pending_.next());
  int told = 0;
  for (int ms = 0; ms < 12'000; ms += 20) {
    pending_.written("/r/log", ofSize(ms), true, at(ms));
    told += taken(ms).empty() ? 0 : 1;
  }
  EXPECT_EQ(told, 1);
}

TEST_F(PendingNoticesTest, MissingFilesWaitForTheLastOneAndComeBackUntold) {
  pending_.written("/r/a", ofSize(1), true, at(0));
  pending_.gone("/r/a", at(10));
  pending_.gone("/r/b", at(200));
  EXPECT_EQ(taken(310), "");
  EXPECT_TRUE(pending_.written("/r/b", ofSize(1), false, at(320)));
  EXPECT_EQ(taken(500), "/r/b -/r/a ");
  for (int ms = 1000; ms < 40'000; ms += 250) pending_.gone("/r/d/" + std::to_string(ms), at(ms));
  EXPECT_EQ(taken(30'000), "");
  EXPECT_NE(taken(31'000), "");
  pending_.forgetBelow("/r");
  EXPECT_FALSE(pending_.next());
}

}  // namespace
}  // namespace workstation
