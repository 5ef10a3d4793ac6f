#include "media/track/callback_slot.h"

#include <atomic>
#include <functional>
#include <latch>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "gtest/gtest.h"
#include "logging/recording_sink_for_test.h"

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
