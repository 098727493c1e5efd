#include "workstation/program/SyncPlan.h"

#include <gtest/gtest.h>

namespace workstation::program {
namespace {

TreeFile file(const wchar_t* name, std::int64_t size, DWORD time, bool interrupted = false) {
  return {L"dir", name, size, FILETIME{time, 30000000}, interrupted};
}

Tree tree(std::vector<TreeFile> files) {
  Tree result;
  result.directories = {L"dir"};
  result.files = std::move(files);
  return result;
}

TEST(SyncPlan, TimesDecideWithoutTolerance) {
  const struct {
    std::vector<TreeFile> here;
    std::vector<TreeFile> server;
    int up;  // -1: no step
    int down;
  } cases[] = {
      {{file(L"a", 1, 100)}, {}, int(SyncAction::Move), -1},
      {{}, {file(L"a", 1, 100)}, -1, int(SyncAction::Move)},
      {{file(L"a", 1, 100)}, {file(L"a", 1, 100)}, int(SyncAction::InStep), int(SyncAction::InStep)},
      {{file(L"a", 1, 101)}, {file(L"a", 1, 100)}, int(SyncAction::Move), int(SyncAction::Newer)},
      {{file(L"a", 9, 100)}, {file(L"a", 1, 101)}, int(SyncAction::Newer), int(SyncAction::Move)},
      {{file(L"a", 2, 100)}, {file(L"a", 1, 100)}, int(SyncAction::Differs), int(SyncAction::Differs)},
      {{file(L"A", 1, 100)}, {file(L"a", 1, 100)}, int(SyncAction::InStep), int(SyncAction::InStep)},
  };
  for (const auto& item : cases) {
    const auto up = planUp(tree(item.here), tree(item.server));
    const auto down = planDown(tree(item.here), tree(item.server));
    EXPECT_EQ(up.empty() ? -1 : int(up.front().action), item.up);
    EXPECT_EQ(down.empty() ? -1 : int(down.front().action), item.down);
  }
}

// A piece that an interrupted upload left on the server is newer than the whole file here.
TEST(SyncPlan, AnInterruptedUploadIsNeverFetchedOverTheFile) {
  const Tree here = tree({file(L"a", 9, 100, true), file(L"b", 9, 100, true), file(L"c", 9, 100, true),
                          file(L"d", 9, 100, true), file(L"e", 9, 100, true)});
  const Tree server = tree({file(L"a", 4, 101), file(L"b", 9, 100), file(L"d", 4, 100), file(L"e", 4, 99)});
  const auto up = planUp(here, server);
  ASSERT_EQ(up.size(), 5U);
  EXPECT_EQ(up[0].action, SyncAction::Resume);
  EXPECT_EQ(up[1].action, SyncAction::InStep);
  EXPECT_EQ(up[2].action, SyncAction::Move);
  EXPECT_EQ(up[3].action, SyncAction::Resume);
  EXPECT_EQ(up[4].action, SyncAction::Move) << "the server has what was there before the upload";
  const auto down = planDown(here, server);
  ASSERT_EQ(down.size(), 4U);
  EXPECT_EQ(down[0].action, SyncAction::Pending);
  EXPECT_EQ(down[1].action, SyncAction::InStep);
  EXPECT_EQ(down[2].action, SyncAction::Pending);
  EXPECT_EQ(down[3].action, SyncAction::Newer);
}

TEST(SyncPlan, WhatAnInterruptedDownloadLeftIsNotSent) {
  const Tree here = tree({file(L"a.part", 4, 100), file(L"gear.part", 9, 100)});
  const auto up = planUp(here, tree({file(L"a", 9, 99)}));
  ASSERT_EQ(up.size(), 1U);
  EXPECT_EQ(up[0].source.name, L"gear.part") << "a name like that is no sign by itself";
}

}  // namespace
}  // namespace workstation::program
