#include "core/serial_queue.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <array>
#include <atomic>
#include <chrono>
#include <latch>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "core/no_more_threads_for_test.h"
#include "logging/recording_sink_for_test.h"

namespace core {
namespace {

using ::testing::ElementsAre;

// Waits until the queue has run what was posted before.
void Drain(DispatchQueue& queue) {
  std::latch reached(1);
  queue.Post(movra_base::BindOnce([&] { reached.count_down(); }));
  reached.wait();
}

TEST(SerialQueue, RunsTasksInOrderOnOneThreadOfItsOwn) {
  SerialQueue queue("test");
  std::vector<int> ran;
  std::vector<std::thread::id> threads;
  for (const int id : {1, 2, 3}) {
    queue.Post(movra_base::BindOnce([&, id] {
      ran.push_back(id);
      threads.push_back(std::this_thread::get_id());
    }));
  }
  Drain(queue);
  EXPECT_THAT(ran, ElementsAre(1, 2, 3));
  EXPECT_NE(threads[0], std::this_thread::get_id());
  EXPECT_EQ(threads[0], threads[1]);
  EXPECT_EQ(threads[0], threads[2]);
}

TEST(SerialQueue, IsCurrentOnItsOwnThreadOnly) {
  SerialQueue queue("test");
  EXPECT_FALSE(queue.IsCurrent());
  bool is_current = false;
  queue.Post(movra_base::BindOnce([&] { is_current = queue.IsCurrent(); }));
  Drain(queue);
  EXPECT_TRUE(is_current);
}

TEST(SerialQueue, KeepsTheOrderOfEachOfSeveralThreadsThatPost) {
  constexpr int kTasks = 1000;
  SerialQueue queue("test");
  std::array<std::vector<int>, 2> ran;
  const auto post = [&](std::size_t poster) {
    for (int i = 0; i < kTasks; ++i) {
      queue.Post(movra_base::BindOnce([&ran, poster, i] { ran[poster].push_back(i); }));
    }
  };
  std::thread one(post, 0);
  std::thread two(post, 1);
  one.join();
  two.join();
  Drain(queue);
  for (const std::vector<int>& ids : ran) {
    ASSERT_EQ(ids.size(), static_cast<std::size_t>(kTasks));
    for (int i = 0; i < kTasks; ++i) EXPECT_EQ(ids[static_cast<std::size_t>(i)], i);
  }
}

TEST(SerialQueue, WakesForATaskThatComesAfterItHasWaited) {
  SerialQueue queue("test");
  for (int i = 0; i < 100; ++i) Drain(queue);
}

TEST(SerialQueue, RunsADelayedTaskNotBeforeItIsDue) {
  using Clock = std::chrono::steady_clock;
  SerialQueue queue("test");
  std::latch reached(1);
  const Clock::time_point begin = Clock::now();
  Clock::time_point end;
  queue.PostDelayed(movra_base::BindOnce([&] {
                      end = Clock::now();
                      reached.count_down();
                    }),
                    std::chrono::milliseconds(2));
  reached.wait();
  EXPECT_GE(end - begin, std::chrono::milliseconds(2));
}

TEST(SerialQueue, NamesItsThreadWithFifteenCharactersOfItsName) {
  SerialQueue queue("a-name-that-is-too-long");
  std::array<char, 32> name{};
  queue.Post(
      movra_base::BindOnce([&] { pthread_getname_np(pthread_self(), name.data(), name.size()); }));
  Drain(queue);
  EXPECT_EQ(std::string(name.data()), "a-name-that-is-");
}

TEST(SerialQueue, ItsEndWaitsForTheTaskInProgress) {
  std::latch running(1);
  std::latch may_end(1);
  std::atomic<bool> has_ended = false;
  auto queue = std::make_unique<SerialQueue>("test");
  queue->Post(movra_base::BindOnce([&] {
    running.count_down();
    may_end.wait();
    has_ended = true;
  }));
  running.wait();
  std::thread releaser([&] { may_end.count_down(); });
  queue.reset();
  EXPECT_TRUE(has_ended);
  releaser.join();
}

TEST(SerialQueue, TasksThatWaitedAreDestroyedUnrunOnTheQueuesThread) {
  struct TellsWhereItEnds {
    ~TellsWhereItEnds() { *end = std::this_thread::get_id(); }
    std::thread::id* end;
  };
  std::latch running(1);
  std::latch may_end(1);
  std::thread::id queue_thread;
  std::thread::id end;
  bool has_run = false;
  auto queue = std::make_unique<SerialQueue>("test");
  queue->Post(movra_base::BindOnce([&] {
    queue_thread = std::this_thread::get_id();
    running.count_down();
    may_end.wait();
  }));
  running.wait();
  auto object = std::make_shared<TellsWhereItEnds>();
  object->end = &end;
  // Far in the future, so that it waits whenever the queue's end comes.
  queue->PostDelayed(movra_base::BindOnce([&, object = std::move(object)] { has_run = true; }),
                     std::chrono::hours(1));
  may_end.count_down();
  queue.reset();
  EXPECT_FALSE(has_run);
  EXPECT_EQ(end, queue_thread);
}

TEST(SerialQueue, WhoseLastReferenceGoesOnItsOwnThreadEndsWithoutJoiningItself) {
  struct TellsItsEnd {
    ~TellsItsEnd() { destroyed->count_down(); }
    std::latch* destroyed;
  };
  std::latch destroyed(1);
  std::latch has_let_go(1);
  auto left = std::make_shared<TellsItsEnd>();
  left->destroyed = &destroyed;
  std::atomic<bool> has_run = false;
  auto queue = std::make_shared<SerialQueue>("test");
  SerialQueue& borrowed = *queue;
  borrowed.Post(movra_base::BindOnce([&has_let_go, last = queue]() mutable {
    has_let_go.wait();
    last.reset();
  }));
  borrowed.Post(movra_base::BindOnce([&has_run, left = std::move(left)] { has_run = true; }));
  queue.reset();
  has_let_go.count_down();
  destroyed.wait();  // the thread has destroyed the task that was left
  EXPECT_FALSE(has_run);
}

TEST(SerialQueue, WhatATaskThrowsIsToldAndTheNextOneRuns) {
  movra_logging::RecordingSink sink;
  bool is_current = false;
  {
    SerialQueue queue("pictures");
    queue.Post(movra_base::BindOnce([] { throw std::runtime_error("no such picture"); }));
    queue.Post(movra_base::BindOnce([&] { is_current = queue.IsCurrent(); }));
    Drain(queue);
    EXPECT_FALSE(queue.IsCurrent());
  }
  EXPECT_TRUE(is_current);
  EXPECT_THAT(sink.texts(), ElementsAre("A task of the queue pictures threw: no such picture"));
}

TEST(SerialQueue, ATaskThatThrowsWhileItsQueueEndsEndsNothingElse) {
  std::latch running(1);
  std::latch may_throw(1);
  auto queue = std::make_unique<SerialQueue>("test");
  queue->Post(movra_base::BindOnce([&] {
    running.count_down();
    may_throw.wait();
    throw std::runtime_error("late");
  }));
  running.wait();
  std::thread releaser([&] { may_throw.count_down(); });
  queue.reset();
  releaser.join();
}

TEST(SerialQueue, ThrowsWhereNoThreadIsLeft) {
  {
    const NoMoreThreads none;
    EXPECT_THROW(SerialQueue("test"), std::system_error);
  }
  SerialQueue queue("test");
  Drain(queue);
}

}  // namespace
}  // namespace core
