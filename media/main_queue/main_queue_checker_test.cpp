#include "media/main_queue/main_queue_checker.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "core/run_loop.h"
#include "logging/recording_sink_for_test.h"

namespace movra::media {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Collaborator {
 public:
  void Operate() { checker_.Check(); }
  void Stop() { checker_.Check(); }

 private:
  MainQueueChecker checker_{"a collaborator", video::VideoContext(InstanceTrace(3), "[main]")};
};

class MainQueueCheckerTest : public ::testing::Test {
 protected:
  MainQueueCheckerTest() { core::SetMainQueue(loop_); }
  ~MainQueueCheckerTest() override { core::SetMainQueue(nullptr); }

  void OperateIn(core::RunLoop& loop) {
    loop.Post(movra_base::BindOnce([this] { collaborator_.Operate(); }));
    loop.RunUntilIdle();
  }

  std::shared_ptr<core::RunLoop> loop_ = std::make_shared<core::RunLoop>();
  Collaborator collaborator_;
  movra_logging::RecordingSink log_;
};

TEST_F(MainQueueCheckerTest, InsideARunAndOutsideOfItOnItsThreadNothingIsTold) {
  collaborator_.Operate();
  OperateIn(*loop_);
  collaborator_.Operate();
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(MainQueueCheckerTest, CallsFromAnotherThreadAreToldOnceByTheNameOfTheFirst) {
  std::thread([this] {
    collaborator_.Stop();
    collaborator_.Operate();
  }).join();
  std::thread([this] { collaborator_.Stop(); }).join();
  EXPECT_THAT(log_.texts(),
              ElementsAre("[trace:3][main] Stop of a collaborator was called off the main queue"));
  EXPECT_EQ(log_.lines()[0].level, movra_logging::kLogLevelError);
  EXPECT_EQ(log_.lines()[0].function, "Stop");
}

TEST_F(MainQueueCheckerTest, EachCollaboratorTellsItsOwn) {
  Collaborator other;
  std::thread([&] {
    collaborator_.Stop();
    other.Stop();
  }).join();
  EXPECT_EQ(log_.lines().size(), 2U);
}

TEST_F(MainQueueCheckerTest, OneWithoutAContextBeginsWithItsOperation) {
  MainQueueChecker checker("a service");
  std::thread([&] { checker.Check("Init"); }).join();
  EXPECT_THAT(log_.texts(), ElementsAre("Init of a service was called off the main queue"));
}

TEST_F(MainQueueCheckerTest, TheThreadThatRunsTheQueueCountsBeforeAndAfterItsRuns) {
  std::thread([this] {
    OperateIn(*loop_);
    collaborator_.Operate();
  }).join();
  collaborator_.Operate();  // It made the collaborator before the run and takes it down after it.
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(MainQueueCheckerTest, AnotherQueueIsNotTheMainQueue) {
  core::RunLoop other;
  std::thread([&] { OperateIn(other); }).join();
  EXPECT_THAT(log_.texts(), ElementsAre("[trace:3][main] Operate of a collaborator was called off "
                                        "the main queue"));
}

TEST_F(MainQueueCheckerTest, ALogThatTakesNoErrorsIsToldNothingThenOrLater) {
  movra_logging::SetMinLogLevel(movra_logging::kLogLevelError + 1);
  std::thread([this] { collaborator_.Stop(); }).join();
  movra_logging::SetMinLogLevel(movra_logging::kLogLevelInfo);
  std::thread([this] { collaborator_.Stop(); }).join();
  EXPECT_THAT(log_.lines(), IsEmpty());
}

}  // namespace
}  // namespace movra::media
