#include "media/threads/mutex.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>
#include <vector>

namespace movra::media {
namespace {

TEST(MutexTest, OneThreadAtATimeHoldsIt) {
  constexpr int kThreads = 4;
  constexpr int kTurns = 10'000;
  Mutex mutex;
  int count = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      for (int turn = 0; turn < kTurns; ++turn) {
        const MutexLock lock(mutex);
        ++count;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(count, kThreads * kTurns);
}

// Where the lock kept it, the other thread would never end.
TEST(MutexTest, ALockThatGaveItBackLeavesItToOthersAndTakesItAgain) {
  Mutex mutex;
  int count = 0;
  const auto take = [&] {
    std::thread([&] {
      const MutexLock other(mutex);
      ++count;
    }).join();
  };
  {
    MutexLock lock(mutex);
    lock.Unlock();
    take();
    lock.Lock();
    ++count;
  }
  take();
  {
    MutexLock lock(mutex);
    lock.Unlock();
  }
  take();
  EXPECT_EQ(count, 4);
}

TEST(ConditionTest, AWaitGivesTheMutexBackAndEndsWithItHeld) {
  Mutex mutex;
  Condition changed;
  bool is_set = false;
  bool is_seen = false;
  std::thread other([&] {
    const MutexLock lock(mutex);
    is_set = true;
    changed.NotifyAll();
    while (!is_seen) changed.Wait(mutex);
  });
  {
    const MutexLock lock(mutex);
    while (!is_set) changed.Wait(mutex);
    is_seen = true;
    changed.NotifyAll();
  }
  other.join();
  EXPECT_TRUE(is_seen);
}

TEST(ConditionTest, AWaitUntilATimeSaysWhetherItWasInTime) {
  Mutex mutex;
  Condition changed;
  bool is_set = false;
  {
    const MutexLock lock(mutex);
    const auto past = std::chrono::steady_clock::now() - std::chrono::seconds(1);
    EXPECT_FALSE(changed.WaitUntil(mutex, past));
  }
  std::thread other([&] {
    const MutexLock lock(mutex);
    is_set = true;
    changed.NotifyAll();
  });
  {
    const MutexLock lock(mutex);
    const auto far = std::chrono::steady_clock::now() + std::chrono::hours(1);
    while (!is_set) EXPECT_TRUE(changed.WaitUntil(mutex, far));
  }
  other.join();
}

}  // namespace
}  // namespace movra::media
