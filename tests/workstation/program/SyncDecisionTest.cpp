#include "workstation/program/SyncDecision.h"

#include <gtest/gtest.h>

#include "workstation/program/ProgressLine.h"

namespace workstation::program {
namespace {

using enum ObjectState;
using Circumstances = SyncCircumstances;

constexpr Circumstances kOpen{.isOpen = true};

// What is here: a letter for its content; the base is "a" on both sides where there is one, and "-" is none.
TEST(SyncDecision, WhatIsNotInTheStoreIsNeverReplacedOrTakenAway) {
  const struct {
    const char* here;
    const char* store;
    bool hasBase;
    Circumstances circumstances;
    SyncStep step;
  } cases[] = {
      {"-", "a", false, {}, SyncStep::Fetch},
      {"-", "a", true, {}, SyncStep::Fetch},
      {"-", "b", true, {}, SyncStep::Fetch},
      {"a", "b", true, {}, SyncStep::Fetch},
      {"a", "b", true, kOpen, SyncStep::Keep},
      {"a", "b", false, {}, SyncStep::Keep},
      {"a", "-", true, {}, SyncStep::Trash},
      {"a", "-", true, kOpen, SyncStep::Keep},
      {"a", "-", false, {}, SyncStep::Send},
      {"b", "a", true, {}, SyncStep::Send},
      {"b", "-", true, {}, SyncStep::Keep},
      {"b", "c", true, {}, SyncStep::Keep},
      {"b", "b", true, {}, SyncStep::Record},
      {"-", "-", true, {}, SyncStep::Nothing},
      {"b", "a", true, {.hasTwin = true}, SyncStep::Keep},
      {"-", "a", false, {.isNameSafe = false}, SyncStep::Keep},
  };
  const auto stamp = [](char content) { return VersionStamp{1, content, 1}; };
  for (const auto& item : cases) {
    ItemView view;
    if (*item.here != '-') view.here = stamp(*item.here);
    if (*item.store != '-') view.store = stamp(*item.store);
    if (item.hasBase) view.base = SyncPoint{stamp('a'), stamp('a')};
    view.state = stateOf(view.here, view.store, view.here == view.store, view.base);
    const SyncDecision decision = decideSync(view, item.circumstances);
    EXPECT_EQ(decision.step, item.step) << item.here << item.store << item.hasBase;
    EXPECT_EQ(decision.step == SyncStep::Keep, !decision.reason.empty());
  }
  ItemView damaged;
  damaged.damagedHere = true;
  damaged.state = OnlyInStore;
  EXPECT_EQ(decideSync(damaged, {}).step, SyncStep::Keep);
}

TEST(SyncDecision, AStoreThatWentBackIsNotObeyed) {
  ItemView view;
  view.here = VersionStamp{0, 5, 1};
  view.base = SyncPoint{*view.here, {4, 5, 1, 7}};
  const auto decide = [&](const SyncCircumstances& circumstances) {
    view.state = stateOf(view.here, view.store, false, view.base);
    return decideSync(view, circumstances).step;
  };
  EXPECT_EQ(decide({}), SyncStep::Trash);
  EXPECT_EQ(decide({.isDeletionTold = false}), SyncStep::Keep);
  view.store = VersionStamp{3, 4, 1, 7};
  EXPECT_EQ(decide({}), SyncStep::Keep);
  view.store->guidFirst = 8;
  EXPECT_EQ(decide({}), SyncStep::Fetch) << "deleted and made anew";
}

TEST(SyncDecision, AStoreThatLostNearlyEverythingIsNotObeyed) {
  EXPECT_TRUE(looksLikeLostStore(1000, 1010));
  EXPECT_FALSE(looksLikeLostStore(500, 1000));
  EXPECT_FALSE(looksLikeLostStore(3, 3)) << "a small project may be cleared";
}

TEST(ProgressText, TellsRateAndRestOnceSomethingHasCome) {
  const std::chrono::seconds two{2};
  EXPECT_EQ(progressText(L"fetching", {1, 4'000'000}, {4, 10'000'000}, two),
            L"fetching: 1 of 4 files, 4.0 of 10.0 MB, 2.0 MB/s, 3 s left");
  EXPECT_EQ(progressText(L"fetching", {0, 0}, {4, 10'000'000}, two), L"fetching: 0 of 4 files, 0.0 of 10.0 MB");
  EXPECT_EQ(progressText(L"sending", {4, 12'000'000}, {4, 0}, two), L"sending: 4 of 4 files");
}

}  // namespace
}  // namespace workstation::program
