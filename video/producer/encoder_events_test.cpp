// The events of the encoders: the one that changes the wiring, and those for the client.

#include <functional>
#include <memory>
#include <string>

#include "video/producer/encoding_test_fixture.h"

namespace movra::video {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr auto kBig = VideoStreamType::kBig;
constexpr auto kSmall = VideoStreamType::kSmall;

class EncoderFormatChange : public EncodingTest {};
class EncoderEvents : public EncodingTest {
 protected:
  // The big stream's controller as the source of events.
  [[nodiscard]] std::shared_ptr<IVideoEncoderController::Client> EventsOf(
      VideoProducer2Impl& producer) {
    producer.RequestKeyFrame(kBig);
    journal().Clear();
    return world().big_encoders.Last().client();
  }
};

TEST_F(EncoderFormatChange, OfAStartedEncoderConnectsItAgainInTheNewFormat) {
  const auto producer = MakeProducer();
  producer->StartEncoder(kBig, SizeOf(640, 360), writer());
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] {
                world().big_encoders.Last().client()->OnEncoderNeededFormatChanged(
                    kBig, PixelFormat::kNV12, BufferType::kTexture);
              }),
              ElementsAre("main_queue.IsCurrent()",
                          Info("Encoder format changed for stream type:kBig from format:kI420 "
                               "type:kMemory to format:kNV12 type:kTexture"),
                          "big_encoder_pixel_frame_track.GetWriter()",
                          "preprocessor.RemoveOutputTrack(big_encoder_pixel_frame_track.writer)",
                          "big_encoder.IsStarted()", "big_encoder_pixel_frame_track.GetWriter()",
                          "preprocessor.AddOutputTrack(kEncoder, {640x360 enabled kTexture kNV12 "
                          "kBig}, big_encoder_pixel_frame_track.writer)"));
  EXPECT_THAT(OriginsOfLogLines(), Contains(OriginIn("OnEncoderNeededFormatChanged")).Times(1));
}

TEST_F(EncoderFormatChange, OfTheSmallStreamTouchesItsOwnFormatAndSize) {
  const auto producer = MakeProducer();
  producer->StartEncoder(kBig, SizeOf(640, 360), writer());
  producer->StartEncoder(kSmall, SizeOf(320, 180), writer());
  EXPECT_THAT(EntriesOf([&] {
                world().small_encoders.Last().client()->OnEncoderNeededFormatChanged(
                    kSmall, PixelFormat::kBGRA, BufferType::kTexture);
              }),
              ElementsAre(Info("Encoder format changed for stream type:kSmall from format:kI420 "
                               "type:kMemory to format:kBGRA type:kTexture"),
                          "preprocessor.RemoveOutputTrack(small_encoder_pixel_frame_track.writer)",
                          "small_encoder.IsStarted()",
                          "preprocessor.AddOutputTrack(kEncoder, {320x180 enabled kTexture kBGRA "
                          "kSmall}, small_encoder_pixel_frame_track.writer)"));
  producer->SetEncoderParams(kBig, SizeOf(1280, 720));
  EXPECT_EQ(journal().Take().back(),
            "preprocessor.AddOutputTrack(kEncoder, {1280x720 enabled kMemory kI420 kBig}, "
            "big_encoder_pixel_frame_track.writer)");
}

TEST_F(EncoderFormatChange, OfATypeWithoutANameIsTheBigStreams) {
  const auto producer = MakeProducer();
  producer->StartEncoder(kBig, SizeOf(640, 360), writer());
  EXPECT_THAT(EntriesOf([&] {
                producer->OnEncoderNeededFormatChanged(kOtherStream, static_cast<PixelFormat>(77),
                                                       static_cast<BufferType>(88));
              }),
              ElementsAre(Info("Encoder format changed for stream type:VideoStreamType(2) from "
                               "format:kI420 type:kMemory to format:PixelFormat(77) "
                               "type:BufferType(88)"),
                          "preprocessor.RemoveOutputTrack(big_encoder_pixel_frame_track.writer)",
                          "big_encoder.IsStarted()",
                          "preprocessor.AddOutputTrack(kEncoder, {640x360 enabled BufferType(88) "
                          "PixelFormat(77) VideoStreamType(2)}, "
                          "big_encoder_pixel_frame_track.writer)"));
}

TEST_F(EncoderFormatChange, OfAnIdleEncoderIsRememberedAndDisconnectsIt) {
  const auto producer = MakeProducer();
  producer->RequestKeyFrame(kBig);
  EXPECT_THAT(EntriesOf([&] {
                world().big_encoders.Last().client()->OnEncoderNeededFormatChanged(
                    kBig, PixelFormat::kNV12, BufferType::kTexture);
              }),
              ElementsAre(Info("Encoder format changed for stream type:kBig from format:kNone "
                               "type:kMemory to format:kNV12 type:kTexture"),
                          "preprocessor.RemoveOutputTrack(big_encoder_pixel_frame_track.writer)",
                          "big_encoder.IsStarted()"));
  // Known now, so the start does not take the format it asks for.
  producer->StartEncoder(kBig, SizeOf(640, 360), writer());
  EXPECT_EQ(testing::Describe(preprocessor().output_tracks().at(0).params),
            "{640x360 enabled kTexture kNV12 kBig}");
}

TEST_F(EncoderFormatChange, BeforeAnySizeConnectsAStartedEncoderWithNoSize) {
  const auto producer = MakeProducer();
  producer->StartEncoder(kBig, {}, writer());
  EXPECT_EQ(EntriesOf([&] {
              producer->OnEncoderNeededFormatChanged(kBig, PixelFormat::kI420, BufferType::kMemory);
            }).back(),
            "preprocessor.AddOutputTrack(kEncoder, {0x0 enabled kMemory kI420 kBig}, "
            "big_encoder_pixel_frame_track.writer)");
}

TEST_F(EncoderFormatChange, ToWhatItIsAlreadyLogsAndConnectsAgain) {
  const auto producer = MakeProducer();
  producer->StartEncoder(kBig, SizeOf(640, 360), writer());
  for (int time = 0; time < 2; ++time) {
    EXPECT_THAT(EntriesOf([&] {
                  producer->OnEncoderNeededFormatChanged(kBig, PixelFormat::kI420,
                                                         BufferType::kMemory);
                }),
                ElementsAre(Info("Encoder format changed for stream type:kBig from format:kI420 "
                                 "type:kMemory to format:kI420 type:kMemory"),
                            "preprocessor.RemoveOutputTrack(big_encoder_pixel_frame_track.writer)",
                            "big_encoder.IsStarted()",
                            "preprocessor.AddOutputTrack(kEncoder, {640x360 enabled kMemory kI420 "
                            "kBig}, big_encoder_pixel_frame_track.writer)"));
  }
  EXPECT_EQ(preprocessor().output_tracks().size(), 1u);
}

TEST_F(EncoderFormatChange, ToAnUnknownFormatLetsTheNextSizeLearnOne) {
  const auto producer = MakeProducer();
  producer->StartEncoder(kBig, SizeOf(640, 360), writer());
  producer->OnEncoderNeededFormatChanged(kBig, PixelFormat::kNone, BufferType::kMemory);
  world().answers.encoder_input_format = {BufferType::kTexture, PixelFormat::kBGRA};
  producer->SetEncoderParams(kBig, SizeOf(1280, 720));
  EXPECT_EQ(testing::Describe(preprocessor().output_tracks().at(0).params),
            "{1280x720 enabled kTexture kBGRA kBig}");
}

TEST_F(EncoderFormatChange, OfAStreamWithoutAControllerMakesOne) {
  const auto producer = MakeProducer();
  EXPECT_THAT(
      EntriesOf([&] {
        producer->OnEncoderNeededFormatChanged(kSmall, PixelFormat::kNV12, BufferType::kTexture);
      }),
      ElementsAre(Info("Encoder format changed for stream type:kSmall from format:kNone "
                       "type:kMemory to format:kNV12 type:kTexture"),
                  "IVideoEncoderController.CreateVideoEncoderController({7 [call][main]}, kSmall, "
                  "producer)",
                  "IPixelFrameTrack.Create(small_encoder_pixel_frame_track, 1)",
                  "preprocessor.RemoveOutputTrack(small_encoder_pixel_frame_track.writer)",
                  "small_encoder.IsStarted()"));
}

TEST_F(EncoderFormatChange, WithoutAControllerOrATrackIsRememberedOnly) {
  const auto producer = MakeProducer();
  const std::string create =
      "IVideoEncoderController.CreateVideoEncoderController({7 [call][main]}, kBig, producer)";
  const std::string create_track = "IPixelFrameTrack.Create(big_encoder_pixel_frame_track, 1)";
  world().answers.makes_encoder = false;
  EXPECT_THAT(EntriesOf([&] {
                producer->OnEncoderNeededFormatChanged(kBig, PixelFormat::kNV12,
                                                       BufferType::kTexture);
              }),
              ElementsAre(Info("Encoder format changed for stream type:kBig from format:kNone "
                               "type:kMemory to format:kNV12 type:kTexture"),
                          create, create_track));
  world().answers.makes_encoder = true;
  world().answers.makes_track = false;
  EXPECT_THAT(EntriesOf([&] {
                producer->OnEncoderNeededFormatChanged(kBig, PixelFormat::kI420,
                                                       BufferType::kMemory);
              }),
              ElementsAre(Info("Encoder format changed for stream type:kBig from format:kNV12 "
                               "type:kTexture to format:kI420 type:kMemory"),
                          create, create_track, "~big_encoder_pixel_frame_track"));
}

TEST_F(EncoderFormatChange, NeedsNoClient) {
  const auto producer = MakeProducer();
  producer->StartEncoder(kBig, SizeOf(640, 360), writer());
  ReleaseClient();
  producer->OnEncoderNeededFormatChanged(kBig, PixelFormat::kNV12, BufferType::kTexture);
  EXPECT_EQ(preprocessor().output_tracks().at(0).params.pixel_format, PixelFormat::kNV12);
}

TEST_F(EncoderFormatChange, OfAProducerThatNobodyOwnsIsRememberedBeforeItFails) {
  VideoProducer2Impl producer(Context(), client(), kBig);
  const auto change_to = [&](PixelFormat format) {
    EXPECT_THROW(producer.OnEncoderNeededFormatChanged(kBig, format, BufferType::kTexture),
                 std::bad_weak_ptr);
  };
  EXPECT_THAT(EntriesOf([&] { change_to(PixelFormat::kNV12); }),
              ElementsAre(Info("Encoder format changed for stream type:kBig from format:kNone "
                               "type:kMemory to format:kNV12 type:kTexture")));
  EXPECT_THAT(EntriesOf([&] { change_to(PixelFormat::kBGRA); }),
              ElementsAre(Info("Encoder format changed for stream type:kBig from format:kNV12 "
                               "type:kTexture to format:kBGRA type:kTexture")));
}

TEST_F(EncoderFormatChange, ChecksTheMainQueueOnceAndIgnoresTheAnswer) {
  const auto producer = MakeProducer();
  producer->StartEncoder(kBig, SizeOf(640, 360), writer());
  env().main_queue().set_current(false);
  EXPECT_EQ(QueueChecksOf([&] {
              producer->OnEncoderNeededFormatChanged(kBig, PixelFormat::kNV12,
                                                     BufferType::kTexture);
            }),
            1u);
  EXPECT_EQ(preprocessor().output_tracks().at(0).params.pixel_format, PixelFormat::kNV12);
}

// Events for the client.

TEST_F(EncoderEvents, OfAPropertyReachTheClientWithBothRecordsAndAMessageOfTheFirst) {
  const auto producer = MakeProducer();
  const auto events = EventsOf(*producer);
  const EncoderProperty from{1, (std::int64_t{640} << 32) + 360, "old"};
  const EncoderProperty to{2, (std::int64_t{1280} << 32) + 720, "new"};
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] { events->OnEncoderPropertyChanged(kSmall, from, to); }),
              ElementsAre("main_queue.IsCurrent()",
                          "client.OnEncoderPropertyChanged(producer, kSmall, {1 640x360 old}, "
                          "{2 1280x720 new}, event=encode_property_changed stream=kSmall codec=1 "
                          "size=640x360 implementation=old)"));
  EXPECT_THAT(EntriesOf([&] { events->OnEncoderPropertyChanged(kOtherStream, to, from); }),
              ElementsAre("main_queue.IsCurrent()",
                          "client.OnEncoderPropertyChanged(producer, VideoStreamType(2), "
                          "{2 1280x720 new}, {1 640x360 old}, event=encode_property_changed "
                          "stream=VideoStreamType(2) codec=2 size=1280x720 implementation=new)"));
}

TEST_F(EncoderEvents, OfAnAbilityReachTheClientWithoutTheStream) {
  const auto producer = MakeProducer();
  const auto events = EventsOf(*producer);
  journal().LeaveOut(0);
  for (const VideoStreamType type : {kBig, kSmall, kOtherStream}) {
    EXPECT_THAT(EntriesOf([&] {
                  events->OnEncodeAbilityChanged(type, {1, 2, 3, 4});
                }),
                ElementsAre("main_queue.IsCurrent()",
                            "client.OnEncodeAbilityChanged(producer, {1 2 3 4})"));
  }
}

TEST_F(EncoderEvents, OfAnErrorReachTheClientAndChangeNothing) {
  const auto producer = MakeProducer();
  producer->StartEncoder(kBig, SizeOf(640, 360), writer());
  const auto events = EventsOf(*producer);
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] {
                events->OnEncoderError(kBig, VideoEncoderError::kEncodeFailed,
                                       movra_base::Value("out of memory"));
                events->OnEncoderError(kSmall, static_cast<VideoEncoderError>(99),
                                       movra_base::Value());
              }),
              ElementsAre("main_queue.IsCurrent()",
                          "client.OnEncoderError(producer, kBig, kEncodeFailed, out of memory)",
                          "main_queue.IsCurrent()",
                          "client.OnEncoderError(producer, kSmall, VideoEncoderError(99), null)"));
  EXPECT_TRUE(world().big_encoders.Last().is_started());
  EXPECT_EQ(preprocessor().output_tracks().size(), 1u);
}

// Remembers where the records are that it is told.
class ClientThatLooksAtDetails : public testing::ClientDouble {
 public:
  using testing::ClientDouble::ClientDouble;
  const movra_base::Value* detail = nullptr;
  const EncoderProperty* from = nullptr;
  const EncoderProperty* to = nullptr;

  void OnEncoderPropertyChanged(IVideoProducer2*, VideoStreamType, const EncoderProperty& its_from,
                                const EncoderProperty& its_to, const EventMsg&) override {
    from = &its_from;
    to = &its_to;
  }
  void OnEncoderError(IVideoProducer2*, VideoStreamType, VideoEncoderError,
                      const movra_base::Value& its_detail) override {
    detail = &its_detail;
  }
};

TEST_F(EncoderEvents, OfAnErrorPassTheEncodersOwnDetail) {
  const auto producer = MakeProducer();
  const auto looking = env().Make<ClientThatLooksAtDetails>("looking");
  producer->SetClient(looking);
  const movra_base::Value detail("out of memory");
  producer->OnEncoderError(kBig, VideoEncoderError::kEncodeFailed, detail);
  EXPECT_EQ(looking->detail, &detail);
}

TEST_F(EncoderEvents, OfAPropertyPassTheEncodersOwnRecords) {
  const auto producer = MakeProducer();
  const auto looking = env().Make<ClientThatLooksAtDetails>("looking");
  producer->SetClient(looking);
  const EncoderProperty from{1, 2, "before"};
  const EncoderProperty to{3, 4, "after"};
  producer->OnEncoderPropertyChanged(kBig, from, to);
  EXPECT_EQ(looking->from, &from);
  EXPECT_EQ(looking->to, &to);
}

TEST_F(EncoderEvents, OfAPropertyHaveTheirMessageMadeOnce) {
  const auto producer = MakeProducer();
  journal().Clear();
  producer->OnEncoderPropertyChanged(kBig, {}, {});
  EXPECT_EQ(journal().Count("GetEncodePropertyChangedBaseMsg"), 1u);
}

TEST_F(EncoderEvents, OfAPropertyHaveTheirMessageMadeWhileTheClientIsHeld) {
  const auto producer = MakeProducer();
  AtEntry("GetEncodePropertyChangedBaseMsg", [this] {
    EXPECT_EQ(client().use_count(), 2);
    ReleaseClient();
  });
  EXPECT_EQ(EntriesOf([&] { producer->OnEncoderPropertyChanged(kBig, {}, {}); }).back(), "~client");
}

struct Event {
  const char* name;
  std::function<void(IVideoEncoderController::Client&)> raise;
};

void PrintTo(const Event& event, std::ostream* stream) { *stream << event.name; }

class ClientEvent : public EncodingTest, public ::testing::WithParamInterface<Event> {};

INSTANTIATE_TEST_SUITE_P(
    Of, ClientEvent,
    ::testing::Values(
        Event{"Property", [](auto& events) { events.OnEncoderPropertyChanged(kBig, {}, {}); }},
        Event{"Ability", [](auto& events) { events.OnEncodeAbilityChanged(kBig, {}); }},
        Event{
            "Error",
            [](auto& events) { events.OnEncoderError(kBig, VideoEncoderError::kOpenFailed, {}); }}),
    [](const auto& event) { return std::string(event.param.name); });

TEST_P(ClientEvent, IsDroppedWhenTheClientIsGone) {
  const auto producer = MakeProducer();
  ReleaseClient();
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] { GetParam().raise(*producer); }),
              ElementsAre("main_queue.IsCurrent()"));
}

TEST_P(ClientEvent, MakesNoMessageForAClientThatIsGone) {
  const auto producer = MakeProducer();
  ReleaseClient();
  journal().Clear();
  GetParam().raise(*producer);
  EXPECT_EQ(journal().Count(testing::Journal::kText), 0u);
}

TEST_P(ClientEvent, IsDroppedWhenThereNeverWasAClient) {
  const auto producer = std::make_shared<VideoProducer2Impl>(Context(), nullptr, kBig);
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] { GetParam().raise(*producer); }),
              ElementsAre("main_queue.IsCurrent()"));
}

TEST_P(ClientEvent, GoesToTheClientThatWasSetLast) {
  const auto producer = MakeProducer();
  const auto other = env().Make<testing::ClientDouble>("other");
  producer->SetClient(other);
  const auto entries = EntriesOf([&] { GetParam().raise(*producer); });
  EXPECT_THAT(entries, ElementsAre(::testing::StartsWith("other.")));
  producer->SetClient(nullptr);
  EXPECT_THAT(EntriesOf([&] { GetParam().raise(*producer); }), IsEmpty());
}

TEST_P(ClientEvent, NeedsNoOwnerAndIsToldWhateverTheMainQueueAnswers) {
  VideoProducer2Impl producer(Context(), client(), kBig);
  env().main_queue().set_current(false);
  EXPECT_THAT(EntriesOf([&] { GetParam().raise(producer); }),
              ElementsAre(::testing::StartsWith("client.")));
}

TEST_P(ClientEvent, ChecksTheMainQueueBeforeItLooksForTheClient) {
  const auto producer = MakeProducer();
  journal().SetObserver([this](const std::string& entry) {
    if (entry == "main_queue.IsCurrent()") ReleaseClient();
  });
  EXPECT_THAT(EntriesOf([&] { GetParam().raise(*producer); }), ElementsAre("~client"));
}

// A client whose owner lets it go while it is being told something.
class LeavingClient : public testing::ClientDouble {
 public:
  using ClientDouble::ClientDouble;

  std::function<void()> on_event;

  void OnEncoderPropertyChanged(IVideoProducer2*, VideoStreamType, const EncoderProperty&,
                                const EncoderProperty&, const EventMsg&) override {
    Leave();
  }
  void OnEncodeAbilityChanged(IVideoProducer2*, EncodeAbility) override { Leave(); }
  void OnEncoderError(IVideoProducer2*, VideoStreamType, VideoEncoderError,
                      const movra_base::Value&) override {
    Leave();
  }

 private:
  void Leave() {
    Called("enters");
    on_event();
    Called("leaves");
  }
};

TEST_P(ClientEvent, KeepsTheClientAliveUntilItReturnsAndNoLonger) {
  auto leaving = env().Make<LeavingClient>("leaving");
  leaving->on_event = [&leaving] { leaving.reset(); };
  const auto producer = std::make_shared<VideoProducer2Impl>(Context(), leaving, kBig);
  EXPECT_THAT(EntriesOf([&] { GetParam().raise(*producer); }),
              ElementsAre("leaving.enters()", "leaving.leaves()", "~leaving"));
}

}  // namespace
}  // namespace movra::video
