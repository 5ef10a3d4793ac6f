// A unit test of an application: the producer is the real one, everything around it is a double.
// Nothing is captured or encoded, no thread is started, and no time passes.

#include "spare_camera.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "testing/environment.h"
#include "video/producer/video_producer2_impl.h"

using namespace movra::video;

class StartWithSpareTest : public ::testing::Test {
 protected:
  movra::testing::Environment env_;  // First: all that a producer finds, until the test ends.
  movra::testing::CameraServiceDouble& cameras_ = env_.MakeCameraService();
  const std::shared_ptr<IVideoProducer2> producer_ = std::make_shared<VideoProducer2Impl>(
      VideoContext(movra::InstanceTrace(1), ""), nullptr, VideoStreamType::kBig);
};

TEST_F(StartWithSpareTest, TakesTheSpareCameraWhereTheFirstCannotBeStarted) {
  StartWithSpare(producer_, "desk", "spare");
  cameras_.AnswerStart(10, 0);  // Another program uses the desk's.
  ASSERT_EQ(cameras_.captures().size(), 1u);
  EXPECT_EQ(cameras_.captures()[0].params.camera_id, "spare");
}

TEST_F(StartWithSpareTest, LetsGoOfTheFirstBeforeItStartsTheSpareCamera) {
  StartWithSpare(producer_, "desk", "spare");
  env_.journal().LeaveOut(movra::testing::Journal::kLookup);
  env_.journal().Clear();
  cameras_.AnswerStart(10, 0);
  auto calls = env_.journal().Take();
  std::erase_if(calls, [](const auto& call) { return !call.starts_with("camera_service."); });
  EXPECT_THAT(calls, ::testing::ElementsAre(
                         "camera_service.StopCapture({desk 0x0}, CameraOutputTrack.writer, null)",
                         "camera_service.StartCapture(1, {spare 0x0}, CameraOutputTrack#2.writer, "
                         "null)"));
}

TEST_F(StartWithSpareTest, LeavesACameraThatStartsAlone) {
  StartWithSpare(producer_, "desk", "spare");
  env_.journal().Clear();
  cameras_.AnswerStart(0, 40);
  EXPECT_THAT(env_.journal().Take(), ::testing::IsEmpty());
}
