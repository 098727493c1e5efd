#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <thread>

#include "workstation/program/DeliveryPool.h"
#include "workstation/program/WatchDecision.h"

namespace workstation::program {
namespace {

TEST(WatchDecision, AnUploadGoesOnlyOntoWhatWasLastInStep) {
  const FileContent old{3, 100, "old"};
  const FileContent mine{4, 200, {}};
  const FileContent theirs{5, 300, "theirs"};
  const VersionStamp first{1, 100, 3};
  const VersionStamp second{2, 300, 5};
  const auto other = [] { return false; };
  const auto equal = [] { return true; };
  const struct {
    UploadFacts facts;
    UploadStep step;
  } cases[] = {
      {{mine, {}, {}, {}, {}, other}, UploadStep::Send},
      {{mine, old, {}, {}, {}, other}, UploadStep::Send},
      {{mine, old, first, {}, {}, other}, UploadStep::DeletedThere},
      {{mine, old, {}, old, first, other}, UploadStep::Send},
      {{mine, {}, first, old, first, other}, UploadStep::Send},
      {{mine, old, first, theirs, second, other}, UploadStep::ChangedThere},
      {{mine, {}, {}, theirs, second, other}, UploadStep::ChangedThere},
      {{mine, {}, {}, theirs, second, equal}, UploadStep::AlreadyThere},
      {{mine, old, first, theirs, second, other, true}, UploadStep::Send},
      {{theirs, old, first, theirs, second, other}, UploadStep::ChangedThere},
      {{theirs, theirs, first, theirs, second, other}, UploadStep::AlreadyThere},
      {{mine, old, first, old, first, equal}, UploadStep::AlreadyThere},
      {{mine, FileContent{}, {}, FileContent{0, 1, ""}, second, other}, UploadStep::ChangedThere},
  };
  for (std::size_t i = 0; i < std::size(cases); ++i) EXPECT_EQ(decideUpload(cases[i].facts), cases[i].step) << i;
}

TEST(WatchDecision, ManyThatVanishTogetherAreAnAccident) {
  EXPECT_FALSE(looksLikeAccident(50, 50));
  EXPECT_TRUE(looksLikeAccident(51, 51));
  EXPECT_TRUE(looksLikeAccident(60, 119));
  EXPECT_FALSE(looksLikeAccident(60, 120));
  Backoff backoff;
  std::int64_t last = 0;
  for (int i = 0; i < 10; ++i) last = backoff.next().count();
  EXPECT_EQ(last, 60);
}

TEST(DeliveryPool, OneFileInItsOrderAndManyAtOnce) {
  constexpr int kFiles = 40;
  constexpr int kNotices = 5;
  std::array<std::vector<int>, kFiles> seen;
  std::atomic<int> running{0};
  std::atomic<int> most{0};
  {
    DeliveryPool pool(kFiles);
    for (int notice = 0; notice < kNotices; ++notice) {
      for (int file = 0; file < kFiles; ++file) {
        pool.post(std::to_wstring(file), [&, file, notice] {
          const int now = ++running;
          for (int before = most; before < now && !most.compare_exchange_weak(before, now);) continue;
          seen[static_cast<std::size_t>(file)].push_back(notice);
          std::this_thread::sleep_for(std::chrono::milliseconds(10));
          --running;
        });
      }
    }
  }
  for (const auto& notices : seen) EXPECT_EQ(notices, (std::vector{0, 1, 2, 3, 4}));
  EXPECT_GT(most.load(), kFiles / 4);
}

}  // namespace
}  // namespace workstation::program
