#include "media/track/callback_slot.h"

#include <dlfcn.h>
#include <pthread.h>

#include <atomic>
#include <functional>
#include <latch>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "gtest/gtest.h"
#include "logging/recording_sink_for_test.h"

namespace {

// Of the next mutex that the thread locks.
thread_local std::latch* awaited_before_the_lock = nullptr;
thread_local std::latch* told_with_the_lock = nullptr;

}  // namespace

// Stands before the system's for everything in this process: a test brings two threads into an
// order that only the lock between them decides.
extern "C" int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept {
  using Lock = int (*)(pthread_mutex_t*);
  static const auto next = reinterpret_cast<Lock>(dlsym(RTLD_NEXT, "pthread_mutex_lock"));
  if (awaited_before_the_lock != nullptr) std::exchange(awaited_before_the_lock, nullptr)->wait();
  const int result = next(mutex);
  if (told_with_the_lock != nullptr) std::exchange(told_with_the_lock, nullptr)->count_down();
  return result;
}

namespace movra::media {
namespace {

TEST(CallbackSlot, RunsWhatWasSetAndNothingAfterItsRemoval) {
  CallbackSlot slot;
  slot.Run();
  int runs = 0;
  slot.Set([&] { ++runs; });
  slot.Run();
  slot.Run();
  EXPECT_EQ(runs, 2);
  slot.Set({});
  slot.Run();
  EXPECT_EQ(runs, 2);
}

TEST(CallbackSlot, AReplacedCallbackIsDestroyedWhenSetReturns) {
  CallbackSlot slot;
  auto held = std::make_shared<int>();
  const std::weak_ptr<int> watch = held;
  slot.Set([held = std::move(held)] {});
  int runs = 0;
  slot.Set([&] { ++runs; });
  EXPECT_TRUE(watch.expired());
  slot.Run();
  EXPECT_EQ(runs, 1);
}

TEST(CallbackSlot, ARunFromInsideRunsOnceMoreAfterwardsAndDoesNotNest) {
  CallbackSlot slot;
  int depth = 0;
  int runs = 0;
  slot.Set([&] {
    EXPECT_EQ(++depth, 1);
    if (++runs < 3) {
      slot.Run();
      slot.Run();
    }
    --depth;
  });
  slot.Run();
  EXPECT_EQ(runs, 3);
}

TEST(CallbackSlot, ARunOnAnotherThreadDoesNotWaitForTheOneInProgress) {
  CallbackSlot slot;
  std::latch entered(1);
  std::latch release(1);
  std::atomic<int> runs = 0;
  slot.Set([&] {
    if (++runs == 1) {
      entered.count_down();
      release.wait();
    }
  });
  std::thread runner([&] { slot.Run(); });
  entered.wait();
  slot.Run();
  EXPECT_EQ(runs, 1);
  release.count_down();
  runner.join();
  EXPECT_EQ(runs, 2);
}

TEST(CallbackSlot, RemovalFromInsideReturnsAtOnceAndEndsTheRuns) {
  CallbackSlot slot;
  int runs = 0;
  slot.Set([&] {
    ++runs;
    slot.Run();
    slot.Set({});
  });
  slot.Run();
  slot.Run();
  EXPECT_EQ(runs, 1);
}

TEST(CallbackSlot, RemovalFromAnotherThreadWaitsUntilTheRunHasEndedAndIsDestroyed) {
  CallbackSlot slot;
  std::latch entered(1);
  std::latch removing(1);
  std::atomic<bool> ended = false;
  auto held = std::make_shared<int>();
  const std::weak_ptr<int> watch = held;
  slot.Set([&, held = std::move(held)] {
    entered.count_down();
    removing.wait();
    ended = true;
  });
  std::thread runner([&] { slot.Run(); });
  entered.wait();
  std::thread remover([&] {
    removing.count_down();
    slot.Set({});
    EXPECT_TRUE(ended);
    EXPECT_TRUE(watch.expired());
  });
  remover.join();
  runner.join();
}

// What an application may do: its listener takes its callback away when it goes.
struct LeavingListener {
  ~LeavingListener() {
    destroyed_on = std::this_thread::get_id();
    // Elsewhere it would wait for a lock that its own thread holds.
    if (destroyed_on == expected_on) slot.Set({});
  }
  CallbackSlot& slot;
  std::thread::id& destroyed_on;
  const std::thread::id expected_on;
};

TEST(CallbackSlot, ACallbackIsDestroyedUnlockedWhenItIsRemovedRightBehindItsRun) {
  CallbackSlot slot;
  std::latch has_run(1);
  std::latch removing(1);
  std::thread::id destroyed_on;
  std::thread runner([&] {
    std::shared_ptr<LeavingListener> listener(
        new LeavingListener{slot, destroyed_on, std::this_thread::get_id()});
    slot.Set([&, listener = std::move(listener)] {
      awaited_before_the_lock = &removing;  // The one behind the run.
      has_run.count_down();
    });
    slot.Run();
  });
  const std::thread::id expected_on = runner.get_id();
  has_run.wait();
  told_with_the_lock = &removing;
  slot.Set({});
  EXPECT_EQ(destroyed_on, expected_on) << "by the thread that ran it, before the removal returns";
  runner.join();
}

TEST(CallbackSlot, ACallbackSetDuringARunOfTheOldOneIsNotRunOnTheOldOnesAccount) {
  CallbackSlot slot;
  int old_runs = 0;
  int new_runs = 0;
  slot.Set([&] {
    ++old_runs;
    slot.Run();
    slot.Set([&] { ++new_runs; });
  });
  slot.Run();
  EXPECT_EQ(old_runs, 1);
  EXPECT_EQ(new_runs, 0);
  slot.Run();
  EXPECT_EQ(new_runs, 1);
}

TEST(CallbackSlot, ACallbackThatThrowsIsToldOnceAndIsNotRunAgain) {
  movra_logging::RecordingSink log;
  CallbackSlot slot;
  int runs = 0;
  slot.Set([&] {
    ++runs;
    slot.Run();  // Asks for another run, which nobody makes.
    throw std::runtime_error("broken");
  });
  slot.Run();
  slot.Run();
  EXPECT_EQ(runs, 1);
  EXPECT_EQ(log.texts(), std::vector<std::string>{"The callback of a frame track threw: broken"});
}

TEST(CallbackSlot, AfterOneThatThrewAnotherCanBeSetAndRemovedOnAnyThread) {
  CallbackSlot slot;
  slot.Set([] { throw 1; });
  slot.Run();
  int runs = 0;
  std::thread([&] { slot.Set([&] { ++runs; }); }).join();
  slot.Run();
  EXPECT_EQ(runs, 1);
  slot.Set([] { throw 1; });
  slot.Run();
  std::thread([&] { slot.Set({}); }).join();  // Waits for no run that is over.
}

TEST(CallbackSlot, ACallbackThatThrowsWhileItIsReplacedSparesTheNewOne) {
  CallbackSlot slot;
  int runs = 0;
  slot.Set([&] {
    slot.Set([&] { ++runs; });
    throw 1;
  });
  slot.Run();
  slot.Run();
  EXPECT_EQ(runs, 1);
}

}  // namespace
}  // namespace movra::media
