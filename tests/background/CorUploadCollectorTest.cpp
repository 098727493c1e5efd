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
  std::size_t callsOf(const std::wstring& operation) const {
    std::size_t count = 0;
    for (const std::wstring& call : cloud.calls()) count += call.starts_with(operation + L' ') ? 1U : 0U;
    return count;
  }
  /// Lets the pause end in which the collector looks for more.
  void look() {
    const int before = pacing.begun(kPause);
    pacing.pass(kPause);
    EXPECT_TRUE(pacing.awaitBegun(kPause, before + 1));
  }

  zephor_test::FakePacing pacing;
};

TEST_F(CorUploadCollector, TakesFilesOfTheContainersCacheOnly) {
  notify({L"a.sty", L"A.sty", L"a.sty", L".cordial\\b.sty"});
  EXPECT_EQ(collected(), 3U);
  notify({L".cor", L".cor\\state.db", L".COR\\state.db"});
  for (const unsigned long action : {0UL, 4UL, 5UL}) WGO_callbackManageChanges(cached(L"c.sty"), action);
  WGO_callbackManageChanges(WGO_BuildCloudStdLocalCachePath(kContainer) + L"0\\d.sty", kModified);
  activeContainer() = L"00000000-0000-0000-0000-000000000000";
  notify({L"e.sty"});
  EXPECT_EQ(collected(), 3U);
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
  EXPECT_EQ(cloud.calls(), Calls{});
}

TEST_F(CorUploadCollector, FourAreCommittedAndTheRestAtTheEnd) {
  WGO_SetBackgroundChangesManagerRunning(true, true);
  EXPECT_THROW(WGO_SetBackgroundChangesManagerRunning(true, true), std::logic_error);
  ASSERT_TRUE(pacing.awaitBegun(kPause, 1));
  notify({L"a", L"b", L"a", L"c"});
  look();
  EXPECT_EQ(cloud.calls(), Calls{});
  notify({L"d", L"e"});
  look();
  EXPECT_EQ(collected(), 1U);
  EXPECT_EQ(callsOf(L"Lock"), 1U);
  WGO_SetBackgroundChangesManagerRunning(false, false);
  EXPECT_EQ(collected(), 0U);
  const std::wstring path = WGO_BuildCloudStdLocalCachePath(kContainer);
  const Calls all = cloud.calls();
  ASSERT_EQ(all.size(), 8U);
  const Calls one = {L"Download " + kContainer + L' ' + path + L" silent", L"Lock " + kContainer + L" 0",
                     L"Upload " + kContainer + L" 0 0", L"Unlock keep"};
  EXPECT_EQ(Calls(all.begin(), all.begin() + 4), one);
  WGO_SetBackgroundChangesManagerRunning(true, true);
}

TEST_F(CorUploadCollector, FailedBatchIsTriedAgainEveryFiveSecondsUntilTheStop) {
  cloud.script("Lock", {kRefused, kRefused, 0, kRefused});
  cloud.script("Upload", {kRefused});
  notify({L"a", L"b", L"c", L"d"});
  WGO_SetBackgroundChangesManagerRunning(true, true);
  for (int failure = 1; failure <= 3; ++failure) {
    ASSERT_TRUE(pacing.awaitBegun(kFailurePause, failure));
    EXPECT_EQ(collected(), 4U);
    EXPECT_EQ(callsOf(L"Lock"), static_cast<std::size_t>(failure));
    if (failure < 3) pacing.pass(kFailurePause);
  }
  EXPECT_EQ(callsOf(L"Unlock"), 1U) << "a container whose upload failed is free again";
  WGO_SetBackgroundChangesManagerRunning(false, false);
  EXPECT_EQ(callsOf(L"Lock"), 4U) << "the stop tries once more";
  EXPECT_EQ(collected(), 0U);
  EXPECT_TRUE(ui().boxes().empty());
}

TEST_F(CorUploadCollector, ChangeDuringACommitIsCommittedAgain) {
  int uploads = 0;
  cloud.onCall = [&](const std::wstring& call) {
    if (!call.starts_with(L"Upload ")) return;
    if (++uploads == 1) notify({L"a", L"e", L"a"});
    if (uploads == 2) {
      EXPECT_THROW(WGO_SetBackgroundChangesManagerRunning(false, false), std::logic_error);
    }
  };
  cloud.script("Upload", {kRefused});
  notify({L"a", L"b", L"c", L"d"});
  WGO_SetBackgroundChangesManagerRunning(true, true);
  ASSERT_TRUE(pacing.awaitBegun(kFailurePause, 1));
  EXPECT_EQ(collected(), 5U) << "a batch that failed holds its changes already";
  uploads = 0;
  pacing.pass(kFailurePause);
  ASSERT_TRUE(pacing.awaitBegun(kPause, 1));
  EXPECT_EQ(collected(), 2U) << "e, and the change of a that this commit may have missed";
  WGO_SetBackgroundChangesManagerRunning(false, false);
  EXPECT_EQ(uploads, 2);
}

}  // namespace
}  // namespace Quorvel::FileAccess
