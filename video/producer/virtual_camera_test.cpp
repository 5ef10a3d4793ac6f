// The virtual camera, and the cover image that is shown instead of camera pictures.

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "video/producer/capture_test_fixture.h"

namespace movra::video {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Not;
using ::testing::StartsWith;

class VirtualCamera : public CaptureTest {
 protected:
  [[nodiscard]] static CameraParams Virtual() { return Camera("virtual:1"); }
};

TEST_F(VirtualCamera, ClearsTheCoverThenStartsIntoATrackOfItsOwn) {
  const auto producer = MakeProducer();
  journal().LeaveOut(0);
  EXPECT_THAT(
      EntriesOf(
          [&] { producer->StartCapture(Virtual(), env().Callback<void(int, int)>("on_started")); }),
      ElementsAre("main_queue.IsCurrent()",
                  Info("Start camera capture with params:"
                       "CameraParams{camera_id:virtual:1 cover_image:false}"),
                  "IsVirtualCameraId(virtual:1)", "main_queue.IsCurrent()",
                  "preprocessor.SetCoverImageParams(null)",
                  "IPixelFrameTrack.Create(VirtualCaptureOutputTrack, 1)",
                  "MakeService<ICameraService>()", "camera_service.Init()",
                  "camera_service.GetSelf()", "VirtualCaptureOutputTrack.GetWriter()",
                  "camera_service.StartCapture(1, {virtual:1}, VirtualCaptureOutputTrack.writer, "
                  "callback)",
                  "preprocessor.StartProcessing()", "VirtualCaptureOutputTrack.GetReader()",
                  "preprocessor.SetInputTrackReader(VirtualCaptureOutputTrack.reader)",
                  "preprocessor.SetSourceType(kVirtualCamera)",
                  "preprocessor.SetFrameAdaptiveMode(kCrop)"));
  EXPECT_TRUE(producer->IsCapturing());
  EXPECT_EQ(producer->GetCurrentSourceType(), VideoSourceType::kVirtualCamera);
}

TEST_F(VirtualCamera, SubscribesToNoDeviceEvents) {
  const auto producer = MakeCapturingProducer(Virtual());
  EXPECT_EQ(CountDeviceObservers(), 0u);
  EXPECT_EQ(CountFocusObservers(), 0u);
}

TEST_F(VirtualCamera, GetsItsParametersAsTheyAreGiven) {
  const auto producer = MakeProducer();
  SetBigEncodeSize(*producer, 1280, 720);
  CameraParams params = Virtual();
  params.width = 100;
  params.height = 200;
  params.frame_rate = 5;
  params.cover_image = testing::MakeImage("holiday");
  producer->StartCapture(params, {});
  EXPECT_EQ(testing::Describe(camera_service().captures().back().params),
            "{virtual:1 100x200@5 cover=holiday}");
}

TEST_F(VirtualCamera, HandsItsCallbackToTheServiceWhichRunsItOnce) {
  const auto producer = MakeProducer();
  EXPECT_EQ(EntriesOf([&] {
              producer->StartCapture(Virtual(), env().Callback<void(int, int)>("on_started"));
            }).back(),
            "preprocessor.SetFrameAdaptiveMode(kCrop)");
  EXPECT_THAT(EntriesOf([&] { camera_service().AnswerStart(-3, 120); }),
              ElementsAre("on_started(-3, 120)", "~on_started"));
  EXPECT_EQ(camera_service().waiting_starts(), 0u);
}

TEST_F(VirtualCamera, ReusesATrackThatWasLeftBehind) {
  const auto producer = MakeCapturingProducer(Virtual());
  LeaveSourceBehind(*producer);
  const auto entries = EntriesOf([&] { producer->StartCapture(Camera("virtual:2"), {}); });
  EXPECT_THAT(entries, Contains("camera_service.StartCapture(1, {virtual:2}, "
                                "VirtualCaptureOutputTrack.writer, null)"));
  EXPECT_EQ(world().tracks.count(), 1u);
}

TEST_F(VirtualCamera, CountsAsStartedWithoutACameraServiceAndDropsTheCallback) {
  env().LoseCameraService();
  const auto producer = MakeProducer();
  journal().Clear();
  producer->StartCapture(Virtual(), env().Callback<void(int, int)>("on_started"));
  EXPECT_THAT(journal().Take(),
              ElementsAre(Info("Start camera capture with params:"
                               "CameraParams{camera_id:virtual:1 cover_image:false}"),
                          "IsVirtualCameraId(virtual:1)", "preprocessor.SetCoverImageParams(null)",
                          "IPixelFrameTrack.Create(VirtualCaptureOutputTrack, 1)",
                          "MakeService<ICameraService>()", "preprocessor.StartProcessing()",
                          "preprocessor.SetInputTrackReader(VirtualCaptureOutputTrack.reader)",
                          "preprocessor.SetSourceType(kVirtualCamera)",
                          "preprocessor.SetFrameAdaptiveMode(kCrop)", "~on_started"));
  EXPECT_TRUE(producer->IsCapturing());
}

TEST_F(VirtualCamera, IsNotAskedForWithoutATrackAndDropsTheCallback) {
  world().answers.makes_track = false;
  env().MakeCameraService();
  const auto producer = MakeProducer();
  journal().Clear();
  producer->StartCapture(Virtual(), env().Callback<void(int, int)>("on_started"));
  EXPECT_THAT(journal().Take(),
              ElementsAre(Info("Start camera capture with params:"
                               "CameraParams{camera_id:virtual:1 cover_image:false}"),
                          "IsVirtualCameraId(virtual:1)", "preprocessor.SetCoverImageParams(null)",
                          "IPixelFrameTrack.Create(VirtualCaptureOutputTrack, 1)",
                          "camera_service.GetSelf()", "preprocessor.StartProcessing()",
                          "preprocessor.SetSourceType(kVirtualCamera)",
                          "preprocessor.SetFrameAdaptiveMode(kCrop)", "~on_started"));
  EXPECT_THAT(EntriesOf([&] { producer->StopCapture({}); }),
              ElementsAre(Info("Stop capture with source type:kVirtualCamera"),
                          "camera_service.GetSelf()", "screen_sharing.Stop()",
                          "camera_service.GetSelf()", "preprocessor.StopProcessing()"));
}

TEST_F(VirtualCamera, StartsWithoutAnOwnerButCannotStopWithoutOne) {
  VideoProducer2Impl producer(Context(), client(), VideoStreamType::kBig);
  EXPECT_NO_THROW(producer.StartCapture(Virtual(), {}));
  EXPECT_THAT(EntriesOf([&] { EXPECT_THROW(producer.StopCapture({}), std::bad_weak_ptr); }),
              ElementsAre(Info("Stop capture with source type:kVirtualCamera"),
                          "camera_service.GetSelf()"));
  EXPECT_TRUE(producer.IsCapturing());
}

TEST_F(VirtualCamera, ChecksTheMainQueueTwiceAtItsStartAndSixTimesAtItsStop) {
  const auto producer = MakeProducer();
  env().main_queue().set_current(false);
  EXPECT_EQ(QueueChecksOf([&] { producer->StartCapture(Virtual(), {}); }), 2u);
  EXPECT_EQ(camera_service().captures().size(), 1u);
  EXPECT_EQ(QueueChecksOf([&] { producer->StopCapture({}); }), 6u);
  EXPECT_EQ(camera_service().captures().size(), 0u);
}

// Stopping.

TEST_F(VirtualCamera, IsStoppedAfterTheOthersWithoutTheCallback) {
  const auto producer = MakeCapturingProducer(Virtual());
  journal().LeaveOut(0);
  EXPECT_THAT(
      EntriesOf([&] { producer->StopCapture(env().Callback<void()>("on_stopped")); }),
      ElementsAre("main_queue.IsCurrent()", Info("Stop capture with source type:kVirtualCamera"),
                  "main_queue.IsCurrent()", "main_queue.IsCurrent()", "camera_service.GetSelf()",
                  "main_queue.IsCurrent()", kUnsubscribeDeviceState, kUnsubscribeAutoFocus,
                  "main_queue.IsCurrent()", "VirtualCaptureOutputTrack.GetWriter()",
                  "screen_sharing.RemoveOutputWriter(VirtualCaptureOutputTrack.writer)",
                  "screen_sharing.Stop()", "main_queue.IsCurrent()", "camera_service.GetSelf()",
                  "VirtualCaptureOutputTrack.GetWriter()",
                  "camera_service.StopCapture({virtual:1}, "
                  "VirtualCaptureOutputTrack.writer, null)",
                  "VirtualCaptureOutputTrack.Reset()", "~VirtualCaptureOutputTrack.writer",
                  "~VirtualCaptureOutputTrack.reader", "~VirtualCaptureOutputTrack",
                  "preprocessor.StopProcessing()", "~on_stopped"));
  EXPECT_EQ(producer->GetCurrentSourceType(), VideoSourceType::kNone);
}

// What a stop finds stored it stops.
TEST_F(VirtualCamera, ThatIsRefusedStoresNoParameters) {
  const auto producer = MakeCapturingProducer();
  producer->StartCapture(Virtual(), {});
  EXPECT_THAT(EntriesOf([&] { producer->StopCapture({}); }),
              Contains(StartsWith("camera_service.StopCapture(")).Times(1));
}

TEST_F(VirtualCamera, IsStoppedWhilePausedToo) {
  const auto producer = MakeCapturingProducer(Virtual());
  producer->PauseCapture();
  EXPECT_THAT(EntriesOf([&] { producer->StopCapture({}); }),
              Contains("camera_service.StopCapture({virtual:1}, VirtualCaptureOutputTrack.writer, "
                       "null)"));
}

TEST_F(VirtualCamera, IsNotToldToStopWithoutACameraService) {
  const auto producer = MakeCapturingProducer(Virtual());
  env().LoseCameraService();
  EXPECT_THAT(EntriesOf([&] { producer->StopCapture({}); }),
              ElementsAre(Info("Stop capture with source type:kVirtualCamera"),
                          "MakeService<ICameraService>()",
                          "screen_sharing.RemoveOutputWriter(VirtualCaptureOutputTrack.writer)",
                          "screen_sharing.Stop()", "MakeService<ICameraService>()",
                          "VirtualCaptureOutputTrack.Reset()", "~VirtualCaptureOutputTrack",
                          "preprocessor.StopProcessing()"));
  EXPECT_FALSE(producer->IsCapturing());
}

TEST_F(VirtualCamera, LogsAlreadyStopWhenItWasLeftBehindAndIsNotStopped) {
  const auto producer = MakeCapturingProducer(Virtual());
  LeaveSourceBehind(*producer);
  const auto entries = EntriesOf([&] { producer->EnableCustomCapturing(true); });
  EXPECT_THAT(entries, Contains(Info("Already stop.")));
  EXPECT_EQ(camera_service().captures().size(), 1u);
  EXPECT_THAT(
      OriginsOfLogLines(),
      ElementsAre(OriginIn("StartCapture"), OriginIn("EnableCustomCapturing"),
                  OriginIn("EnableCustomCapturing"), OriginIn("StopVirtualCameraInternal")));
}

TEST_F(VirtualCamera, ThatWasLeftBehindIsStoppedTogetherWithTheCameraThatFollowedIt) {
  const auto producer = MakeCapturingProducer(Virtual());
  LeaveSourceBehind(*producer);
  producer->StartCapture(Camera(), {});
  const auto entries = EntriesOf([&] { producer->StopCapture({}); });
  EXPECT_THAT(entries, Contains("camera_service.StopCapture({cam-1 0x0}, "
                                "VirtualCaptureOutputTrack.writer, null)"));
  EXPECT_THAT(entries, Contains("camera_service.StopCapture({virtual:1}, "
                                "VirtualCaptureOutputTrack.writer, null)"));
}

TEST_F(VirtualCamera, IsNotStoppedWhenNoneWasAskedFor) {
  const auto producer = MakeCapturingProducer();
  producer->StopCapture({});
  EXPECT_EQ(journal().Count("camera_service.StopCapture({}, CameraOutputTrack.writer, null)"), 0u);
  // Nor after a stop, which forgets it.
  producer->StartCapture(Virtual(), {});
  producer->StopCapture({});
  producer->StartCapture(Camera(), {});
  EXPECT_THAT(EntriesOf([&] { producer->StopCapture({}); }),
              Not(Contains(::testing::HasSubstr("virtual:1"))));
}

// The cover image.

class CoverImage : public CaptureTest {
 protected:
  [[nodiscard]] static std::shared_ptr<VideoCoverImageParams> Cover(
      std::shared_ptr<ObjcWrapper<NSImage>> image = testing::MakeImage("holiday")) {
    auto params = std::make_shared<VideoCoverImageParams>();
    params->image = std::move(image);
    params->image_option = 3;
    return params;
  }
  [[nodiscard]] static std::string CoverLine() {
    return Info("Set cover image with params:VideoCoverImageParams{image:true image_option:3}");
  }
};

TEST_F(CoverImage, GoesToTheRunningCameraThenToThePreprocessor) {
  CameraParams camera = CameraOfSize(640, 360);
  camera.frame_rate = 30;
  camera.facing = std::uint8_t{1};
  const auto producer = MakeCapturingProducer(camera);
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] { producer->SetCoverImageParams(Cover()); }),
              ElementsAre("main_queue.IsCurrent()", CoverLine(), "camera_service.GetSelf()",
                          "camera_service.UpdateCaptureParams({cam-1 cover=holiday})",
                          "preprocessor.SetCoverImageParams(null)",
                          "preprocessor.SetCoverImageParams({holiday 3})"));
  EXPECT_THAT(OriginsOfLogLines(), Contains(OriginIn("SetCoverImageParams")).Times(1));
}

TEST_F(CoverImage, ReachesThePreprocessorAsACopyOfTheRecordAndTheSamePicture) {
  const auto producer = MakeCapturingProducer();
  const auto params = Cover();
  producer->SetCoverImageParams(params);
  const auto given = world().preprocessors.Last().settings().cover;
  ASSERT_NE(given, nullptr);
  EXPECT_NE(given, params);
  EXPECT_EQ(given->image, params->image);
  EXPECT_EQ(params.use_count(), 1);
  EXPECT_EQ(camera_service().updated_params()->cover_image.value(), params->image);
}

TEST_F(CoverImage, IsNotKeptByTheProducer) {
  const auto producer = MakeProducer();
  auto params = Cover(MakeMortalImage("holiday"));
  EXPECT_EQ(EntriesOf([&] { producer->SetCoverImageParams(std::move(params)); }).back(),
            "~holiday");

  // Nor is it among what the camera is asked for later.
  producer->StartCapture(Camera(), {});
  producer->SetCoverImageParams(Cover());
  EncodeParams encode;
  encode.frame_rate = 30;
  producer->SetEncoderParams(VideoStreamType::kBig, encode);
  EXPECT_EQ(testing::Describe(camera_service().updated_params()), "{cam-1 0x0@30}");
}

TEST_F(CoverImage, ThatIsEmptyOnlyClearsThePreprocessorsCover) {
  const auto producer = MakeCapturingProducer();
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] { producer->SetCoverImageParams(nullptr); }),
              ElementsAre("main_queue.IsCurrent()", "preprocessor.SetCoverImageParams(null)"));
}

TEST_F(CoverImage, WithoutAPictureIsPassedOnAsItIs) {
  const auto producer = MakeCapturingProducer();
  EXPECT_THAT(EntriesOf([&] { producer->SetCoverImageParams(Cover(nullptr)); }),
              ElementsAre(Info("Set cover image with params:"
                               "VideoCoverImageParams{image:false image_option:3}"),
                          "camera_service.GetSelf()",
                          "camera_service.UpdateCaptureParams({cam-1 cover=null})",
                          "preprocessor.SetCoverImageParams(null)",
                          "preprocessor.SetCoverImageParams({null 3})"));
}

TEST_F(CoverImage, ReachesThePreprocessorWithoutACameraService) {
  const auto producer = MakeCapturingProducer();
  env().LoseCameraService();
  EXPECT_THAT(EntriesOf([&] { producer->SetCoverImageParams(Cover()); }),
              ElementsAre(CoverLine(), "MakeService<ICameraService>()",
                          "preprocessor.SetCoverImageParams(null)",
                          "preprocessor.SetCoverImageParams({holiday 3})"));
}

struct Situation {
  const char* name;
  bool is_given_to_the_preprocessor;
  std::function<void(IVideoProducer2&)> arrange;
};

void PrintTo(const Situation& situation, std::ostream* stream) { *stream << situation.name; }

class CoverImageWhile : public CoverImage, public ::testing::WithParamInterface<Situation> {
 public:
  static void StartVirtualCamera(IVideoProducer2& producer) {
    producer.StartCapture(Camera("virtual:1"), {});
  }
  static void StartCamera(IVideoProducer2& producer) { producer.StartCapture(Camera(), {}); }
  static void StartDesktop(IVideoProducer2& producer) { producer.StartCapture(Desktop()); }
  static void StartCustom(IVideoProducer2& producer) { producer.EnableCustomCapturing(true); }
  static void PauseCamera(IVideoProducer2& producer) {
    StartCamera(producer);
    producer.PauseCapture();
  }
  static void LeaveCameraBehind(IVideoProducer2& producer) {
    StartCamera(producer);
    LeaveSourceBehind(producer);
  }
  static void ResumeAfterLeavingCameraBehind(IVideoProducer2& producer) {
    LeaveCameraBehind(producer);
    producer.ResumeCapture();
  }
};

TEST_P(CoverImageWhile, TheCameraIsNotToldAndThePreprocessorIsGivenItOnlyWhileCapturing) {
  const auto producer = MakeProducer();
  GetParam().arrange(*producer);
  std::vector<std::string> expected = {CoverLine(), "preprocessor.SetCoverImageParams(null)"};
  if (GetParam().is_given_to_the_preprocessor) {
    expected.push_back("preprocessor.SetCoverImageParams({holiday 3})");
  }
  EXPECT_EQ(EntriesOf([&] { producer->SetCoverImageParams(Cover()); }), expected);
}

INSTANTIATE_TEST_SUITE_P(
    In, CoverImageWhile,
    ::testing::Values(
        Situation{"Stopped", false, [](auto&) {}},
        Situation{"PausedOnACamera", false, CoverImageWhile::PauseCamera},
        Situation{"StartedOnAVirtualCamera", false, CoverImageWhile::StartVirtualCamera},
        Situation{"StartedOnAScreen", true, CoverImageWhile::StartDesktop},
        Situation{"StartedOnACustomSource", true, CoverImageWhile::StartCustom},
        Situation{"StartedOnNothing", true, [](auto& producer) { producer.ResumeCapture(); }},
        Situation{"StoppedWithACameraLeftBehind", false, CoverImageWhile::LeaveCameraBehind},
        Situation{"StartedOnNothingWithACameraLeftBehind", true,
                  CoverImageWhile::ResumeAfterLeavingCameraBehind}),
    [](const auto& situation) { return std::string(situation.param.name); });

TEST_F(CoverImage, ChecksTheMainQueueOnceAndNeedsNoOwner) {
  VideoProducer2Impl producer(Context(), client(), VideoStreamType::kBig);
  producer.ResumeCapture();
  env().main_queue().set_current(false);
  EXPECT_EQ(QueueChecksOf([&] { producer.SetCoverImageParams(Cover()); }), 1u);
  EXPECT_EQ(testing::Describe(world().preprocessors.Last().settings().cover), "{holiday 3}");
}

}  // namespace
}  // namespace movra::video
