#include "media/encode/frame_rate.h"

#include <gtest/gtest.h>

#include <limits>

namespace movra::media {
namespace {

using std::chrono::nanoseconds;

constexpr std::int32_t kLargest = std::numeric_limits<std::int32_t>::max();

video::EncodeParams ParamsOf(std::int32_t rate, std::int32_t numerator, std::int32_t denominator) {
  video::EncodeParams params;
  params.frame_rate = rate;
  params.frame_rate_numerator = numerator;
  params.frame_rate_denominator = denominator;
  return params;
}

TEST(FrameRate, IsKeptInLowestTerms) {
  EXPECT_EQ(MakeFrameRate(50, 4), (FrameRate{25, 2}));
  EXPECT_EQ(MakeFrameRate(30'000, 1001), (FrameRate{30'000, 1001}));
  EXPECT_EQ(MakeFrameRate(kLargest, kLargest), (FrameRate{1, 1}));
}

TEST(FrameRate, TellsItsRateAndItsInterval) {
  EXPECT_EQ((FrameRate{25, 2}.PerSecond()), 12.5);
  EXPECT_EQ((FrameRate{25, 2}.Interval()), nanoseconds(80'000'000));
  EXPECT_EQ((FrameRate{30'000, 1001}.Interval()), nanoseconds(33'366'666));
  EXPECT_EQ((FrameRate{1, kLargest}.Interval()), std::chrono::seconds(kLargest));
}

TEST(FrameRate, WithoutSenseIsNone) {
  for (const FrameRate rate : {MakeFrameRate(0, 1), MakeFrameRate(1, 0), MakeFrameRate(-25, 2),
                               MakeFrameRate(25, -2), FrameRate{-1, 1}, FrameRate{1, 0}}) {
    EXPECT_TRUE(rate.IsNone());
    EXPECT_EQ(rate.PerSecond(), 0);
    EXPECT_EQ(rate.Interval(), nanoseconds(0));
  }
}

TEST(FrameRate, IsMeasuredAsWhatIsMeant) {
  using std::chrono::milliseconds;
  // Rounded to milliseconds, as Matroska has them.
  EXPECT_EQ(MeasuredFrameRate(milliseconds(33), 1), (FrameRate{30, 1}));
  EXPECT_EQ(MeasuredFrameRate(milliseconds(40), 1), (FrameRate{25, 1}));
  EXPECT_EQ(MeasuredFrameRate(milliseconds(3337), 100), (FrameRate{30'000, 1001}));
  EXPECT_EQ(MeasuredFrameRate(milliseconds(3333), 100), (FrameRate{30, 1}));
  EXPECT_EQ(MeasuredFrameRate(milliseconds(100'000), 1), (FrameRate{1, 100}));
  // Exact, or to ticks of 90 kHz.
  EXPECT_EQ(MeasuredFrameRate(nanoseconds(33'366'666), 1), (FrameRate{30'000, 1001}));
  EXPECT_EQ(MeasuredFrameRate(nanoseconds(41'708'333), 1), (FrameRate{24'000, 1001}));
  EXPECT_EQ(MeasuredFrameRate(nanoseconds(80'000'000) * 99, 99), (FrameRate{25, 2}));
  EXPECT_NEAR(MeasuredFrameRate(nanoseconds(37'344'444), 1).PerSecond(), 26.777, 0.001);
}

TEST(FrameRate, IsNotMeasuredWhereThereIsNoTime) {
  EXPECT_TRUE(MeasuredFrameRate(nanoseconds(0), 1).IsNone());
  EXPECT_TRUE(MeasuredFrameRate(nanoseconds(-1), 1).IsNone());
  EXPECT_TRUE(MeasuredFrameRate(nanoseconds(1), 0).IsNone());
}

TEST(FrameRate, OfTheShortestAndTheLongestTimesFitsItsNumbers) {
  EXPECT_FALSE(MeasuredFrameRate(nanoseconds(1), 1).IsNone());
  EXPECT_FALSE(MeasuredFrameRate(nanoseconds::max(), 1).IsNone());
  EXPECT_FALSE(
      MeasuredFrameRate(nanoseconds(1), std::numeric_limits<std::int64_t>::max()).IsNone());
}

TEST(FrameRate, OfParametersIsTheExactOneWhereItIsWhole) {
  EXPECT_EQ(FrameRateOf({}), FrameRate());
  EXPECT_EQ(FrameRateOf(ParamsOf(13, 25, 2)), (FrameRate{25, 2}));
  EXPECT_EQ(FrameRateOf(ParamsOf(13, 0, 2)), (FrameRate{13, 1}));
  EXPECT_EQ(FrameRateOf(ParamsOf(13, 25, -2)), (FrameRate{13, 1}));
  EXPECT_EQ(FrameRateOf(ParamsOf(-1, 25, 0)), FrameRate());
  video::EncodeParams half;
  half.frame_rate_numerator = 25;
  EXPECT_EQ(FrameRateOf(half), FrameRate());
}

}  // namespace
}  // namespace movra::media
