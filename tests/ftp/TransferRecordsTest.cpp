#include "ftp/TransferRecords.h"

#include <gtest/gtest.h>

namespace {

using namespace Quorvel::FileAccess;

TEST(TransferRecords, AReportOfAKnownObjectBringsStateAndKindUpToDate) {
  TransferRecords records;
  EXPECT_TRUE(records.add({12, 1, 2, 3, 1}));
  EXPECT_TRUE(records.add({12, 7, 8, 9, 2}));
  ASSERT_EQ(records.all().size(), 1U);
  EXPECT_EQ(records.all()[0].first, 1);
  EXPECT_EQ(records.all()[0].state, 9);
  EXPECT_FALSE(records.add({12, 1, 0, 5, 1})) << "no second value";
  EXPECT_FALSE(records.add({13, 1, 2, 5, 4})) << "a finished download";

  std::int32_t state = 0;
  EXPECT_TRUE(records.stateOf(12, state, nullptr));
  EXPECT_EQ(state, 9);
  EXPECT_FALSE(records.stateOf(13, state, nullptr));
  EXPECT_FALSE(records.stateOf(12, state, [](const TransferRecord& record) { return record.kind != 2; }));
  EXPECT_EQ(state, 9);
}

}  // namespace
