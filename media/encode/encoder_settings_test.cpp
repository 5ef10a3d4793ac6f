#include "media/encode/encoder_settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

namespace movra::media {
namespace {

using std::chrono::milliseconds;
using video::EncodeParams;
using video::Size;

constexpr Size kHd{1280, 720};

TEST(EncoderSettings, AbsentParametersGiveTheDefaults) {
  const EncoderSettings settings = ResolveEncoderSettings({}, {}, kHd);
  EXPECT_EQ(settings.preset, "veryfast");
  EXPECT_EQ(settings.threads, 1);
  EXPECT_EQ(settings.nominal_rate, (FrameRate{30, 1}));
  EXPECT_EQ(settings.bitrate_kbps, 1500);
  EXPECT_EQ(settings.max_bitrate_kbps, 1500);
  EXPECT_EQ(settings.buffer_kbit, 1500);
  EXPECT_EQ(KeyFrameInterval({}), milliseconds(2000));
}

TEST(EncoderSettings, PresentParametersAreTaken) {
  EncodeParams params;
  params.preset = "ultrafast";
  params.threads = 0;
  params.frame_rate = 24;
  params.bitrate_bps = 800'000;
  params.max_bitrate_bps = 1'200'000;
  params.key_frame_interval_ms = 500;
  const EncoderSettings settings = ResolveEncoderSettings(params, {{1, 2, 3, 4, -5}}, kHd);
  EXPECT_EQ(settings.preset, "ultrafast");
  EXPECT_EQ(settings.threads, 0);
  EXPECT_EQ(settings.nominal_rate, (FrameRate{24, 1}));
  EXPECT_EQ(settings.bitrate_kbps, 800);
  EXPECT_EQ(settings.max_bitrate_kbps, 1200);
  EXPECT_EQ(settings.buffer_kbit, 1200);
  EXPECT_THAT(settings.regions, ::testing::ElementsAre(video::RoiConfigInfo{1, 2, 3, 4, -5}));
  EXPECT_EQ(KeyFrameInterval(params), milliseconds(500));
}

TEST(EncoderSettings, TheMaximumIsNeverBelowTheBitRate) {
  EncodeParams params;
  params.bitrate_bps = 800'000;
  params.max_bitrate_bps = 300'000;
  EXPECT_EQ(ResolveEncoderSettings(params, {}, kHd).max_bitrate_kbps, 800);
}

TEST(EncoderSettings, ValuesWithoutSenseCountAsAbsent) {
  constexpr int kLowest = std::numeric_limits<int>::min();
  EncodeParams params;
  params.threads = kLowest;
  params.frame_rate = 0;
  params.bitrate_bps = -1;
  params.max_bitrate_bps = 0;
  params.key_frame_interval_ms = 0;
  const EncoderSettings settings = ResolveEncoderSettings(params, {}, kHd);
  EXPECT_EQ(settings.threads, 0);
  EXPECT_EQ(settings.nominal_rate, (FrameRate{30, 1}));
  EXPECT_EQ(settings.bitrate_kbps, 1500);
  EXPECT_EQ(KeyFrameInterval(params), milliseconds(2000));
}

TEST(EncoderSettings, ABitRateBelowAKilobitIsStillOne) {
  EncodeParams params;
  params.bitrate_bps = 5;
  EXPECT_EQ(ResolveEncoderSettings(params, {}, kHd).bitrate_kbps, 1);
}

TEST(EncoderSettings, TheDefaultBitRateGrowsLessThanTheNumberOfPixelsAndFrames) {
  EXPECT_EQ(DefaultBitrateBps(kHd, 30), 1'500'000);
  EXPECT_EQ(DefaultBitrateBps({720, 1280}, 30), 1'500'000);
  EXPECT_EQ(DefaultBitrateBps({320, 180}, 15), 133'000);
  EXPECT_EQ(DefaultBitrateBps({1920, 1080}, 30), 2'756'000);
  EXPECT_EQ(DefaultBitrateBps(kHd, 60), 2'121'000);
  EXPECT_EQ(DefaultBitrateBps({0, 0}, 30), 32'000);
  EXPECT_EQ(DefaultBitrateBps({16'000, 16'000}, 1000), 100'000'000);
}

TEST(EncoderSettings, TheExactRateGoesBeforeTheWholeOne) {
  EncodeParams params;
  params.frame_rate = 13;
  params.frame_rate_numerator = 25;
  params.frame_rate_denominator = 2;
  EXPECT_EQ(ResolveEncoderSettings(params, {}, kHd).nominal_rate, (FrameRate{25, 2}));
  EXPECT_EQ(ResolveEncoderSettings(params, {}, kHd).bitrate_kbps, 968);
  params.frame_rate_numerator = 2001;
  EXPECT_EQ(ResolveEncoderSettings(params, {}, kHd).nominal_rate, (FrameRate{1000, 1}));
}

TEST(EncoderSettings, AChangeOfTheWholeRateAloneTakesTheExactOneAway) {
  EncodeParams params;
  params.frame_rate = 13;
  params.frame_rate_numerator = 25;
  params.frame_rate_denominator = 2;
  EncodeParams other_field;
  other_field.threads = 2;
  MergeEncodeParams(other_field, params);
  EXPECT_EQ(FrameRateOf(params), (FrameRate{25, 2}));

  EncodeParams whole;
  whole.frame_rate = 20;
  MergeEncodeParams(whole, params);
  EXPECT_EQ(params.ToString(), "EncodeParams{frame_rate:20 threads:2}");
}

TEST(EncoderSettings, MergingOverwritesOnlyWhatIsPresent) {
  EncodeParams params;
  params.width = 640;
  params.bitrate_bps = 500'000;
  params.preset = "fast";
  EncodeParams change;
  change.bitrate_bps = 700'000;
  change.threads = 2;
  MergeEncodeParams(change, params);
  EXPECT_EQ(params.width, 640);
  EXPECT_FALSE(params.height.has_value());
  EXPECT_EQ(params.bitrate_bps, 700'000);
  EXPECT_EQ(params.threads, 2);
  EXPECT_EQ(params.preset, std::string("fast"));
}

TEST(EncoderSettings, MergingTakesEveryField) {
  EncodeParams change;
  change.width = 1;
  change.height = 2;
  change.frame_rate = 3;
  change.codec = video::VideoCodec::kH264;
  change.bitrate_bps = 4;
  change.max_bitrate_bps = 5;
  change.key_frame_interval_ms = 6;
  change.threads = 7;
  change.preset = "slow";
  change.frame_rate_numerator = 8;
  change.frame_rate_denominator = 9;
  EncodeParams params;
  MergeEncodeParams(change, params);
  EXPECT_EQ(params.ToString(), change.ToString());
}

}  // namespace
}  // namespace movra::media
