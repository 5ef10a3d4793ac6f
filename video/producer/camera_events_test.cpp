// What the producer makes of the notifications of cameras: restarts, and the preview's focus.

#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <thread>

#include "core/notification_center.h"
#include "video/producer/capture_test_fixture.h"

namespace movra::video {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::Values;

constexpr char kQueueCheck[] = "main_queue.IsCurrent()";
constexpr core::NotificationId kDeviceState{3};
constexpr core::NotificationId kAutoFocus{44};
constexpr auto kAdded = static_cast<CameraDeviceState>(3);
constexpr auto kRemoved = static_cast<CameraDeviceState>(4);

class CameraEvents : public CaptureTest {
 protected:
  [[nodiscard]] static VideoDeviceInfo Device(const std::string& id) {
    VideoDeviceInfo device;
    device.device_id = id;
    return device;
  }
  // The cameras that are there from now on.
  template <class... Ids>
  void SetCameras(const Ids&... ids) {
    world().answers.cameras = {Device(ids)...};
  }

  static void Publish(CameraDeviceState state, const std::string& id) {
    core::NotificationCenter::GetInstance()
        .Publish<const CameraDeviceState&, const VideoDeviceInfo&>(kDeviceState, "", state,
                                                                   Device(id));
  }
  static void PublishAutoFocus(const std::string& id, bool enabled) {
    core::NotificationCenter::GetInstance().Publish<const std::string&, bool>(kAutoFocus, "", id,
                                                                              enabled);
  }

  // What the notification makes the producer do.
  [[nodiscard]] auto EntriesOfState(CameraDeviceState state, const std::string& id) {
    return EntriesOf([&] { Publish(state, id); });
  }
};

class CameraSubscription : public CameraEvents {};
class CameraRemoval : public CameraEvents {};
class CameraAddition : public CameraEvents {};
class CameraRestart : public CameraEvents {
 protected:
  // A producer whose camera was lost to "cam-2"; the restart's callback waits at the service.
  [[nodiscard]] std::shared_ptr<VideoProducer2Impl> MakeRestartedProducer() {
    auto producer = MakeCapturingProducer();
    SetCameras("cam-2");
    Publish(kRemoved, "cam-1");
    return producer;
  }
};
class AutoFocus : public CameraEvents {};

TEST_F(CameraSubscription, NamesTheProducerAndTheFixedPlaces) {
  const auto producer = MakeCapturingProducer();
  auto& center = core::NotificationCenter::GetInstance();
  const auto devices = center.Observers(kDeviceState, "");
  const auto focus = center.Observers(kAutoFocus, "");
  ASSERT_EQ(devices.size(), 1u);
  ASSERT_EQ(focus.size(), 1u);
  EXPECT_EQ(devices.front().subscriber.lock(), producer);
  EXPECT_EQ(focus.front().subscriber.lock(), producer);
  constexpr std::string_view kFile = "../../video/producer/video_producer2_impl";
  EXPECT_EQ(devices.front().location.file(), kFile);
  EXPECT_EQ(devices.front().location.line(), 352);
  EXPECT_EQ(focus.front().location.file(), kFile);
  EXPECT_EQ(focus.front().location.line(), 354);
}

TEST_F(CameraSubscription, IsMadeForNoOtherSource) {
  const auto producer = MakeProducer();
  producer->StartCapture(Desktop());
  producer->StopCapture({});
  producer->StartCapture(Camera("virtual:1"), {});
  EXPECT_EQ(CountDeviceObservers() + CountFocusObservers(), 0u);
}

TEST_F(CameraSubscription, IsMadeOnceWhereAnotherStayedBehind) {
  const auto producer = MakeCapturingProducer();
  LeaveSourceBehind(*producer);
  producer->StartCapture(Camera(), {});
  EXPECT_EQ(CountDeviceObservers(), 1u);
  EXPECT_EQ(CountFocusObservers(), 1u);
}

TEST_F(CameraSubscription, EndsForTheProducerThatStopsAlone) {
  const auto first = MakeCapturingProducer();
  const auto second = MakeCapturingProducer();
  first->StopCapture({});
  const auto left = core::NotificationCenter::GetInstance().Observers(kDeviceState, "");
  ASSERT_EQ(left.size(), 1u);
  EXPECT_EQ(left.front().subscriber.lock(), second);
  EXPECT_EQ(CountFocusObservers(), 1u);
}

TEST_F(CameraSubscription, DoesNotKeepTheProducerAlive) {
  auto producer = MakeCapturingProducer();
  SetCameras("cam-2");
  EXPECT_THAT(EntriesOf([&] { producer.reset(); }), Contains("~preprocessor"));
  EXPECT_THAT(EntriesOfState(kRemoved, "cam-1"), IsEmpty());
  EXPECT_THAT(EntriesOf([&] { PublishAutoFocus("cam-1", true); }), IsEmpty());
}

TEST_F(CameraRemoval, OfTheCameraInUseRestartsOnTheFirstOfThoseLeft) {
  const auto producer = MakeCapturingProducer(CameraOfSize(640, 360));
  SetCameras("cam-3", "cam-2");
  journal().LeaveOut(0);
  // The old camera is stopped under the new one's id.
  EXPECT_THAT(
      EntriesOfState(kRemoved, "cam-1"),
      ElementsAre(kQueueCheck, "camera_service.GetSelf()", "ICameraService.GetCameraDeviceList(0)",
                  kQueueCheck, "camera_service.GetSelf()", "CameraOutputTrack.GetWriter()",
                  "camera_service.StopCapture({cam-3 0x0}, CameraOutputTrack.writer, null)",
                  kQueueCheck, kUnsubscribeDeviceState, kUnsubscribeAutoFocus, kQueueCheck,
                  "camera_service.GetSelf()", "CameraOutputTrack.GetWriter()",
                  "camera_service.StartCapture(1, {cam-3 0x0}, CameraOutputTrack.writer, "
                  "callback)"));
  EXPECT_TRUE(producer->IsCapturing());
  EXPECT_EQ(producer->GetCurrentSourceType(), VideoSourceType::kCamera);
}

TEST_F(CameraRemoval, RestartsWithTheSizeAndTheRateThatWereAsked) {
  const auto producer = MakeProducer();
  SetBigEncodeSize(*producer, 1280, 720);
  CameraParams params = Camera();
  params.frame_rate = 24;
  producer->StartCapture(params, {});
  SetCameras("cam-2");
  Publish(kRemoved, "cam-1");
  EXPECT_EQ(testing::Describe(camera_service().captures().back().params), "{cam-2 1280x720@24}");
}

TEST_F(CameraRemoval, WithNoCameraLeftChangesNothing) {
  const auto producer = MakeCapturingProducer();
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOfState(kRemoved, "cam-1"),
              ElementsAre(kQueueCheck, "camera_service.GetSelf()",
                          "ICameraService.GetCameraDeviceList(0)"));
  EXPECT_TRUE(producer->IsCapturing());
  EXPECT_EQ(CountDeviceObservers(), 1u);
}

class OtherCamera : public CameraRemoval, public ::testing::WithParamInterface<std::string> {};
INSTANTIATE_TEST_SUITE_P(AlmostTheSame, OtherCamera,
                         Values("", "cam", "cam-10", "Cam-1", "cam-1 ", std::string("cam-1\0", 6),
                                "cam-2"));

TEST_P(OtherCamera, RemovedChangesNothing) {
  const auto producer = MakeCapturingProducer();
  SetCameras("cam-1", "cam-2");
  EXPECT_THAT(EntriesOfState(kRemoved, GetParam()),
              ElementsAre("camera_service.GetSelf()", "ICameraService.GetCameraDeviceList(0)"));
}

TEST_F(CameraAddition, OfTheOnlyCameraRestartsWithTheIdUnchanged) {
  const auto producer = MakeCapturingProducer();
  SetCameras("cam-2");
  journal().LeaveOut(0);
  EXPECT_THAT(
      EntriesOfState(kAdded, "cam-2"),
      ElementsAre(kQueueCheck, "camera_service.GetSelf()", "ICameraService.GetCameraDeviceList(0)",
                  kQueueCheck, "camera_service.GetSelf()", "CameraOutputTrack.GetWriter()",
                  "camera_service.StopCapture({cam-1 0x0}, CameraOutputTrack.writer, null)",
                  kQueueCheck, kUnsubscribeDeviceState, kUnsubscribeAutoFocus, kQueueCheck,
                  "camera_service.GetSelf()", "CameraOutputTrack.GetWriter()",
                  "camera_service.StartCapture(1, {cam-1 0x0}, CameraOutputTrack.writer, "
                  "callback)"));
}

TEST_F(CameraAddition, NextToAnotherCameraChangesNothing) {
  const auto producer = MakeCapturingProducer();
  SetCameras("cam-1", "cam-2");
  EXPECT_THAT(EntriesOfState(kAdded, "cam-2"),
              ElementsAre("camera_service.GetSelf()", "ICameraService.GetCameraDeviceList(0)"));
}

TEST_F(CameraAddition, ThatTheListDoesNotShowChangesNothing) {
  const auto producer = MakeCapturingProducer();
  EXPECT_THAT(EntriesOfState(kAdded, "cam-1"),
              ElementsAre("camera_service.GetSelf()", "ICameraService.GetCameraDeviceList(0)"));
}

class OtherDeviceState : public CameraEvents, public ::testing::WithParamInterface<std::int32_t> {};
INSTANTIATE_TEST_SUITE_P(NeitherAddedNorRemoved, OtherDeviceState,
                         Values(-1, 0, 1, 2, 5, std::numeric_limits<std::int32_t>::max()));

TEST_P(OtherDeviceState, ChangesNothing) {
  const auto producer = MakeCapturingProducer();
  SetCameras("cam-1");
  EXPECT_THAT(EntriesOfState(static_cast<CameraDeviceState>(GetParam()), "cam-1"),
              ElementsAre("camera_service.GetSelf()", "ICameraService.GetCameraDeviceList(0)"));
}

TEST_F(CameraEvents, WithoutACameraServiceAskForNoDevices) {
  const auto producer = MakeCapturingProducer();
  SetCameras("cam-2");
  env().LoseCameraService();
  EXPECT_THAT(EntriesOfState(kRemoved, "cam-1"), ElementsAre("MakeService<ICameraService>()"));
  EXPECT_THAT(EntriesOfState(kAdded, "cam-2"), ElementsAre("MakeService<ICameraService>()"));
}

TEST_F(CameraEvents, WhileAnotherSourceIsCurrentAskForNoDevices) {
  const auto producer = MakeCapturingProducer();
  SetCameras("cam-2");
  LeaveSourceBehind(*producer);
  EXPECT_THAT(EntriesOfState(kRemoved, "cam-1"), ElementsAre("camera_service.GetSelf()"));
  EXPECT_THAT(EntriesOfState(kAdded, "cam-2"), ElementsAre("camera_service.GetSelf()"));
}

TEST_F(CameraEvents, WhilePausedRestartAndStayPaused) {
  const auto producer = MakeCapturingProducer();
  producer->PauseCapture();
  SetCameras("cam-2");
  EXPECT_THAT(EntriesOfState(kRemoved, "cam-1"),
              Contains("camera_service.StartCapture(1, {cam-2 0x0}, CameraOutputTrack.writer, "
                       "callback)"));
  EXPECT_FALSE(producer->IsCapturing());
  EXPECT_EQ(producer->GetCurrentSourceType(), VideoSourceType::kCamera);
}

TEST_F(CameraEvents, TellTheClientNothing) {
  const auto producer = MakeCapturingProducer();
  SetCameras("cam-2");
  EXPECT_THAT(EntriesOf([&] {
                Publish(kRemoved, "cam-1");
                camera_service().AnswerStart(-1, 2);
              }),
              Not(Contains(::testing::StartsWith("client."))));
}

TEST_F(CameraRestart, HearsNoFurtherEventUntilTheNextStart) {
  const auto producer = MakeRestartedProducer();
  EXPECT_EQ(CountDeviceObservers() + CountFocusObservers(), 0u);
  SetCameras("cam-3");
  EXPECT_THAT(EntriesOfState(kRemoved, "cam-2"), IsEmpty());

  producer->StopCapture({});
  producer->StartCapture(Camera("cam-2"), {});
  EXPECT_THAT(EntriesOfState(kRemoved, "cam-2"),
              Contains("camera_service.StartCapture(1, {cam-3 0x0}, CameraOutputTrack#2.writer, "
                       "callback)"));
}

TEST_F(CameraRestart, IsStoppedUnderTheNewId) {
  const auto producer = MakeRestartedProducer();
  EXPECT_THAT(EntriesOf([&] { producer->StopCapture({}); }),
              Contains("camera_service.StopCapture({cam-2 0x0}, CameraOutputTrack.writer, null)"));
}

TEST_F(CameraRestart, WritesItsResultIntoTheLog) {
  const auto producer = MakeRestartedProducer();
  static_cast<void>(OriginsOfLogLines());
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] { camera_service().AnswerStart(-3, 120); }),
              ElementsAre(Info("Error code:-3, elapse time:120")));
  EXPECT_THAT(OriginsOfLogLines(), ElementsAre(OriginIn("OnCaptureStarted")));
  EXPECT_TRUE(producer->IsCapturing());
}

TEST_F(CameraRestart, MayAnswerOnAnyThread) {
  const auto producer = MakeRestartedProducer();
  EXPECT_THAT(EntriesOf([&] { std::thread([&] { camera_service().AnswerStart(0, 1); }).join(); }),
              ElementsAre(Info("Error code:0, elapse time:1")));
}

TEST_F(CameraRestart, KeepsTheProducerAliveUntilTheAnswer) {
  auto producer = MakeRestartedProducer();
  EXPECT_THAT(EntriesOf([&] { producer.reset(); }), IsEmpty());
  EXPECT_THAT(EntriesOf([&] { camera_service().AnswerStart(0, 1); }),
              ElementsAre(Info("Error code:0, elapse time:1"), "~preprocessor",
                          "~CameraOutputTrack", "~screen_sharing"));
}

TEST_F(CameraRestart, ReleasesTheProducerWhenTheCallbackIsDropped) {
  auto producer = MakeRestartedProducer();
  producer.reset();
  EXPECT_THAT(EntriesOf([&] { camera_service().DropCallbacks(); }),
              ElementsAre("~preprocessor", "~CameraOutputTrack", "~screen_sharing"));
}

TEST_F(CameraRestart, WithoutATrackMakesOne) {
  world().answers.makes_track = false;
  const auto producer = MakeCapturingProducer();
  world().answers.makes_track = true;
  SetCameras("cam-1");
  EXPECT_THAT(
      EntriesOfState(kAdded, "cam-1"),
      ElementsAre("camera_service.GetSelf()", "ICameraService.GetCameraDeviceList(0)",
                  "camera_service.GetSelf()", "IPixelFrameTrack.Create(CameraOutputTrack, 1)",
                  "camera_service.GetSelf()",
                  "camera_service.StartCapture(1, {cam-1 0x0}, CameraOutputTrack.writer, "
                  "callback)"));
}

TEST_F(AutoFocus, TurnsTheManualFocusOfThePreviewOffAndOn) {
  const auto producer = MakeCapturingProducer();
  producer->SetRenderView(testing::MakeView("view"));
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] { PublishAutoFocus("cam-1", true); }),
              ElementsAre("renderer.EnableManualFocus(false)"));
  EXPECT_THAT(EntriesOf([&] { PublishAutoFocus("cam-1", false); }),
              ElementsAre("renderer.EnableManualFocus(true)"));
}

TEST_F(AutoFocus, OfAnyCameraCounts) {
  const auto producer = MakeCapturingProducer();
  producer->SetRenderView(testing::MakeView("view"));
  for (const char* const id : {"", "cam-2"}) {
    EXPECT_THAT(EntriesOf([&] { PublishAutoFocus(id, true); }),
                ElementsAre("renderer.EnableManualFocus(false)"));
  }
}

TEST_F(AutoFocus, WithoutAPreviewDoesNothing) {
  const auto producer = MakeCapturingProducer();
  producer->EnableCustomRendering(true, PixelFormat::kI420, BufferType::kMemory, nullptr);
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] { PublishAutoFocus("cam-1", true); }), IsEmpty());
}

TEST_F(AutoFocus, AfterAStopIsNotHeard) {
  const auto producer = MakeCapturingProducer();
  producer->SetRenderView(testing::MakeView("view"));
  producer->StopCapture({});
  EXPECT_THAT(EntriesOf([&] { PublishAutoFocus("cam-1", true); }), IsEmpty());
}

}  // namespace
}  // namespace movra::video
