#include "media/encode/stream_encoder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <mutex>
#include <vector>

#include "media/encode/encoder_controller_for_test.h"

namespace movra::media {
namespace {

using std::chrono::milliseconds;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using video::EncodeParams;
using video::PixelFormat;
using video::Size;
using video::StreamEnd;
using video::VideoEncoderError;
using video::VideoStreamType;

class StreamEncoderTest : public EncoderControllerFixture {};

TEST_F(StreamEncoderTest, ANewStreamBehindAnEndMarkBeginsWithAKeyFrame) {
  Write(0);
  Write(1);
  track_->GetWriter()->WriteEnd(StreamEnd());
  Write(2);
  Write(3);
  controller_->Start();
  controller_->Stop(kLongWaitMs);
  EXPECT_THAT(script_->asked_for_key, ElementsAre(true, false, true, false));
  EXPECT_THAT(script_->opened, SizeIs(1));
}

TEST_F(StreamEncoderTest, AnotherSourceBeginsWithAKeyFrameWhateverTheRate) {
  EncodeParams params;
  params.frame_rate = 15;
  controller_->SetEncodeParams(params);
  const auto write = [&](int index, std::uint64_t run) {
    track_->GetWriter()->Write(
        Redescribed(PaintFrame(kSmallSize, index),
                    [run](video::PixelFrameInfo& info) { info.source_run = run; }));
  };
  for (int i = 0; i < 3; ++i) write(i, 7);
  for (int i = 3; i < 6; ++i) write(i, 9);  // The third would be left out by the time of the first.
  controller_->Start();
  controller_->Stop(kLongWaitMs);
  EXPECT_THAT(WrittenSequences(), ElementsAre(0, 2, 3, 5));
  EXPECT_THAT(script_->asked_for_key, ElementsAre(true, false, true, false));
}

TEST_F(StreamEncoderTest, FramesAboveTheRateAreDroppedEvenlyAndCounted) {
  EncodeParams params;
  params.frame_rate = 15;
  controller_->SetEncodeParams(params);
  for (int i = 0; i < 8; ++i) Write(i);
  controller_->Start();
  controller_->Stop(kLongWaitMs);
  EXPECT_THAT(WrittenSequences(), ElementsAre(0, 2, 4, 6));
  EXPECT_EQ(controller_->GetStats().record.frames_dropped_rate, 4U);
}

TEST_F(StreamEncoderTest, KeyFramesComeAtTheIntervalByTime) {
  EncodeParams params;
  params.key_frame_interval_ms = 500;
  controller_->SetEncodeParams(params);
  for (int i = 0; i < 46; ++i) Write(i);
  controller_->Start();
  controller_->Stop(kLongWaitMs);
  std::vector<std::uint64_t> keys;
  for (const auto& packet : recorder_->packets()) {
    if (packet.frame.key_frame) keys.push_back(packet.frame.sequence);
  }
  EXPECT_THAT(keys, ElementsAre(0, 15, 30, 45));
}

TEST_F(StreamEncoderTest, ChangedParametersLeaveKeyFramesOnTheirSchedule) {
  EncodeParams params;
  params.key_frame_interval_ms = 500;
  controller_->SetEncodeParams(params);
  controller_->Start();
  for (int i = 0; i < 10; ++i) Write(i);
  recorder_->WaitForPackets(10);
  EncodeParams change;
  change.bitrate_bps = 700'000;
  change.frame_rate = 60;
  controller_->SetEncodeParams(change);
  for (int i = 10; i < 35; ++i) Write(i);
  recorder_->WaitForPackets(35);
  change.key_frame_interval_ms = 200;
  controller_->SetEncodeParams(change);
  for (int i = 35; i < 45; ++i) Write(i);
  controller_->Stop(kLongWaitMs);
  EXPECT_THAT(AskedForKey(), ElementsAre(0, 15, 30, 36, 42));
  ASSERT_THAT(script_->reconfigured, SizeIs(1));
  EXPECT_EQ(script_->reconfigured[0].nominal_rate, (FrameRate{60, 1}));
}

TEST_F(StreamEncoderTest, KeyFramesKeepTheirScheduleBehindEveryJumpBack) {
  EncodeParams params;
  params.key_frame_interval_ms = 500;
  controller_->SetEncodeParams(params);
  for (const int begin : {100, 50, 0}) {
    for (int i = begin; i < begin + 20; ++i) Write(i);
  }
  controller_->Start();
  controller_->Stop(kLongWaitMs);
  EXPECT_THAT(AskedForKey(), ElementsAre(0, 15, 35, 55));
}

TEST_F(StreamEncoderTest, ALongPauseMakesNoKeyFramesOfThePicturesBehindIt) {
  EncodeParams params;
  params.key_frame_interval_ms = 500;
  controller_->SetEncodeParams(params);
  for (int i = 0; i < 10; ++i) Write(i);
  for (int i = 10; i < 40; ++i) {
    track_->GetWriter()->Write(
        Redescribed(PaintFrame(kSmallSize, i),
                    [](video::PixelFrameInfo& info) { info.timestamp += std::chrono::hours(10); }));
  }
  controller_->Start();
  controller_->Stop(kLongWaitMs);
  EXPECT_THAT(AskedForKey(), ElementsAre(0, 10, 25));
  // Nor is the pause what the last picture is expected to last.
  EXPECT_LT(recorder_->packets().back().frame.duration, milliseconds(100));
}

TEST_F(StreamEncoderTest, ATimeStampOfAMillenniumIsStillATime) {
  Write(0);
  track_->GetWriter()->Write(Redescribed(
      PaintFrame(kSmallSize, 1),
      [](video::PixelFrameInfo& info) { info.timestamp = std::chrono::hours(24 * 365 * 200); }));
  controller_->Start();
  controller_->Stop(kLongWaitMs);
  ASSERT_THAT(script_->ticks, SizeIs(2));
  EXPECT_EQ(script_->ticks[1] - script_->ticks[0], std::int64_t{24 * 365 * 200} * 3600 * 90'000);
}

TEST_F(StreamEncoderTest, ARequestedKeyFrameIsTheNextFrame) {
  controller_->Start();
  Write(0);
  recorder_->WaitForPackets(1);
  controller_->RequestKeyFrame();
  Write(1);
  Write(2);
  controller_->Stop(kLongWaitMs);
  EXPECT_THAT(script_->asked_for_key, ElementsAre(true, true, false));
}

TEST_F(StreamEncoderTest, ChangedRatesReconfigureTheOpenEncoder) {
  controller_->Start();
  Write(0);
  recorder_->WaitForPackets(1);
  EncodeParams params;
  params.bitrate_bps = 700'000;
  controller_->SetEncodeParams(params);
  Write(1);
  Write(2);
  controller_->Stop(kLongWaitMs);
  EXPECT_THAT(script_->opened, SizeIs(1));
  ASSERT_THAT(script_->reconfigured, SizeIs(1));
  EXPECT_EQ(script_->reconfigured[0].bitrate_kbps, 700);
  EXPECT_EQ(controller_->GetStats().record.target_bitrate_bps, 700'000U);
}

TEST_F(StreamEncoderTest, AChangeThatTheOpenEncoderRefusesOpensAnother) {
  script_->reconfigure_fails = true;
  controller_->Start();
  Write(0);
  recorder_->WaitForPackets(1);
  EncodeParams params;
  params.preset = "slow";
  controller_->SetEncodeParams(params);
  Write(1);
  controller_->Stop(kLongWaitMs);
  ASSERT_THAT(script_->opened, SizeIs(2));
  EXPECT_EQ(script_->opened[1].settings.preset, "slow");
  EXPECT_TRUE(recorder_->packets()[1].frame.key_frame);
}

TEST_F(StreamEncoderTest, AChangeThatTurnsOutToHaveDoneNothingOpensAnother) {
  script_->reconfigure_does_nothing = true;
  controller_->Start();
  Write(0);
  recorder_->WaitForPackets(1);
  EncodeParams params;
  params.bitrate_bps = 700'000;
  controller_->SetEncodeParams(params);
  Write(1);
  Write(2);
  controller_->Stop(kLongWaitMs);
  ASSERT_THAT(script_->opened, ::testing::Not(IsEmpty()));
  EXPECT_EQ(script_->opened.back().settings.bitrate_kbps, 700);
  EXPECT_THAT(script_->opened, SizeIs(::testing::Ge(2U)));
}

TEST_F(StreamEncoderTest, RegionsReachTheEncoder) {
  controller_->SetRoiConfig({{0, 0, 16, 16, -3}});
  Write(0);
  controller_->Start();
  controller_->Stop(kLongWaitMs);
  ASSERT_THAT(script_->opened, SizeIs(1));
  EXPECT_THAT(script_->opened[0].settings.regions,
              ElementsAre(video::RoiConfigInfo{0, 0, 16, 16, -3}));
}

TEST_F(StreamEncoderTest, ANewSizeOrColourOpensAnotherEncoder) {
  controller_->Start();
  Write(0);
  Write(1, {32, 32});
  const auto bt709 = [](video::PixelFrameInfo& info) { info.color = {1, 1, 1, true}; };
  track_->GetWriter()->Write(Redescribed(PaintFrame({32, 32}, 2), bt709));
  Flush();
  ASSERT_THAT(script_->opened, SizeIs(3));
  EXPECT_EQ(script_->opened[1].format.size, (Size{32, 32}));
  EXPECT_EQ(script_->opened[2].format.color, (video::ColorDescription{1, 1, 1, true}));
  EXPECT_EQ(recorder_->packets()[2].frame.color, (video::ColorDescription{1, 1, 1, true}));
  EXPECT_EQ(recorder_->packets()[1].frame.size, (Size{32, 32}));
  // The colour is no part of the property, so two changes are told.
  ASSERT_THAT(client_->changes, SizeIs(2));
  EXPECT_EQ(client_->changes[0].from, video::EncoderProperty());
  EXPECT_EQ(client_->changes[0].to,
            (video::EncoderProperty{1, (std::int64_t{64} << 32) | 48, "scripted"}));
  EXPECT_EQ(client_->changes[1].from, client_->changes[0].to);
  EXPECT_EQ(client_->changes[1].to.size, (std::int64_t{32} << 32) | 32);
  EXPECT_EQ(controller_->GetProperty(), client_->changes[1].to);
  EXPECT_EQ(controller_->GetStats().implementation, "scripted");
  EXPECT_THAT(client_->types, ElementsAre(VideoStreamType::kSmall, VideoStreamType::kSmall));
}

TEST_F(StreamEncoderTest, AnEncoderThatDoesNotOpenIsReportedOnceAndItsTrackStillDrained) {
  script_->open_fails = true;
  controller_->Start();
  for (int i = 0; i < 5; ++i) Write(i);
  Flush();
  EXPECT_THAT(script_->opened, SizeIs(1));
  ASSERT_THAT(client_->errors, SizeIs(1));
  EXPECT_EQ(client_->errors[0].error, VideoEncoderError::kOpenFailed);
  EXPECT_EQ(client_->errors[0].text, "told not to open");
  EXPECT_EQ(controller_->GetStats().record.frames_in, 5U);
  EXPECT_EQ(controller_->GetStats().record.frames_failed, 5U);
  EXPECT_THAT(recorder_->packets(), IsEmpty());
}

TEST_F(StreamEncoderTest, ACodecThatIsNotThereIsRefusedByName) {
  EncodeParams params;
  params.codec = static_cast<video::VideoCodec>(7);
  controller_->SetEncodeParams(params);
  controller_->Start();
  Write(0);
  Write(1);
  Flush();
  EXPECT_THAT(script_->opened, IsEmpty());
  EXPECT_THAT(recorder_->packets(), IsEmpty());
  EXPECT_EQ(controller_->GetStats().record.frames_failed, 2U);
  ASSERT_THAT(client_->errors, SizeIs(1));
  EXPECT_EQ(client_->errors[0].error, VideoEncoderError::kUnavailable);
  EXPECT_EQ(client_->errors[0].text, "there is no encoder for VideoCodec(7)");
  params.codec = video::VideoCodec::kH264;
  controller_->SetEncodeParams(params);
  Write(2);
  recorder_->WaitForPackets(1);
  EXPECT_THAT(WrittenSequences(), ElementsAre(2));
}

TEST_F(StreamEncoderTest, AfterAFailureChangedParametersTryAgain) {
  script_->open_fails = true;
  controller_->Start();
  Write(0);
  Flush();
  {
    const std::lock_guard lock(script_->mutex);
    script_->open_fails = false;
  }
  EncodeParams params;
  params.bitrate_bps = 700'000;
  controller_->SetEncodeParams(params);
  Write(1);
  recorder_->WaitForPackets(1);
  EXPECT_THAT(WrittenSequences(), ElementsAre(1));
}

TEST_F(StreamEncoderTest, AFrameThatCannotBeEncodedIsReportedAndTheRestDrained) {
  script_->encode_fails = true;
  controller_->Start();
  for (int i = 0; i < 3; ++i) Write(i);
  Flush();
  ASSERT_THAT(client_->errors, SizeIs(1));
  EXPECT_EQ(client_->errors[0].error, VideoEncoderError::kEncodeFailed);
  EXPECT_EQ(client_->errors[0].text, "told to fail");
  EXPECT_EQ(controller_->GetStats().record.frames_failed, 3U);
  EXPECT_EQ(controller_->GetProperty(), video::EncoderProperty());
}

TEST_F(StreamEncoderTest, FramesThatCannotBeReadAreReportedOnceUntilOneCanBe) {
  const auto write = [this](int index, const std::function<void(video::PixelFrameInfo&)>& change) {
    track_->GetWriter()->Write(Redescribed(PaintFrame(kSmallSize, index), change));
  };
  controller_->Start();
  write(0, [](auto& info) { info.format = PixelFormat::kBGRA; });
  write(1, [](auto& info) { info.buffer_type = video::BufferType::kTexture; });
  write(2, [](auto& info) { info.planes[2].data = nullptr; });
  write(3, [](auto& info) { info.planes[0].stride = 63; });
  write(4, [](auto& info) { info.size = {0, 48}; });
  Write(5);
  write(6, [](auto& info) { info.format = static_cast<PixelFormat>(99); });
  Flush();
  EXPECT_THAT(WrittenSequences(), ElementsAre(5));
  EXPECT_EQ(controller_->GetStats().record.frames_failed, 6U);
  ASSERT_THAT(client_->errors, SizeIs(2));
  EXPECT_EQ(client_->errors[0].error, VideoEncoderError::kInputUnsupported);
  EXPECT_THAT(client_->errors[0].text, HasSubstr("kBGRA"));
  EXPECT_THAT(client_->errors[1].text, HasSubstr("99"));
}

TEST_F(StreamEncoderTest, TimeStampsThatGoBackDoNotTakeTheEncodersClockBack) {
  controller_->Start();
  Write(10);
  Write(11);
  Write(0);
  Write(1);
  controller_->Stop(kLongWaitMs);
  ASSERT_THAT(script_->ticks, SizeIs(4));
  EXPECT_EQ(script_->ticks[1] - script_->ticks[0], 3000);
  EXPECT_EQ(script_->ticks[2] - script_->ticks[1], 3000);
  EXPECT_EQ(script_->ticks[3] - script_->ticks[2], 3000);
  EXPECT_EQ(recorder_->packets()[2].frame.timestamp, std::chrono::nanoseconds(0));
}

TEST_F(StreamEncoderTest, TheExpectedDurationIsTheRatesAndThenTheMeanDistance) {
  EncodeParams params;
  params.frame_rate = 20;
  controller_->SetEncodeParams(params);
  controller_->Start();
  for (int i = 0; i < 7; ++i) {
    track_->GetWriter()->Write(PaintFrame(kSmallSize, i, 10));
  }
  controller_->Stop(kLongWaitMs);
  const auto packets = recorder_->packets();
  ASSERT_THAT(packets, SizeIs(7));
  EXPECT_EQ(packets[0].frame.duration, milliseconds(50));
  EXPECT_EQ(packets[1].frame.duration, milliseconds(100));
  EXPECT_EQ(packets[6].frame.duration, milliseconds(100));
}

TEST_F(StreamEncoderTest, LatencyIsMeasuredFromCapture) {
  const auto old = [](video::PixelFrameInfo& info) {
    info.capture_time = std::chrono::steady_clock::now().time_since_epoch() - milliseconds(5000);
  };
  track_->GetWriter()->Write(Redescribed(PaintFrame(kSmallSize, 0), old));
  controller_->Start();
  controller_->Stop(kLongWaitMs);
  EXPECT_GE(controller_->GetStats().record.latency_mean_us, 5'000'000U);
  EXPECT_LT(controller_->GetStats().record.encode_time_mean_us, 5'000'000U);
}

TEST_F(StreamEncoderTest, EachPictureTellsHowLongItTook) {
  for (int i = 0; i < 3; ++i) Write(i);
  controller_->Start();
  controller_->Stop(kLongWaitMs);
  std::chrono::nanoseconds longest{0};
  for (const auto& packet : recorder_->packets()) {
    EXPECT_GT(packet.frame.encode_time.count(), 0);
    longest = std::max(longest, packet.frame.encode_time);
  }
  EXPECT_EQ(controller_->GetStats().record.encode_time_max_us,
            std::chrono::duration_cast<std::chrono::microseconds>(longest).count());
}

}  // namespace
}  // namespace movra::media
