#include "core/thread_manager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <array>
#include <latch>
#include <memory>
#include <string>
#include <system_error>
#include <thread>
#include <tuple>
#include <vector>

#include "core/no_more_threads_for_test.h"
#include "core/run_loop.h"

namespace core {
namespace {

using ::testing::ElementsAre;

static_assert(static_cast<int>(BusinessID::kPreprocessorOfOneProducer) == 303);
static_assert(static_cast<int>(BusinessID::kPreprocessorShared) == 304);
static_assert(sizeof(BusinessID) == 4);

const movra_base::Optional<ThreadOption> kNoOption;

std::string ThreadName(DispatchQueue& queue) {
  std::array<char, 32> name{};
  std::latch reached(1);
  queue.Post(movra_base::BindOnce([&] {
    pthread_getname_np(pthread_self(), name.data(), name.size());
    reached.count_down();
  }));
  reached.wait();
  return name.data();
}

TEST(ThreadManager, GivesOneQueueForOneBusinessAndKey) {
  const auto queue = ThreadManager::GetTaskQueue(BusinessID::kPreprocessorShared, 0, kNoOption);
  ASSERT_NE(queue, nullptr);
  EXPECT_EQ(ThreadManager::GetTaskQueue(BusinessID::kPreprocessorShared, 0, kNoOption), queue);
}

TEST(ThreadManager, TellsQueuesApartByBusinessAndByKey) {
  const auto queue = ThreadManager::GetTaskQueue(BusinessID::kPreprocessorShared, 1, kNoOption);
  EXPECT_NE(ThreadManager::GetTaskQueue(BusinessID::kPreprocessorShared, 2, kNoOption), queue);
  EXPECT_NE(ThreadManager::GetTaskQueue(BusinessID::kPreprocessorOfOneProducer, 1, kNoOption),
            queue);
  EXPECT_NE(ThreadManager::GetTaskQueue(BusinessID{-1}, 1, kNoOption), nullptr);
}

TEST(ThreadManager, HoldsQueuesWeaklyAndMakesANewOneForAKeyThatComesBack) {
  auto queue = ThreadManager::GetTaskQueue(BusinessID::kPreprocessorOfOneProducer, 7, kNoOption);
  const std::weak_ptr<DispatchQueue> weak = queue;
  queue.reset();
  EXPECT_TRUE(weak.expired());
  queue = ThreadManager::GetTaskQueue(BusinessID::kPreprocessorOfOneProducer, 7, kNoOption);
  EXPECT_NE(ThreadName(*queue), "");
}

TEST(ThreadManager, NamesTheThreadByTheOptionOrAfterTheBusiness) {
  const auto named = ThreadManager::GetTaskQueue(BusinessID::kPreprocessorOfOneProducer, 8,
                                                 ThreadOption{.name = "picture"});
  EXPECT_EQ(ThreadName(*named), "picture");
  const auto unnamed =
      ThreadManager::GetTaskQueue(BusinessID::kPreprocessorOfOneProducer, 9, kNoOption);
  EXPECT_EQ(ThreadName(*unnamed), "movra-303");
}

TEST(ThreadManager, ThreadsThatAskAtTheSameTimeGetTheSameQueue) {
  std::array<std::shared_ptr<DispatchQueue>, 2> queues;
  std::latch start(2);
  const auto ask = [&](std::size_t i) {
    start.arrive_and_wait();
    queues[i] = ThreadManager::GetTaskQueue(BusinessID::kPreprocessorShared, 10, kNoOption);
  };
  std::thread one(ask, 0);
  std::thread two(ask, 1);
  one.join();
  two.join();
  EXPECT_EQ(queues[0], queues[1]);
}

TEST(ThreadManager, AnInstalledFactoryAnswersEveryCall) {
  std::vector<std::tuple<BusinessID, unsigned long, bool>> asked;
  const auto loop = std::make_shared<RunLoop>();
  const auto before = ThreadManager::SetQueueFactory(
      [&](BusinessID business, unsigned long key,
          const movra_base::Optional<ThreadOption>& option) -> std::shared_ptr<DispatchQueue> {
        asked.emplace_back(business, key, option.has_value());
        return key == 0 ? loop : nullptr;
      });
  EXPECT_FALSE(before);
  EXPECT_EQ(ThreadManager::GetTaskQueue(BusinessID::kPreprocessorShared, 0, kNoOption), loop);
  EXPECT_EQ(ThreadManager::GetTaskQueue(BusinessID::kPreprocessorShared, 0, ThreadOption{}), loop);
  EXPECT_EQ(ThreadManager::GetTaskQueue(BusinessID{5}, 6, kNoOption), nullptr);
  EXPECT_TRUE(ThreadManager::SetQueueFactory(before));
  EXPECT_THAT(asked, ElementsAre(std::tuple(BusinessID::kPreprocessorShared, 0ul, false),
                                 std::tuple(BusinessID::kPreprocessorShared, 0ul, true),
                                 std::tuple(BusinessID{5}, 6ul, false)));
  EXPECT_NE(ThreadManager::GetTaskQueue(BusinessID::kPreprocessorShared, 0, kNoOption), loop);
}

TEST(ThreadManager, AFactoryMayAskTheManagerForAnotherFactory) {
  ThreadManager::SetQueueFactory(
      [](BusinessID business, unsigned long key, const movra_base::Optional<ThreadOption>& option) {
        ThreadManager::SetQueueFactory(nullptr);
        return ThreadManager::GetTaskQueue(business, key, option);
      });
  EXPECT_NE(ThreadManager::GetTaskQueue(BusinessID::kPreprocessorShared, 11, kNoOption), nullptr);
}

TEST(ThreadManager, AQueueWhoseThreadCouldNotBeStartedIsMadeTheNextTime) {
  const auto get = [] {
    return ThreadManager::GetTaskQueue(BusinessID::kPreprocessorShared, 12, kNoOption);
  };
  {
    const NoMoreThreads none;
    EXPECT_THROW(get(), std::system_error);
    EXPECT_THROW(get(), std::system_error) << "and nobody waits for a lock that was left";
  }
  EXPECT_EQ(ThreadName(*get()), "movra-304");
}

}  // namespace
}  // namespace core
