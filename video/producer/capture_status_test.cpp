// The state of the capture: stopping, pausing, resuming, and what may be asked of it.

#include <cstdint>
#include <memory>
#include <sstream>
#include <string>

#include "base/once_callback.h"
#include "logging/log_filter.h"
#include "logging/log_sink.h"
#include "video/producer/capture_test_fixture.h"

namespace movra::video {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Values;
using CaptureStatus = VideoProducer2Impl::CaptureStatus;

constexpr char kQueueCheck[] = "main_queue.IsCurrent()";

class CaptureStatusTest : public CaptureTest {
 protected:
  [[nodiscard]] movra_base::OnceCallback<void()> OnStopped() {
    return env().Callback<void()>("on_stopped");
  }
};
class StopCapture : public CaptureStatusTest {};
class PauseCapture : public CaptureStatusTest {};
class ResumeCapture : public CaptureStatusTest {};
class SetProducerMode : public CaptureStatusTest {};
class SetCameraFocusPosition : public CaptureStatusTest {};

TEST_F(StopCapture, WhileStoppedLogsAlreadyStopAndDropsTheCallback) {
  const auto producer = MakeProducer();
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] { producer->StopCapture(OnStopped()); }),
              ElementsAre(kQueueCheck, Info("Stop capture with source type:kNone"),
                          Info("Already stop."), "~on_stopped"));
  EXPECT_THAT(OriginsOfLogLines(), ElementsAre(OriginIn("StopCapture"), OriginIn("StopCapture")));
}

TEST_F(StopCapture, OfACameraTearsEverythingDownInOrder) {
  const auto producer = MakeCapturingProducer();
  static_cast<void>(OriginsOfLogLines());
  journal().LeaveOut(0);
  EXPECT_THAT(
      EntriesOf([&] { producer->StopCapture(OnStopped()); }),
      ElementsAre(kQueueCheck, Info("Stop capture with source type:kCamera"), kQueueCheck,
                  kQueueCheck, "camera_service.GetSelf()", "CameraOutputTrack.GetWriter()",
                  "camera_service.StopCapture({cam-1 0x0}, CameraOutputTrack.writer, callback)",
                  kQueueCheck, kUnsubscribeDeviceState, kUnsubscribeAutoFocus, kQueueCheck,
                  "CameraOutputTrack.GetWriter()",
                  "screen_sharing.RemoveOutputWriter(CameraOutputTrack.writer)",
                  "screen_sharing.Stop()",                  //
                  kQueueCheck, "camera_service.GetSelf()",  // The virtual camera.
                  "CameraOutputTrack.Reset()", "~CameraOutputTrack.writer",
                  "~CameraOutputTrack.reader", "~CameraOutputTrack",
                  "preprocessor.StopProcessing()"));
  EXPECT_THAT(OriginsOfLogLines(), ElementsAre(OriginIn("StopCapture")));
  EXPECT_FALSE(producer->IsCapturing());
  EXPECT_EQ(producer->GetCurrentSourceType(), VideoSourceType::kNone);
  EXPECT_EQ(CountDeviceObservers() + CountFocusObservers(), 0u);
}

TEST_F(StopCapture, LeavesTheCallbackToTheCameraService) {
  const auto producer = MakeCapturingProducer();
  producer->StopCapture(OnStopped());
  EXPECT_THAT(EntriesOf([&] { camera_service().AnswerStop(); }),
              ElementsAre("on_stopped()", "~on_stopped"));
}

TEST_F(StopCapture, TellsTheCameraBeforeAnythingIsTakenBack) {
  const auto producer = MakeCapturingProducer();
  camera_service().stop_policy = testing::CameraServiceDouble::CallbackPolicy::kRun;
  int runs = 0;
  producer->StopCapture(movra_base::BindOnce([&] {
    ++runs;
    EXPECT_TRUE(producer->IsCapturing());
    EXPECT_EQ(producer->GetCurrentSourceType(), VideoSourceType::kCamera);
    EXPECT_EQ(CountDeviceObservers(), 1u);
    EXPECT_EQ(CountFocusObservers(), 1u);
  }));
  EXPECT_EQ(runs, 1);
}

TEST_F(StopCapture, IsStoppedOnceTheTrackIsGoneAndBeforeThePreprocessorStops) {
  const auto producer = MakeCapturingProducer();
  int runs = 0;
  AtEntry("~CameraOutputTrack", [&] {
    ++runs;
    EXPECT_TRUE(producer->IsCapturing());
    EXPECT_EQ(producer->GetCurrentSourceType(), VideoSourceType::kCamera);
    AtEntry("preprocessor.StopProcessing()", [&] {
      ++runs;
      EXPECT_FALSE(producer->IsCapturing());
      EXPECT_EQ(producer->GetCurrentSourceType(), VideoSourceType::kNone);
    });
  });
  producer->StopCapture({});
  EXPECT_EQ(runs, 2);
}

TEST_F(StopCapture, WhilePausedTearsDownToo) {
  const auto producer = MakeCapturingProducer();
  producer->PauseCapture();
  EXPECT_THAT(
      EntriesOf([&] { producer->StopCapture(OnStopped()); }),
      ElementsAre(Info("Stop capture with source type:kCamera"), "camera_service.GetSelf()",
                  "camera_service.StopCapture({cam-1 0x0}, CameraOutputTrack.writer, callback)",
                  "screen_sharing.RemoveOutputWriter(CameraOutputTrack.writer)",
                  "screen_sharing.Stop()", "camera_service.GetSelf()", "CameraOutputTrack.Reset()",
                  "~CameraOutputTrack", "preprocessor.StopProcessing()"));
  EXPECT_THAT(EntriesOf([&] { producer->StopCapture({}); }),
              ElementsAre(Info("Stop capture with source type:kNone"), Info("Already stop.")));
}

TEST_F(StopCapture, OfAScreenPassesItsCallbackToNobody) {
  const auto producer = MakeProducer();
  env().MakeCameraService();
  producer->StartCapture(Desktop());
  EXPECT_THAT(
      EntriesOf([&] { producer->StopCapture(OnStopped()); }),
      ElementsAre(Info("Stop capture with source type:kScreen"), "camera_service.GetSelf()",
                  "screen_sharing.RemoveOutputWriter(ScreenOutputTrack.writer)",
                  "screen_sharing.Stop()", "camera_service.GetSelf()", "ScreenOutputTrack.Reset()",
                  "~ScreenOutputTrack", "preprocessor.StopProcessing()", "~on_stopped"));
}

TEST_F(StopCapture, OfAVirtualCameraPassesItsCallbackToNobody) {
  const auto producer = MakeCapturingProducer(Camera("virtual:1"));
  EXPECT_THAT(
      EntriesOf([&] { producer->StopCapture(OnStopped()); }),
      ElementsAre(Info("Stop capture with source type:kVirtualCamera"), "camera_service.GetSelf()",
                  "screen_sharing.RemoveOutputWriter(VirtualCaptureOutputTrack.writer)",
                  "screen_sharing.Stop()", "camera_service.GetSelf()",
                  "camera_service.StopCapture({virtual:1}, VirtualCaptureOutputTrack.writer, null)",
                  "VirtualCaptureOutputTrack.Reset()", "~VirtualCaptureOutputTrack",
                  "preprocessor.StopProcessing()", "~on_stopped"));
}

TEST_F(StopCapture, OfCustomCaptureTellsNoCameraAndDropsTheCallback) {
  const auto producer = MakeProducer();
  env().MakeCameraService();
  producer->EnableCustomCapturing(true);
  EXPECT_THAT(EntriesOf([&] { producer->StopCapture(OnStopped()); }),
              ElementsAre(Info("Stop capture with source type:kCustom"), "camera_service.GetSelf()",
                          "screen_sharing.Stop()", "camera_service.GetSelf()",
                          "preprocessor.StopProcessing()", "~on_stopped"));
  EXPECT_FALSE(producer->IsCapturing());
  EXPECT_EQ(producer->GetCurrentSourceType(), VideoSourceType::kNone);
}

TEST_F(StopCapture, WithoutACameraServiceDoesTheRestAndDropsTheCallback) {
  const auto producer = MakeCapturingProducer();
  env().LoseCameraService();
  EXPECT_THAT(
      EntriesOf([&] { producer->StopCapture(OnStopped()); }),
      ElementsAre(Info("Stop capture with source type:kCamera"), "MakeService<ICameraService>()",
                  "screen_sharing.RemoveOutputWriter(CameraOutputTrack.writer)",
                  "screen_sharing.Stop()", "MakeService<ICameraService>()",
                  "CameraOutputTrack.Reset()", "~CameraOutputTrack",
                  "preprocessor.StopProcessing()", "~on_stopped"));
  EXPECT_EQ(CountDeviceObservers() + CountFocusObservers(), 0u);
}

TEST_F(StopCapture, WithoutATrackDoesTheRestAndDropsTheCallback) {
  world().answers.makes_track = false;
  const auto producer = MakeCapturingProducer();
  EXPECT_THAT(EntriesOf([&] { producer->StopCapture(OnStopped()); }),
              ElementsAre(Info("Stop capture with source type:kCamera"), "camera_service.GetSelf()",
                          "screen_sharing.Stop()", "camera_service.GetSelf()",
                          "preprocessor.StopProcessing()", "~on_stopped"));
  EXPECT_FALSE(producer->IsCapturing());
}

TEST_F(StopCapture, WithoutAScreenCapturerDoesTheRest) {
  world().answers.makes_screen_sharing = false;
  const auto producer = MakeCapturingProducer();
  journal().LeaveOut(testing::Journal::kTrackEnd | testing::Journal::kEnd);
  EXPECT_THAT(EntriesOf([&] { producer->StopCapture({}); }),
              ElementsAre(kQueueCheck, Info("Stop capture with source type:kCamera"), kQueueCheck,
                          kQueueCheck, "camera_service.GetSelf()",
                          "camera_service.StopCapture({cam-1 0x0}, CameraOutputTrack.writer, null)",
                          kQueueCheck, kUnsubscribeDeviceState, kUnsubscribeAutoFocus,
                          kQueueCheck,                              // The screen.
                          kQueueCheck, "camera_service.GetSelf()",  // The virtual camera.
                          "CameraOutputTrack.Reset()", "~CameraOutputTrack",
                          "preprocessor.StopProcessing()"));
}

TEST_F(StopCapture, ReleasesTheParametersOfBothCamerasBeforeTheTrack) {
  CameraParams camera = Camera();
  camera.cover_image = MakeMortalImage("cover");
  CameraParams virtual_camera = Camera("virtual:1");
  virtual_camera.cover_image = MakeMortalImage("virtual cover");
  env().LoseCameraService();  // It would keep the parameters of its captures.
  const auto producer = MakeCapturingProducer(camera);
  LeaveSourceBehind(*producer);
  producer->StartCapture(virtual_camera, {});
  camera.cover_image.reset();
  virtual_camera.cover_image.reset();
  EXPECT_THAT(
      EntriesOf([&] { producer->StopCapture({}); }),
      ElementsAre(Info("Stop capture with source type:kCamera"), "MakeService<ICameraService>()",
                  "screen_sharing.RemoveOutputWriter(CameraOutputTrack.writer)",
                  "screen_sharing.Stop()", "MakeService<ICameraService>()", "~cover",
                  "~virtual cover", "CameraOutputTrack.Reset()", "~CameraOutputTrack",
                  "preprocessor.StopProcessing()"));
}

TEST_F(StopCapture, ForgetsTheParametersOfEverySource) {
  const auto producer = MakeProducer();
  // One source after the other stays behind, the strongest last, so that all are stored.
  producer->StartCapture(Desktop());
  LeaveSourceBehind(*producer);
  producer->StartCapture(Mobile());
  LeaveSourceBehind(*producer);
  producer->StartCapture(Camera(), {});
  producer->StopCapture({});
  // The weakest source starts only where none of the others is stored.
  producer->StartCapture(Camera("virtual:1"), {});
  EXPECT_EQ(producer->GetCurrentSourceType(), VideoSourceType::kVirtualCamera);
}

TEST_F(StopCapture, AfterAResumeWithoutASourceTearsDownNothingThatIsThere) {
  const auto producer = MakeProducer();
  producer->ResumeCapture();
  EXPECT_THAT(
      EntriesOf([&] { producer->StopCapture({}); }),
      ElementsAre(Info("Stop capture with source type:kNone"), "MakeService<ICameraService>()",
                  "camera_service.Init()", "camera_service.GetSelf()", "screen_sharing.Stop()",
                  "camera_service.GetSelf()", "preprocessor.StopProcessing()"));
}

TEST_F(StopCapture, OfAnUnownedProducerFailsAtTheSubscriptions) {
  VideoProducer2Impl producer(Context(), client(), VideoStreamType::kBig);
  producer.StartCapture(Camera("virtual:1"), {});
  journal().LeaveOut(0);
  EXPECT_THAT(
      EntriesOf([&] { EXPECT_THROW(producer.StopCapture(OnStopped()), std::bad_weak_ptr); }),
      ElementsAre(kQueueCheck, Info("Stop capture with source type:kVirtualCamera"), kQueueCheck,
                  kQueueCheck, "camera_service.GetSelf()", kQueueCheck, "~on_stopped"));
  EXPECT_TRUE(producer.IsCapturing());
}

TEST_F(StopCapture, WhileStoppedNeedsNoOwner) {
  VideoProducer2Impl producer(Context(), client(), VideoStreamType::kBig);
  EXPECT_NO_THROW(producer.StopCapture({}));
}

TEST_F(PauseCapture, PausesTheScreenCapturer) {
  const auto producer = MakeProducer();
  producer->StartCapture(Desktop());
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] { producer->PauseCapture(); }),
              ElementsAre(kQueueCheck, "screen_sharing.Pause()"));
  EXPECT_FALSE(producer->IsCapturing());
  EXPECT_EQ(producer->GetCurrentSourceType(), VideoSourceType::kScreen);
}

TEST_F(PauseCapture, OfACameraPausesTheScreenCapturerAndLeavesTheCameraRunning) {
  const auto producer = MakeCapturingProducer();
  EXPECT_THAT(EntriesOf([&] { producer->PauseCapture(); }), ElementsAre("screen_sharing.Pause()"));
  EXPECT_FALSE(producer->IsCapturing());
  EXPECT_EQ(producer->GetCurrentSourceType(), VideoSourceType::kCamera);
  EXPECT_EQ(camera_service().captures().size(), 1u);
}

TEST_F(PauseCapture, IsPausedAfterTheScreenCapturerIs) {
  const auto producer = MakeCapturingProducer();
  int runs = 0;
  AtEntry("screen_sharing.Pause()", [&] {
    ++runs;
    EXPECT_TRUE(producer->IsCapturing());
  });
  producer->PauseCapture();
  EXPECT_EQ(runs, 1);
}

TEST_F(PauseCapture, WhileStoppedWarnsAndPausesAllTheSame) {
  const auto producer = MakeProducer();
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] { producer->PauseCapture(); }),
              ElementsAre(kQueueCheck, Warning("Invalid capture status:kStopped = 0"),
                          "screen_sharing.Pause()"));
  EXPECT_THAT(OriginsOfLogLines(), ElementsAre(OriginIn("PauseCapture")));
  EXPECT_FALSE(producer->IsCapturing());
  // It is paused now: a stop finds something to stop.
  EXPECT_THAT(EntriesOf([&] { producer->StopCapture({}); }), Contains("screen_sharing.Stop()"));
}

TEST_F(PauseCapture, TwiceWarnsAndPausesTwice) {
  const auto producer = MakeCapturingProducer();
  producer->PauseCapture();
  EXPECT_THAT(EntriesOf([&] { producer->PauseCapture(); }),
              ElementsAre(Warning("Invalid capture status:kPaused = 2"), "screen_sharing.Pause()"));
}

TEST_F(ResumeCapture, ResumesTheScreenCapturer) {
  const auto producer = MakeProducer();
  producer->StartCapture(Desktop());
  producer->PauseCapture();
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] { producer->ResumeCapture(); }),
              ElementsAre(kQueueCheck, "screen_sharing.Resume()"));
  EXPECT_TRUE(producer->IsCapturing());
}

TEST_F(ResumeCapture, IsStartedAfterTheScreenCapturerResumes) {
  const auto producer = MakeProducer();
  int runs = 0;
  AtEntry("screen_sharing.Resume()", [&] {
    ++runs;
    EXPECT_FALSE(producer->IsCapturing());
  });
  producer->ResumeCapture();
  EXPECT_EQ(runs, 1);
}

TEST_F(ResumeCapture, WhileStoppedWarnsAndStartsWithNoSourceRunning) {
  const auto producer = MakeProducer();
  EXPECT_THAT(
      EntriesOf([&] { producer->ResumeCapture(); }),
      ElementsAre(Warning("Invalid capture status:kStopped = 0"), "screen_sharing.Resume()"));
  EXPECT_THAT(OriginsOfLogLines(), ElementsAre(OriginIn("ResumeCapture")));
  EXPECT_TRUE(producer->IsCapturing());
  EXPECT_EQ(producer->GetCurrentSourceType(), VideoSourceType::kNone);
}

TEST_F(ResumeCapture, WhileStartedWarnsAndResumesAllTheSame) {
  const auto producer = MakeCapturingProducer();
  EXPECT_THAT(
      EntriesOf([&] { producer->ResumeCapture(); }),
      ElementsAre(Warning("Invalid capture status:kStarted = 1"), "screen_sharing.Resume()"));
  EXPECT_TRUE(producer->IsCapturing());
}

TEST_F(ResumeCapture, WithWarningsSwitchedOffResumesAllTheSame) {
  const auto producer = MakeProducer();
  movra_logging::SetMinLogLevel(2);
  EXPECT_THAT(EntriesOf([&] { producer->ResumeCapture(); }),
              ElementsAre("screen_sharing.Resume()"));
}

TEST_F(ResumeCapture, WarnsOnceOfOneStatusWhereRepeatedLinesAreFiltered) {
  const auto producer = MakeCapturingProducer();
  SetLogValueFiltering(true);
  producer->ResumeCapture();
  journal().Clear();
  EXPECT_THAT(EntriesOf([&] { producer->ResumeCapture(); }),
              ElementsAre("screen_sharing.Resume()"));
  producer->StopCapture({});
  EXPECT_THAT(EntriesOf([&] { producer->ResumeCapture(); }),
              Contains(Warning("Invalid capture status:kStopped = 0")));
}

TEST(CaptureStatusText, NamesTheStatusAndItsNumber) {
  const auto text_of = [](std::int32_t value) {
    std::ostringstream text;
    text << static_cast<CaptureStatus>(value);
    return text.str();
  };
  EXPECT_EQ(text_of(0), "kStopped = 0");
  EXPECT_EQ(text_of(1), "kStarted = 1");
  EXPECT_EQ(text_of(2), "kPaused = 2");
  EXPECT_EQ(text_of(3), "CaptureStatus::UN_DEF(3)");
  EXPECT_EQ(text_of(-1), "CaptureStatus::UN_DEF(-1)");
}

class EveryProducerMode : public SetProducerMode, public ::testing::WithParamInterface<int> {};
INSTANTIATE_TEST_SUITE_P(NamedOrNot, EveryProducerMode, Values(0, 1, 2, 3, 4, -1));

TEST_P(EveryProducerMode, GoesToThePreprocessor) {
  const auto producer = MakeProducer();
  const auto mode = static_cast<ProducerMode>(GetParam());
  journal().LeaveOut(0);
  EXPECT_THAT(
      EntriesOf([&] { producer->SetProducerMode(mode); }),
      ElementsAre(kQueueCheck, "preprocessor.SetProducerMode(" + testing::Describe(mode) + ")"));
}

TEST_F(SetProducerMode, CountsAfterTheCheckAndBeforeThePreprocessorIsTold) {
  const auto producer = MakeProducer();
  const auto entries_where_a_capture_starts_at = [&](const std::string& entry) {
    AtEntry(entry, [&] { producer->StartCapture(CameraOfSize(320, 240), {}); });
    return EntriesOf([&] { producer->SetProducerMode(ProducerMode::kOwnSize); });
  };
  EXPECT_THAT(entries_where_a_capture_starts_at(kQueueCheck),
              Contains("camera_service.StartCapture(1, {cam-1 0x0}, "
                       "CameraOutputTrack.writer, null)"));
  producer->StopCapture({});
  producer->SetProducerMode(ProducerMode::kDefault);
  EXPECT_THAT(entries_where_a_capture_starts_at("preprocessor.SetProducerMode(kOwnSize)"),
              Contains("camera_service.StartCapture(1, {cam-1 320x240}, "
                       "CameraOutputTrack#2.writer, null)"));
}

TEST_F(SetProducerMode, LeavesARunningCameraAsItIsUntilTheNextStart) {
  const auto producer = MakeProducer();
  SetBigEncodeSize(*producer, 720, 1280);
  producer->StartCapture(CameraOfSize(320, 240), {});
  EXPECT_THAT(EntriesOf([&] { producer->SetProducerMode(ProducerMode::kOwnSize); }),
              ElementsAre("preprocessor.SetProducerMode(kOwnSize)"));
  EXPECT_FALSE(camera_service().updated_params().has_value());
  producer->StopCapture({});
  EXPECT_THAT(EntriesOf([&] { producer->StartCapture(CameraOfSize(320, 240), {}); }),
              Contains("camera_service.StartCapture(1, {cam-1 320x240}, "
                       "CameraOutputTrack#2.writer, null)"));
}

TEST_F(SetCameraFocusPosition, WithoutAPreviewDoesNothing) {
  const auto producer = MakeProducer();
  producer->EnableCustomRendering(true, PixelFormat::kI420, BufferType::kMemory, nullptr);
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] { producer->SetCameraFocusPosition(0.25f, 0.75f); }),
              ElementsAre(kQueueCheck));
}

TEST_F(SetCameraFocusPosition, GoesToThePreview) {
  const auto producer = MakeProducer();
  producer->SetRenderView(testing::MakeView("view"));
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] { producer->SetCameraFocusPosition(0.25f, 0.75f); }),
              ElementsAre(kQueueCheck, "renderer.SetCameraFocusPosition(0.25, 0.75)"));
  producer->SetRenderView(nullptr);
  EXPECT_THAT(EntriesOf([&] { producer->SetCameraFocusPosition(0.25f, 0.75f); }),
              ElementsAre(kQueueCheck));
}

}  // namespace
}  // namespace movra::video
