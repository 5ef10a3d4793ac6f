#include "base/closure_inbox.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

namespace movra_base {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ClosureInboxTest : public ::testing::Test {
 protected:
  // Puts in a closure that notes its number; whether the taker is to be woken.
  bool Put(int number) {
    return inbox_.Put(BindOnce([this, number] { numbers_.push_back(number); }));
  }

  // Runs what has been put in and returns all numbers noted so far.
  const std::vector<int>& TakeAndRun() {
    std::vector<OnceClosure> closures;
    inbox_.TakeAll(closures);
    for (OnceClosure& closure : closures) std::move(closure).Run();
    return numbers_;
  }

  ClosureInbox inbox_;
  std::vector<int> numbers_;
};

TEST_F(ClosureInboxTest, GivesWhatWasPutInInThatOrder) {
  for (const int number : {1, 2, 3}) Put(number);
  EXPECT_THAT(TakeAndRun(), ElementsAre(1, 2, 3));
}

TEST_F(ClosureInboxTest, GivesEachOnce) {
  Put(1);
  TakeAndRun();
  Put(2);
  TakeAndRun();
  EXPECT_THAT(TakeAndRun(), ElementsAre(1, 2));
}

TEST_F(ClosureInboxTest, AppendsToWhatTheTakerHas) {
  std::vector<OnceClosure> closures;
  closures.push_back(BindOnce([this] { numbers_.push_back(1); }));
  for (const int number : {2, 3}) Put(number);
  inbox_.TakeAll(closures);
  for (OnceClosure& closure : closures) std::move(closure).Run();
  EXPECT_THAT(numbers_, ElementsAre(1, 2, 3));
}

TEST_F(ClosureInboxTest, TakingFromAnEmptyOneTakesNothing) {
  std::vector<OnceClosure> closures;
  inbox_.TakeAll(closures);
  EXPECT_THAT(closures, IsEmpty());
}

TEST(ClosureInbox, DestroysWhatIsLeftUnrun) {
  const auto bound = std::make_shared<int>(0);
  {
    ClosureInbox inbox;
    for (int i = 0; i < 2; ++i) {
      EXPECT_FALSE(inbox.Put(BindOnce([](const std::shared_ptr<int>& count) { ++*count; }, bound)));
    }
    EXPECT_EQ(bound.use_count(), 3);
  }
  EXPECT_EQ(bound.use_count(), 1);
  EXPECT_EQ(*bound, 0);
}

TEST_F(ClosureInboxTest, ATakerThatIsAwakeNeedNotBeWoken) {
  EXPECT_FALSE(Put(1));
  TakeAndRun();
  EXPECT_FALSE(Put(2));
}

TEST_F(ClosureInboxTest, TheFirstPutInWhileTheTakerSleepsWakesItAndNoOther) {
  EXPECT_TRUE(inbox_.FallAsleep());
  EXPECT_TRUE(Put(1));
  EXPECT_FALSE(Put(2));
  EXPECT_THAT(TakeAndRun(), ElementsAre(1, 2));
  EXPECT_TRUE(inbox_.FallAsleep());
  EXPECT_TRUE(Put(3));
}

TEST_F(ClosureInboxTest, ATakerDoesNotFallAsleepWhileThereIsSomethingToTake) {
  Put(1);
  EXPECT_FALSE(inbox_.FallAsleep());
  EXPECT_FALSE(Put(2));
  EXPECT_THAT(TakeAndRun(), ElementsAre(1, 2));
}

TEST_F(ClosureInboxTest, ATakerThatIsWokenByNothingMayFallAsleepAgain) {
  EXPECT_TRUE(inbox_.FallAsleep());
  EXPECT_TRUE(inbox_.FallAsleep());
  EXPECT_TRUE(Put(1));
}

TEST_F(ClosureInboxTest, TakingNothingWakesTheTakerToo) {
  EXPECT_TRUE(inbox_.FallAsleep());
  EXPECT_THAT(TakeAndRun(), IsEmpty());
  EXPECT_FALSE(Put(1));
}

TEST_F(ClosureInboxTest, KeepsTheOrderOfEachOfSeveralThreads) {
  constexpr int kThreads = 4;
  constexpr int kEach = 2000;
  std::array<std::vector<int>, kThreads> taken;  // the taker's
  std::vector<std::thread> threads;
  for (auto& numbers : taken) {
    threads.emplace_back([this, &numbers] {
      for (int i = 0; i < kEach; ++i) {
        static_cast<void>(inbox_.Put(BindOnce([&numbers, i] { numbers.push_back(i); })));
      }
    });
  }
  std::vector<int> expected;
  for (int i = 0; i < kEach; ++i) expected.push_back(i);
  for (int count = 0; count < kThreads * kEach;) {
    std::vector<OnceClosure> closures;
    inbox_.TakeAll(closures);
    for (OnceClosure& closure : closures) std::move(closure).Run();
    count += static_cast<int>(closures.size());
    std::this_thread::yield();
  }
  for (std::thread& thread : threads) thread.join();
  for (const auto& numbers : taken) EXPECT_EQ(numbers, expected);
}

}  // namespace
}  // namespace movra_base
