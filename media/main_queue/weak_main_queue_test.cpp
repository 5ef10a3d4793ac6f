#include "media/main_queue/weak_main_queue.h"

#include <gtest/gtest.h>

#include <memory>

#include "testing/simulated_queue.h"

namespace movra::media {
namespace {

using testing::SimulatedQueue;

class WeakMainQueueTest : public ::testing::Test {
 protected:
  WeakMainQueueTest() { core::SetMainQueue(queue_); }
  ~WeakMainQueueTest() override { core::SetMainQueue(nullptr); }

  core::Task Count() {
    return movra_base::BindOnce([this] { ++runs_; });
  }

  std::shared_ptr<SimulatedQueue> queue_ = std::make_shared<SimulatedQueue>("main_queue");
  int runs_ = 0;
};

TEST_F(WeakMainQueueTest, PostsToTheMainQueueOfTheMomentItWasMade) {
  const WeakMainQueue main_queue;
  const auto other = std::make_shared<SimulatedQueue>("other");
  core::SetMainQueue(other);
  main_queue.Post(Count());
  EXPECT_EQ(other->waiting(), 0U);
  EXPECT_EQ(queue_->RunAll(), 1U);
  EXPECT_EQ(runs_, 1);
}

TEST_F(WeakMainQueueTest, KeepsNoQueueThatTheProgramGaveUpAndDropsWhatComesThen) {
  const WeakMainQueue main_queue;
  const std::weak_ptr<SimulatedQueue> watched = queue_;
  core::SetMainQueue(nullptr);
  queue_.reset();
  EXPECT_TRUE(watched.expired());
  const auto held = std::make_shared<int>();
  main_queue.Post(movra_base::BindOnce([held] {}));
  EXPECT_EQ(held.use_count(), 1);
}

}  // namespace
}  // namespace movra::media
