// Every operation and every event asks the main queue first whether it is running the caller, and
// goes on whatever the answer. The table counts the questions, those of the operations within it
// included.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "testing/application_doubles.h"
#include "testing/environment.h"
#include "testing/images.h"
#include "video/producer/video_producer2_impl.h"

namespace movra::video {
namespace {

using ::testing::ValuesIn;

constexpr auto kBig = VideoStreamType::kBig;
constexpr auto kI420 = PixelFormat::kI420;
constexpr char kQueueCheck[] = "main_queue.IsCurrent()";
constexpr auto kMemory = BufferType::kMemory;

CameraParams Camera(const char* id) {
  CameraParams params;
  params.camera_id = id;
  return params;
}

EncodeParams FullParams() {
  EncodeParams params;
  params.width = 640;
  params.height = 360;
  params.frame_rate = 60;
  return params;
}

struct Operation {
  std::string name;
  std::function<void(VideoProducer2Impl&)> call;
  std::ptrdiff_t checks;
  bool while_capturing = false;
};

void PrintTo(const Operation& operation, std::ostream* out) { *out << operation.name; }

// The operations of the interface in their order.
std::vector<Operation> Operations() {
  using P = VideoProducer2Impl;
  return {
      {"SetClient", [](P& p) { p.SetClient(nullptr); }, 0},
      {"GetStats", [](P& p) { static_cast<void>(p.GetStats(kBig)); }, 1},
      {"Initialize", [](P& p) { p.Initialize(); }, 1},
      {"Uninitialize", [](P& p) { p.Uninitialize(); }, 1},
      {"UninitializeWhileCapturing", [](P& p) { p.Uninitialize(); }, 4, true},
      {"GetProducerType", [](P& p) { static_cast<void>(p.GetProducerType()); }, 0},
      {"StartCaptureOfACamera", [](P& p) { p.StartCapture(Camera("cam-1"), {}); }, 3},
      {"StartCaptureOfAVirtualCamera", [](P& p) { p.StartCapture(Camera("virtual:1"), {}); }, 2},
      {"StartCaptureOfADesktop", [](P& p) { p.StartCapture(DesktopScreenParams()); }, 2},
      {"StartCaptureOfAMobileScreen", [](P& p) { p.StartCapture(MobileScreenParams()); }, 2},
      {"StartCaptureAgain", [](P& p) { p.StartCapture(Camera("cam-1"), {}); }, 1, true},
      {"StartCaptureOfADesktopToo", [](P& p) { p.StartCapture(DesktopScreenParams()); }, 1, true},
      {"StartCaptureOfAMobileToo", [](P& p) { p.StartCapture(MobileScreenParams()); }, 1, true},
      {"StopCapture", [](P& p) { p.StopCapture({}); }, 1},
      {"StopCaptureWhileCapturing", [](P& p) { p.StopCapture({}); }, 6, true},
      {"PauseCapture", [](P& p) { p.PauseCapture(); }, 1},
      {"ResumeCapture", [](P& p) { p.ResumeCapture(); }, 1},
      {"SetProducerMode", [](P& p) { p.SetProducerMode(ProducerMode::kOwnSize); }, 1},
      {"IsCapturing", [](P& p) { static_cast<void>(p.IsCapturing()); }, 1},
      {"GetCurrentSourceType", [](P& p) { static_cast<void>(p.GetCurrentSourceType()); }, 1},
      {"SetCameraFocusPosition", [](P& p) { p.SetCameraFocusPosition(0, 1); }, 1},
      {"SetRenderView", [](P& p) { p.SetRenderView(testing::MakeView("view")); }, 1},
      {"SetRenderViewToNone", [](P& p) { p.SetRenderView(nullptr); }, 1},
      {"SetRenderMirror", [](P& p) { p.SetRenderMirror(MirrorMode::kEnabled); }, 1},
      {"SetRenderRotation", [](P& p) { p.SetRenderRotation(VideoRotation::k90); }, 1},
      {"SetRenderBackgroundColor", [](P& p) { p.SetRenderBackgroundColor(1); }, 1},
      {"SetFillMode", [](P& p) { p.SetFillMode(FillMode::kFit); }, 1},
      {"SetGSensorMode", [](P& p) { p.SetGSensorMode(GSensorMode::kFollowLayout); }, 1},
      {"SetOutputFrameAdaptiveMode",
       [](P& p) { p.SetOutputFrameAdaptiveMode(FrameAdaptiveMode::kFit, true); }, 1},
      {"SetCoverImageParams",
       [](P& p) { p.SetCoverImageParams(std::make_shared<VideoCoverImageParams>()); }, 1},
      {"StartEncoder", [](P& p) { p.StartEncoder(kBig, FullParams(), nullptr); }, 3},
      {"StopEncoder", [](P& p) { p.StopEncoder(kBig, 1); }, 1},
      {"SetEncoderParams", [](P& p) { p.SetEncoderParams(kBig, FullParams()); }, 2},
      {"SetEncoderParamsWhileCapturing", [](P& p) { p.SetEncoderParams(kBig, FullParams()); }, 2,
       true},
      {"SetEncoderMirror", [](P& p) { p.SetEncoderMirror(true); }, 1},
      {"SetEncoderRotation", [](P& p) { p.SetEncoderRotation(VideoRotation::k90); }, 1},
      {"SetRpsNearestRefSize", [](P& p) { p.SetRpsNearestRefSize(kBig, 1); }, 1},
      {"DeliverRpsAck", [](P& p) { p.DeliverRpsAck(kBig, {}); }, 1},
      {"RequestKeyFrame", [](P& p) { p.RequestKeyFrame(kBig); }, 1},
      {"SetRoiConfig", [](P& p) { p.SetRoiConfig(kBig, {}); }, 1},
      {"EnableCustomProcessing",
       [](P& p) { p.EnableCustomProcessing(true, kI420, kMemory, nullptr); }, 1},
      {"EnableCustomRendering",
       [](P& p) { p.EnableCustomRendering(true, kI420, kMemory, nullptr); }, 1},
      {"EnableCustomCapturing", [](P& p) { p.EnableCustomCapturing(true); }, 6},
      {"DisableCustomCapturing", [](P& p) { p.EnableCustomCapturing(false); }, 1},
      {"SetCustomCaptureInputTrack", [](P& p) { p.SetCustomCaptureInputTrack(nullptr); }, 1},
      {"AddVideoShuntTrack",
       [](P& p) { p.AddVideoShuntTrack(InterceptPosition::kCaptured, kI420, kMemory, nullptr); },
       1},
      {"RemoveVideoShuntTrack", [](P& p) { p.RemoveVideoShuntTrack(nullptr); }, 1},
      {"AddInterceptor", [](P& p) { p.AddInterceptor(InterceptPosition::kCaptured, {}, {}); }, 1},
      {"RemoveInterceptor", [](P& p) { p.RemoveInterceptor({}); }, 1},
      {"SetWatermark", [](P& p) { p.SetWatermark(nullptr, 0, 0, 0, true); }, 1},
      {"Snapshot", [](P& p) { p.Snapshot(SnapshotSourceType::kPreprocessor, {}); }, 1},
      {"SetBeautyStyle", [](P& p) { p.SetBeautyStyle(BeautyStyle::kClear); }, 1},
      {"SetBeautyLevel", [](P& p) { p.SetBeautyLevel(1); }, 1},
      {"SetWhitenessLevel", [](P& p) { p.SetWhitenessLevel(1); }, 1},
      {"SetRuddyLevel", [](P& p) { p.SetRuddyLevel(1); }, 1},
      {"SetLUTColorFilter", [](P& p) { p.SetLUTColorFilter(nullptr); }, 1},
      {"SetLUTColorFilterStrength", [](P& p) { p.SetLUTColorFilterStrength(1); }, 1},
      {"SetLUTColorFilterOfTwo", [](P& p) { p.SetLUTColorFilter(nullptr, 1, nullptr, 1, 1); }, 1},
      {"SetGreenScreenParams", [](P& p) { p.SetGreenScreenParams({}); }, 1},
      {"GetScreenShareSourceList",
       [](P& p) { static_cast<void>(p.GetScreenShareSourceList({}, {})); }, 1},
      {"AddExcludedShareWindow", [](P& p) { p.AddExcludedShareWindow(1); }, 1},
      {"RemoveExcludedShareWindow", [](P& p) { p.RemoveExcludedShareWindow(1); }, 1},
      {"RemoveAllExcludedShareWindow", [](P& p) { p.RemoveAllExcludedShareWindow(); }, 1},
      {"AddIncludedShareWindow", [](P& p) { p.AddIncludedShareWindow(1); }, 1},
      {"RemoveIncludedShareWindow", [](P& p) { p.RemoveIncludedShareWindow(1); }, 1},
      {"RemoveAllIncludedShareWindow", [](P& p) { p.RemoveAllIncludedShareWindow(); }, 1},
  };
}

// The events of the collaborators in the order of their interfaces.
std::vector<Operation> Events() {
  using P = VideoProducer2Impl;
  return {
      {"OnFocusAtPoint", [](P& p) { p.OnFocusAtPoint(1, 2, 3, 4); }, 0},
      {"OnZoom", [](P& p) { p.OnZoom(2); }, 0},
      {"OnRenderFirstFrame", [](P& p) { p.OnRenderFirstFrame({}, 1, 2); }, 1},
      {"OnClassicRenderFreeze", [](P& p) { p.OnClassicRenderFreeze(1); }, 0},
      {"OnFeelingRenderFreeze", [](P& p) { p.OnFeelingRenderFreeze(1); }, 0},
      {"OnRenderError", [](P& p) { p.OnRenderError({}); }, 1},
      {"OnEncoderNeededFormatChanged",
       [](P& p) { p.OnEncoderNeededFormatChanged(kBig, kI420, kMemory); }, 1},
      {"OnEncoderPropertyChanged", [](P& p) { p.OnEncoderPropertyChanged(kBig, {}, {}); }, 1},
      {"OnEncodeAbilityChanged", [](P& p) { p.OnEncodeAbilityChanged(kBig, {}); }, 1},
      {"OnEncoderError", [](P& p) { p.OnEncoderError(kBig, {}, {}); }, 1},
      {"OnScreenSharingError", [](P& p) { p.OnScreenSharingError(1, {}); }, 1},
      {"OnScreenSharingStarted", [](P& p) { p.OnScreenSharingStarted(1); }, 1},
      {"OnScreenSharingStopped", [](P& p) { p.OnScreenSharingStopped(1, {}); }, 1},
      {"OnScreenSharingPaused", [](P& p) { p.OnScreenSharingPaused(1, {}); }, 1},
      {"OnScreenSharingResumed", [](P& p) { p.OnScreenSharingResumed(1, {}); }, 1},
      {"OnScreenSharingFirstFrame", [](P& p) { p.OnScreenSharingFirstFrame(1, 2); }, 1},
      {"OnWindowCovered", [](P& p) { p.OnWindowCovered(1); }, 1},
      {"OnScreenSharingWindowSizeChanged", [](P& p) { p.OnScreenSharingWindowSizeChanged(1, {}); },
       0},
      {"OnCapturerModeChange", [](P& p) { p.OnCapturerModeChange(1, {}, {}); }, 1},
  };
}

class QueueCheck : public ::testing::TestWithParam<Operation> {
 protected:
  // What the operation does in a world of its own, in which the main queue answers so.
  [[nodiscard]] static std::vector<std::string> EntriesWhereTheQueueIsCurrent(bool is_current) {
    testing::Environment env;
    env.main_queue().set_current(is_current);
    const auto client = env.Make<testing::ClientDouble>("client");
    const auto producer = std::make_shared<VideoProducer2Impl>(
        VideoContext(InstanceTrace(7), "[call]"), client, kBig);
    if (GetParam().while_capturing) producer->StartCapture(Camera("cam-1"), {});
    env.journal().Clear();
    GetParam().call(*producer);
    return env.journal().Take();
  }
};

std::string NameOf(const ::testing::TestParamInfo<Operation>& operation) {
  return operation.param.name;
}
INSTANTIATE_TEST_SUITE_P(Of, QueueCheck, ValuesIn(Operations()), NameOf);
INSTANTIATE_TEST_SUITE_P(OfEvent, QueueCheck, ValuesIn(Events()), NameOf);

TEST_P(QueueCheck, ComesFirstAndAsOftenAsOperationsAreNested) {
  const auto entries = EntriesWhereTheQueueIsCurrent(true);
  EXPECT_EQ(std::count(entries.begin(), entries.end(), kQueueCheck), GetParam().checks);
  if (GetParam().checks > 0) {
    EXPECT_EQ(entries.front(), kQueueCheck);
  }
}

TEST_P(QueueCheck, ChangesNothingByItsAnswer) {
  EXPECT_EQ(EntriesWhereTheQueueIsCurrent(false), EntriesWhereTheQueueIsCurrent(true));
}

}  // namespace
}  // namespace movra::video
