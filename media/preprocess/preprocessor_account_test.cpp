// Every frame is in one figure: what the preprocessor, its tracks and its taps do with each of
// them.

#include <cstdint>
#include <memory>
#include <string>

#include "logging/recording_sink_for_test.h"
#include "media/figures/frame_account.h"
#include "media/preprocess/preprocessor_fixture_for_test.h"

namespace movra::media {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using video::PixelFrame;
using video::TrackWriteResult;
using video::VideoStreamType;

constexpr auto kBig = VideoStreamType::kBig;
constexpr auto kSmall = VideoStreamType::kSmall;

class DroppingListener final : public video::VideoInterceptorListener {
 public:
  PixelFrame OnInterceptFrame(video::InterceptPosition /*position*/,
                              PixelFrame /*frame*/) override {
    return {};
  }
};

class PreprocessorAccount : public PreprocessorTest {
 protected:
  PreprocessorAccount() { preprocessor->StartProcessing(); }

  // As an encoder takes its input.
  std::shared_ptr<video::IPixelFrameTrack> AddEncoder(VideoStreamType type,
                                                      const video::Size& size = kSize) {
    auto track = video::IPixelFrameTrack::Create("encoder", 1);
    CountInto(*track->GetReader(), FrameAccount::Stream(account, type));
    video::CustomProcessParams params = Params(size);
    params.stream_type = type;
    preprocessor->AddOutputTrack(kEncoder, params, track->GetWriter());
    return track;
  }
  void Encode(const std::shared_ptr<video::IPixelFrameTrack>& track, VideoStreamType type) {
    const auto item = track->GetReader()->Read();
    ASSERT_TRUE(std::holds_alternative<PixelFrame>(item));
    FrameAccount::Stream(account, type)->Count(FrameFate::kEncoded);
  }
  void SendLive(int frames) {
    for (int i = 0; i < frames; ++i) {
      ASSERT_NE(Send(sent_++, kLive), TrackWriteResult::kFull);
      queue->RunAll();
    }
  }
  [[nodiscard]] std::uint64_t Source(FrameFate fate) const {
    return account->Totals(kBig).source.of(fate);
  }
  [[nodiscard]] std::uint64_t Stream(VideoStreamType type, FrameFate fate) const {
    return account->Totals(type).stream.of(fate);
  }

  std::shared_ptr<FrameAccount> account = FrameAccount::Of(context.trace());

 private:
  std::uint64_t sent_ = 0;
};

TEST_F(PreprocessorAccount, AFrameThatWasDisplacedBeforeItsTurnIsTheSources) {
  const auto big = AddEncoder(kBig);
  ASSERT_EQ(Send(0, kLive), TrackWriteResult::kAccepted);
  ASSERT_EQ(Send(1, kLive), TrackWriteResult::kReplacedOlder);
  queue->RunAll();
  EXPECT_EQ(account->Totals(kBig).source.came, 2U);
  EXPECT_EQ(Source(FrameFate::kDisplaced), 1U);
  EXPECT_EQ(account->Totals(kBig).on_the_way(), 1U);
  Encode(big, kBig);
  EXPECT_EQ(account->Totals(kBig).on_the_way(), 0U);
}

TEST_F(PreprocessorAccount, AFrameThatIsDisplacedBeforeItsEncoderIsThatStreamsAlone) {
  const auto big = AddEncoder(kBig);
  const auto small = AddEncoder(kSmall, {32, 18});
  SendLive(1);
  Encode(small, kSmall);
  SendLive(1);
  EXPECT_EQ(Stream(kBig, FrameFate::kDisplaced), 1U);
  EXPECT_EQ(Stream(kSmall, FrameFate::kDisplaced), 0U);
  EXPECT_EQ(account->Totals(kBig).on_the_way(), 1U);
  EXPECT_EQ(account->Totals(kSmall).on_the_way(), 1U);
}

TEST_F(PreprocessorAccount, APictureThatCannotBeMadeIsCountedAndToldOnce) {
  movra_logging::RecordingSink log;
  const auto big = AddEncoder(kBig, {65536, 36});
  const auto small = AddEncoder(kSmall);
  for (int i = 0; i < 3; ++i) {
    SendLive(1);
    Encode(small, kSmall);
  }
  EXPECT_EQ(Stream(kBig, FrameFate::kNotMade), 3U);
  EXPECT_EQ(account->Totals(kBig).on_the_way(), 0U);
  EXPECT_EQ(account->Totals(kSmall).on_the_way(), 0U);
  ASSERT_THAT(log.texts(), SizeIs(1));
  EXPECT_THAT(log.texts()[0], HasSubstr("[trace:7][main] Cannot make kBig"));
  EXPECT_THAT(log.texts()[0], HasSubstr("65536x36"));
  EXPECT_THAT(log.texts()[0], HasSubstr(": sides end at 32768 pixels"));
  EXPECT_EQ(log.lines()[0].level, movra_logging::kLogLevelWarning);
}

TEST_F(PreprocessorAccount, SizesThatNobodyCanMakeDoNotFillTheLog) {
  movra_logging::RecordingSink log;
  const auto big = AddEncoder(kBig);
  for (int i = 0; i < 100; ++i) {
    preprocessor->SetEncoderOutputSize(65536 + i, 36);
    SendLive(1);
  }
  EXPECT_EQ(Stream(kBig, FrameFate::kNotMade), 100U);
  EXPECT_THAT(log.texts(), SizeIs(16));
}

TEST_F(PreprocessorAccount, AFrameThatAnInterceptorDropsIsNoStreams) {
  const auto big = AddEncoder(kBig);
  const auto listener = std::make_shared<DroppingListener>();
  preprocessor->AddInterceptor(kPreview, {}, listener);
  SendLive(2);
  EXPECT_EQ(Source(FrameFate::kIntercepted), 2U);
  EXPECT_EQ(account->Totals(kBig).on_the_way(), 0U);
  EXPECT_EQ(account->Totals(kSmall).on_the_way(), 0U);
}

TEST_F(PreprocessorAccount, AFormatThatAnInterceptorCannotHaveIsTold) {
  movra_logging::RecordingSink log;
  const auto listener = std::make_shared<DroppingListener>();
  preprocessor->AddInterceptor(kPreview, Params(kSize, static_cast<video::PixelFormat>(99)),
                               listener);
  SendLive(2);
  EXPECT_EQ(Source(FrameFate::kIntercepted), 0U) << "it goes on without";
  EXPECT_THAT(log.texts(), ElementsAre(HasSubstr("Cannot make an interceptor's picture")));
}

TEST_F(PreprocessorAccount, WithoutAnEncoderAFrameIsUnwantedInThatStream) {
  const auto big = AddEncoder(kBig);
  const auto shunt = AddTrack(kEncoder);
  SendLive(1);
  Encode(big, kBig);
  EXPECT_EQ(Stream(kSmall, FrameFate::kUnwanted), 1U);
  EXPECT_EQ(account->Totals(kSmall).on_the_way(), 0U);
  EXPECT_EQ(account->Totals(kBig).on_the_way(), 0U) << "whoever else looks on is no stream";
}

TEST_F(PreprocessorAccount, WhatAStopFindsOnItsWayIsStopped) {
  const auto big = AddEncoder(kBig);
  for (std::uint64_t i = 0; i < 3; ++i) {
    ASSERT_EQ(Send(i, kLossless), TrackWriteResult::kAccepted);
    queue->RunAll();
  }
  EXPECT_EQ(account->Totals(kBig).on_the_way(), 3U) << "at the encoder, held, unread";
  preprocessor->StopProcessing();
  EXPECT_EQ(Source(FrameFate::kStopped), 1U);
  source.reset();
  EXPECT_EQ(Source(FrameFate::kStopped), 2U);
  big->Reset();
  EXPECT_EQ(Stream(kBig, FrameFate::kStopped), 1U);
  EXPECT_EQ(account->Totals(kBig).on_the_way(), 0U);
}

TEST_F(PreprocessorAccount, AStopBetweenTwoStreamsIsTheSecondOnes) {
  const auto big = AddEncoder(kBig);
  const auto small = AddEncoder(kSmall, {16, 8});
  small->GetReader()->SetReadableCallback([&] { preprocessor->StopProcessing(); });
  SendLive(1);
  Encode(small, kSmall);
  EXPECT_EQ(Stream(kBig, FrameFate::kStopped), 1U);
  EXPECT_EQ(account->Totals(kBig).on_the_way(), 0U);
  EXPECT_EQ(account->Totals(kSmall).on_the_way(), 0U);
}

TEST_F(PreprocessorAccount, WhatIsHeldWhenItDiesIsStopped) {
  const auto big = AddEncoder(kBig);
  for (std::uint64_t i = 0; i < 2; ++i) {
    ASSERT_EQ(Send(i, kLossless), TrackWriteResult::kAccepted);
    queue->RunAll();
  }
  preprocessor.reset();
  EXPECT_EQ(Source(FrameFate::kStopped), 1U);
}

TEST_F(PreprocessorAccount, WhatAReaderOfTheApplicationGivesIsCountedWhenItIsTaken) {
  const auto track = video::IPixelFrameTrack::Create("own", 1);
  const auto reader = std::make_shared<PausingReader>(track->GetReader());
  const auto big = AddEncoder(kBig);
  preprocessor->SetInputTrackReader(reader);
  ASSERT_EQ(track->GetWriter()->Write(MakeFrame(0, kLive)), TrackWriteResult::kAccepted);
  queue->RunAll();
  EXPECT_EQ(account->Totals(kBig).source.came, 1U);
  Encode(big, kBig);
  reader->in_the_pause = [&] { preprocessor->StopProcessing(); };
  ASSERT_EQ(track->GetWriter()->Write(MakeFrame(1, kLive)), TrackWriteResult::kAccepted);
  queue->RunAll();
  EXPECT_EQ(Source(FrameFate::kStopped), 1U) << "it was in hand";
  EXPECT_EQ(account->Totals(kBig).on_the_way(), 0U);
}

}  // namespace
}  // namespace movra::media
