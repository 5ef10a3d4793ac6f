// Starting and stopping the two encoded streams: their controllers and tracks, and the tap at the
// preprocessor that feeds them.

#include <memory>
#include <string>
#include <vector>

#include "logging/log_filter.h"
#include "logging/log_sink.h"
#include "video/producer/encoding_test_fixture.h"

namespace movra::video {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr auto kBig = VideoStreamType::kBig;
constexpr auto kSmall = VideoStreamType::kSmall;

class StartEncoder : public EncodingTest {};
class StopEncoder : public EncodingTest {};

TEST_F(StartEncoder, SetsTheParametersThenWiresAndStartsTheBigStream) {
  const auto producer = MakeProducer();
  journal().LeaveOut(0);
  EXPECT_THAT(
      EntriesOf([&] { producer->StartEncoder(kBig, SizeAndRateOf(1280, 720, 30), writer()); }),
      ElementsAre(
          "main_queue.IsCurrent()", "main_queue.IsCurrent()",
          Info("Set encoder params:EncodeParams{width:1280 height:720 frame_rate:30} for kBig"),
          "IVideoEncoderController.CreateVideoEncoderController({7 [call][main]}, kBig, producer)",
          "IPixelFrameTrack.Create(big_encoder_pixel_frame_track, 1)",
          "big_encoder.SetEncodeParams({1280x720@30})",
          "preprocessor.SetEncoderOutputSize(1280, 720)",
          "IVideoEncoderController.QueryInputPixelFormat(kBig, {1280x720@30})",
          "big_encoder_pixel_frame_track.GetWriter()",
          "preprocessor.RemoveOutputTrack(big_encoder_pixel_frame_track.writer)",
          "big_encoder.IsStarted()", "main_queue.IsCurrent()",
          Info("Start encoder for type:kBig with "
               "EncodeParams{width:1280 height:720 frame_rate:30}"),
          "big_encoder.IsStarted()", "big_encoder_pixel_frame_track.GetReader()",
          "big_encoder.SetInputTrackReader(big_encoder_pixel_frame_track.reader)",
          "big_encoder.SetOutputTrackWriter(writer)", "big_encoder.Start()",
          "IVideoEncoderController.QueryInputPixelFormat(kBig, {1280x720@30})",
          "big_encoder_pixel_frame_track.GetWriter()",
          "preprocessor.RemoveOutputTrack(big_encoder_pixel_frame_track.writer)",
          "big_encoder.IsStarted()", "big_encoder_pixel_frame_track.GetWriter()",
          "preprocessor.AddOutputTrack(kEncoder, {1280x720 enabled kMemory kI420 kBig}, "
          "big_encoder_pixel_frame_track.writer)"));
}

TEST_F(StartEncoder, OfTheSmallStreamUsesItsOwnSetAndLeavesTheOutputSizeAlone) {
  const auto producer = MakeProducer();
  journal().LeaveOut(0);
  EXPECT_THAT(
      EntriesOf([&] { producer->StartEncoder(kSmall, SizeAndRateOf(320, 180, 15), writer()); }),
      ElementsAre(
          "main_queue.IsCurrent()", "main_queue.IsCurrent()",
          Info("Set encoder params:EncodeParams{width:320 height:180 frame_rate:15} for kSmall"),
          "IVideoEncoderController.CreateVideoEncoderController({7 [call][main]}, kSmall, "
          "producer)",
          "IPixelFrameTrack.Create(small_encoder_pixel_frame_track, 1)",
          "small_encoder.SetEncodeParams({320x180@15})",
          "IVideoEncoderController.QueryInputPixelFormat(kSmall, {320x180@15})",
          "small_encoder_pixel_frame_track.GetWriter()",
          "preprocessor.RemoveOutputTrack(small_encoder_pixel_frame_track.writer)",
          "small_encoder.IsStarted()", "main_queue.IsCurrent()",
          Info("Start encoder for type:kSmall with "
               "EncodeParams{width:320 height:180 frame_rate:15}"),
          "small_encoder.IsStarted()", "small_encoder_pixel_frame_track.GetReader()",
          "small_encoder.SetInputTrackReader(small_encoder_pixel_frame_track.reader)",
          "small_encoder.SetOutputTrackWriter(writer)", "small_encoder.Start()",
          "IVideoEncoderController.QueryInputPixelFormat(kSmall, {320x180@15})",
          "small_encoder_pixel_frame_track.GetWriter()",
          "preprocessor.RemoveOutputTrack(small_encoder_pixel_frame_track.writer)",
          "small_encoder.IsStarted()", "small_encoder_pixel_frame_track.GetWriter()",
          "preprocessor.AddOutputTrack(kEncoder, {320x180 enabled kMemory kI420 kSmall}, "
          "small_encoder_pixel_frame_track.writer)"));
}

TEST_F(StartEncoder, PassesATypeWithoutANameAsItIsAndUsesTheBigSet) {
  const auto producer = MakeProducer();
  producer->StartEncoder(kOtherStream, SizeOf(640, 360), writer());
  const auto entries = journal().Take();
  EXPECT_THAT(entries, Contains("IVideoEncoderController.CreateVideoEncoderController("
                                "{7 [call][main]}, VideoStreamType(2), producer)"));
  EXPECT_THAT(entries, Contains("IPixelFrameTrack.Create(big_encoder_pixel_frame_track, 1)"));
  EXPECT_THAT(entries, Contains("preprocessor.SetEncoderOutputSize(640, 360)"));
  EXPECT_THAT(entries, Contains(Info("Start encoder for type:VideoStreamType(2) with "
                                     "EncodeParams{width:640 height:360}")));
  EXPECT_EQ(entries.back(),
            "preprocessor.AddOutputTrack(kEncoder, {640x360 enabled kMemory kI420 "
            "VideoStreamType(2)}, big_encoder_pixel_frame_track.writer)");

  producer->StartEncoder(kBig, {}, writer());
  EXPECT_EQ(journal().Take().back(), Info("Encoder already start."));
  EXPECT_EQ(world().big_encoders.count(), 1u);
  EXPECT_EQ(world().small_encoders.count(), 0u);
}

TEST_F(StartEncoder, OfBothStreamsKeepsThemApart) {
  const auto producer = MakeProducer();
  producer->StartEncoder(kBig, SizeOf(1280, 720), writer());
  producer->StartEncoder(kSmall, SizeOf(320, 180), writer());
  EXPECT_NE(&world().Track("big_encoder_pixel_frame_track"),
            &world().Track("small_encoder_pixel_frame_track"));
  const auto tracks = preprocessor().output_tracks();
  ASSERT_EQ(tracks.size(), 2u);
  EXPECT_EQ(tracks[0].writer.lock(), world().Track("big_encoder_pixel_frame_track").writer());
  EXPECT_EQ(tracks[1].writer.lock(), world().Track("small_encoder_pixel_frame_track").writer());
  EXPECT_EQ(world().tracks.count(), 2u);
}

TEST_F(StartEncoder, WhileStartedAppliesTheParametersAndLeavesTheWiringAsItWas) {
  const auto producer = MakeProducer();
  producer->StartEncoder(kBig, SizeAndRateOf(1280, 720, 30), writer());
  const auto other = env().Make<testing::EncodedWriterDouble>("other");
  const EncodeParams params = SizeAndRateOf(1280, 720, 15);
  EXPECT_THAT(EntriesOf([&] { producer->StartEncoder(kBig, params, other); }),
              ElementsAre(ChangeOf(params, kBig), "big_encoder.SetEncodeParams({1280x720@15})",
                          Info("Start encoder for type:kBig with " + params.ToString()),
                          "big_encoder.IsStarted()", Info("Encoder already start.")));
  EXPECT_EQ(world().big_encoders.Last().output().lock(), writer());
}

TEST_F(StartEncoder, WithoutAWriterOnlySetsTheParameters) {
  const auto producer = MakeProducer();
  EXPECT_THAT(
      EntriesOf([&] { producer->StartEncoder(kBig, RateOf(30), nullptr); }),
      ElementsAre(
          ChangeOf(RateOf(30), kBig),
          "IVideoEncoderController.CreateVideoEncoderController({7 [call][main]}, kBig, producer)",
          "IPixelFrameTrack.Create(big_encoder_pixel_frame_track, 1)",
          "big_encoder.SetEncodeParams({@30})",
          Info("Start encoder for type:kBig with EncodeParams{frame_rate:30}")));
  EXPECT_FALSE(world().big_encoders.Last().is_started());
}

TEST_F(StartEncoder, WithoutAWriterDoesNotSayThatTheEncoderIsStarted) {
  const auto producer = MakeProducer();
  producer->StartEncoder(kBig, {}, writer());
  EXPECT_THAT(EntriesOf([&] { producer->StartEncoder(kBig, {}, nullptr); }),
              ElementsAre("big_encoder.SetEncodeParams({})",
                          Info("Start encoder for type:kBig with EncodeParams{}")));
}

class StartEncoderWithoutASize : public EncodingTest,
                                 public ::testing::WithParamInterface<const char*> {};

TEST_P(StartEncoderWithoutASize, StartsTheControllerAndConnectsNothing) {
  const std::string given = GetParam();
  EncodeParams params;
  if (given == "width") params.width = 1280;
  if (given == "height") params.height = 720;
  const auto producer = MakeProducer();
  producer->SetEncoderParams(kBig, {});
  EXPECT_THAT(EntriesOf([&] { producer->StartEncoder(kBig, params, writer()); }),
              ElementsAre("big_encoder.SetEncodeParams(" + testing::Describe(params) + ")",
                          Info("Start encoder for type:kBig with " + params.ToString()),
                          "big_encoder.IsStarted()",
                          "big_encoder.SetInputTrackReader(big_encoder_pixel_frame_track.reader)",
                          "big_encoder.SetOutputTrackWriter(writer)", "big_encoder.Start()"));
  EXPECT_TRUE(world().big_encoders.Last().is_started());

  // A size that comes later makes the connection.
  producer->SetEncoderParams(kBig, SizeOf(1280, 720));
  EXPECT_EQ(
      preprocessor().CountRegistrations(world().Track("big_encoder_pixel_frame_track").writer()),
      1u);
}

INSTANTIATE_TEST_SUITE_P(Given, StartEncoderWithoutASize,
                         ::testing::Values("width", "height", "neither"),
                         [](const auto& given) { return std::string(given.param); });

TEST_F(StartEncoder, UsesTheIdleControllerThatOtherOperationsMade) {
  const auto producer = MakeProducer();
  producer->RequestKeyFrame(kBig);
  producer->StartEncoder(kBig, SizeOf(640, 360), writer());
  EXPECT_EQ(world().big_encoders.count(), 1u);
  EXPECT_EQ(world().tracks.count(), 1u);
  EXPECT_TRUE(world().big_encoders.Last().is_started());
}

TEST_F(StartEncoder, TakesTheControllersOwnWordForWhetherItIsStarted) {
  const auto producer = MakeProducer();
  producer->StartEncoder(kBig, SizeOf(640, 360), writer());
  world().big_encoders.Last().set_started(false);
  producer->StartEncoder(kBig, SizeOf(640, 360), writer());
  EXPECT_TRUE(world().big_encoders.Last().is_started());
  EXPECT_EQ(world().big_encoders.count(), 1u);
  EXPECT_EQ(preprocessor().output_tracks().size(), 1u);
}

TEST_F(StartEncoder, ChecksTheMainQueueThreeTimesAndIgnoresTheAnswer) {
  const auto producer = MakeProducer();
  env().main_queue().set_current(false);
  EXPECT_EQ(QueueChecksOf([&] { producer->StartEncoder(kBig, SizeOf(640, 360), writer()); }), 3u);
  EXPECT_TRUE(world().big_encoders.Last().is_started());
  // No more of them when it stops early.
  EXPECT_EQ(QueueChecksOf([&] { producer->StartEncoder(kBig, {}, writer()); }), 3u);
  EXPECT_EQ(QueueChecksOf([&] { producer->StartEncoder(kBig, {}, nullptr); }), 3u);
}

TEST_F(StartEncoder, NamesItselfInItsLogLines) {
  const auto producer = MakeProducer();
  producer->StartEncoder(kBig, RateOf(30), writer());
  producer->StartEncoder(kBig, RateOf(30), writer());
  EXPECT_THAT(OriginsOfLogLines(),
              ElementsAre(OriginIn("PrintEncoderParamsIfNeeded"), OriginIn("StartEncoder"),
                          OriginIn("StartEncoder"), OriginIn("StartEncoder")));
}

TEST_F(StartEncoder, DoesItsWorkWithTheLogOff) {
  movra_logging::SetMinLogLevel(movra_logging::kLogLevelInfo + 1);
  const auto producer = MakeProducer();
  producer->StartEncoder(kBig, SizeOf(640, 360), writer());
  producer->StartEncoder(kBig, SizeOf(640, 360), writer());
  EXPECT_THAT(env().log().Take(), IsEmpty());
  EXPECT_EQ(preprocessor().output_tracks().size(), 1u);
}

TEST_F(StartEncoder, GivesTheSubStreamsContextToItsControllers) {
  const auto producer = MakeProducer(VideoStreamType::kSmall);
  producer->StartEncoder(kBig, {}, writer());
  const auto entries = journal().Take();
  EXPECT_THAT(entries, Contains("IVideoEncoderController.CreateVideoEncoderController("
                                "{7 [call][sub]}, kBig, producer)"));
  EXPECT_EQ(entries.at(entries.size() - 5),
            Info("Start encoder for type:kBig with EncodeParams{}", "[sub]"));
}

TEST_F(StartEncoder, KeepsNeitherTheWriterAliveNorItselfThroughTheController) {
  auto producer = MakeProducer();
  producer->StartEncoder(kBig, SizeOf(640, 360), writer());
  EXPECT_THAT(EntriesOf([&] { ReleaseWriter(); }), ElementsAre("~writer"));
  EXPECT_TRUE(world().big_encoders.Last().output().expired());

  const auto encoder = world().big_encoders.Find(0);
  EXPECT_THAT(EntriesOf([&] { producer.reset(); }),
              ElementsAre("~big_encoder_pixel_frame_track", "~preprocessor", "~screen_sharing"));
  EXPECT_EQ(encoder->client(), nullptr);
  EXPECT_TRUE(encoder->input().expired());
}

TEST_F(StartEncoder, GoesThroughItsOwnSlotToSetTheParameters) {
  // The class may be derived from, and then the derived class sees the parameters of a start.
  class Listening : public VideoProducer2Impl {
   public:
    using VideoProducer2Impl::VideoProducer2Impl;
    void SetEncoderParams(VideoStreamType type, const EncodeParams& params) override {
      testing::World::Current().journal()->Call("derived", "SetEncoderParams", type, params);
    }
  };
  const auto producer = std::make_shared<Listening>(Context(), client(), kBig);
  EXPECT_THAT(EntriesOf([&] { producer->StartEncoder(kSmall, RateOf(30), nullptr); }),
              ElementsAre("derived.SetEncoderParams(kSmall, {@30})",
                          Info("Start encoder for type:kSmall with EncodeParams{frame_rate:30}")));
}

// The input format.

TEST_F(StartEncoder, AsksForTheFormatAgainAfterAStopAndKeepsTheOneItLearnedFirst) {
  const auto producer = MakeProducer();
  world().answers.encoder_input_format = {BufferType::kTexture, PixelFormat::kNV12};
  producer->StartEncoder(kBig, SizeOf(640, 360), writer());
  producer->StopEncoder(kBig, 0);
  world().answers.encoder_input_format = {BufferType::kMemory, PixelFormat::kBGRA};
  producer->StartEncoder(kBig, SizeOf(640, 360), writer());
  const auto entries = journal().Take();
  EXPECT_THAT(entries,
              Contains("IVideoEncoderController.QueryInputPixelFormat(kBig, {640x360})").Times(3));
  EXPECT_EQ(entries.back(),
            "preprocessor.AddOutputTrack(kEncoder, {640x360 enabled kTexture kNV12 kBig}, "
            "big_encoder_pixel_frame_track#2.writer)");
}

TEST_F(StartEncoder, LearnsTheFormatsOfTheStreamsSeparately) {
  const auto producer = MakeProducer();
  world().answers.encoder_input_format = {BufferType::kTexture, PixelFormat::kNV12};
  producer->StartEncoder(kSmall, SizeOf(320, 180), writer());
  world().answers.encoder_input_format = {BufferType::kMemory, PixelFormat::kBGRA};
  producer->StartEncoder(kBig, SizeOf(640, 360), writer());
  const auto tracks = preprocessor().output_tracks();
  ASSERT_EQ(tracks.size(), 2u);
  EXPECT_EQ(testing::Describe(tracks[0].params), "{320x180 enabled kTexture kNV12 kSmall}");
  EXPECT_EQ(testing::Describe(tracks[1].params), "{640x360 enabled kMemory kBGRA kBig}");
}

TEST_F(StartEncoder, TakesTheBufferTypeOfAnUnknownFormatAndAsksUntilOneIsKnown) {
  const auto producer = MakeProducer();
  world().answers.encoder_input_format = {BufferType::kTexture, PixelFormat::kNone};
  producer->StartEncoder(kBig, SizeOf(640, 360), writer());
  EXPECT_EQ(testing::Describe(preprocessor().output_tracks().at(0).params),
            "{640x360 enabled kTexture kNone kBig}");
  world().answers.encoder_input_format = {BufferType::kMemory, PixelFormat::kI420};
  producer->SetEncoderParams(kBig, SizeOf(642, 360));
  EXPECT_EQ(testing::Describe(preprocessor().output_tracks().at(0).params),
            "{642x360 enabled kMemory kI420 kBig}");
}

TEST_F(StartEncoder, LearnsTheFormatOfASizeThatWasSetWithoutOne) {
  const auto producer = MakeProducer();
  world().answers.makes_encoder = false;
  producer->SetEncoderParams(kBig, SizeOf(640, 360));  // Remembers the size, asks for no format.
  world().answers.makes_encoder = true;
  EXPECT_THAT(
      EntriesOf([&] { producer->StartEncoder(kBig, SizeOf(640, 360), writer()); }),
      ElementsAre(
          "IVideoEncoderController.CreateVideoEncoderController({7 [call][main]}, kBig, producer)",
          "IPixelFrameTrack.Create(big_encoder_pixel_frame_track, 1)",
          "~big_encoder_pixel_frame_track", "big_encoder.SetEncodeParams({640x360})",
          Info("Start encoder for type:kBig with EncodeParams{width:640 height:360}"),
          "big_encoder.IsStarted()",
          "big_encoder.SetInputTrackReader(big_encoder_pixel_frame_track#2.reader)",
          "big_encoder.SetOutputTrackWriter(writer)", "big_encoder.Start()",
          "IVideoEncoderController.QueryInputPixelFormat(kBig, {640x360})",
          "preprocessor.RemoveOutputTrack(big_encoder_pixel_frame_track#2.writer)",
          "big_encoder.IsStarted()",
          "preprocessor.AddOutputTrack(kEncoder, {640x360 enabled kMemory kI420 kBig}, "
          "big_encoder_pixel_frame_track#2.writer)"));
}

// Factories that fail.

TEST_F(StartEncoder, GivesUpSilentlyWithoutAControllerAndTriesAgainNextTime) {
  world().answers.makes_encoder = false;
  const auto producer = MakeProducer();
  const std::string create =
      "IVideoEncoderController.CreateVideoEncoderController({7 [call][main]}, kBig, producer)";
  const std::string create_track = "IPixelFrameTrack.Create(big_encoder_pixel_frame_track, 1)";
  EXPECT_THAT(EntriesOf([&] { producer->StartEncoder(kBig, SizeOf(640, 360), writer()); }),
              ElementsAre(ChangeOf(SizeOf(640, 360), kBig), create, create_track,
                          Info("Start encoder for type:kBig with "
                               "EncodeParams{width:640 height:360}"),
                          create, create_track, "~big_encoder_pixel_frame_track"));
}

TEST_F(StartEncoder, StartsAControllerThatHasNoTrackAndConnectsNothing) {
  world().answers.makes_track = false;
  const auto producer = MakeProducer();
  EXPECT_THAT(
      EntriesOf([&] { producer->StartEncoder(kBig, SizeOf(640, 360), writer()); }),
      ElementsAre(
          ChangeOf(SizeOf(640, 360), kBig),
          "IVideoEncoderController.CreateVideoEncoderController({7 [call][main]}, kBig, producer)",
          "IPixelFrameTrack.Create(big_encoder_pixel_frame_track, 1)",
          "big_encoder.SetEncodeParams({640x360})", "preprocessor.SetEncoderOutputSize(640, 360)",
          "IVideoEncoderController.QueryInputPixelFormat(kBig, {640x360})",
          Info("Start encoder for type:kBig with EncodeParams{width:640 height:360}"),
          "big_encoder.IsStarted()", "big_encoder.SetOutputTrackWriter(writer)",
          "big_encoder.Start()", "IVideoEncoderController.QueryInputPixelFormat(kBig, {640x360})"));
  // A missing track is not made later: it comes with a new controller only.
  world().answers.makes_track = true;
  EXPECT_THAT(EntriesOf([&] { producer->SetEncoderParams(kBig, SizeOf(1280, 720)); }),
              Not(Contains("IPixelFrameTrack.Create(big_encoder_pixel_frame_track, 1)")));
}

// Owners.

TEST_F(StartEncoder, OfAProducerThatNobodyOwnsFailsWhereTheControllerIsMade) {
  VideoProducer2Impl producer(Context(), client(), kBig);
  const auto start = [&] { producer.StartEncoder(kBig, RateOf(30), writer()); };
  EXPECT_THAT(EntriesOf([&] { EXPECT_THROW(start(), std::bad_weak_ptr); }),
              ElementsAre(ChangeOf(RateOf(30), kBig)));
  // Nothing was remembered, so the parameters are news again.
  EXPECT_THAT(EntriesOf([&] { EXPECT_THROW(start(), std::bad_weak_ptr); }),
              ElementsAre(ChangeOf(RateOf(30), kBig)));
  EXPECT_EQ(QueueChecksOf([&] { EXPECT_THROW(start(), std::bad_weak_ptr); }), 2u);
}

TEST_F(StartEncoder, OfADyingProducerNeedsNoOwnerForAControllerThatExists) {
  const auto start_both_and_delete = [this](VideoProducer2Impl* producer) {
    EXPECT_NO_THROW(producer->StartEncoder(kBig, {}, writer()));
    EXPECT_THROW(producer->StartEncoder(kSmall, {}, writer()), std::bad_weak_ptr);
    delete producer;
  };
  std::shared_ptr<VideoProducer2Impl> producer(new VideoProducer2Impl(Context(), client(), kBig),
                                               start_both_and_delete);
  producer->RequestKeyFrame(kBig);
  EXPECT_THAT(EntriesOf([&] { producer.reset(); }), Contains("big_encoder.Start()"));
}

// Stopping.

TEST_F(StopEncoder, DisconnectsStopsAndReleasesInThisOrder) {
  const auto producer = MakeProducer();
  producer->StartEncoder(kBig, SizeOf(640, 360), writer());
  journal().LeaveOut(0);
  EXPECT_THAT(
      EntriesOf([&] { producer->StopEncoder(kBig, 250); }),
      ElementsAre("main_queue.IsCurrent()",
                  Info("Stop encoder for type:kBig with waiting max time:250 ms"),
                  "big_encoder_pixel_frame_track.GetWriter()",
                  "preprocessor.RemoveOutputTrack(big_encoder_pixel_frame_track.writer)",
                  "big_encoder.Stop(250)", "big_encoder_pixel_frame_track.Reset()",
                  "~big_encoder_pixel_frame_track.writer", "~big_encoder_pixel_frame_track.reader",
                  "~big_encoder_pixel_frame_track", "~big_encoder"));
  EXPECT_THAT(OriginsOfLogLines(), Contains(OriginIn("StopEncoder")).Times(1));
}

TEST_F(StopEncoder, OfTheSmallStreamLeavesTheBigOneRunning) {
  const auto producer = MakeProducer();
  producer->StartEncoder(kBig, SizeOf(640, 360), writer());
  producer->StartEncoder(kSmall, SizeOf(320, 180), writer());
  EXPECT_THAT(EntriesOf([&] { producer->StopEncoder(kSmall, 0); }),
              ElementsAre(Info("Stop encoder for type:kSmall with waiting max time:0 ms"),
                          "preprocessor.RemoveOutputTrack(small_encoder_pixel_frame_track.writer)",
                          "small_encoder.Stop(0)", "small_encoder_pixel_frame_track.Reset()",
                          "~small_encoder_pixel_frame_track", "~small_encoder"));
  EXPECT_TRUE(world().big_encoders.Last().is_started());
  EXPECT_EQ(preprocessor().output_tracks().size(), 1u);
}

TEST_F(StopEncoder, OfATypeWithoutANameStopsTheBigStream) {
  const auto producer = MakeProducer();
  producer->StartEncoder(kBig, {}, writer());
  EXPECT_EQ(EntriesOf([&] { producer->StopEncoder(kOtherStream, 18446744073709551615U); }).at(0),
            Info("Stop encoder for type:VideoStreamType(2) with waiting max time:"
                 "18446744073709551615 ms"));
  EXPECT_FALSE(world().big_encoders.IsAlive(0));
}

TEST_F(StopEncoder, OfAStreamWithoutAControllerOnlyLogs) {
  VideoProducer2Impl producer(Context(), client(), kBig);  // Needs no owner either.
  EXPECT_THAT(EntriesOf([&] { producer.StopEncoder(kBig, 9); }),
              ElementsAre(Info("Stop encoder for type:kBig with waiting max time:9 ms")));
}

TEST_F(StopEncoder, StopsAnIdleControllerToo) {
  const auto producer = MakeProducer();
  producer->RequestKeyFrame(kBig);
  EXPECT_THAT(EntriesOf([&] { producer->StopEncoder(kBig, 1); }), Contains("big_encoder.Stop(1)"));
}

TEST_F(StopEncoder, DropsATrackThatHasNoController) {
  world().answers.makes_encoder = false;
  const auto producer = MakeProducer();
  producer->RequestKeyFrame(kBig);
  EXPECT_THAT(
      EntriesOf([&] { producer->StopEncoder(kBig, 1); }),
      ElementsAre(Info("Stop encoder for type:kBig with waiting max time:1 ms"),
                  "preprocessor.RemoveOutputTrack(big_encoder_pixel_frame_track.writer)",
                  "big_encoder_pixel_frame_track.Reset()", "~big_encoder_pixel_frame_track"));
}

TEST_F(StopEncoder, StopsAControllerThatHasNoTrack) {
  world().answers.makes_track = false;
  const auto producer = MakeProducer();
  producer->RequestKeyFrame(kBig);
  EXPECT_THAT(EntriesOf([&] { producer->StopEncoder(kBig, 1); }),
              ElementsAre(Info("Stop encoder for type:kBig with waiting max time:1 ms"),
                          "big_encoder.Stop(1)", "~big_encoder"));
}

TEST_F(StopEncoder, IsFollowedByAStartOfANewControllerAndTrackUnderTheSameName) {
  const auto producer = MakeProducer();
  producer->StartEncoder(kBig, SizeOf(640, 360), writer());
  producer->StopEncoder(kBig, 0);
  // The size is remembered, so the parameters are no news and only the start connects the track.
  EXPECT_THAT(
      EntriesOf([&] { producer->StartEncoder(kBig, SizeOf(640, 360), writer()); }),
      ElementsAre(
          "IVideoEncoderController.CreateVideoEncoderController({7 [call][main]}, kBig, producer)",
          "IPixelFrameTrack.Create(big_encoder_pixel_frame_track, 1)",
          "big_encoder#2.SetEncodeParams({640x360})",
          Info("Start encoder for type:kBig with EncodeParams{width:640 height:360}"),
          "big_encoder#2.IsStarted()",
          "big_encoder#2.SetInputTrackReader(big_encoder_pixel_frame_track#2.reader)",
          "big_encoder#2.SetOutputTrackWriter(writer)", "big_encoder#2.Start()",
          "IVideoEncoderController.QueryInputPixelFormat(kBig, {640x360})",
          "preprocessor.RemoveOutputTrack(big_encoder_pixel_frame_track#2.writer)",
          "big_encoder#2.IsStarted()",
          "preprocessor.AddOutputTrack(kEncoder, {640x360 enabled kMemory kI420 kBig}, "
          "big_encoder_pixel_frame_track#2.writer)"));
}

TEST_F(StopEncoder, WritesItsLineAgainOnlyForANewWaitWhenValuesAreFiltered) {
  const auto producer = MakeProducer();
  SetLogValueFiltering(true);
  producer->StopEncoder(kBig, 100);
  producer->StopEncoder(kBig, 100);
  producer->StopEncoder(kSmall, 100);
  producer->StopEncoder(kSmall, 101);
  std::vector<std::string> lines;
  for (const auto& line : env().log().Take()) lines.push_back(line.text);
  EXPECT_THAT(lines, ElementsAre("[trace:7][call][main] Stop encoder for type:kBig with waiting "
                                 "max time:100 ms",
                                 "[trace:7][call][main] Stop encoder for type:kSmall with waiting "
                                 "max time:101 ms"));
}

}  // namespace
}  // namespace movra::video
