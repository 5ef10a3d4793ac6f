// Starting a capture from a camera: the wiring, the capture size, and what is started when
// parameters of an earlier source stayed behind.

#include <memory>
#include <ostream>
#include <string>

#include "base/once_callback.h"
#include "video/producer/capture_test_fixture.h"
#include "video/to_string.h"

namespace movra::video {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Not;
using ::testing::StartsWith;
using ::testing::Values;

constexpr char kQueueCheck[] = "main_queue.IsCurrent()";

class StartCamera : public CaptureTest {
 protected:
  using StartedCallback = movra_base::OnceCallback<void(int, int)>;

  [[nodiscard]] StartedCallback OnStarted() { return env().Callback<void(int, int)>("on_started"); }

  [[nodiscard]] static std::string Asked(const CameraParams& params) {
    return Info("Start camera capture with params:" + params.ToString());
  }
  // The line about the size, for a producer in the default mode.
  [[nodiscard]] static std::string Calculated(const std::string& input, const std::string& encode,
                                              const std::string& result) {
    return Info("Calculate capture size with mode:kDefault input size:Size{" + input +
                "} encoder size:Size{" + encode + "} calculate capture size:Size{" + result + "}");
  }
  // What the camera was asked for last.
  [[nodiscard]] const CameraParams& captured() { return camera_service().captures().back().params; }
};

TEST_F(StartCamera, ConnectsTheCameraThroughItsTrackToThePreprocessor) {
  const auto producer = MakeProducer();
  const CameraParams params = CameraOfSize(640, 360);
  journal().LeaveOut(0);
  EXPECT_THAT(
      EntriesOf([&] { producer->StartCapture(params, OnStarted()); }),
      ElementsAre(
          kQueueCheck, Asked(params), "IsVirtualCameraId(cam-1)",
          "CalculateSizeByLimitLandscapeSize(1920x1080, 0x0)", Calculated("640x360", "0x0", "0x0"),
          kQueueCheck, kSubscribeDeviceState, kSubscribeAutoFocus, kQueueCheck,
          "IPixelFrameTrack.Create(CameraOutputTrack, 1)", "MakeService<ICameraService>()",
          "camera_service.Init()", "camera_service.GetSelf()", "CameraOutputTrack.GetWriter()",
          "camera_service.StartCapture(1, {cam-1 0x0}, CameraOutputTrack.writer, callback)",
          "preprocessor.StartProcessing()", "CameraOutputTrack.GetReader()",
          "preprocessor.SetInputTrackReader(CameraOutputTrack.reader)",
          "preprocessor.SetSourceType(kCamera)", "preprocessor.SetFrameAdaptiveMode(kCrop)"));
  EXPECT_THAT(OriginsOfLogLines(), ElementsAre(OriginIn("StartCapture"), OriginIn("StartCapture")));
  EXPECT_TRUE(producer->IsCapturing());
  EXPECT_EQ(producer->GetCurrentSourceType(), VideoSourceType::kCamera);
  EXPECT_EQ(CountDeviceObservers(), 1u);
  EXPECT_EQ(CountFocusObservers(), 1u);
}

TEST_F(StartCamera, LogsWithItsLineNumbers) {
  const auto producer = MakeCapturingProducer();
  const auto lines = env().log().Take();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_GT(lines[0].line, 0);
  EXPECT_GT(lines[1].line, lines[0].line);
}

TEST_F(StartCamera, PassesTheResultToTheCallbackOnce) {
  const auto producer = MakeProducer();
  producer->StartCapture(Camera(), OnStarted());
  EXPECT_THAT(EntriesOf([&] { camera_service().AnswerStart(-3, 120); }),
              ElementsAre("on_started(-3, 120)", "~on_started"));
  EXPECT_EQ(camera_service().waiting_starts(), 0u);
  EXPECT_TRUE(producer->IsCapturing());
}

TEST_F(StartCamera, NeedsNoCallback) {
  const auto producer = MakeProducer();
  EXPECT_THAT(EntriesOf([&] { producer->StartCapture(Camera(), {}); }),
              Contains("camera_service.StartCapture(1, {cam-1 0x0}, CameraOutputTrack.writer, "
                       "null)"));
}

TEST_F(StartCamera, IsNotKeptAliveByTheApplicationsCallback) {
  auto producer = MakeProducer();
  producer->StartCapture(Camera(), OnStarted());
  EXPECT_THAT(EntriesOf([&] { producer.reset(); }), Contains("~preprocessor"));
  EXPECT_THAT(EntriesOf([&] { camera_service().AnswerStart(0, 1); }),
              ElementsAre("on_started(0, 1)", "~on_started"));
}

TEST_F(StartCamera, SetsTheSourceAndSubscribesBeforeTheCameraIsAsked) {
  const auto producer = MakeProducer();
  int runs = 0;
  AtEntry("camera_service.StartCapture(1, {cam-1 0x0}, CameraOutputTrack.writer, null)", [&] {
    ++runs;
    EXPECT_EQ(producer->GetCurrentSourceType(), VideoSourceType::kCamera);
    EXPECT_FALSE(producer->IsCapturing());
    EXPECT_EQ(CountDeviceObservers(), 1u);
    EXPECT_EQ(CountFocusObservers(), 1u);
  });
  producer->StartCapture(Camera(), {});
  EXPECT_EQ(runs, 1);
}

TEST_F(StartCamera, SetsTheSourceBeforeAVirtualCameraIsAsked) {
  const auto producer = MakeProducer();
  int runs = 0;
  AtEntry("preprocessor.SetCoverImageParams(null)", [&] {
    ++runs;
    EXPECT_EQ(producer->GetCurrentSourceType(), VideoSourceType::kVirtualCamera);
    EXPECT_FALSE(producer->IsCapturing());
  });
  producer->StartCapture(Camera("virtual:1"), {});
  EXPECT_EQ(runs, 1);
}

TEST_F(StartCamera, IsStartedBeforeThePreprocessorIs) {
  const auto producer = MakeProducer();
  int runs = 0;
  AtEntry("preprocessor.StartProcessing()", [&] {
    ++runs;
    EXPECT_TRUE(producer->IsCapturing());
  });
  producer->StartCapture(Camera(), {});
  EXPECT_EQ(runs, 1);
}

TEST_F(StartCamera, MayAnswerBeforeItIsStarted) {
  const auto producer = MakeProducer();
  env().MakeCameraService().start_policy = testing::CameraServiceDouble::CallbackPolicy::kRun;
  const auto entries = EntriesOf([&] { producer->StartCapture(Camera(), OnStarted()); });
  EXPECT_THAT(entries, Contains("on_started(0, 0)"));
  EXPECT_EQ(entries.back(), "preprocessor.SetFrameAdaptiveMode(kCrop)");
  EXPECT_TRUE(producer->IsCapturing());
}

TEST_F(StartCamera, HandsOnEveryFieldAndOverwritesTheSize) {
  const auto producer = MakeProducer();
  SetBigEncodeSize(*producer, 1280, 720);
  CameraParams params = CameraOfSize(640, 360);
  params.facing = std::uint8_t{1};
  params.orientation = 90;
  params.frame_rate = 24;
  params.cover_image = testing::MakeImage("holiday");
  producer->StartCapture(params, {});
  EXPECT_EQ(testing::Describe(captured()),
            "{cam-1 1280x720@24 facing=1 orientation=90 cover=holiday}");
}

TEST_F(StartCamera, TakesAbsentFieldsOverPresentOnesThatStayedBehind) {
  const auto producer = MakeProducer();
  CameraParams full = CameraOfSize(640, 360);
  full.facing = std::uint8_t{1};
  full.orientation = 90;
  full.frame_rate = 24;
  full.cover_image = testing::MakeImage("holiday");
  producer->StartCapture(full, {});
  LeaveSourceBehind(*producer);
  producer->StartCapture(Camera("cam-2"), {});
  EXPECT_EQ(testing::Describe(captured()), "{cam-2 0x0}");
}

const movra_base::Optional<std::int32_t> kAbsent;

struct SizeCase {
  int mode;
  movra_base::Optional<std::int32_t> width;
  movra_base::Optional<std::int32_t> height;
  Size encode;
  std::string line;  // What the log says after the mode's name.
  std::string captured;
};
void PrintTo(const SizeCase& test, std::ostream* out) { *out << test.mode << test.line; }

class CaptureSizeOfACamera : public StartCamera, public ::testing::WithParamInterface<SizeCase> {};

INSTANTIATE_TEST_SUITE_P(InEveryMode, CaptureSizeOfACamera,
                         Values(SizeCase{0,
                                         320,
                                         240,
                                         {720, 1280},
                                         " input size:Size{320x240} encoder size:Size{720x1280}"
                                         " calculate capture size:Size{1280x720}",
                                         "{cam-1 1280x720}"},
                                SizeCase{1,
                                         320,
                                         240,
                                         {720, 1280},
                                         " input size:Size{320x240} encoder size:Size{720x1280}"
                                         " calculate capture size:Size{1280x720}",
                                         "{cam-1 1280x720}"},
                                SizeCase{2,
                                         kAbsent,
                                         kAbsent,
                                         {640, 360},
                                         " input size:Size{0x0} encoder size:Size{640x360}"
                                         " calculate capture size:Size{640x360}",
                                         "{cam-1 640x360}"},
                                SizeCase{3,
                                         720,
                                         1280,
                                         {640, 360},
                                         " input size:Size{720x1280} encoder size:Size{640x360}"
                                         " calculate capture size:Size{720x1280}",
                                         "{cam-1 720x1280}"},
                                SizeCase{3,
                                         kAbsent,
                                         kAbsent,
                                         {360, 640},
                                         " input size:Size{0x0} encoder size:Size{360x640}"
                                         " calculate capture size:Size{360x640}",
                                         "{cam-1 360x640}"},
                                SizeCase{3,
                                         0,
                                         0,
                                         {640, 360},
                                         " input size:Size{0x0} encoder size:Size{640x360}"
                                         " calculate capture size:Size{640x360}",
                                         "{cam-1 640x360}"},
                                SizeCase{3,
                                         500,
                                         kAbsent,
                                         {640, 360},
                                         " input size:Size{500x0} encoder size:Size{640x360}"
                                         " calculate capture size:Size{500x0}",
                                         "{cam-1 500x0}"},
                                SizeCase{3,
                                         kAbsent,
                                         500,
                                         {640, 360},
                                         " input size:Size{0x500} encoder size:Size{640x360}"
                                         " calculate capture size:Size{0x500}",
                                         "{cam-1 0x500}"},
                                SizeCase{4,
                                         320,
                                         240,
                                         {640, 360},
                                         " input size:Size{320x240} encoder size:Size{640x360}"
                                         " calculate capture size:Size{0x0}",
                                         "{cam-1 0x0}"}));

TEST_P(CaptureSizeOfACamera, FollowsTheModeAndIsLogged) {
  const auto mode = static_cast<ProducerMode>(GetParam().mode);
  const auto producer = MakeProducer();
  producer->SetProducerMode(mode);
  SetBigEncodeSize(*producer, GetParam().encode.width, GetParam().encode.height);
  CameraParams params = Camera();
  params.width = GetParam().width;
  params.height = GetParam().height;
  EXPECT_THAT(EntriesOf([&] { producer->StartCapture(params, {}); }),
              Contains(Info("Calculate capture size with mode:" + ProducerModeToString(mode) +
                            GetParam().line)));
  EXPECT_EQ(testing::Describe(captured()), GetParam().captured);
}

TEST_F(StartCamera, TakesTheSizeThatTheLimitGives) {
  const auto producer = MakeProducer();
  SetBigEncodeSize(*producer, 2160, 3840);
  world().answers.limited_size = Size{608, 1080};
  EXPECT_THAT(EntriesOf([&] { producer->StartCapture(Camera(), {}); }),
              Contains("CalculateSizeByLimitLandscapeSize(1920x1080, 2160x3840)"));
  EXPECT_EQ(testing::Describe(captured()), "{cam-1 1080x608}");
}

TEST_F(StartCamera, IgnoresTheSizeOfTheSmallStream) {
  const auto producer = MakeProducer();
  EncodeParams params;
  params.width = 320;
  params.height = 180;
  producer->SetEncoderParams(VideoStreamType::kSmall, params);
  producer->StartCapture(Camera(), {});
  EXPECT_EQ(testing::Describe(captured()), "{cam-1 0x0}");
}

TEST_F(StartCamera, WhileItRunsLogsTheSourceAndDropsTheCallback) {
  const auto producer = MakeCapturingProducer();
  static_cast<void>(OriginsOfLogLines());
  const CameraParams other = Camera("cam-2");
  EXPECT_THAT(EntriesOf([&] { producer->StartCapture(other, OnStarted()); }),
              ElementsAre(Asked(other), Info("Capture already start for source type:kCamera"),
                          "~on_started"));
  EXPECT_THAT(OriginsOfLogLines(), ElementsAre(OriginIn("StartCapture"), OriginIn("StartCapture")));
  // The parameters are those of the first start: only the camera that runs is stopped.
  EXPECT_THAT(EntriesOf([&] { producer->StopCapture({}); }),
              Contains(StartsWith("camera_service.StopCapture({cam-1")));
}

TEST_F(StartCamera, WhilePausedCountsAsStarted) {
  const auto producer = MakeCapturingProducer();
  producer->PauseCapture();
  EXPECT_THAT(EntriesOf([&] { producer->StartCapture(Camera(), OnStarted()); }),
              ElementsAre(Asked(Camera()), Info("Capture already start for source type:kCamera"),
                          "~on_started"));
  EXPECT_FALSE(producer->IsCapturing());
}

TEST_F(StartCamera, WhileAnotherSourceRunsNamesThatSource) {
  const auto producer = MakeProducer();
  const auto refusal = [&] { return EntriesOf([&] { producer->StartCapture(Camera(), {}); }); };
  producer->StartCapture(Desktop());
  EXPECT_THAT(refusal(),
              ElementsAre(Asked(Camera()), Info("Capture already start for source type:kScreen")));
  producer->EnableCustomCapturing(true);
  EXPECT_THAT(refusal(),
              ElementsAre(Asked(Camera()), Info("Capture already start for source type:kCustom")));
  producer->StopCapture({});
  producer->StartCapture(Camera("virtual:1"), {});
  EXPECT_THAT(refusal(), ElementsAre(Asked(Camera()),
                                     Info("Capture already start for source type:kVirtualCamera")));
  producer->StopCapture({});
  producer->ResumeCapture();
  EXPECT_THAT(refusal(),
              ElementsAre(Asked(Camera()), Info("Capture already start for source type:kNone")));
}

// A stop would stop the camera, were its parameters there.
TEST_F(StartCamera, ThatIsRefusedStoresNoParameters) {
  const auto producer = MakeProducer();
  producer->StartCapture(Desktop());
  producer->StartCapture(Camera(), {});
  EXPECT_THAT(EntriesOf([&] { producer->StopCapture({}); }),
              Not(Contains(StartsWith("camera_service.StopCapture("))));
}

TEST_F(StartCamera, WithoutACameraServiceIsStartedAllTheSame) {
  const auto producer = MakeProducer();
  env().LoseCameraService();
  EXPECT_THAT(
      EntriesOf([&] { producer->StartCapture(Camera(), OnStarted()); }),
      ElementsAre(Asked(Camera()), "IsVirtualCameraId(cam-1)",
                  "CalculateSizeByLimitLandscapeSize(1920x1080, 0x0)",
                  Calculated("0x0", "0x0", "0x0"), "IPixelFrameTrack.Create(CameraOutputTrack, 1)",
                  "MakeService<ICameraService>()", "preprocessor.StartProcessing()",
                  "preprocessor.SetInputTrackReader(CameraOutputTrack.reader)",
                  "preprocessor.SetSourceType(kCamera)", "preprocessor.SetFrameAdaptiveMode(kCrop)",
                  "~on_started"));
  EXPECT_TRUE(producer->IsCapturing());
  EXPECT_EQ(CountDeviceObservers(), 1u);
}

TEST_F(StartCamera, WithoutATrackAsksNoCameraAndConnectsNothing) {
  const auto producer = MakeProducer();
  env().MakeCameraService();
  world().answers.makes_track = false;
  EXPECT_THAT(
      EntriesOf([&] { producer->StartCapture(Camera(), OnStarted()); }),
      ElementsAre(Asked(Camera()), "IsVirtualCameraId(cam-1)",
                  "CalculateSizeByLimitLandscapeSize(1920x1080, 0x0)",
                  Calculated("0x0", "0x0", "0x0"), "IPixelFrameTrack.Create(CameraOutputTrack, 1)",
                  "camera_service.GetSelf()", "preprocessor.StartProcessing()",
                  "preprocessor.SetSourceType(kCamera)", "preprocessor.SetFrameAdaptiveMode(kCrop)",
                  "~on_started"));
  EXPECT_TRUE(producer->IsCapturing());
}

TEST_F(StartCamera, MakesANewTrackAfterAStop) {
  const auto producer = MakeCapturingProducer();
  producer->StopCapture({});
  producer->StartCapture(Camera(), {});
  EXPECT_EQ(world().tracks.count(), 2u);
  EXPECT_EQ(world().tracks.CountAlive(), 1u);
  EXPECT_EQ(world().Track("CameraOutputTrack").capacity(), 1);
}

TEST_F(StartCamera, OfAVirtualCameraCalculatesNoSizeAndLeavesTheRealOneUnset) {
  const auto producer = MakeProducer();
  CameraParams params = CameraOfSize(640, 360);
  params.camera_id = "virtual:1";
  EXPECT_THAT(EntriesOf([&] { producer->StartCapture(params, OnStarted()); }),
              ElementsAre(Asked(params), "IsVirtualCameraId(virtual:1)",
                          "preprocessor.SetCoverImageParams(null)",
                          "IPixelFrameTrack.Create(VirtualCaptureOutputTrack, 1)",
                          "MakeService<ICameraService>()", "camera_service.Init()",
                          "camera_service.GetSelf()",
                          "camera_service.StartCapture(1, {virtual:1 640x360}, "
                          "VirtualCaptureOutputTrack.writer, callback)",
                          "preprocessor.StartProcessing()",
                          "preprocessor.SetInputTrackReader(VirtualCaptureOutputTrack.reader)",
                          "preprocessor.SetSourceType(kVirtualCamera)",
                          "preprocessor.SetFrameAdaptiveMode(kCrop)"));
  EXPECT_EQ(static_cast<int>(producer->GetCurrentSourceType()), 3);
  EXPECT_TRUE(producer->IsCapturing());
  EXPECT_EQ(CountDeviceObservers() + CountFocusObservers(), 0u);
}

TEST_F(StartCamera, KeepsTheAdaptiveModeThatTheApplicationChose) {
  const auto producer = MakeProducer();
  producer->SetOutputFrameAdaptiveMode(FrameAdaptiveMode::kStretch, false);
  EXPECT_THAT(EntriesOf([&] { producer->StartCapture(Camera(), {}); }),
              Contains("preprocessor.SetFrameAdaptiveMode(kStretch)"));
}

TEST_F(StartCamera, OfAnUnownedProducerFailsBeforeTheCameraIsAsked) {
  VideoProducer2Impl producer(Context(), client(), VideoStreamType::kBig);
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] {
                EXPECT_THROW(producer.StartCapture(Camera(), OnStarted()), std::bad_weak_ptr);
              }),
              ElementsAre(kQueueCheck, Asked(Camera()), "IsVirtualCameraId(cam-1)",
                          "CalculateSizeByLimitLandscapeSize(1920x1080, 0x0)",
                          Calculated("0x0", "0x0", "0x0"), kQueueCheck, "~on_started"));
  EXPECT_FALSE(producer.IsCapturing());
  EXPECT_EQ(producer.GetCurrentSourceType(), VideoSourceType::kCamera);
}

TEST_F(StartCamera, OfAVirtualCameraNeedsNoOwner) {
  VideoProducer2Impl producer(Context(), client(), VideoStreamType::kBig);
  producer.StartCapture(Camera("virtual:1"), {});
  EXPECT_TRUE(producer.IsCapturing());
}

// What a source was asked for stays behind when only the state is set back. The next start then
// chooses among all that is stored: camera, mobile screen, desktop, virtual camera.
class StoredSource : public StartCamera {};

TEST_F(StoredSource, OfTheCameraWinsOverADesktopAsked) {
  const auto producer = MakeCapturingProducer();
  LeaveSourceBehind(*producer);
  EXPECT_THAT(EntriesOf([&] { producer->StartCapture(Desktop()); }),
              Contains("camera_service.StartCapture(1, {cam-1 0x0}, CameraOutputTrack.writer, "
                       "null)"));
  EXPECT_EQ(producer->GetCurrentSourceType(), VideoSourceType::kCamera);
  EXPECT_EQ(CountDeviceObservers(), 1u);
}

TEST_F(StoredSource, OfTheCameraWinsOverAMobileScreenAsked) {
  const auto producer = MakeCapturingProducer();
  LeaveSourceBehind(*producer);
  producer->StartCapture(Mobile());
  EXPECT_EQ(producer->GetCurrentSourceType(), VideoSourceType::kCamera);
}

TEST_F(StoredSource, OfTheCameraWinsOverAVirtualOneAskedAndGetsItsCallback) {
  const auto producer = MakeCapturingProducer();
  LeaveSourceBehind(*producer);
  EXPECT_THAT(EntriesOf([&] { producer->StartCapture(Camera("virtual:1"), OnStarted()); }),
              Contains("camera_service.StartCapture(1, {cam-1 0x0}, CameraOutputTrack.writer, "
                       "callback)"));
  EXPECT_EQ(producer->GetCurrentSourceType(), VideoSourceType::kCamera);
}

TEST_F(StoredSource, OfAMobileScreenWinsOverADesktopAsked) {
  const auto producer = MakeProducer();
  producer->StartCapture(Mobile());
  LeaveSourceBehind(*producer);
  EXPECT_THAT(EntriesOf([&] { producer->StartCapture(Desktop()); }),
              Contains("screen_sharing.StartMobileCapture(" + testing::Describe(Mobile()) + ")"));
}

TEST_F(StoredSource, OfAMobileScreenWinsOverAVirtualCameraAskedAndDropsItsCallback) {
  const auto producer = MakeProducer();
  producer->StartCapture(Mobile());
  LeaveSourceBehind(*producer);
  const auto entries = EntriesOf([&] { producer->StartCapture(Camera("virtual:1"), OnStarted()); });
  EXPECT_THAT(entries,
              Contains("screen_sharing.StartMobileCapture(" + testing::Describe(Mobile()) + ")"));
  EXPECT_EQ(entries.back(), "~on_started");
  EXPECT_EQ(producer->GetCurrentSourceType(), VideoSourceType::kScreen);
}

TEST_F(StoredSource, OfADesktopWinsOverAVirtualCameraAsked) {
  const auto producer = MakeProducer();
  producer->StartCapture(Desktop());
  LeaveSourceBehind(*producer);
  EXPECT_THAT(EntriesOf([&] { producer->StartCapture(Camera("virtual:1"), {}); }),
              Contains("screen_sharing.StartDesktopCapture(" + testing::Describe(Desktop()) + ")"));
  EXPECT_EQ(producer->GetCurrentSourceType(), VideoSourceType::kScreen);
}

TEST_F(StoredSource, LeavesItsTrackToTheNextSource) {
  const auto producer = MakeProducer();
  producer->StartCapture(Desktop());
  LeaveSourceBehind(*producer);
  EXPECT_THAT(EntriesOf([&] { producer->StartCapture(Camera(), {}); }),
              Contains("camera_service.StartCapture(1, {cam-1 0x0}, ScreenOutputTrack.writer, "
                       "null)"));
  EXPECT_EQ(world().tracks.count(), 1u);
  EXPECT_THAT(world().preprocessors.Last().input().lock(),
              ::testing::Eq(world().Track("ScreenOutputTrack").reader()));
}

}  // namespace
}  // namespace movra::video
