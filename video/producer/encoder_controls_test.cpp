// Mirror and rotation of what is encoded, and the controls of one stream's encoder.

#include <functional>
#include <limits>
#include <string>

#include "video/producer/encoding_test_fixture.h"

namespace movra::video {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr auto kBig = VideoStreamType::kBig;
constexpr auto kSmall = VideoStreamType::kSmall;

class EncoderControls : public EncodingTest {};

TEST_F(EncoderControls, OfMirrorAndRotationGoToThePreprocessorOnce) {
  const auto producer = MakeProducer();
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] { producer->SetEncoderMirror(true); }),
              ElementsAre("main_queue.IsCurrent()", "preprocessor.SetEncoderMirror(true)"));
  EXPECT_THAT(EntriesOf([&] { producer->SetEncoderMirror(false); }),
              ElementsAre("main_queue.IsCurrent()", "preprocessor.SetEncoderMirror(false)"));
  EXPECT_THAT(EntriesOf([&] { producer->SetEncoderRotation(VideoRotation::k270); }),
              ElementsAre("main_queue.IsCurrent()", "preprocessor.SetEncoderRotation(k270)"));
}

TEST_F(EncoderControls, PassEveryRotationOnAsItIs) {
  const auto producer = MakeProducer();
  for (const int value : {0, 90, 180, 270, 45, -1, std::numeric_limits<int>::max()}) {
    const auto rotation = static_cast<VideoRotation>(value);
    producer->SetEncoderRotation(rotation);
    EXPECT_EQ(preprocessor().settings().encoder_rotation.value(), rotation);
  }
}

TEST_F(EncoderControls, OfMirrorAndRotationAreNotRepeatedForANewEncoder) {
  const auto producer = MakeProducer();
  producer->SetEncoderMirror(true);
  producer->SetEncoderRotation(VideoRotation::k90);
  journal().Clear();
  producer->StartEncoder(kBig, SizeOf(640, 360), writer());
  producer->StartEncoder(kSmall, SizeOf(320, 180), writer());
  EXPECT_EQ(journal().Count("preprocessor.SetEncoderMirror(true)"), 0u);
  EXPECT_EQ(journal().Count("preprocessor.SetEncoderRotation(k90)"), 0u);
}

TEST_F(EncoderControls, OfMirrorAndRotationNeedNoOwner) {
  VideoProducer2Impl producer(Context(), client(), kBig);
  EXPECT_NO_THROW(producer.SetEncoderMirror(true));
  EXPECT_NO_THROW(producer.SetEncoderRotation(VideoRotation::k90));
}

// The controls of one stream.

struct Control {
  const char* name;
  const char* entry;
  std::function<void(VideoProducer2Impl&, VideoStreamType)> send;
};

void PrintTo(const Control& control, std::ostream* stream) { *stream << control.name; }

class StreamControl : public EncodingTest, public ::testing::WithParamInterface<Control> {};

INSTANTIATE_TEST_SUITE_P(
    Of, StreamControl,
    ::testing::Values(Control{"TheNearestReference", "SetRpsNearestRefSize(3)",
                              [](VideoProducer2Impl& producer, VideoStreamType type) {
                                producer.SetRpsNearestRefSize(type, 3);
                              }},
                      Control{"AnAcknowledgement", "DeliverRpsAck(-5, 65535)",
                              [](VideoProducer2Impl& producer, VideoStreamType type) {
                                producer.DeliverRpsAck(
                                    type,
                                    {.receive_time_ms = 99, .ack_value = -5, .ack_flag = 65535});
                              }},
                      Control{"AKeyFrame", "RequestKeyFrame()",
                              [](VideoProducer2Impl& producer, VideoStreamType type) {
                                producer.RequestKeyFrame(type);
                              }},
                      Control{
                          "Regions", "SetRoiConfig([{16x32+1+2 qp-4}, {48x64+3+4 qp5}])",
                          [](VideoProducer2Impl& producer, VideoStreamType type) {
                            producer.SetRoiConfig(type, {{1, 2, 16, 32, -4}, {3, 4, 48, 64, 5}});
                          }},
                      Control{"NoRegions", "SetRoiConfig([])",
                              [](VideoProducer2Impl& producer, VideoStreamType type) {
                                producer.SetRoiConfig(type, {});
                              }}),
    [](const auto& control) { return std::string(control.param.name); });

TEST_P(StreamControl, MakesAnIdleControllerAndATrackWhereThereAreNone) {
  const auto producer = MakeProducer();
  journal().LeaveOut(0);
  EXPECT_THAT(
      EntriesOf([&] { GetParam().send(*producer, kSmall); }),
      ElementsAre("main_queue.IsCurrent()",
                  "IVideoEncoderController.CreateVideoEncoderController({7 [call][main]}, kSmall, "
                  "producer)",
                  "IPixelFrameTrack.Create(small_encoder_pixel_frame_track, 1)",
                  std::string("small_encoder.") + GetParam().entry));
  EXPECT_FALSE(world().small_encoders.Last().is_started());
  EXPECT_THAT(preprocessor().output_tracks(), IsEmpty());

  // The start uses the controller that has the setting already.
  producer->StartEncoder(kSmall, {}, writer());
  EXPECT_TRUE(world().small_encoders.At(0).is_started());
  EXPECT_EQ(world().small_encoders.count(), 1u);
}

TEST_P(StreamControl, ReachesTheControllerThatIsThereAndNothingElse) {
  const auto producer = MakeProducer();
  producer->StartEncoder(kBig, SizeOf(640, 360), writer());
  producer->StartEncoder(kSmall, SizeOf(320, 180), writer());
  journal().LeaveOut(0);
  EXPECT_THAT(
      EntriesOf([&] { GetParam().send(*producer, kBig); }),
      ElementsAre("main_queue.IsCurrent()", std::string("big_encoder.") + GetParam().entry));
  EXPECT_THAT(
      EntriesOf([&] { GetParam().send(*producer, kSmall); }),
      ElementsAre("main_queue.IsCurrent()", std::string("small_encoder.") + GetParam().entry));
  EXPECT_THAT(
      EntriesOf([&] { GetParam().send(*producer, kOtherStream); }),
      ElementsAre("main_queue.IsCurrent()", std::string("big_encoder.") + GetParam().entry));
}

TEST_P(StreamControl, IsLostWithoutAControllerAndTriesToMakeOneEachTime) {
  world().answers.makes_encoder = false;
  const auto producer = MakeProducer();
  const std::string create =
      "IVideoEncoderController.CreateVideoEncoderController({7 [call][main]}, kBig, producer)";
  const std::string create_track = "IPixelFrameTrack.Create(big_encoder_pixel_frame_track, 1)";
  EXPECT_THAT(EntriesOf([&] { GetParam().send(*producer, kBig); }),
              ElementsAre(create, create_track));
  EXPECT_THAT(EntriesOf([&] { GetParam().send(*producer, kBig); }),
              ElementsAre(create, create_track, "~big_encoder_pixel_frame_track"));
}

TEST_P(StreamControl, IsSentWhateverTheMainQueueAnswers) {
  const auto producer = MakeProducer();
  env().main_queue().set_current(false);
  EXPECT_THAT(EntriesOf([&] { GetParam().send(*producer, kBig); }),
              Contains(std::string("big_encoder.") + GetParam().entry));
}

TEST_P(StreamControl, OfAProducerThatNobodyOwnsFailsBeforeAnythingIsMade) {
  VideoProducer2Impl producer(Context(), client(), kBig);
  EXPECT_EQ(
      QueueChecksOf([&] { EXPECT_THROW(GetParam().send(producer, kBig), std::bad_weak_ptr); }), 1u);
  EXPECT_THAT(journal().Take(), IsEmpty());
  EXPECT_EQ(world().tracks.count(), 0u);
}

}  // namespace
}  // namespace movra::video
