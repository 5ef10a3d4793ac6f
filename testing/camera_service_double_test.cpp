#include "testing/camera_service_double.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "testing/application_doubles.h"
#include "testing/environment.h"

namespace movra::testing {
namespace {

using ::testing::ElementsAre;
using CallbackPolicy = CameraServiceDouble::CallbackPolicy;

class CameraServiceDoubleTest : public ::testing::Test {
 protected:
  CameraServiceDoubleTest() {
    params_.camera_id = "cam-1";
    env_.journal().Clear();
  }

  void Start(const std::string& name) {
    service_.StartCapture(1, params_, writer_, env_.Callback<void(int, int)>(name));
  }
  void Stop(const std::string& name) {
    service_.StopCapture(params_, writer_, env_.Callback<void()>(name));
  }

  Environment env_;
  CameraServiceDouble& service_ = env_.MakeCameraService();
  const std::shared_ptr<FrameWriterDouble> writer_ = env_.Make<FrameWriterDouble>("tap");
  video::CameraParams params_;
};

TEST_F(CameraServiceDoubleTest, TellsOfEveryCall) {
  service_.StartCapture(1, params_, writer_, {});
  service_.StopCapture(params_, writer_, {});
  service_.UpdateCaptureParams(params_);
  service_.stat = 9;
  EXPECT_EQ(service_.GetCaptureStat(params_), 9u);
  service_.DescribeCamera("cam-1", {});
  EXPECT_FALSE(service_.IsAutoFocusEnabled());
  env_.world().answers.is_auto_focus_enabled = true;
  EXPECT_TRUE(service_.IsAutoFocusEnabled());
  service_.FocusAtPoint(0.25f, 0.5f);
  EXPECT_THAT(
      env_.journal().Take(),
      ElementsAre("camera_service.StartCapture(1, {cam-1}, tap, null)",
                  "camera_service.StopCapture({cam-1}, tap, null)",
                  "camera_service.UpdateCaptureParams({cam-1})",
                  "camera_service.GetCaptureStat({cam-1})", "camera_service.DescribeCamera(cam-1)",
                  "camera_service.IsAutoFocusEnabled()", "camera_service.IsAutoFocusEnabled()",
                  "camera_service.FocusAtPoint(0.25, 0.5)"));
}

TEST_F(CameraServiceDoubleTest, ListsTheCamerasOfTheTest) {
  env_.world().answers.cameras = {{"cam-1", "Camera", "test", 0}};
  EXPECT_EQ(video::ICameraService::GetCameraDeviceList(
                video::CameraListInterface::GetCameraListMode::kAll),
            env_.world().answers.cameras);
  EXPECT_THAT(env_.journal().Take(), ElementsAre("ICameraService.GetCameraDeviceList(0)"));
}

TEST_F(CameraServiceDoubleTest, KeepsCallbacksUntilTheTestAnswersThem) {
  Start("first");
  Start("second");
  EXPECT_EQ(service_.waiting_starts(), 2u);
  env_.journal().Clear();
  service_.AnswerStart(-3, 12);
  EXPECT_THAT(env_.journal().Take(), ElementsAre("first(-3, 12)", "~first"));
  Stop("on_stopped");
  EXPECT_EQ(service_.waiting_stops(), 1u);
  env_.journal().Clear();
  service_.AnswerStop();
  EXPECT_THAT(env_.journal().Take(), ElementsAre("on_stopped()", "~on_stopped"));
  EXPECT_EQ(service_.waiting_starts(), 1u);
}

TEST_F(CameraServiceDoubleTest, DropsKeptCallbacksWhenTold) {
  Start("on_started");
  Stop("on_stopped");
  env_.journal().Clear();
  service_.DropCallbacks();
  EXPECT_THAT(env_.journal().Take(), ::testing::UnorderedElementsAre("~on_started", "~on_stopped"));
  EXPECT_EQ(service_.waiting_starts() + service_.waiting_stops(), 0u);
}

TEST_F(CameraServiceDoubleTest, DropsCallbacksBeforeTheOperationReturnsWhenToldBefore) {
  service_.start_policy = CallbackPolicy::kDrop;
  service_.stop_policy = CallbackPolicy::kDrop;
  Start("on_started");
  Stop("on_stopped");
  EXPECT_THAT(env_.journal().Take(),
              ElementsAre("camera_service.StartCapture(1, {cam-1}, tap, callback)", "~on_started",
                          "camera_service.StopCapture({cam-1}, tap, callback)", "~on_stopped"));
}

TEST_F(CameraServiceDoubleTest, RunsCallbacksInsideTheOperationWhenToldBefore) {
  service_.start_policy = CallbackPolicy::kRun;
  service_.stop_policy = CallbackPolicy::kRun;
  service_.start_error = 4;
  service_.start_ms = 5;
  Start("on_started");
  Stop("on_stopped");
  EXPECT_THAT(
      env_.journal().Take(),
      ElementsAre("camera_service.StartCapture(1, {cam-1}, tap, callback)", "on_started(4, 5)",
                  "~on_started", "camera_service.StopCapture({cam-1}, tap, callback)",
                  "on_stopped()", "~on_stopped"));
}

TEST_F(CameraServiceDoubleTest, HasNothingToAnswerWithoutACallback) {
  service_.StartCapture(1, params_, writer_, {});
  EXPECT_THROW(service_.AnswerStart(0, 0), std::logic_error);
  EXPECT_THROW(service_.AnswerStop(), std::logic_error);
}

TEST_F(CameraServiceDoubleTest, KeepsTheCapturesThatRunWithTheirWriters) {
  const auto other = env_.Make<FrameWriterDouble>("other");
  service_.StartCapture(1, params_, writer_, {});
  service_.StartCapture(2, params_, other, {});
  service_.StopCapture(params_, writer_, {});
  ASSERT_EQ(service_.captures().size(), 1u);
  EXPECT_EQ(service_.captures()[0].requester, 2);
  EXPECT_EQ(service_.captures()[0].params.camera_id, "cam-1");
  EXPECT_EQ(service_.captures()[0].writer, other);
}

TEST_F(CameraServiceDoubleTest, KeepsTheParametersOfTheLastUpdate) {
  EXPECT_FALSE(service_.updated_params().has_value());
  service_.UpdateCaptureParams(params_);
  EXPECT_EQ(service_.updated_params().value().camera_id, "cam-1");
}

TEST_F(CameraServiceDoubleTest, TellsOfItsEndAfterTheCallbacksItKept) {
  Start("on_started");
  env_.journal().Clear();
  env_.LoseCameraService();
  EXPECT_THAT(env_.journal().Take(), ElementsAre("~on_started", "~camera_service"));
}

}  // namespace
}  // namespace movra::testing
