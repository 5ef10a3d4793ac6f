// What new encode parameters do on the encoding side: the line that tells of a change, the
// controller, the connection at the preprocessor, and what is remembered of them.

#include <memory>
#include <string>
#include <vector>

#include "video/producer/encoding_test_fixture.h"

namespace movra::video {
namespace {

using ::testing::ElementsAre;

constexpr auto kBig = VideoStreamType::kBig;
constexpr auto kSmall = VideoStreamType::kSmall;

class SetEncoderParams : public EncodingTest {
 protected:
  // How often the parameters, given next, are told of as a change.
  [[nodiscard]] std::size_t CountChangeLines(VideoProducer2Impl& producer, VideoStreamType type,
                                             const EncodeParams& params) {
    journal().Clear();
    producer.SetEncoderParams(type, params);
    return journal().Count(ChangeOf(params, type));
  }
};

TEST_F(SetEncoderParams, LogsTheChangeThenTellsAFreshControllerAndConnectsNothing) {
  const auto producer = MakeProducer();
  journal().LeaveOut(0);
  EXPECT_THAT(
      EntriesOf([&] { producer->SetEncoderParams(kBig, SizeAndRateOf(1280, 720, 30)); }),
      ElementsAre(
          "main_queue.IsCurrent()",
          Info("Set encoder params:EncodeParams{width:1280 height:720 frame_rate:30} for kBig"),
          "IVideoEncoderController.CreateVideoEncoderController({7 [call][main]}, kBig, producer)",
          "IPixelFrameTrack.Create(big_encoder_pixel_frame_track, 1)",
          "big_encoder.SetEncodeParams({1280x720@30})",
          "preprocessor.SetEncoderOutputSize(1280, 720)",
          "IVideoEncoderController.QueryInputPixelFormat(kBig, {1280x720@30})",
          "big_encoder_pixel_frame_track.GetWriter()",
          "preprocessor.RemoveOutputTrack(big_encoder_pixel_frame_track.writer)",
          "big_encoder.IsStarted()", "main_queue.IsCurrent()"));
  EXPECT_THAT(OriginsOfLogLines(), ElementsAre(OriginIn("PrintEncoderParamsIfNeeded")));
}

TEST_F(SetEncoderParams, OfAStartedEncoderConnectsItAgainWithTheNewSize) {
  const auto producer = MakeProducer();
  producer->StartEncoder(kBig, SizeOf(1280, 720), writer());
  const EncodeParams params = SizeOf(640, 360);
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] { producer->SetEncoderParams(kBig, params); }),
              ElementsAre("main_queue.IsCurrent()", ChangeOf(params, kBig),
                          "big_encoder.SetEncodeParams({640x360})",
                          "preprocessor.SetEncoderOutputSize(640, 360)",
                          "IVideoEncoderController.QueryInputPixelFormat(kBig, {640x360})",
                          "big_encoder_pixel_frame_track.GetWriter()",
                          "preprocessor.RemoveOutputTrack(big_encoder_pixel_frame_track.writer)",
                          "big_encoder.IsStarted()", "big_encoder_pixel_frame_track.GetWriter()",
                          "preprocessor.AddOutputTrack(kEncoder, {640x360 enabled kMemory kI420 "
                          "kBig}, big_encoder_pixel_frame_track.writer)",
                          "main_queue.IsCurrent()"));
  EXPECT_EQ(preprocessor().output_tracks().size(), 1u);
}

TEST_F(SetEncoderParams, OfTheSmallStreamNeverSetsThePreprocessorsOutputSize) {
  const auto producer = MakeProducer();
  producer->StartEncoder(kSmall, SizeOf(320, 180), writer());
  const EncodeParams params = SizeOf(160, 90);
  EXPECT_THAT(EntriesOf([&] { producer->SetEncoderParams(kSmall, params); }),
              ElementsAre(ChangeOf(params, kSmall), "small_encoder.SetEncodeParams({160x90})",
                          "IVideoEncoderController.QueryInputPixelFormat(kSmall, {160x90})",
                          "preprocessor.RemoveOutputTrack(small_encoder_pixel_frame_track.writer)",
                          "small_encoder.IsStarted()",
                          "preprocessor.AddOutputTrack(kEncoder, {160x90 enabled kMemory kI420 "
                          "kSmall}, small_encoder_pixel_frame_track.writer)"));
  EXPECT_FALSE(preprocessor().settings().encoder_output_size.has_value());
}

TEST_F(SetEncoderParams, OfATypeWithoutANameIsTheBigStreams) {
  const auto producer = MakeProducer();
  producer->StartEncoder(kBig, SizeOf(1280, 720), writer());
  const EncodeParams params = SizeOf(640, 360);
  EXPECT_THAT(
      EntriesOf([&] { producer->SetEncoderParams(kOtherStream, params); }),
      ElementsAre(Info("Set encoder params:EncodeParams{width:640 height:360} for "
                       "VideoStreamType(2)"),
                  "big_encoder.SetEncodeParams({640x360})",
                  "preprocessor.SetEncoderOutputSize(640, 360)",
                  "IVideoEncoderController.QueryInputPixelFormat(VideoStreamType(2), {640x360})",
                  "preprocessor.RemoveOutputTrack(big_encoder_pixel_frame_track.writer)",
                  "big_encoder.IsStarted()",
                  "preprocessor.AddOutputTrack(kEncoder, {640x360 enabled kMemory kI420 "
                  "VideoStreamType(2)}, big_encoder_pixel_frame_track.writer)"));
  // Remembered as the big stream's too.
  EXPECT_EQ(CountChangeLines(*producer, kBig, params), 0u);
}

TEST_F(SetEncoderParams, GivenTwiceTellsTheControllerAndNobodyElse) {
  const auto producer = MakeProducer();
  const EncodeParams params = SizeAndRateOf(1280, 720, 30);
  for (const VideoStreamType type : {kBig, kSmall}) {
    producer->StartEncoder(type, params, writer());
    const std::string encoder = type == kBig ? "big_encoder" : "small_encoder";
    EXPECT_THAT(EntriesOf([&] { producer->SetEncoderParams(type, params); }),
                ElementsAre(encoder + ".SetEncodeParams({1280x720@30})"));
  }
}

TEST_F(SetEncoderParams, PassesTheFieldsThatOnlyTheEncoderReads) {
  const auto producer = MakeProducer();
  EncodeParams params;
  params.codec = VideoCodec::kH264;
  params.bitrate_bps = 1500000;
  params.max_bitrate_bps = 2000000;
  params.key_frame_interval_ms = 4000;
  params.threads = 2;
  params.preset = "veryfast";
  params.frame_rate_numerator = 25;
  params.frame_rate_denominator = 2;
  EXPECT_EQ(EntriesOf([&] { producer->SetEncoderParams(kBig, params); }).back(),
            "big_encoder.SetEncodeParams({codec=1 bitrate_bps=1500000 max_bitrate_bps=2000000 "
            "key_frame_interval_ms=4000 threads=2 preset=veryfast frame_rate_numerator=25 "
            "frame_rate_denominator=2})");
}

TEST_F(SetEncoderParams, WithOnlyARateRemembersItAndConnectsNothing) {
  const auto producer = MakeProducer();
  producer->StartEncoder(kBig, SizeAndRateOf(1280, 720, 30), writer());
  EXPECT_THAT(EntriesOf([&] { producer->SetEncoderParams(kBig, RateOf(15)); }),
              ElementsAre(ChangeOf(RateOf(15), kBig), "big_encoder.SetEncodeParams({@15})"));
  EXPECT_THAT(EntriesOf([&] { producer->SetEncoderParams(kBig, RateOf(15)); }),
              ElementsAre("big_encoder.SetEncodeParams({@15})"));
}

// Which parameters count as a change. The stream has 1280x720 at 30 when they are given.

struct Given {
  const char* name;
  std::vector<int> width;  // Empty or one value.
  std::vector<int> height;
  std::vector<int> frame_rate;
  bool is_told;
  bool is_connected_again;

  [[nodiscard]] EncodeParams params() const {
    EncodeParams params;
    if (!width.empty()) params.width = width[0];
    if (!height.empty()) params.height = height[0];
    if (!frame_rate.empty()) params.frame_rate = frame_rate[0];
    return params;
  }
};

void PrintTo(const Given& given, std::ostream* stream) { *stream << given.name; }

class ChangeOfEncoderParams : public EncodingTest, public ::testing::WithParamInterface<Given> {};

TEST_P(ChangeOfEncoderParams, IsToldOfAndConnectedAgainAsItsFieldsSay) {
  for (const VideoStreamType type : {kBig, kSmall, kOtherStream}) {
    const auto producer = MakeProducer();
    producer->SetEncoderParams(type, SizeAndRateOf(1280, 720, 30));
    journal().Clear();
    producer->SetEncoderParams(type, GetParam().params());
    EXPECT_EQ(journal().Count(ChangeOf(GetParam().params(), type)), GetParam().is_told ? 1u : 0u);
    EXPECT_EQ(journal().Count("IVideoEncoderController.QueryInputPixelFormat(" +
                              VideoStreamTypeToString(type) + ", " +
                              testing::Describe(GetParam().params()) + ")"),
              GetParam().is_connected_again ? 1u : 0u);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Given, ChangeOfEncoderParams,
    ::testing::Values(Given{"TheSame", {1280}, {720}, {30}, false, false},
                      Given{"TheSameSizeWithoutARate", {1280}, {720}, {}, false, false},
                      Given{"AnotherWidth", {1282}, {720}, {30}, true, true},
                      Given{"AnotherHeight", {1280}, {722}, {30}, true, true},
                      Given{"SwappedSides", {720}, {1280}, {30}, true, true},
                      Given{"AnotherSizeWithoutARate", {640}, {360}, {}, true, true},
                      Given{"AnotherRate", {1280}, {720}, {29}, true, false},
                      Given{"TheSameRateAlone", {}, {}, {30}, false, false},
                      Given{"AnotherRateAlone", {}, {}, {31}, true, false},
                      Given{"AnotherWidthAlone", {640}, {}, {}, false, false},
                      Given{"AnotherHeightAlone", {}, {360}, {}, false, false},
                      Given{"AnotherWidthAndTheSameRate", {640}, {}, {30}, false, false},
                      Given{"AnotherHeightAndAnotherRate", {}, {360}, {15}, true, false},
                      Given{"Nothing", {}, {}, {}, false, false}),
    [](const auto& given) { return std::string(given.param.name); });

TEST_F(SetEncoderParams, OfZeroAreNoChangeForAFreshStream) {
  const auto producer = MakeProducer();
  for (const VideoStreamType type : {kBig, kSmall}) {
    EXPECT_EQ(CountChangeLines(*producer, type, SizeAndRateOf(0, 0, 0)), 0u);
    EXPECT_EQ(journal().Count("preprocessor.SetEncoderOutputSize(0, 0)"), 0u);
  }
}

TEST_F(SetEncoderParams, RemembersNeitherALoneWidthNorALoneHeight) {
  const auto producer = MakeProducer();
  for (const VideoStreamType type : {kBig, kSmall}) {
    EncodeParams lone_width;
    lone_width.width = 1280;
    EncodeParams lone_height;
    lone_height.height = 720;
    producer->SetEncoderParams(type, lone_width);
    producer->SetEncoderParams(type, lone_height);
    EXPECT_EQ(CountChangeLines(*producer, type, SizeOf(0, 0)), 0u);
    EXPECT_EQ(CountChangeLines(*producer, type, SizeOf(1280, 720)), 1u);
  }
}

TEST_F(SetEncoderParams, RemembersTheStreamsSeparatelyAndBeyondAStop) {
  const auto producer = MakeProducer();
  const EncodeParams big = SizeAndRateOf(1280, 720, 30);
  const EncodeParams small = SizeAndRateOf(320, 180, 15);
  producer->SetEncoderParams(kBig, big);
  producer->SetEncoderParams(kSmall, small);
  producer->StopEncoder(kBig, 0);
  producer->StopEncoder(kSmall, 0);
  EXPECT_EQ(CountChangeLines(*producer, kBig, big), 0u);
  EXPECT_EQ(CountChangeLines(*producer, kSmall, small), 0u);
  EXPECT_EQ(CountChangeLines(*producer, kBig, small), 1u);
}

TEST_F(SetEncoderParams, LearnsTheFormatOnceAndAsksEachTime) {
  const auto producer = MakeProducer();
  for (const VideoStreamType type : {kBig, kSmall}) {
    producer->StartEncoder(type, {}, writer());
    world().answers.encoder_input_format = {BufferType::kTexture, PixelFormat::kNV12};
    producer->SetEncoderParams(type, SizeOf(640, 360));
    world().answers.encoder_input_format = {BufferType::kMemory, PixelFormat::kBGRA};
    producer->SetEncoderParams(type, SizeOf(1280, 720));
    const auto tracks = preprocessor().output_tracks();
    ASSERT_FALSE(tracks.empty());
    EXPECT_EQ(testing::Describe(tracks.back().params),
              "{1280x720 enabled kTexture kNV12 " + VideoStreamTypeToString(type) + "}");
  }
}

TEST_F(SetEncoderParams, WithoutAControllerAreToldOfAndRemembered) {
  world().answers.makes_encoder = false;
  const auto producer = MakeProducer();
  const EncodeParams params = SizeAndRateOf(1280, 720, 30);
  EXPECT_THAT(
      EntriesOf([&] { producer->SetEncoderParams(kBig, params); }),
      ElementsAre(
          ChangeOf(params, kBig),
          "IVideoEncoderController.CreateVideoEncoderController({7 [call][main]}, kBig, producer)",
          "IPixelFrameTrack.Create(big_encoder_pixel_frame_track, 1)"));
  EXPECT_EQ(CountChangeLines(*producer, kBig, params), 0u);
}

TEST_F(SetEncoderParams, CheckTheMainQueueTwiceAndIgnoreTheAnswer) {
  const auto producer = MakeProducer();
  env().main_queue().set_current(false);
  for (const VideoStreamType type : {kBig, kSmall, kOtherStream}) {
    EXPECT_EQ(QueueChecksOf([&] { producer->SetEncoderParams(type, SizeOf(640, 360)); }), 2u);
  }
  EXPECT_EQ(world().big_encoders.count() + world().small_encoders.count(), 2u);
}

TEST_F(SetEncoderParams, OfAProducerThatNobodyOwnsAreToldOfAndFailAtTheController) {
  const auto producer = std::make_unique<VideoProducer2Impl>(Context(), client(), kBig);
  const EncodeParams params = SizeAndRateOf(640, 360, 30);
  for (int time = 0; time < 2; ++time) {  // Nothing is remembered the first time.
    EXPECT_THAT(EntriesOf([&] {
                  EXPECT_THROW(producer->SetEncoderParams(kBig, params), std::bad_weak_ptr);
                }),
                ElementsAre(ChangeOf(params, kBig)));
  }
  EXPECT_THAT(world().tracks.count(), 0u);
}

}  // namespace
}  // namespace movra::video
