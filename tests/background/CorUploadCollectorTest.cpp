#include "background/CorUploadCollector.h"

#include <stdexcept>

#include "tests/support/CloudFixture.h"
#include "tests/support/FakePacing.h"
#include "zephor/BackgroundChanges.h"
#include "zephor/ResourceContainers.h"

namespace {

const std::wstring kContainer = L"5f0c0000-0000-4000-8000-000000000001";

std::wstring& activeContainer() {
  static std::wstring container;
  return container;
}

}  // namespace

// The host's own stands behind this one.
std::wstring get_ActivePrjCorUuid() {
  return activeContainer();
}

namespace Quorvel::FileAccess {
namespace {

using zephor_test::Calls;
using zephor_test::kRefused;

constexpr unsigned long kModified = 3;
constexpr zephor_test::milliseconds kPause{1000};
constexpr zephor_test::milliseconds kFailurePause{5000};

class CorUploadCollector : public zephor_test::CloudFixture {
 protected:
  CorUploadCollector() {
    activeContainer() = kContainer;
    pacing.hold(kPause);
    pacing.hold(kFailurePause);
  }
  ~CorUploadCollector() override { WGO_SetBackgroundChangesManagerRunning(false, false); }

  static std::wstring cached(const std::wstring& name) {
    return WGO_BuildCloudStdLocalCachePath(kContainer) + L'\\' + name;
  }
  static void notify(std::initializer_list<const wchar_t*> names) {
    for (const wchar_t* name : names) WGO_callbackManageChanges(cached(name), kModified);
  }
  static std::size_t collected() { return WGO_GetBackgroundWork().collected; }
  /// Names of the calls since the last time.
  std::wstring asked() {
    std::wstring names;
    for (const Calls calls = cloud.calls(); seen_ < calls.size(); ++seen_) {
      names += calls[seen_].substr(0, calls[seen_].find(L' ')) + L' ';
    }
    return names;
  }

  zephor_test::FakePacing pacing;

 private:
  std::size_t seen_ = 0;
};

TEST_F(CorUploadCollector, TakesFilesOfTheContainersCacheOnly) {
  notify({L"a.sty", L"A.sty", L"a.sty", L".cordial\\b.sty", L".cor", L".cor\\state.db", L".COR\\state.db"});
  EXPECT_EQ(collected(), 3U);
  WGO_callbackManageChanges(cached(L"c.sty"), 5);
  WGO_callbackManageChanges(WGO_BuildCloudStdLocalCachePath(kContainer) + L"0\\d.sty", kModified);
  activeContainer() = L"00000000-0000-0000-0000-000000000000";
  notify({L"e.sty"});
  activeContainer() = kContainer;
  set_ActivePrj(localPrj());
  notify({L"f.sty"});
  EXPECT_EQ(collected(), 3U);
  for (const unsigned long action : {1UL, 2UL, 3UL, 4UL}) {
    WGO_callbackManageChangesCORForWGFkt()(cached(L"g" + std::to_wstring(action)), action);
    WGO_callbackManageChangesCORForWG(cached(L".cor\\g" + std::to_wstring(action)), action);
  }
  EXPECT_EQ(collected(), 6U);
  WGO_SetBackgroundChangesManagerRunning(false, false);
  EXPECT_EQ(collected(), 0U);
  EXPECT_EQ(asked(), L"");
}

TEST_F(CorUploadCollector, FourAreCommittedAndTheRestAtTheEnd) {
  WGO_SetBackgroundChangesManagerRunning(true, true);
  EXPECT_THROW(WGO_SetBackgroundChangesManagerRunning(true, true), std::logic_error);
  ASSERT_EQ(pacing.awaitBegun(kPause, 1), 1);
  notify({L"a", L"b", L"a", L"c"});
  pacing.pass(kPause);
  ASSERT_EQ(pacing.awaitBegun(kPause, 2), 2);
  EXPECT_EQ(asked(), L"");
  notify({L"d", L"e"});
  pacing.pass(kPause);
  ASSERT_EQ(pacing.awaitBegun(kPause, 3), 3);
  EXPECT_EQ(asked(), L"Download Lock Upload Unlock ");
  EXPECT_EQ(collected(), 1U);
  WGO_SetBackgroundChangesManagerRunning(false, false);
  EXPECT_EQ(asked(), L"Download Lock Upload Unlock ");
  EXPECT_EQ(collected(), 0U);
  WGO_SetBackgroundChangesManagerRunning(true, true);
}

TEST_F(CorUploadCollector, FailedBatchIsTriedAgainUntilTheStop) {
  cloud.script("Lock", {kRefused, 0, kRefused});
  cloud.script("Upload", {kRefused});
  notify({L"a", L"b", L"c", L"d"});
  WGO_SetBackgroundChangesManagerRunning(true, true);
  ASSERT_EQ(pacing.awaitBegun(kFailurePause, 1), 1);
  pacing.pass(kFailurePause);
  ASSERT_EQ(pacing.awaitBegun(kFailurePause, 2), 2);
  EXPECT_EQ(asked(), L"Download Lock Download Lock Upload Unlock ");
  EXPECT_EQ(collected(), 4U);
  WGO_SetBackgroundChangesManagerRunning(false, false);
  EXPECT_EQ(asked(), L"Download Lock ") << "once more";
  EXPECT_EQ(collected(), 0U);
  EXPECT_TRUE(ui().boxes().empty());
}

TEST_F(CorUploadCollector, ChangeDuringACommitIsCommittedAgain) {
  int uploads = 0;
  cloud.onCall = [&](const std::wstring& call) {
    if (!call.starts_with(L"Upload ")) return;
    if (++uploads < 3) notify({L"a", L"e", L"a"});
    EXPECT_THROW(WGO_SetBackgroundChangesManagerRunning(false, false), std::logic_error) << "it can't end itself";
  };
  cloud.script("Upload", {kRefused});
  notify({L"a", L"b", L"c", L"d"});
  WGO_SetBackgroundChangesManagerRunning(true, true);
  ASSERT_EQ(pacing.awaitBegun(kFailurePause, 1), 1);
  EXPECT_EQ(collected(), 5U) << "the batch that failed has its change of a already";
  pacing.pass(kFailurePause);
  ASSERT_EQ(pacing.awaitBegun(kPause, 1), 1);
  EXPECT_EQ(collected(), 2U) << "e, and the change of a that this commit may have missed";
  WGO_SetBackgroundChangesManagerRunning(false, false);
  EXPECT_EQ(uploads, 3);
}

}  // namespace
}  // namespace Quorvel::FileAccess
