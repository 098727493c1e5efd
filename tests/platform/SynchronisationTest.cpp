#include "platform/Synchronisation.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <thread>
#include <vector>

#include "platform/Files.h"

namespace {

TEST(EventTest, AnAutomaticEventLetsOneWaiterPassForEachSignal) {
  const HANDLE event = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  const HANDLE passed = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  std::atomic<int> count{0};
  std::vector<std::thread> waiters;
  waiters.reserve(4);
  for (int i = 0; i < 4; ++i) {
    waiters.emplace_back([&] {
      EXPECT_EQ(WaitForSingleObject(event, INFINITE), WAIT_OBJECT_0);
      ++count;
      SetEvent(passed);
    });
  }
  for (int i = 1; i <= 4; ++i) {
    EXPECT_TRUE(SetEvent(event));
    EXPECT_EQ(WaitForSingleObject(passed, INFINITE), WAIT_OBJECT_0);
    EXPECT_EQ(count, i);
  }
  for (std::thread& waiter : waiters) waiter.join();
  EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_TIMEOUT);
  EXPECT_TRUE(CloseHandle(event));
  EXPECT_TRUE(CloseHandle(passed));
}

TEST(EventTest, ThreadsShareNamesWithoutLosingOne) {
  std::vector<std::thread> threads;
  threads.reserve(4);
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([] {
      for (int n = 0; n < 500; ++n) {
        const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, L"Zephor.Shared");
        EXPECT_TRUE(CloseHandle(OpenEventW(0, FALSE, L"Zephor.Shared")));
        EXPECT_TRUE(CloseHandle(event));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST(SlotTest, ExitHooksFindTheValuesOfTheMainThreadAndNoneOfAnEndedOne) {
  static DWORD slot;
  static int value;
  const auto endAProcess = [](bool fromAThread) {
    slot = TlsAlloc();
    std::atexit([] { _exit(TlsGetValue(slot) == &value ? 7 : TlsGetValue(slot) == nullptr ? 8 : 9); });
    TlsSetValue(slot, &value);
    if (fromAThread) std::thread([] { TlsSetValue(slot, &value), std::exit(0); }).join();
    std::exit(0);
  };
  EXPECT_EXIT(endAProcess(false), testing::ExitedWithCode(7), "");
  EXPECT_EXIT(endAProcess(true), testing::ExitedWithCode(8), "");
}

}  // namespace
