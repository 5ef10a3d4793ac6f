// The producer's figures: who is asked, and what stays when nobody can be.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "video/producer/capture_test_fixture.h"

namespace movra::video {
namespace {

using ::testing::ElementsAre;

constexpr auto kBig = VideoStreamType::kBig;
constexpr auto kSmall = VideoStreamType::kSmall;

class Stats : public CaptureTest {
 protected:
  Stats() {
    world().answers.camera_capture_stat = 11;
    world().answers.screen_capture_stat = 22;
    world().answers.preprocessor_stat = 33;
    world().answers.renderer_stats = {44, 55, "driver"};
  }

  // Whole records, compared byte by byte; there is no padding in them.
  [[nodiscard]] static std::vector<std::byte> BytesOf(const auto& record) {
    std::vector<std::byte> bytes(sizeof(record));
    std::memcpy(bytes.data(), &record, sizeof(record));
    return bytes;
  }

  // A record of which every byte is different from those of records with another seed.
  [[nodiscard]] static EncoderStats EncoderStatsOf(unsigned char seed) {
    EncoderStats stats;
    std::vector<unsigned char> bytes(sizeof(stats.record));
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<unsigned char>(seed + i);
    std::memcpy(&stats.record, bytes.data(), bytes.size());
    stats.implementation = "an implementation whose name needs memory of its own";
    return stats;
  }

  [[nodiscard]] std::shared_ptr<VideoProducer2Impl> MakeProducerWithBothEncoders() {
    auto producer = MakeProducer();
    producer->RequestKeyFrame(kBig);
    producer->RequestKeyFrame(kSmall);
    world().big_encoders.Last().stats = EncoderStatsOf(1);
    world().small_encoders.Last().stats = EncoderStatsOf(101);
    return producer;
  }

  static void EnableCustomRender(IVideoProducer2& producer) {
    producer.EnableCustomRendering(true, PixelFormat::kI420, BufferType::kMemory, nullptr);
  }
};

TEST_F(Stats, AreNoughtAtFirst) {
  world().answers.preprocessor_stat = 0;
  const auto producer = MakeProducer();
  EXPECT_EQ(BytesOf(producer->GetStats(kBig)), std::vector<std::byte>(sizeof(VideoProducerStats2)));
}

TEST_F(Stats, OfAnIdleProducerAskThePreprocessorAlone) {
  const auto producer = MakeProducer();
  journal().LeaveOut(0);
  VideoProducerStats2 stats;
  EXPECT_THAT(EntriesOf([&] { stats = producer->GetStats(kBig); }),
              ElementsAre("main_queue.IsCurrent()", "preprocessor.GetStats()"));
  VideoProducerStats2 expected;
  expected.preprocess_stat = 33;
  EXPECT_EQ(BytesOf(stats), BytesOf(expected));
}

TEST_F(Stats, AskEverybodyInOrder) {
  const auto producer = MakeProducerWithBothEncoders();
  EnableCustomRender(*producer);
  producer->SetRenderView(testing::MakeView("view"));
  producer->StartCapture(CameraOfSize(640, 360), {});
  journal().LeaveOut(0);
  VideoProducerStats2 stats;
  EXPECT_THAT(EntriesOf([&] { stats = producer->GetStats(kBig); }),
              ElementsAre("main_queue.IsCurrent()", "camera_service.GetSelf()",
                          "camera_service.GetCaptureStat({cam-1 0x0})", "preprocessor.GetStats()",
                          "renderer#2.GetStats()", "big_encoder.GetStats()"));
  EXPECT_EQ(stats.capture_stat, 11u);
  EXPECT_EQ(stats.preprocess_stat, 33u);
  EXPECT_EQ(stats.render_stat, 44u);
  EXPECT_EQ(BytesOf(stats.encoder_stats), BytesOf(EncoderStatsOf(1).record));
}

TEST_F(Stats, StayWhatTheyWereWhereNobodyCanBeAsked) {
  const auto producer = MakeProducerWithBothEncoders();
  producer->SetRenderView(testing::MakeView("view"));
  producer->StartCapture(Camera(), {});
  VideoProducerStats2 expected = producer->GetStats(kSmall);
  producer->StopCapture({});
  producer->SetRenderView(nullptr);
  producer->StopEncoder(kSmall, 0);
  producer->StopEncoder(kBig, 0);
  world().preprocessors.Last().stat = 34;

  VideoProducerStats2 stats;
  EXPECT_THAT(EntriesOf([&] { stats = producer->GetStats(kSmall); }),
              ElementsAre("preprocessor.GetStats()"));
  expected.preprocess_stat = 34;
  EXPECT_EQ(BytesOf(stats), BytesOf(expected));
}

TEST_F(Stats, OfTheCameraStayWithoutACameraService) {
  const auto producer = MakeCapturingProducer();
  EXPECT_EQ(producer->GetStats(kBig).capture_stat, 11u);
  camera_service().stat = 12;
  env().LoseCameraService();
  EXPECT_THAT(EntriesOf([&] { EXPECT_EQ(producer->GetStats(kBig).capture_stat, 11u); }),
              ElementsAre("MakeService<ICameraService>()", "preprocessor.GetStats()"));
}

// Only the real camera's parameters are ever passed, and a virtual camera runs without them.
TEST_F(Stats, OfAVirtualCameraLookTheServiceUpAndAskNothing) {
  const auto producer = MakeCapturingProducer(Camera("virtual:1"));
  EXPECT_THAT(EntriesOf([&] { EXPECT_EQ(producer->GetStats(kBig).capture_stat, 0u); }),
              ElementsAre("camera_service.GetSelf()", "preprocessor.GetStats()"));
}

TEST_F(Stats, OfADesktopComeFromTheScreenCapturer) {
  const auto producer = MakeProducer();
  producer->StartCapture(Desktop());
  EXPECT_THAT(EntriesOf([&] { EXPECT_EQ(producer->GetStats(kBig).capture_stat, 22u); }),
              ElementsAre("screen_sharing.GetCaptureStat()", "preprocessor.GetStats()"));
}

TEST_F(Stats, OfAMobileScreenComeFromTheScreenCapturer) {
  const auto producer = MakeProducer();
  producer->StartCapture(Mobile());
  EXPECT_EQ(producer->GetStats(kBig).capture_stat, 22u);
}

TEST_F(Stats, AfterUninitializeKeepTheScreensFigureAndForgetThePreprocessors) {
  const auto producer = MakeProducer();
  producer->StartCapture(Desktop());
  static_cast<void>(producer->GetStats(kBig));
  world().screen_sharings.Last().stat = 23;
  producer->Uninitialize();
  VideoProducerStats2 stats;
  EXPECT_THAT(EntriesOf([&] { stats = producer->GetStats(kBig); }), ::testing::IsEmpty());
  EXPECT_EQ(stats.capture_stat, 22u);
  EXPECT_EQ(stats.preprocess_stat, 0u);
}

TEST_F(Stats, OfCustomCaptureComeFromTheApplicationsReaderWhileItLives) {
  const auto producer = MakeProducer();
  auto reader = env().Make<testing::FrameReaderDouble>("reader");
  reader->capture_stat = 66;
  producer->EnableCustomCapturing(true);
  EXPECT_EQ(producer->GetStats(kBig).capture_stat, 0u);
  producer->SetCustomCaptureInputTrack(reader);
  EXPECT_THAT(EntriesOf([&] { EXPECT_EQ(producer->GetStats(kBig).capture_stat, 66u); }),
              ElementsAre("reader.GetCaptureStat()", "preprocessor.GetStats()"));
  reader.reset();
  EXPECT_EQ(producer->GetStats(kBig).capture_stat, 66u);
}

TEST_F(Stats, OfAnotherSourceAskNoReaderOfTheApplication) {
  const auto producer = MakeProducer();
  const auto reader = env().Make<testing::FrameReaderDouble>("reader");
  producer->SetCustomCaptureInputTrack(reader);
  EXPECT_THAT(EntriesOf([&] { static_cast<void>(producer->GetStats(kBig)); }),
              ElementsAre("preprocessor.GetStats()"));
}

TEST_F(Stats, AskTheCustomRendererWhereThereIsNoPreview) {
  const auto producer = MakeProducer();
  EnableCustomRender(*producer);
  EXPECT_THAT(EntriesOf([&] { EXPECT_EQ(producer->GetStats(kBig).render_stat, 44u); }),
              ElementsAre("preprocessor.GetStats()", "renderer.GetStats()"));
}

TEST_F(Stats, AskThePreviewAlone) {
  const auto producer = MakeProducer();
  producer->SetRenderView(testing::MakeView("view"));
  EnableCustomRender(*producer);
  EXPECT_THAT(EntriesOf([&] { EXPECT_EQ(producer->GetStats(kBig).render_stat, 44u); }),
              ElementsAre("preprocessor.GetStats()", "renderer.GetStats()"));
}

TEST_F(Stats, AreThoseOfTheProducersOwnCollaborators) {
  const auto producer = MakeProducer();
  EnableCustomRender(*producer);
  producer->SetRenderView(testing::MakeView("view"));
  producer->StartCapture(Desktop());
  world().preprocessors.Last().stat = 1;
  world().screen_sharings.Last().stat = 2;
  world().renderers.At(0).stats.frames_rendered = 3;
  world().renderers.At(1).stats.frames_rendered = 4;
  const auto other = MakeProducer();
  other->SetRenderView(testing::MakeView("other view"));
  other->StartCapture(Desktop());

  VideoProducerStats2 expected;
  expected.preprocess_stat = 1;
  expected.capture_stat = 2;
  expected.render_stat = 4;
  EXPECT_EQ(BytesOf(producer->GetStats(kBig)), BytesOf(expected));
  expected.preprocess_stat = 33;
  expected.capture_stat = 22;
  expected.render_stat = 44;
  EXPECT_EQ(BytesOf(other->GetStats(kBig)), BytesOf(expected));
}

TEST_F(Stats, OfTheSmallStreamAskTheSmallEncoderAlone) {
  const auto producer = MakeProducerWithBothEncoders();
  VideoProducerStats2 stats;
  EXPECT_THAT(EntriesOf([&] { stats = producer->GetStats(kSmall); }),
              ElementsAre("preprocessor.GetStats()", "small_encoder.GetStats()"));
  EXPECT_EQ(BytesOf(stats.encoder_stats), BytesOf(EncoderStatsOf(101).record));
}

TEST_F(Stats, OfEveryOtherStreamAskTheBigEncoder) {
  const auto producer = MakeProducerWithBothEncoders();
  for (const int type : {0, 2, -1}) {
    VideoProducerStats2 stats;
    EXPECT_THAT(EntriesOf([&] { stats = producer->GetStats(static_cast<VideoStreamType>(type)); }),
                ElementsAre("preprocessor.GetStats()", "big_encoder.GetStats()"));
    EXPECT_EQ(BytesOf(stats.encoder_stats), BytesOf(EncoderStatsOf(1).record));
  }
}

TEST_F(Stats, OfAStreamWithoutAnEncoderAreTheOtherStreamsAndMakeNone) {
  const auto producer = MakeProducer();
  producer->RequestKeyFrame(kBig);
  world().big_encoders.Last().stats = EncoderStatsOf(1);
  static_cast<void>(producer->GetStats(kBig));
  EXPECT_EQ(BytesOf(producer->GetStats(kSmall).encoder_stats), BytesOf(EncoderStatsOf(1).record));
  EXPECT_EQ(world().small_encoders.count(), 0u);
}

TEST_F(Stats, AreACopyThatLaterCallsLeaveAlone) {
  const auto producer = MakeProducer();
  const VideoProducerStats2 stats = producer->GetStats(kBig);
  world().preprocessors.Last().stat = 34;
  EXPECT_EQ(producer->GetStats(kBig).preprocess_stat, 34u);
  EXPECT_EQ(stats.preprocess_stat, 33u);
}

}  // namespace
}  // namespace movra::video
