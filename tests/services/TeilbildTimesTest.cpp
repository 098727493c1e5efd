#include "zephor/TeilbildTimes.h"

#include <gtest/gtest.h>

#include "host/Events.h"
#include "host/Locking.h"
#include "tests/support/TestWorkstation.h"
#include "workstation/store/StoreContext.h"

namespace Quorvel::FileAccess {
namespace {

TEST(TeilbildTimes, RecordsAreThereFromTheStartAndStayInTheirPlace) {
  WGO_setTBTimeStampUpdated(9999, true);
  CTBTimeStamp* last = WGO_queryTBTimeStamp(9999);
  ASSERT_NE(last, nullptr);
  EXPECT_TRUE(last->updated && last->secondTime == -2);
  last->secondTime = 7;
  WGO_clearTBTimeStampChanges();
  EXPECT_EQ(WGO_queryTBTimeStamp(9999), last);
  EXPECT_TRUE(!WGO_getTBTimeStampUpdated(9999) && last->secondTime == -2);
  for (const int number : {0, 10000, -1}) {
    WGO_setTBTimeStampUpdated(number, true);
    EXPECT_TRUE(WGO_queryTBTimeStamp(number) == nullptr && !WGO_getTBTimeStampUpdated(number)) << number;
  }
}

class DelayedLocks : public testing::Test {
 protected:
  DelayedLocks() {
    const std::wstring project = desk.createTeamAndProject(L"House");
    desk.store().lockObject(desk.addColleague(L"Bo"), project, 0, 2);
    locks.LockObject(3, 0, 0);
  }
  /// @return whether the lists are empty afterwards
  bool manage(std::vector<int> lock, std::vector<int> unlock, bool force, bool answer) {
    locks.delayedLocks() = std::move(lock);
    locks.delayedUnlocks() = std::move(unlock);
    EXPECT_EQ(WGO_manageDelayedTBLock(force), answer);
    std::vector<int> left;
    return WGO_getDelayedTBLockList(left) + WGO_getDelayedTBUnlockList(left) == 0;
  }
  bool isOwn(int number) { return locks.IsLockedByCurrentUser(number, 0); }

  zephor_test::TestWorkstation desk;
  IZepFileLockingManager& locks = getFileLockingManager();
};

TEST_F(DelayedLocks, LocksGoBeforeUnlocksAndRefusalsAreToldOnce) {
  globalEventManager::instance().set(kDatwaRunningEvent, L"");
  EXPECT_TRUE(!manage({1}, {}, true, true) && !isOwn(1)) << "kept until the conversion is over";
  globalEventManager::instance().reset(kDatwaRunningEvent);
  EXPECT_TRUE(manage({1, 2}, {3}, false, false));
  EXPECT_TRUE(isOwn(1) && !isOwn(2) && isOwn(3)) << "the unlock is dropped";
  ASSERT_EQ(desk.ui().boxes().size(), 1U);
  EXPECT_NE(desk.ui().boxes()[0].text.find(L'2'), std::wstring::npos);
  EXPECT_TRUE(desk.hasErrorLine(L"WGO_manageDelayedTBLock: !!! TBsToLock.size() == 2 && TBsToUnlock.size() == 1 !!!"));
  EXPECT_TRUE(desk.hasErrorLine(L"TBsToUnlock 3") && desk.hasErrorLine(L"Teilbild 2 stays read-only"));
  EXPECT_TRUE(manage({4}, {3, 1}, true, true));
  EXPECT_TRUE(isOwn(4) && !isOwn(3) && !isOwn(1));
  EXPECT_TRUE(manage({}, {4}, false, true));
  EXPECT_FALSE(isOwn(4));
  EXPECT_EQ(desk.ui().boxes().size(), 1U);

  const std::string store = workstation::storeContextDirectory();
  const workstation::StoreActor actor = workstation::storeActor();
  workstation::setStoreContext("/nowhere", actor);
  EXPECT_TRUE(manage({5, 6}, {}, true, false) && manage({}, {4}, true, false));
  EXPECT_EQ(desk.ui().boxes().size(), 2U) << "both refused locks in one";
  workstation::setStoreContext(store, actor);
  EXPECT_TRUE(manage({5}, {}, true, true) && isOwn(5) && !isOwn(6));
}

}  // namespace
}  // namespace Quorvel::FileAccess
