#include "testing/simulated_queue.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace movra::testing {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class SimulatedQueueTest : public ::testing::Test {
 protected:
  core::Task Note(std::string text) {
    return movra_base::BindOnce([this, text] { notes_.push_back(text); });
  }

  std::vector<std::string> notes_;
  const std::shared_ptr<SimulatedClock> clock_ = std::make_shared<SimulatedClock>();
  const std::shared_ptr<SimulatedQueue> queue_ =
      std::make_shared<SimulatedQueue>("queue", nullptr, clock_);
};

TEST_F(SimulatedQueueTest, RunsOneTaskAtATimeInTheOrderOfPosting) {
  queue_->Post(Note("first"));
  queue_->Post(Note("second"));
  EXPECT_EQ(queue_->waiting(), 2u);
  EXPECT_TRUE(queue_->RunOne());
  EXPECT_THAT(notes_, ElementsAre("first"));
  EXPECT_TRUE(queue_->RunOne());
  EXPECT_THAT(notes_, ElementsAre("first", "second"));
  EXPECT_FALSE(queue_->RunOne());
}

TEST_F(SimulatedQueueTest, IsCurrentNoMoreWhenATaskHasThrown) {
  queue_->set_current(false);
  queue_->Post(movra_base::BindOnce([] { throw 1; }));
  queue_->Post(Note("second"));
  EXPECT_THROW(queue_->RunAll(), int);
  EXPECT_FALSE(queue_->IsCurrent());
  EXPECT_EQ(queue_->RunAll(), 1u);
  EXPECT_THAT(notes_, ElementsAre("second"));
}

TEST_F(SimulatedQueueTest, RunsAlsoWhatATaskPosts) {
  queue_->Post(movra_base::BindOnce([this] {
    notes_.push_back("outer");
    queue_->Post(Note("inner"));
  }));
  EXPECT_EQ(queue_->RunAll(), 2u);
  EXPECT_THAT(notes_, ElementsAre("outer", "inner"));
}

TEST_F(SimulatedQueueTest, IgnoresAnEmptyTask) {
  queue_->Post({});
  queue_->PostDelayed({}, milliseconds(1));
  clock_->AdvanceBy(milliseconds(1));
  EXPECT_EQ(queue_->waiting(), 0u);
}

TEST_F(SimulatedQueueTest, DropsTasksWithoutRunningThem) {
  queue_->Post(Note("never"));
  queue_->DropAll();
  EXPECT_EQ(queue_->RunAll(), 0u);
  EXPECT_THAT(notes_, IsEmpty());
}

TEST_F(SimulatedQueueTest, RunsADelayedTaskWhenItsTimeHasComeAndNotBefore) {
  queue_->PostDelayed(Note("late"), milliseconds(10));
  clock_->AdvanceBy(milliseconds(10) - nanoseconds(1));
  EXPECT_THAT(notes_, IsEmpty());
  clock_->AdvanceBy(nanoseconds(1));
  EXPECT_THAT(notes_, ElementsAre("late"));
  EXPECT_EQ(clock_->now(), milliseconds(10));
}

TEST_F(SimulatedQueueTest, ATaskWithoutADelayWaitsInLine) {
  queue_->Post(Note("first"));
  queue_->PostDelayed(Note("second"), nanoseconds(0));
  queue_->RunAll();
  EXPECT_THAT(notes_, ElementsAre("first", "second"));
}

TEST_F(SimulatedQueueTest, TasksOfSeveralQueuesRunInTheOrderOfTheirTimes) {
  const auto other = std::make_shared<SimulatedQueue>("other", nullptr, clock_);
  queue_->PostDelayed(Note("third"), milliseconds(3));
  other->PostDelayed(Note("first"), milliseconds(1));
  queue_->PostDelayed(Note("second"), milliseconds(1));
  clock_->AdvanceBy(milliseconds(3));
  EXPECT_THAT(notes_, ElementsAre("first", "second", "third"));
}

TEST_F(SimulatedQueueTest, ATaskSeesTheTimeForWhichItWasPosted) {
  nanoseconds seen{0};
  queue_->PostDelayed(movra_base::BindOnce([&] {
                        seen = clock_->now();
                        queue_->PostDelayed(Note("again"), milliseconds(2));
                      }),
                      milliseconds(5));
  clock_->AdvanceBy(milliseconds(7));
  EXPECT_EQ(seen, milliseconds(5));
  EXPECT_THAT(notes_, ElementsAre("again"));
}

TEST_F(SimulatedQueueTest, IsCurrentOnTheTestsThreadUnlessToldOtherwise) {
  EXPECT_TRUE(queue_->IsCurrent());
  queue_->set_current(false);
  EXPECT_FALSE(queue_->IsCurrent());
}

TEST_F(SimulatedQueueTest, IsCurrentInsideATaskOnWhateverThreadThatRuns) {
  queue_->set_current(false);
  bool inside = false;
  bool outside = true;
  queue_->Post(movra_base::BindOnce([&] { inside = queue_->IsCurrent(); }));
  std::thread([&] {
    queue_->RunAll();
    outside = queue_->IsCurrent();
  }).join();
  EXPECT_TRUE(inside);
  EXPECT_FALSE(outside);
}

TEST_F(SimulatedQueueTest, TellsTheJournalOfEachCheck) {
  const auto journal = std::make_shared<Journal>();
  const SimulatedQueue queue("main_queue", journal);
  static_cast<void>(queue.IsCurrent());
  EXPECT_EQ(journal->CountQueueChecks(), 1u);
  EXPECT_THAT(journal->Take(), ElementsAre("main_queue.IsCurrent()"));
}

}  // namespace
}  // namespace movra::testing
