#include "media/encode/encoder_counters.h"

#include <gtest/gtest.h>

namespace movra::media {
namespace {

using std::chrono::milliseconds;

TEST(EncoderCounters, NothingCountedIsAllZero) {
  const video::EncoderStats stats = EncoderCounters().Stats();
  EXPECT_EQ(stats.record.frames_in, 0U);
  EXPECT_EQ(stats.record.encode_time_mean_us, 0U);
  EXPECT_EQ(stats.record.latency_mean_us, 0U);
  EXPECT_EQ(stats.implementation, "");
}

TEST(EncoderCounters, MeansAndMaximaAreOfTheEncodedFrames) {
  EncoderCounters counters;
  for (int i = 0; i < 4; ++i) counters.CountIn();
  counters.CountDroppedForRate();
  counters.CountFailed();
  counters.SetTargetBitrate(150'000);
  counters.SetProperty({1, 2, "words"});
  counters.CountEncoded({1000, true, {640, 360}, milliseconds(3), milliseconds(10)});
  counters.CountEncoded({500, false, {320, 180}, milliseconds(1), milliseconds(4)});
  const video::EncoderStats stats = counters.Stats();
  EXPECT_EQ(stats.record.frames_in, 4U);
  EXPECT_EQ(stats.record.frames_dropped_rate, 1U);
  EXPECT_EQ(stats.record.frames_failed, 1U);
  EXPECT_EQ(stats.record.frames_encoded, 2U);
  EXPECT_EQ(stats.record.key_frames, 1U);
  EXPECT_EQ(stats.record.width, 320U);
  EXPECT_EQ(stats.record.height, 180U);
  EXPECT_EQ(stats.record.target_bitrate_bps, 150'000U);
  EXPECT_EQ(stats.record.encode_time_mean_us, 2000U);
  EXPECT_EQ(stats.record.encode_time_max_us, 3000U);
  EXPECT_EQ(stats.record.latency_mean_us, 7000U);
  EXPECT_EQ(stats.record.latency_max_us, 10'000U);
  EXPECT_EQ(stats.record.bytes_low, 1500U);
  EXPECT_EQ(stats.record.bytes_high, 0U);
  EXPECT_EQ(stats.implementation, "words");
}

TEST(EncoderCounters, AFrameOfUnknownCaptureTimeTakesNoPartInTheLatency) {
  EncoderCounters counters;
  counters.CountEncoded({1, false, {2, 2}, milliseconds(1), milliseconds(8)});
  counters.CountEncoded({1, false, {2, 2}, milliseconds(1), std::chrono::nanoseconds(-1)});
  EXPECT_EQ(counters.Stats().record.latency_mean_us, 8000U);
}

TEST(EncoderCounters, BytesBeyondThirtyTwoBitsGoIntoTheUpperWord) {
  EncoderCounters counters;
  for (int i = 0; i < 3; ++i) {
    counters.CountEncoded({0x8000'0000U, false, {2, 2}, milliseconds(0), milliseconds(0)});
  }
  EXPECT_EQ(counters.Stats().record.bytes_high, 1U);
  EXPECT_EQ(counters.Stats().record.bytes_low, 0x8000'0000U);
}

}  // namespace
}  // namespace movra::media
