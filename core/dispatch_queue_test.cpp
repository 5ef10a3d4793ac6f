#include "core/dispatch_queue.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <thread>

#include "core/run_loop.h"
#include "logging/log_sink.h"
#include "logging/recording_sink_for_test.h"

namespace core {
namespace {

using ::testing::ElementsAre;

class MainQueue : public ::testing::Test {
 protected:
  ~MainQueue() override { SetMainQueue(nullptr); }
};

TEST_F(MainQueue, IsTheOneThatWasInstalledOnEveryThread) {
  const auto loop = std::make_shared<RunLoop>();
  SetMainQueue(loop);
  EXPECT_EQ(GetMainQueue(), loop);
  std::shared_ptr<DispatchQueue> seen;
  std::thread([&] { seen = GetMainQueue(); }).join();
  EXPECT_EQ(seen, loop);
}

TEST_F(MainQueue, InstallingReturnsTheOneBefore) {
  const auto first = std::make_shared<RunLoop>();
  const auto second = std::make_shared<RunLoop>();
  EXPECT_EQ(SetMainQueue(first), nullptr);
  EXPECT_EQ(SetMainQueue(second), first);
  EXPECT_EQ(SetMainQueue(nullptr), second);
  EXPECT_EQ(SetMainQueue(nullptr), nullptr);
}

TEST_F(MainQueue, IsHeldUntilItIsReplaced) {
  auto loop = std::make_shared<RunLoop>();
  const std::weak_ptr<DispatchQueue> weak = loop;
  SetMainQueue(std::move(loop));
  EXPECT_FALSE(weak.expired());
  SetMainQueue(nullptr);
  EXPECT_TRUE(weak.expired());
}

TEST_F(MainQueue, MissingItIsNeverNullAndNeverCurrent) {
  const auto missing = GetMainQueue();
  ASSERT_NE(missing, nullptr);
  EXPECT_FALSE(missing->IsCurrent());
  EXPECT_EQ(GetMainQueue(), missing);
}

TEST_F(MainQueue, MissingItDestroysWhatIsPostedAndSaysSo) {
  movra_logging::RecordingSink sink;
  const auto held = std::make_shared<int>(0);
  bool has_run = false;
  GetMainQueue()->Post(movra_base::BindOnce([&has_run, held] { has_run = true; }));
  GetMainQueue()->PostDelayed(movra_base::BindOnce([&has_run, held] { has_run = true; }),
                              std::chrono::nanoseconds(1));
  EXPECT_FALSE(has_run);
  EXPECT_EQ(held.use_count(), 1);
  EXPECT_THAT(sink.texts(), ElementsAre("No main queue is installed; the task is dropped",
                                        "No main queue is installed; the task is dropped"));
  EXPECT_EQ(sink.lines().front().level, movra_logging::kLogLevelError);

  movra_logging::SetMinLogLevel(movra_logging::kLogLevelOff);
  GetMainQueue()->Post(movra_base::BindOnce([] {}));
  movra_logging::SetMinLogLevel(movra_logging::kLogLevelInfo);
  EXPECT_EQ(sink.lines().size(), 2U) << "and nothing with logging off";
}

}  // namespace
}  // namespace core
