#include "host/Locking.h"

#include <gtest/gtest.h>

#include <thread>

#include "host/Users.h"
#include "tests/support/TestWorkstation.h"
#include "workstation/Session.h"
#include "workstation/objects/LockingState.h"

namespace {

using workstation::kStoreOk;

class LockingTest : public testing::Test {
 protected:
  LockingTest() : project_(workstation_.createTeamAndProject(L"House")), colleague_(workstation_.addColleague(L"Bo")) {}

  /// The colleague takes an object's lock. @param type  file type
  void lockByColleague(int type, int number) {
    ASSERT_EQ(workstation_.store().lockObject(colleague_, project_, type, number), kStoreOk);
  }

  zephor_test::TestWorkstation workstation_;
  std::wstring project_;
  workstation::StoreActor colleague_;
  IZepFileLockingManager& manager_ = getFileLockingManager();
};

TEST_F(LockingTest, OwnLocksAreThoseOfThisWorkstation) {
  manager_.LockObject(1, 0, 0);
  manager_.LockObject(2, 1, 0);
  workstation::StoreActor elsewhere = workstation_.actor();
  elsewhere.workstationId = L"another workstation";
  ASSERT_EQ(workstation_.store().lockObject(elsewhere, project_, 33, 3), kStoreOk);
  lockByColleague(0, 9);
  std::vector<FileLockInfo> locks;
  ASSERT_EQ(manager_.getOwnLocks(locks), 2);
  int type = -1;
  int number = -1;
  int user = -1;
  EXPECT_TRUE(manager_.parseLockFileName(locks[1].fileName, type, number, user));
  EXPECT_EQ(type, 1);
  EXPECT_EQ(number, 2);
  EXPECT_EQ(user, lzbnum());
  EXPECT_EQ(manager_.GetLockOwner(3, 2, 0), lzbnum());
  EXPECT_FALSE(manager_.IsLockedByCurrentUser(3, 2));
  EXPECT_EQ(manager_.LockObject(3, 2, 0), 0) << "held by the same person at another workstation";

  EXPECT_NE(manager_.updateLockInfoEx(kgunit(), locks), 0);
  EXPECT_EQ(locks.size(), 4U);
  EXPECT_EQ(manager_.updateLockInfoEx(-1, locks), 0);
  EXPECT_TRUE(locks.empty());

  EXPECT_EQ(manager_.CleanupLocks(0), 2);
  EXPECT_EQ(manager_.getOwnLocks(locks), 0);
  EXPECT_NE(manager_.GetLockOwner(9, 0, 0), -1);
}

TEST_F(LockingTest, DelayedListTellsWhatWasRefused) {
  lockByColleague(0, 2);
  EXPECT_EQ(manager_.LockObject(1, 28, 0), 0) << "no object of this kind can be locked";
  std::vector<int> refused{99};
  EXPECT_FALSE(manager_.LockDelayedList(get_ActivePrj(), {1, 2, 3, 0}, 0, refused));
  EXPECT_EQ(refused, (std::vector<int>{2, 0}));
  EXPECT_TRUE(manager_.IsLockedByCurrentUser(3, 0));
  EXPECT_FALSE(manager_.UnlockDelayedList(get_ActivePrj(), {2, 1, 3}, 0));
  EXPECT_EQ(manager_.GetLockOwner(1, 0, 0), -1);
  EXPECT_EQ(manager_.GetLockOwner(3, 0, 0), -1);
}

TEST_F(LockingTest, LockOfSomebodyWhoIsNoMemberAnyMoreIsRefusedWithALine) {
  PRJ foreign = get_ActivePrj();
  foreign.SetOndrathProject(OndrathPrj(L"Team", L"t", L"Other", L"5a1c6f5e-7a0e-4c1e-9d5e-00000000abcd"));
  std::vector<int> refused;
  EXPECT_FALSE(manager_.LockDelayedList(foreign, {1}, 0, refused));
  EXPECT_EQ(refused, std::vector<int>{1});
  EXPECT_TRUE(workstation_.hasErrorLine(L"LockObject"));
}

TEST(LockingGuards, CountPerThreadAndPerProcess) {
  {
    const IZepFileLockingManager::ScopedIgnoreLock outer(true);
    { const IZepFileLockingManager::ScopedIgnoreLock inner(true); }
    EXPECT_TRUE(workstation::areLocksIgnored());
    std::thread([] { EXPECT_FALSE(workstation::areLocksIgnored()); }).join();
  }
  EXPECT_FALSE(workstation::areLocksIgnored());
  {
    const IZepFileLockingAgent::ScopedSuspend outer;
    std::thread([] {
      const IZepFileLockingAgent::ScopedSuspend inner;
      EXPECT_TRUE(getFileLockingAgent().isSuspended());
    }).join();
    EXPECT_TRUE(getFileLockingAgent().isSuspended());
  }
  EXPECT_FALSE(getFileLockingAgent().isSuspended());
  ZEPSetLockingError();
  std::thread([] { EXPECT_FALSE(workstation::takeLockingError()); }).join();
  EXPECT_TRUE(workstation::takeLockingError());
  EXPECT_FALSE(workstation::takeLockingError());
}

}  // namespace
