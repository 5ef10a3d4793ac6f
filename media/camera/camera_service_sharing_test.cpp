#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "media/camera/camera_service_for_test.h"

// What captures of one camera, or into one writer, mean to each other.

namespace movra::media {
namespace {

using ::testing::ElementsAre;
using ::testing::SizeIs;
using video::CameraParams;
using video::PixelFrame;
using video::Size;

class SharedCameraTest : public CameraServiceTest {
 protected:
  // Its capture runs, has no more frames than these to come and does not heed an interrupt.
  std::shared_ptr<SourceScript> StartDeaf(const std::string& id, int frames) {
    const auto source = Add(id, MakeScript(frames));
    source->items.pop_back();
    source->is_deaf = true;
    Start(Params(id), writer_);
    source->WaitUntilWaiting();
    return source;
  }
};

TEST_F(SharedCameraTest, AStartIntoAWriterEndsTheCaptureThatWritesThere) {
  const auto a = Add("a", MakeScript(1));
  a->items.pop_back();
  Add("b", MakeScript(1));
  Start(Params("a"), writer_);
  a->WaitUntilWaiting();
  Start(Params("b"), writer_);
  EXPECT_TRUE(a->interrupted);
  writer_->WaitForEnd();
  EXPECT_THAT(writer_->frames(), SizeIs(2));
}

TEST_F(SharedCameraTest, RunsTwoCapturesAtOnceAndStopsOneAlone) {
  Add("a", MakeScript(4));
  Add("b", MakeScript(4));
  const auto slow = std::make_shared<CollectingWriter>(1);
  Start(Params("a"), slow);
  Start(Params("b"), writer_);
  slow->WaitUntilRefused();
  writer_->WaitForEnd();  // The other's lack of room does not hold this one up.
  Stop(Params("b"), writer_);
  slow->MakeRoom(10);
  slow->WaitForEnd();
  EXPECT_THAT(slow->frames(), SizeIs(4));
}

TEST_F(SharedCameraTest, AStopOfASourceThatDoesNotAnswerIsAnsweredAndWritesNothingMore) {
  const auto a = StartDeaf("a", 2);
  Stop(Params("a"), writer_);  // Returns.
  loop_->RunUntilIdle();
  EXPECT_EQ(stopped_, 1);
  a->LetOn();
  a->WaitUntilGone();
  EXPECT_THAT(writer_->frames(), SizeIs(2));
  EXPECT_FALSE(writer_->end().has_value());
}

TEST_F(SharedCameraTest, ASourceThatDoesNotAnswerKeepsNoQueueThatTheProgramGaveUp) {
  const auto started = Add("a", MakeScript(1));
  const auto described = Add("b", MakeScript(1));
  for (const auto& source : {started, described}) source->open_waits = source->is_deaf = true;
  Start(Params("a"), writer_);
  service_->DescribeCamera("b", movra_base::BindOnce([](video::CameraInfo) {}));
  for (const auto& source : {started, described}) source->WaitUntilWaiting();
  service_.reset();
  const std::weak_ptr<core::DispatchQueue> queue = std::exchange(loop_, nullptr);
  core::SetMainQueue(nullptr);
  EXPECT_TRUE(queue.expired());
  for (const auto& source : {started, described}) {
    source->LetOn();
    source->WaitUntilGone();
  }
}

TEST_F(SharedCameraTest, AStartWaitsUntilTheStoppedCaptureHasLetGoOfTheCamera) {
  const auto first = StartDeaf("a", 1);
  Stop(Params("a"), writer_);
  const auto second = Add("a", MakeScript(3));
  const auto next = std::make_shared<CollectingWriter>();
  Start(Params("a"), next);
  // Another camera is not held up; all that it does is done before this goes on.
  Add("b", MakeScript(1));
  const auto other = std::make_shared<CollectingWriter>();
  Start(Params("b"), other);
  other->WaitForEnd();
  EXPECT_THAT(cameras_->WaitUntilMade(2), ElementsAre("a", "b"));
  first->LetOn();
  next->WaitForEnd();
  EXPECT_TRUE(first->IsGone());
  EXPECT_THAT(next->frames(), SizeIs(3));
}

TEST_F(SharedCameraTest, AStartIsBusyWhenTheStoppedCaptureKeepsTheCameraForFiveSeconds) {
  UseClock(std::make_shared<HastyClock>());
  const auto a = StartDeaf("a", 1);
  Stop(Params("a"), writer_);
  loop_->RunUntilIdle();
  answers_.clear();
  Start(Params("a"), std::make_shared<CollectingWriter>());
  RunUntilAnswered();
  EXPECT_THAT(answers_, ElementsAre(Code(CameraError::kBusy)));
  a->LetOn();
}

TEST_F(SharedCameraTest, AStartThatIsStoppedWhileItWaitsForTheCameraIsCancelled) {
  const auto a = StartDeaf("a", 1);
  Stop(Params("a"), writer_);
  loop_->RunUntilIdle();
  answers_.clear();
  Start(Params("a"), writer_);
  Stop(Params("a"), writer_);
  loop_->RunUntilIdle();
  EXPECT_THAT(answers_, ElementsAre(Code(CameraError::kCancelled)));
  a->LetOn();
}

TEST_F(SharedCameraTest, NoTwoCapturesAreInsideOneWriter) {
  Add("a", MakeScript(3));
  Add("b", MakeScript(1));
  const auto writer = std::make_shared<HeldWriter>();
  Start(Params("a"), writer);
  writer->WaitUntilWriting();
  Stop(Params("a"), writer);
  Start(Params("b"), writer);
  // Behind this one every thread that could go on has gone on.
  Add("c", MakeScript(1));
  Start(Params("c"), writer_);
  writer_->WaitForEnd();
  EXPECT_EQ(writer->writes(), 1);
  writer->LetOn();
  writer->LetOn();
  RunUntilIdleAnd([&] { return writer->ends() == 1; });
  EXPECT_EQ(writer->writes(), 2);
  EXPECT_EQ(writer->most_inside(), 1);
}

TEST_F(SharedCameraTest, AppliesThePresentFieldsOfAnUpdateToTheCapturesOfThatCamera) {
  Add("a", MakeScript(9, 30));
  writer_ = std::make_shared<CollectingWriter>(1);
  CameraParams params = Params("a");
  params.width = 32;
  params.height = 18;
  Start(params, writer_);
  writer_->WaitUntilRefused();
  CameraParams rate_only = Params("a");
  rate_only.frame_rate = 10;
  service_->UpdateCaptureParams(rate_only);
  CameraParams another = Params("b");
  another.width = 4;
  another.height = 4;
  service_->UpdateCaptureParams(another);
  writer_->MakeRoom(100);
  writer_->WaitForEnd();
  const std::vector<PixelFrame> frames = writer_->frames();
  ASSERT_THAT(frames, SizeIs(4));  // Numbers 0 and 1, then every third.
  for (const PixelFrame& frame : frames) EXPECT_EQ(frame.info().size, (Size{32, 18}));
}

// Two captures of one camera, each of whose users then says again what it wants; in both orders.
TEST_F(SharedCameraTest, NoCaptureGetsLessBecauseOfAnother) {
  for (const bool small_first : {false, true}) {
    Add("a", MakeScript(61, 60));
    CameraParams large = Params("a");
    large.width = 64;
    large.height = 36;
    large.frame_rate = 60;
    CameraParams small = Params("a");
    small.width = 32;
    small.height = 18;
    small.frame_rate = 15;
    const auto large_writer = std::make_shared<CollectingWriter>(1);
    const auto small_writer = std::make_shared<CollectingWriter>(1);
    Start(small_first ? small : large, small_first ? small_writer : large_writer);
    (small_first ? small_writer : large_writer)->WaitUntilRefused();
    Add("a", MakeScript(61, 60));
    Start(small_first ? large : small, small_first ? large_writer : small_writer);
    (small_first ? large_writer : small_writer)->WaitUntilRefused();
    service_->UpdateCaptureParams(small_first ? large : small);
    service_->UpdateCaptureParams(small_first ? small : large);
    for (const auto& writer : {large_writer, small_writer}) {
      writer->MakeRoom(100);
      writer->WaitForEnd();
      // The second frame was fitted before the updates, the others behind them.
      ASSERT_THAT(writer->frames(), SizeIs(::testing::Ge(50u)));
      EXPECT_EQ(writer->frames().back().info().size, (Size{64, 36}));
    }
    EXPECT_EQ(small_writer->frames()[0].info().size, (Size{32, 18}));
    EXPECT_THAT(large_writer->frames(), SizeIs(61));
    Stop(large, large_writer);
    Stop(small, small_writer);
  }
}

TEST_F(SharedCameraTest, AnUpdateLowersACaptureThatHasTheCameraForItself) {
  Add("a", MakeScript(3));
  const auto other = std::make_shared<CollectingWriter>();
  Start(Params("a"), other);
  other->WaitForEnd();
  Stop(Params("a"), other);
  Add("a", MakeScript(3));
  writer_ = std::make_shared<CollectingWriter>(1);
  Start(Params("a"), writer_);
  writer_->WaitUntilRefused();
  CameraParams small = Params("a");
  small.width = 32;
  small.height = 18;
  service_->UpdateCaptureParams(small);
  writer_->MakeRoom(100);
  writer_->WaitForEnd();
  EXPECT_EQ(writer_->frames().back().info().size, (Size{32, 18}));
}

TEST_F(SharedCameraTest, CountsTheFramesOfTheCameraSinceItStarted) {
  Add("a", MakeScript(3));
  EXPECT_EQ(service_->GetCaptureStat(Params("a")), 0u);
  Start(Params("a"), writer_);
  writer_->WaitForEnd();
  EXPECT_EQ(service_->GetCaptureStat(Params("a")), 3u);
  Stop(Params("a"), writer_);
  EXPECT_EQ(service_->GetCaptureStat(Params("a")), 3u);
  EXPECT_EQ(service_->GetCaptureStat(Params("b")), 0u);
  const auto second = std::make_shared<CollectingWriter>();
  Add("a", MakeScript(1));
  Start(Params("a"), second);
  second->WaitForEnd();
  EXPECT_EQ(service_->GetCaptureStat(Params("a")), 1u);
}

TEST_F(SharedCameraTest, CountsTheFramesOfAllCapturesOfTheCameraTogether) {
  Add("a", MakeScript(3));
  Start(Params("a"), writer_);
  writer_->WaitForEnd();
  const auto second = std::make_shared<CollectingWriter>();
  Add("a", MakeScript(2));
  Start(Params("a"), second);
  EXPECT_GE(service_->GetCaptureStat(Params("a")), 3u);
  second->WaitForEnd();
  EXPECT_EQ(service_->GetCaptureStat(Params("a")), 5u);
  Stop(Params("a"), writer_);
  const auto third = std::make_shared<CollectingWriter>();
  Add("a", MakeScript(1));
  Start(Params("a"), third);
  third->WaitForEnd();
  EXPECT_EQ(service_->GetCaptureStat(Params("a")), 6u);
}

}  // namespace
}  // namespace movra::media
