// How the big stream's encode parameters change a capture that runs.

#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "logging/log_filter.h"
#include "video/producer/capture_test_fixture.h"
#include "video/producer/encoding_test_fixture.h"

namespace movra::video {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr auto kBig = VideoStreamType::kBig;
constexpr auto kSmall = VideoStreamType::kSmall;

class CaptureAdaptation : public CaptureTest {
 protected:
  [[nodiscard]] static CameraParams CameraAt(std::int32_t frame_rate) {
    CameraParams params = Camera();
    params.frame_rate = frame_rate;
    return params;
  }

  // What parameters do beyond the encoding side, which is told of them first.
  [[nodiscard]] std::vector<std::string> AdaptationBy(IVideoProducer2& producer,
                                                      const EncodeParams& params,
                                                      VideoStreamType type = kBig) {
    auto entries = EntriesOf([&] { producer.SetEncoderParams(type, params); });
    std::erase_if(entries, [](const std::string& entry) {
      return entry.find("encoder") != std::string::npos ||
             entry.find("Encoder") != std::string::npos;
    });
    return entries;
  }

  // The line of a rate that was raised.
  [[nodiscard]] static std::string Raised(int frame_rate, const std::string& source) {
    return Info("Update capture frame rate:" + std::to_string(frame_rate) +
                " for current source type:" + source);
  }
};

class CameraRate : public CaptureAdaptation {};
class ScreenRate : public CaptureAdaptation {};
class CameraSize : public CaptureAdaptation {};

TEST_F(CaptureAdaptation, FollowsTheEncoderFirstTheRateThenTheSize) {
  const auto producer = MakeCapturingProducer();
  producer->RequestKeyFrame(kBig);
  const EncodeParams params = SizeAndRateOf(1280, 720, 30);
  journal().LeaveOut(0);
  EXPECT_THAT(
      EntriesOf([&] { producer->SetEncoderParams(kBig, params); }),
      ElementsAre(
          "main_queue.IsCurrent()", Info("Set encoder params:" + params.ToString() + " for kBig"),
          "big_encoder.SetEncodeParams({1280x720@30})",
          "preprocessor.SetEncoderOutputSize(1280, 720)",
          "IVideoEncoderController.QueryInputPixelFormat(kBig, {1280x720@30})",
          "big_encoder_pixel_frame_track.GetWriter()",
          "preprocessor.RemoveOutputTrack(big_encoder_pixel_frame_track.writer)",
          "big_encoder.IsStarted()", "main_queue.IsCurrent()", "camera_service.GetSelf()",
          "camera_service.UpdateCaptureParams({cam-1 0x0@30})", Raised(30, "kCamera"),
          "CalculateSizeByLimitLandscapeSize(1920x1080, "
          "1280x720)",
          Info("Update camera capture size from Size{0x0} to Size{1280x720} in "
               "kDefault"),
          "camera_service.GetSelf()", "camera_service.UpdateCaptureParams({cam-1 1280x720@30})"));
  EXPECT_THAT(
      OriginsOfLogLines(),
      ElementsAre(OriginIn("StartCapture"), OriginIn("StartCapture"),
                  OriginIn("PrintEncoderParamsIfNeeded"), OriginIn("UpdateCaptureFramerateIfNeed"),
                  OriginIn("UpdateCameraCaptureWidthAndHeightIfNeed")));
}

TEST_F(CaptureAdaptation, ChangesNothingWhileStopped) {
  const auto producer = MakeProducer();
  EXPECT_THAT(AdaptationBy(*producer, SizeAndRateOf(1280, 720, 30)), IsEmpty());

  // Not even what a source was asked for that was left behind.
  producer->StartCapture(Camera(), {});
  LeaveSourceBehind(*producer);
  EXPECT_THAT(AdaptationBy(*producer, SizeAndRateOf(640, 360, 60)), IsEmpty());
}

TEST_F(CaptureAdaptation, IsForAPausedCaptureAsForAStartedOne) {
  const auto producer = MakeCapturingProducer();
  producer->PauseCapture();
  EXPECT_THAT(AdaptationBy(*producer, SizeAndRateOf(1280, 720, 30)),
              Contains("camera_service.UpdateCaptureParams({cam-1 1280x720@30})"));
}

TEST_F(CaptureAdaptation, IsNeverForTheSmallStream) {
  const auto camera = MakeCapturingProducer();
  EXPECT_THAT(AdaptationBy(*camera, SizeAndRateOf(1280, 720, 60), kSmall), IsEmpty());
  const auto screen = MakeProducer();
  screen->StartCapture(Desktop());
  EXPECT_THAT(AdaptationBy(*screen, SizeAndRateOf(1280, 720, 60), kSmall), IsEmpty());
}

TEST_F(CaptureAdaptation, IsForATypeWithoutANameAsForTheBigStream) {
  const auto producer = MakeCapturingProducer();
  EXPECT_THAT(AdaptationBy(*producer, SizeAndRateOf(1280, 720, 30), kOtherStream),
              Contains("camera_service.UpdateCaptureParams({cam-1 1280x720@30})"));
}

TEST_F(CaptureAdaptation, HappensWithoutAnEncoderToo) {
  world().answers.makes_encoder = false;
  const auto producer = MakeCapturingProducer();
  EXPECT_THAT(AdaptationBy(*producer, SizeAndRateOf(1280, 720, 30)),
              Contains("camera_service.UpdateCaptureParams({cam-1 1280x720@30})"));
}

TEST_F(CaptureAdaptation, LeavesOtherSourcesAlone) {
  const EncodeParams params = SizeAndRateOf(1280, 720, 60);
  const auto custom = MakeProducer();
  custom->EnableCustomCapturing(true);
  EXPECT_THAT(AdaptationBy(*custom, params), IsEmpty());
  const auto virtual_camera = MakeProducer();
  virtual_camera->StartCapture(Camera("virtual:1"), {});
  EXPECT_THAT(AdaptationBy(*virtual_camera, params), IsEmpty());
  const auto nothing = MakeProducer();
  nothing->ResumeCapture();
  EXPECT_THAT(AdaptationBy(*nothing, params), IsEmpty());
}

TEST_F(CaptureAdaptation, LooksAtTheSourceAndNotOnlyAtWhatAnEarlierOneWasAskedFor) {
  // Started again without any source, with the parameters of one still there.
  const auto camera = MakeCapturingProducer();
  const auto mobile = MakeProducer();
  mobile->StartCapture(Mobile());
  const auto desktop = MakeProducer();
  desktop->StartCapture(Desktop());
  for (const auto& producer : {camera, mobile, desktop}) {
    LeaveSourceBehind(*producer);
    producer->ResumeCapture();
    EXPECT_THAT(AdaptationBy(*producer, SizeAndRateOf(1280, 720, 60)), IsEmpty());
  }
}

TEST_F(CaptureAdaptation, ChecksTheMainQueueTwiceInAllAndIgnoresTheAnswer) {
  const auto producer = MakeCapturingProducer();
  env().main_queue().set_current(false);
  EXPECT_EQ(QueueChecksOf([&] { producer->SetEncoderParams(kBig, SizeAndRateOf(1280, 720, 30)); }),
            2u);
  EXPECT_EQ(testing::Describe(camera_service().updated_params()), "{cam-1 1280x720@30}");
}

// The rate of a camera.

struct Rates {
  const char* name;
  std::vector<int> current;  // Empty: the application asked for none.
  int asked;
  bool is_raised;
};

void PrintTo(const Rates& rates, std::ostream* stream) { *stream << rates.name; }

class RateOfACapture : public CaptureAdaptation, public ::testing::WithParamInterface<Rates> {
 protected:
  template <class Params>
  [[nodiscard]] static Params WithCurrentRate(Params params) {
    params.frame_rate.reset();
    if (!GetParam().current.empty()) params.frame_rate = GetParam().current[0];
    return params;
  }

  void ExpectRaisedBy(const std::string& call, const std::string& source,
                      const std::vector<std::string>& entries) {
    if (!GetParam().is_raised) {
      EXPECT_THAT(entries, IsEmpty());
      return;
    }
    ASSERT_GE(entries.size(), 2u);
    EXPECT_EQ(entries[entries.size() - 2], call);
    EXPECT_EQ(entries.back(), Raised(GetParam().asked, source));
  }
};

INSTANTIATE_TEST_SUITE_P(
    With, RateOfACapture,
    ::testing::Values(Rates{"AHigherOne", {15}, 16, true}, Rates{"TheSame", {15}, 15, false},
                      Rates{"ALowerOne", {15}, 14, false}, Rates{"NoneBefore", {}, 1, true},
                      Rates{"NoneBeforeAndZero", {}, 0, false},
                      Rates{"NoneBeforeAndANegativeOne", {}, -1, false},
                      Rates{"ANegativeOneBefore", {-2}, -1, true},
                      Rates{"TheHighestOne", {0}, std::numeric_limits<int>::max(), true}),
    [](const auto& rates) { return std::string(rates.param.name); });

TEST_P(RateOfACapture, OnlyGoesUpForACamera) {
  const auto producer = MakeCapturingProducer(WithCurrentRate(Camera()));
  ExpectRaisedBy(
      "camera_service.UpdateCaptureParams({cam-1 0x0@" + std::to_string(GetParam().asked) + "})",
      "kCamera", AdaptationBy(*producer, RateOf(GetParam().asked)));
}

TEST_P(RateOfACapture, OnlyGoesUpForAMobileScreen) {
  const auto producer = MakeProducer();
  producer->StartCapture(WithCurrentRate(Mobile()));
  ExpectRaisedBy("screen_sharing.UpdateMobileScreenParams(" +
                     testing::Describe(Mobile(GetParam().asked)) + ")",
                 "kScreen", AdaptationBy(*producer, RateOf(GetParam().asked)));
}

TEST_P(RateOfACapture, OnlyGoesUpForADesktop) {
  const auto producer = MakeProducer();
  producer->StartCapture(WithCurrentRate(Desktop()));
  ExpectRaisedBy("screen_sharing.UpdateDesktopScreenParams(" +
                     testing::Describe(Desktop(GetParam().asked)) + ")",
                 "kScreen", AdaptationBy(*producer, RateOf(GetParam().asked)));
}

TEST_F(CameraRate, IsSentWithEverythingElseTheCameraWasAskedForAndBeforeItsLine) {
  CameraParams params = CameraAt(15);
  params.facing = std::uint8_t{1};
  params.orientation = 90;
  params.cover_image = testing::MakeImage("holiday");
  const auto producer = MakeCapturingProducer(params);
  EXPECT_THAT(AdaptationBy(*producer, RateOf(30)),
              ElementsAre("camera_service.GetSelf()",
                          "camera_service.UpdateCaptureParams({cam-1 0x0@30 facing=1 "
                          "orientation=90 cover=holiday})",
                          Raised(30, "kCamera")));
}

TEST_F(CameraRate, StaysAtTheHighestThatWasAskedForSinceTheStart) {
  const auto producer = MakeCapturingProducer(CameraAt(10));
  EXPECT_THAT(AdaptationBy(*producer, RateOf(30)), Contains(Raised(30, "kCamera")));
  EXPECT_THAT(AdaptationBy(*producer, RateOf(15)), IsEmpty());
  EXPECT_THAT(AdaptationBy(*producer, RateOf(20), kOtherStream), IsEmpty());
  EXPECT_THAT(AdaptationBy(*producer, RateOf(31)), Contains(Raised(31, "kCamera")));

  // A new start begins with what the application asks for then.
  producer->StopCapture({});
  producer->StartCapture(CameraAt(10), {});
  EXPECT_THAT(AdaptationBy(*producer, RateOf(11)), Contains(Raised(11, "kCamera")));
}

TEST_F(CameraRate, IsRememberedAndToldOfWithoutACameraService) {
  const auto producer = MakeCapturingProducer();
  env().LoseCameraService();
  EXPECT_THAT(AdaptationBy(*producer, RateOf(30)),
              ElementsAre("MakeService<ICameraService>()", Raised(30, "kCamera")));
  EXPECT_THAT(AdaptationBy(*producer, RateOf(30)), IsEmpty());
}

TEST_F(CameraRate, IsNotComparedWhenNoneIsGiven) {
  const auto producer = MakeCapturingProducer();
  EXPECT_THAT(AdaptationBy(*producer, {}), IsEmpty());
  EncodeParams lone_width;
  lone_width.width = 640;
  EXPECT_THAT(AdaptationBy(*producer, lone_width), IsEmpty());
}

TEST_F(CameraRate, IsWrittenAgainOnlyWhenItChangedWhenValuesAreFiltered) {
  SetLogValueFiltering(true);
  const auto producer = MakeProducer();
  for (const int frame_rate : {30, 30, 31}) {
    producer->StartCapture(Camera(), {});
    producer->SetEncoderParams(kBig, RateOf(frame_rate));
    producer->StopCapture({});
  }
  EXPECT_EQ(journal().Count(Raised(30, "kCamera")), 1u);
  EXPECT_EQ(journal().Count(Raised(31, "kCamera")), 1u);
}

// The rate of a screen.

TEST_F(ScreenRate, OfAMobileScreenIsTriedBeforeTheDesktopsAndAlone) {
  // Both are there when the mobile screen was left behind and the start takes it once more.
  const auto producer = MakeProducer();
  producer->StartCapture(Mobile(10));
  LeaveSourceBehind(*producer);
  producer->StartCapture(Desktop(5));
  EXPECT_THAT(
      AdaptationBy(*producer, RateOf(20)),
      ElementsAre("screen_sharing.UpdateMobileScreenParams(" + testing::Describe(Mobile(20)) + ")",
                  Raised(20, "kScreen")));
  EXPECT_THAT(AdaptationBy(*producer, RateOf(20)), IsEmpty());
}

TEST_F(ScreenRate, OfADesktopIsSentWithEverythingElseItWasAskedFor) {
  const auto producer = MakeProducer();
  DesktopScreenParams params = Desktop(5);
  params.source_id = 77;
  params.region = Region{1, 2, 3, 4};
  params.high_dpi = true;
  producer->StartCapture(params);
  params.frame_rate = 30;
  EXPECT_THAT(
      AdaptationBy(*producer, RateOf(30)),
      ElementsAre("screen_sharing.UpdateDesktopScreenParams(" + testing::Describe(params) + ")",
                  Raised(30, "kScreen")));
}

TEST_F(ScreenRate, IsAllThatChangesBecauseTheSizeNeverDoes) {
  const auto producer = MakeProducer();
  producer->StartCapture(Desktop(30));
  EXPECT_THAT(AdaptationBy(*producer, SizeAndRateOf(640, 360, 30)), IsEmpty());
  producer->StopCapture({});
  producer->StartCapture(Mobile(30));
  EXPECT_THAT(AdaptationBy(*producer, SizeAndRateOf(1280, 720, 30)), IsEmpty());
}

// The size of a camera.

struct Sizes {
  const char* name;
  ProducerMode mode;
  Size encode_size;
  bool is_limited;  // By the limit function, whose answer has half the sides here.
  Size camera_size;
};

void PrintTo(const Sizes& sizes, std::ostream* stream) { *stream << sizes.name; }

class SizeOfACamera : public CaptureAdaptation, public ::testing::WithParamInterface<Sizes> {};

TEST_P(SizeOfACamera, FollowsTheEncodeSizeByTheMode) {
  const auto& [name, mode, encode, is_limited, camera] = GetParam();
  const auto producer = MakeProducer();
  producer->SetProducerMode(mode);
  producer->StartCapture(CameraOfSize(8, 6), {});
  const auto before = camera_service().captures().back().params;
  const Size current{before.width.value(), before.height.value()};
  world().answers.limited_size = Size{encode.width / 2, encode.height / 2};

  std::vector<std::string> expected;
  if (is_limited) {
    expected.push_back("CalculateSizeByLimitLandscapeSize(1920x1080, " + testing::Describe(encode) +
                       ")");
  }
  if (!(camera == current)) {
    expected.push_back(Info("Update camera capture size from " + current.ToString() + " to " +
                            camera.ToString() + " in " + ProducerModeToString(mode)));
    expected.push_back("camera_service.GetSelf()");
    expected.push_back("camera_service.UpdateCaptureParams({cam-1 " + testing::Describe(camera) +
                       "})");
  }
  EXPECT_EQ(AdaptationBy(*producer, SizeOf(encode.width, encode.height)), expected);

  // The camera has it now.
  if (is_limited) expected.resize(1);
  if (!is_limited) expected.clear();
  EXPECT_EQ(AdaptationBy(*producer, SizeOf(encode.width, encode.height)), expected);
}

constexpr auto kUnknownMode = static_cast<ProducerMode>(4);
constexpr auto kNegativeMode = static_cast<ProducerMode>(-1);

INSTANTIATE_TEST_SUITE_P(
    In, SizeOfACamera,
    ::testing::Values(
        Sizes{"DefaultMode", ProducerMode::kDefault, {1280, 720}, true, {640, 360}},
        Sizes{"DefaultModeForAPortrait", ProducerMode::kDefault, {720, 1280}, true, {640, 360}},
        Sizes{"LimitedSizeMode", ProducerMode::kLimitedSize, {1280, 720}, true, {640, 360}},
        Sizes{"LimitedSizeModeForAPortrait",
              ProducerMode::kLimitedSize,
              {720, 1280},
              true,
              {640, 360}},
        Sizes{"EncodeSizeMode", ProducerMode::kEncodeSize, {1280, 720}, false, {1280, 720}},
        Sizes{"EncodeSizeModeForAPortrait",
              ProducerMode::kEncodeSize,
              {720, 1280},
              false,
              {1280, 720}},
        Sizes{"EncodeSizeModeForASquare", ProducerMode::kEncodeSize, {480, 480}, false, {480, 480}},
        Sizes{"EncodeSizeModeForANegativeSide", ProducerMode::kEncodeSize, {-2, 8}, false, {8, -2}},
        Sizes{"OwnSizeMode", ProducerMode::kOwnSize, {1280, 720}, true, {8, 6}},
        Sizes{"OwnSizeModeForAPortrait", ProducerMode::kOwnSize, {720, 1280}, true, {8, 6}},
        Sizes{"AModeWithoutAName", kUnknownMode, {1280, 720}, false, {0, 0}},
        Sizes{"ANegativeMode", kNegativeMode, {1280, 720}, false, {0, 0}}),
    [](const auto& sizes) { return std::string(sizes.param.name); });

TEST_F(CameraSize, BecomesZeroWhenTheModeLosesItsNameWhileCapturing) {
  const auto producer = MakeProducer();
  producer->SetProducerMode(ProducerMode::kOwnSize);
  producer->StartCapture(CameraOfSize(640, 360), {});
  producer->SetProducerMode(kUnknownMode);
  EXPECT_THAT(
      AdaptationBy(*producer, SizeOf(1280, 720)),
      ElementsAre(Info("Update camera capture size from Size{640x360} to Size{0x0} in "
                       "ProducerMode(4)"),
                  "camera_service.GetSelf()", "camera_service.UpdateCaptureParams({cam-1 0x0})"));
}

TEST_F(CameraSize, CountsAsZeroWhileTheApplicationChoseNone) {
  const auto producer = MakeProducer();
  producer->SetProducerMode(ProducerMode::kOwnSize);
  producer->StartCapture(Camera(), {});
  producer->SetProducerMode(ProducerMode::kEncodeSize);
  EXPECT_THAT(AdaptationBy(*producer, SizeOf(1280, 720)),
              Contains(Info("Update camera capture size from Size{0x0} to Size{1280x720} in "
                            "kEncodeSize")));
}

TEST_F(CameraSize, ChangesWhenOnlyOneSideDiffers) {
  const auto producer = MakeProducer();
  SetBigEncodeSize(*producer, 1280, 720);
  producer->StartCapture(Camera(), {});
  EXPECT_THAT(AdaptationBy(*producer, SizeOf(1280, 722)),
              Contains("camera_service.UpdateCaptureParams({cam-1 1280x722})"));
  EXPECT_THAT(AdaptationBy(*producer, SizeOf(1282, 722)),
              Contains("camera_service.UpdateCaptureParams({cam-1 1282x722})"));
}

TEST_F(CameraSize, IsComparedEvenWhenTheEncodeSizeIsTheSame) {
  const auto producer = MakeProducer();
  SetBigEncodeSize(*producer, 720, 1280);
  producer->SetProducerMode(ProducerMode::kOwnSize);
  producer->StartCapture(CameraOfSize(320, 240), {});
  producer->SetProducerMode(ProducerMode::kEncodeSize);
  EXPECT_THAT(AdaptationBy(*producer, SizeOf(720, 1280)),
              Contains("camera_service.UpdateCaptureParams({cam-1 1280x720})"));
}

TEST_F(CameraSize, StaysWhenAWidthOrAHeightIsGivenAlone) {
  const auto producer = MakeProducer();
  SetBigEncodeSize(*producer, 1280, 720);
  producer->SetProducerMode(ProducerMode::kOwnSize);
  producer->StartCapture(CameraOfSize(320, 240), {});
  producer->SetProducerMode(ProducerMode::kEncodeSize);
  EncodeParams params;
  params.width = 1280;
  EXPECT_THAT(AdaptationBy(*producer, params), IsEmpty());
  params.width.reset();
  params.height = 720;
  EXPECT_THAT(AdaptationBy(*producer, params), IsEmpty());
}

TEST_F(CameraSize, IsTheBigStreamsWhateverTheSmallOneHas) {
  const auto producer = MakeCapturingProducer();
  producer->SetEncoderParams(kSmall, SizeOf(320, 180));
  EXPECT_THAT(AdaptationBy(*producer, SizeOf(1280, 720)),
              Contains("CalculateSizeByLimitLandscapeSize(1920x1080, 1280x720)"));
}

TEST_F(CameraSize, IsRememberedAndToldOfWithoutACameraService) {
  const auto producer = MakeCapturingProducer();
  env().LoseCameraService();
  EXPECT_THAT(
      AdaptationBy(*producer, SizeOf(1280, 720)),
      ElementsAre("CalculateSizeByLimitLandscapeSize(1920x1080, 1280x720)",
                  Info("Update camera capture size from Size{0x0} to Size{1280x720} in kDefault"),
                  "MakeService<ICameraService>()"));
  EXPECT_THAT(AdaptationBy(*producer, SizeOf(1280, 720)),
              ElementsAre("CalculateSizeByLimitLandscapeSize(1920x1080, 1280x720)"));
}

TEST_F(CameraSize, OfTheNextStartComesFromWhatWasRememberedWhileStopped) {
  const auto producer = MakeProducer();
  producer->SetEncoderParams(kBig, SizeOf(1280, 720));
  producer->StopEncoder(kBig, 0);
  producer->StartCapture(Camera(), {});
  EXPECT_EQ(testing::Describe(camera_service().captures().back().params), "{cam-1 1280x720}");
}

TEST_F(CameraSize, IsWrittenEachTimeBecauseItsNumbersAreNotFiltered) {
  SetLogValueFiltering(true);
  const auto producer = MakeProducer();
  producer->SetProducerMode(ProducerMode::kOwnSize);
  for (int time = 0; time < 2; ++time) {
    producer->StartCapture(CameraOfSize(640, 360), {});
    producer->SetProducerMode(ProducerMode::kEncodeSize);
    producer->SetEncoderParams(kBig, SizeOf(1280, 720));
    producer->StopCapture({});
    producer->SetProducerMode(ProducerMode::kOwnSize);
  }
  EXPECT_EQ(journal().Count(Info("Update camera capture size from Size{640x360} to "
                                 "Size{1280x720} in kEncodeSize")),
            2u);
}

}  // namespace
}  // namespace movra::video
