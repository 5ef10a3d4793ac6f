#include "core/run_loop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <latch>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

namespace core {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Clock = std::chrono::steady_clock;

class RunLoopTest : public ::testing::Test {
 protected:
  Task Record(int id) {
    return movra_base::BindOnce([this, id] { ran_.push_back(id); });
  }
  Task Quit() {
    return movra_base::BindOnce([this] { loop_.Quit(); });
  }

  std::vector<int> ran_;
  RunLoop loop_;
};

TEST_F(RunLoopTest, RunsTasksInTheOrderOfTheirPosting) {
  for (const int id : {1, 2, 3}) loop_.Post(Record(id));
  loop_.Post(Quit());
  EXPECT_THAT(ran_, IsEmpty());
  loop_.Run();
  EXPECT_THAT(ran_, ElementsAre(1, 2, 3));
}

TEST_F(RunLoopTest, ATaskPostedByATaskRunsAfterThoseThatWait) {
  loop_.Post(movra_base::BindOnce([this] {
    loop_.Post(Record(3));
    loop_.Post(Quit());
    ran_.push_back(1);
  }));
  loop_.Post(Record(2));
  loop_.Run();
  EXPECT_THAT(ran_, ElementsAre(1, 2, 3));
}

TEST_F(RunLoopTest, AnEmptyTaskIsIgnored) {
  loop_.Post({});
  loop_.PostDelayed({}, nanoseconds(1));
  loop_.Post(Record(1));
  loop_.RunUntilIdle();
  EXPECT_THAT(ran_, ElementsAre(1));
}

TEST_F(RunLoopTest, IsCurrentOnTheThreadThatRunsItAndOnlyWhileItDoes) {
  EXPECT_FALSE(loop_.IsCurrent());
  bool on_its_thread = false;
  bool on_another_thread = true;
  loop_.Post(movra_base::BindOnce([&] {
    on_its_thread = loop_.IsCurrent();
    std::thread([&] { on_another_thread = loop_.IsCurrent(); }).join();
  }));
  loop_.RunUntilIdle();
  EXPECT_TRUE(on_its_thread);
  EXPECT_FALSE(on_another_thread);
  EXPECT_FALSE(loop_.IsCurrent());
}

TEST_F(RunLoopTest, QuitEndsTheRunAfterTheTaskInProgressAndKeepsTheRest) {
  loop_.Post(Record(1));
  loop_.Post(movra_base::BindOnce([this] {
    loop_.Quit();
    ran_.push_back(2);
  }));
  loop_.Post(Record(3));
  loop_.Run();
  EXPECT_THAT(ran_, ElementsAre(1, 2));
  loop_.Post(Record(4));
  loop_.RunUntilIdle();
  EXPECT_THAT(ran_, ElementsAre(1, 2, 3, 4));
}

TEST_F(RunLoopTest, QuitBeforeARunMakesItReturnAtOnceAndOnlyThatOne) {
  loop_.Post(Record(1));
  loop_.Quit();
  loop_.Quit();
  loop_.Run();
  EXPECT_THAT(ran_, IsEmpty());
  loop_.RunUntilIdle();
  EXPECT_THAT(ran_, ElementsAre(1));
}

TEST_F(RunLoopTest, BeforeARunOthersPostAndTheRunBeginsWithThatInItsOrder) {
  loop_.Post(Record(1));
  std::thread([&] { loop_.Post(Record(2)); }).join();
  EXPECT_FALSE(loop_.IsCurrent());
  EXPECT_THAT(ran_, IsEmpty());
  loop_.Post(Quit());
  loop_.Run();
  EXPECT_THAT(ran_, ElementsAre(1, 2));
}

TEST_F(RunLoopTest, AnotherThreadPostsAndQuits) {
  std::latch running(1);
  loop_.Post(movra_base::BindOnce([&] { running.count_down(); }));
  std::thread other([&] {
    running.wait();
    loop_.Post(Record(1));
    loop_.Post(movra_base::BindOnce([&] { ran_.push_back(2); }));
    loop_.Post(Quit());
  });
  loop_.Run();
  other.join();
  EXPECT_THAT(ran_, ElementsAre(1, 2));
}

TEST_F(RunLoopTest, AnotherThreadQuitsALoopThatWaits) {
  std::latch running(1);
  loop_.Post(movra_base::BindOnce([&] { running.count_down(); }));
  std::thread other([&] {
    running.wait();
    loop_.Quit();
  });
  loop_.Run();
  other.join();
}

TEST_F(RunLoopTest, RunUntilIdleRunsWhatTasksPostAndReturnsWithoutWaiting) {
  loop_.Post(movra_base::BindOnce([this] { loop_.Post(Record(1)); }));
  loop_.PostDelayed(Record(2), std::chrono::hours(1));
  loop_.RunUntilIdle();
  EXPECT_THAT(ran_, ElementsAre(1));
  loop_.RunUntilIdle();
  EXPECT_THAT(ran_, ElementsAre(1));
}

TEST_F(RunLoopTest, RunUntilIdleRunsADelayedTaskThatIsDueOnce) {
  loop_.PostDelayed(Record(1), nanoseconds(1));
  const auto posted = Clock::now();
  while (Clock::now() <= posted + nanoseconds(1)) continue;
  loop_.RunUntilIdle();
  loop_.RunUntilIdle();
  EXPECT_THAT(ran_, ElementsAre(1));
}

TEST_F(RunLoopTest, DelayedTasksRunInTheOrderInWhichTheyAreDueAndNotBefore) {
  const Clock::time_point begin = Clock::now();
  Clock::duration waited{};
  loop_.PostDelayed(movra_base::BindOnce([&] {
                      waited = Clock::now() - begin;
                      ran_.push_back(4);
                      loop_.Quit();
                    }),
                    milliseconds(4));
  loop_.PostDelayed(Record(3), milliseconds(2));
  loop_.PostDelayed(Record(2), milliseconds(1));
  loop_.Post(Record(1));
  loop_.Run();
  EXPECT_THAT(ran_, ElementsAre(1, 2, 3, 4));
  EXPECT_GE(waited, milliseconds(4));
}

TEST_F(RunLoopTest, AnEarlierDelayedTaskPostedWhileTheLoopWaitsIsRunFirst) {
  std::latch running(1);
  loop_.PostDelayed(Record(2), std::chrono::hours(1));
  loop_.Post(movra_base::BindOnce([&] { running.count_down(); }));
  std::thread other([&] {
    running.wait();
    loop_.PostDelayed(movra_base::BindOnce([&] {
                        ran_.push_back(1);
                        loop_.Quit();
                      }),
                      milliseconds(1));
  });
  loop_.Run();
  other.join();
  EXPECT_THAT(ran_, ElementsAre(1));
}

TEST_F(RunLoopTest, ADelayOfNothingIsNone) {
  loop_.PostDelayed(Record(1), nanoseconds(0));
  loop_.Post(Record(2));
  loop_.PostDelayed(Record(3), nanoseconds(-5));
  loop_.RunUntilIdle();
  EXPECT_THAT(ran_, ElementsAre(1, 2, 3));
}

TEST_F(RunLoopTest, TheLongestDelayDoesNotWrapAround) {
  loop_.PostDelayed(Record(2), nanoseconds::max());
  loop_.Post(Record(1));
  loop_.PostDelayed(Quit(), milliseconds(1));
  loop_.Run();
  EXPECT_THAT(ran_, ElementsAre(1));
}

TEST_F(RunLoopTest, ABusyLoopRunsDelayedTasksAllTheSame) {
  std::function<void()> post_again = [&] {
    loop_.Post(movra_base::BindOnce([&] { post_again(); }));
  };
  post_again();
  loop_.PostDelayed(Quit(), milliseconds(1));
  loop_.Run();
}

TEST(RunLoop, DestroysTheTasksThatAreLeftWithoutRunningThem) {
  const auto held = std::make_shared<int>(0);
  bool has_run = false;
  {
    RunLoop loop;
    const auto task = [&] { return movra_base::BindOnce([&has_run, held] { has_run = true; }); };
    loop.Post(movra_base::BindOnce([&loop] { loop.Quit(); }));
    loop.Post(task());
    loop.Run();  // leaves the second task where it has got to
    loop.Post(task());
    loop.PostDelayed(task(), std::chrono::hours(1));
    EXPECT_EQ(held.use_count(), 4);
  }
  EXPECT_EQ(held.use_count(), 1);
  EXPECT_FALSE(has_run);
}

// When it is destroyed it posts a task that holds another one like it, for so many generations.
struct PostsAtItsEnd {
  PostsAtItsEnd(RunLoop& its_loop, int* its_ended, int its_generations)
      : loop(its_loop), ended(its_ended), generations(its_generations) {}
  ~PostsAtItsEnd() {
    ++*ended;
    if (generations == 0) return;
    loop.Post(movra_base::BindOnce(
        [next = std::make_unique<PostsAtItsEnd>(loop, ended, generations - 1)] {}));
  }
  RunLoop& loop;
  int* const ended;
  const int generations;
};

TEST(RunLoop, ATaskMayPostWhileItIsDestroyed) {
  int ended = 0;
  {
    RunLoop loop;
    loop.Post(movra_base::BindOnce([first = std::make_unique<PostsAtItsEnd>(loop, &ended, 3)] {}));
  }
  EXPECT_EQ(ended, 4);
}

TEST_F(RunLoopTest, ATaskIsDestroyedBeforeTheNextOneRuns) {
  std::weak_ptr<int> weak;
  {
    auto held = std::make_shared<int>(0);
    weak = held;
    loop_.Post(movra_base::BindOnce([held = std::move(held)] {}));
  }
  bool was_released = false;
  loop_.Post(movra_base::BindOnce([&] { was_released = weak.expired(); }));
  loop_.RunUntilIdle();
  EXPECT_TRUE(was_released);
}

TEST_F(RunLoopTest, WhatATaskThrowsLeavesTheRunAndTheNextOneGoesOnBehindIt) {
  loop_.Post(Record(1));
  loop_.Post(movra_base::BindOnce([] { throw std::runtime_error("task"); }));
  loop_.Post(Record(2));
  loop_.Post(Quit());
  EXPECT_THROW(loop_.Run(), std::runtime_error);
  EXPECT_FALSE(loop_.IsCurrent());
  EXPECT_THAT(ran_, ElementsAre(1));
  loop_.Run();
  EXPECT_THAT(ran_, ElementsAre(1, 2));
}

TEST_F(RunLoopTest, ATaskThatThrowsHasLetGoOfWhatItHeld) {
  const auto held = std::make_shared<int>(0);
  loop_.Post(movra_base::BindOnce([held] { throw std::runtime_error("task"); }));
  EXPECT_THROW(loop_.RunUntilIdle(), std::runtime_error);
  EXPECT_EQ(held.use_count(), 1);
}

TEST_F(RunLoopTest, AQuitOfATaskThatThrowsHoldsForTheNextRun) {
  loop_.Post(movra_base::BindOnce([this] {
    loop_.Quit();
    throw std::runtime_error("task");
  }));
  loop_.Post(Record(1));
  EXPECT_THROW(loop_.Run(), std::runtime_error);
  loop_.Run();
  EXPECT_THAT(ran_, IsEmpty());
}

}  // namespace
}  // namespace core
