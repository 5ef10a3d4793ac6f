// What every dispatch queue promises (core/dispatch_queue.h), whoever runs its tasks. The suite for
// the source that includes this and says with INSTANTIATE_TEST_SUITE_P which queues it is run on.

#ifndef MOVRA_CORE_DISPATCH_QUEUE_CONTRACT_FOR_TEST_H_
#define MOVRA_CORE_DISPATCH_QUEUE_CONTRACT_FOR_TEST_H_

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <ostream>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "base/once_callback.h"
#include "core/dispatch_queue.h"

namespace core {

// One queue, and what makes it run.
class QueueBench {
 public:
  virtual ~QueueBench() = default;
  [[nodiscard]] virtual DispatchQueue& queue() = 0;
  // Makes the queue run tasks until one of them calls Done; what a task throws is not its matter.
  virtual void RunUntilDone() = 0;
  virtual void Done() = 0;
  // On the clock that delayed tasks wait for.
  [[nodiscard]] virtual std::chrono::nanoseconds Now() const = 0;
  // Ends the queue. Tasks that are due and have not run stay so: none begins any more.
  virtual void End() = 0;
  // Calls `post`, whose tasks have no turn before the queue ends, and ends it.
  virtual void EndBehind(const std::function<void()>& post) = 0;
};

struct QueueCase {
  std::string name;
  std::function<std::unique_ptr<QueueBench>()> make;
};

inline void PrintTo(const QueueCase& queue, std::ostream* out) { *out << queue.name; }

// GoogleTest's name for a parameter.
inline std::string NameOf(const ::testing::TestParamInfo<QueueCase>& info) {
  return info.param.name;
}

class DispatchQueueContract : public ::testing::TestWithParam<QueueCase> {
 protected:
  using Milliseconds = std::chrono::milliseconds;

  // A task that notes its number.
  [[nodiscard]] Task Note(int number) {
    return movra_base::BindOnce([this, number] { Add(number); });
  }
  void Add(int number) {
    const std::lock_guard lock(mutex_);
    numbers_.push_back(number);
    changed_.notify_all();
  }
  void PostDone() {
    queue().Post(movra_base::BindOnce([this] { bench_->Done(); }));
  }
  void Run() {
    PostDone();
    bench_->RunUntilDone();
  }
  [[nodiscard]] std::vector<int> numbers() {
    const std::lock_guard lock(mutex_);
    return numbers_;
  }
  [[nodiscard]] std::vector<int> WaitForNumbers(std::size_t count) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return numbers_.size() >= count; });
    return numbers_;
  }
  [[nodiscard]] DispatchQueue& queue() { return bench_->queue(); }

  // Notes its number when it is destroyed, which is when the task is that it is bound into.
  class NotesItsEnd {
   public:
    NotesItsEnd(DispatchQueueContract& test, int number)
        : noted_(nullptr, [&test, number](const void*) { test.Add(number); }) {}

   private:
    // Shared, so that moves and copies are one life.
    std::shared_ptr<const void> noted_;
  };
  [[nodiscard]] Task NoteEnd(int number) {
    return movra_base::BindOnce(
        [end = NotesItsEnd(*this, number)] { ADD_FAILURE() << "it was run"; });
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<int> numbers_;                                     // Guarded by mutex_.
  const std::unique_ptr<QueueBench> bench_ = GetParam().make();  // Gone before the above.
};

TEST_P(DispatchQueueContract, RunsTasksInTheOrderInWhichTheyWerePosted) {
  std::vector<int> expected;
  for (int i = 0; i < 100; ++i) {
    queue().Post(Note(i));
    expected.push_back(i);
  }
  Run();
  EXPECT_EQ(numbers(), expected);
}

TEST_P(DispatchQueueContract, WhatATaskPostsRunsBehindItAndBehindWhatWaits) {
  queue().Post(movra_base::BindOnce([this] {
    queue().Post(Note(3));  // Waits when the next one begins.
    queue().Post(movra_base::BindOnce([this] {
      queue().Post(Note(6));
      PostDone();
      Add(4);
    }));
    queue().Post(Note(5));
    Add(1);
    Add(2);
  }));
  bench_->RunUntilDone();
  EXPECT_EQ(numbers(), (std::vector<int>{1, 2, 3, 4, 5, 6}));
}

TEST_P(DispatchQueueContract, KeepsTheOrderOfEachThreadThatPosts) {
  constexpr int kThreads = 4;
  constexpr int kTasks = 200;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([this, thread] {
      for (int i = 0; i < kTasks; ++i) queue().Post(Note(thread * kTasks + i));
    });
  }
  for (std::thread& thread : threads) thread.join();
  Run();
  std::vector<int> next(kThreads, 0);
  for (const int number : numbers()) {
    const auto thread = static_cast<std::size_t>(number / kTasks);
    EXPECT_EQ(number % kTasks, next[thread]++);
  }
  EXPECT_EQ(next, std::vector<int>(kThreads, kTasks));
}

TEST_P(DispatchQueueContract, IsCurrentOnTheThreadOfItsTasksDuringATaskAndOnNoOther) {
  EXPECT_FALSE(queue().IsCurrent());
  const auto other = GetParam().make();
  queue().Post(movra_base::BindOnce([&] {
    EXPECT_TRUE(queue().IsCurrent());
    EXPECT_FALSE(other->queue().IsCurrent());
    std::thread([&] { EXPECT_FALSE(queue().IsCurrent()); }).join();
    Add(1);
  }));
  Run();
  EXPECT_FALSE(queue().IsCurrent());
  EXPECT_EQ(numbers().size(), 1U);
}

TEST_P(DispatchQueueContract, DelayedTasksRunInTheOrderOfTheirTimes) {
  queue().PostDelayed(Note(3), Milliseconds(30));
  queue().PostDelayed(Note(1), Milliseconds(10));
  queue().PostDelayed(Note(2), Milliseconds(20));
  queue().PostDelayed(movra_base::BindOnce([this] { bench_->Done(); }), Milliseconds(40));
  bench_->RunUntilDone();
  EXPECT_EQ(numbers(), (std::vector<int>{1, 2, 3}));
}

TEST_P(DispatchQueueContract, DelayedTasksOfOneDelayKeepTheirOrder) {
  std::vector<int> expected;
  for (int i = 0; i < 20; ++i) {
    queue().PostDelayed(Note(i), Milliseconds(5));
    expected.push_back(i);
  }
  queue().PostDelayed(movra_base::BindOnce([this] { bench_->Done(); }), Milliseconds(5));
  bench_->RunUntilDone();
  EXPECT_EQ(numbers(), expected);
}

TEST_P(DispatchQueueContract, ADelayedTaskDoesNotRunBeforeItsTime) {
  const auto posted = bench_->Now();
  std::chrono::nanoseconds ran{0};
  queue().PostDelayed(movra_base::BindOnce([&] {
                        ran = bench_->Now();
                        bench_->Done();
                      }),
                      Milliseconds(7));
  bench_->RunUntilDone();
  EXPECT_GE(ran - posted, Milliseconds(7));
}

TEST_P(DispatchQueueContract, ADelayOfZeroOrLessIsNone) {
  queue().Post(Note(1));
  queue().PostDelayed(Note(2), Milliseconds(0));
  queue().PostDelayed(Note(3), Milliseconds(-1000));
  queue().PostDelayed(Note(4), std::chrono::nanoseconds::min());
  queue().Post(Note(5));
  Run();
  EXPECT_EQ(numbers(), (std::vector<int>{1, 2, 3, 4, 5}));
}

TEST_P(DispatchQueueContract, ADelayBeyondTheEndOfTimeHoldsUpNothing) {
  queue().PostDelayed(movra_base::BindOnce([this] {
                        queue().PostDelayed(Note(2), std::chrono::nanoseconds::max());
                        queue().PostDelayed(Note(1), Milliseconds(1));
                        queue().PostDelayed(movra_base::BindOnce([this] { bench_->Done(); }),
                                            Milliseconds(2));
                      }),
                      Milliseconds(1));
  bench_->RunUntilDone();
  EXPECT_EQ(numbers(), (std::vector<int>{1}));
}

TEST_P(DispatchQueueContract, AnEmptyTaskIsIgnored) {
  queue().Post({});
  queue().Post(Note(1));
  queue().PostDelayed({}, Milliseconds(1));
  queue().PostDelayed({}, Milliseconds(0));
  queue().PostDelayed(movra_base::BindOnce([this] { bench_->Done(); }), Milliseconds(2));
  bench_->RunUntilDone();
  EXPECT_EQ(numbers(), (std::vector<int>{1}));
}

TEST_P(DispatchQueueContract, WhatATaskThrowsReachesNobodyWhoPostsAndTheNextOneRuns) {
  queue().Post(movra_base::BindOnce([] { throw std::runtime_error("the test's own"); }));
  queue().Post(Note(1));
  Run();
  EXPECT_EQ(numbers(), (std::vector<int>{1}));
  EXPECT_FALSE(queue().IsCurrent());
}

TEST_P(DispatchQueueContract, WhatATaskHoldsGoesWhenItHasRun) {
  queue().Post(movra_base::BindOnce([this, end = NotesItsEnd(*this, 2)] { Add(1); }));
  queue().Post(Note(3));
  Run();
  EXPECT_EQ(numbers(), (std::vector<int>{1, 2, 3}));
}

TEST_P(DispatchQueueContract, TasksThatHadNoTurnAreDestroyedUnrunWithTheQueue) {
  bench_->EndBehind([this] {
    for (int i = 0; i < 3; ++i) queue().Post(NoteEnd(1));
    queue().PostDelayed(NoteEnd(1), std::chrono::hours(1));
  });
  EXPECT_EQ(WaitForNumbers(4), (std::vector<int>(4, 1)));
}

TEST_P(DispatchQueueContract, DelayedTasksAreDestroyedUnrunWithTheQueue) {
  queue().PostDelayed(NoteEnd(1), std::chrono::hours(1));
  queue().PostDelayed(NoteEnd(1), std::chrono::hours(2));
  Run();
  EXPECT_TRUE(numbers().empty());
  bench_->End();
  EXPECT_EQ(numbers(), (std::vector<int>{1, 1}));
}

TEST_P(DispatchQueueContract, WhatIsPostedWhileTasksAreDestroyedIsDestroyedToo) {
  // Posts when it is destroyed, as the end of an object may that the task kept alive.
  std::shared_ptr<const void> posts(nullptr, [queue = &queue(), this](const void*) {
    Add(0);
    queue->Post(NoteEnd(1));
    queue->PostDelayed(NoteEnd(1), std::chrono::hours(1));
  });
  queue().PostDelayed(
      movra_base::BindOnce([posts = std::move(posts)] { ADD_FAILURE() << "it was run"; }),
      std::chrono::hours(1));
  bench_->End();
  EXPECT_EQ(numbers(), (std::vector<int>{0, 1, 1}));
}

}  // namespace core

#endif  // MOVRA_CORE_DISPATCH_QUEUE_CONTRACT_FOR_TEST_H_
