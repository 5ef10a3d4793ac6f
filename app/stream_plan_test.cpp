#include "app/stream_plan.h"

#include <gtest/gtest.h>

#include "media/capture/picture_size.h"
#include "media/encode/encoder_settings.h"

namespace movra::app {
namespace {

using video::Size;
using video::VideoStreamType;

video::CameraInfo File(Size size, int numerator, int denominator = 1) {
  video::CameraInfo info;
  info.natural_size = size;
  info.rate_numerator = numerator;
  info.rate_denominator = denominator;
  info.traits.rate_is_fixed = true;
  return info;
}

video::CameraInfo Device(Size size, int numerator) {
  video::CameraInfo info = File(size, numerator);
  info.traits.rate_is_fixed = false;
  return info;
}

TEST(StreamPlan, ALandscapeSourceGivesTheUsualPair) {
  const CapturePlan plan = PlanCapture({}, File({1920, 1080}, 30));
  ASSERT_EQ(plan.streams.size(), 2U);
  const StreamPlan& big = plan.streams[0];
  const StreamPlan& small = plan.streams[1];
  EXPECT_EQ(big.type, VideoStreamType::kBig);
  EXPECT_EQ(big.size, (Size{1280, 720}));
  EXPECT_EQ(big.frame_rate, (FrameRate{30, 1}));
  EXPECT_EQ(big.expected_frame_rate, (FrameRate{30, 1}));
  EXPECT_EQ(big.bitrate_bps, 1'500'000);
  EXPECT_EQ(small.type, VideoStreamType::kSmall);
  EXPECT_EQ(small.size, (Size{320, 180}));
  EXPECT_EQ(small.frame_rate, (FrameRate{15, 1}));
  EXPECT_EQ(small.bitrate_bps, 133'000);
  EXPECT_FALSE(big.target || small.target);
}

struct Shape {
  Size natural;
  Size big;
  Size small;
};

class StreamPlanShape : public testing::TestWithParam<Shape> {};

TEST_P(StreamPlanShape, FollowsTheSourceAndIsNeverEnlarged) {
  const CapturePlan plan = PlanCapture({}, File(GetParam().natural, 30));
  EXPECT_EQ(plan.streams[0].size, GetParam().big);
  EXPECT_EQ(plan.streams[1].size, GetParam().small);
}

INSTANTIATE_TEST_SUITE_P(Sizes, StreamPlanShape,
                         testing::Values(Shape{{1280, 720}, {1280, 720}, {320, 180}},
                                         Shape{{3840, 2160}, {1280, 720}, {320, 180}},
                                         Shape{{1080, 1920}, {720, 1280}, {180, 320}},
                                         Shape{{640, 480}, {640, 480}, {160, 120}},
                                         Shape{{1440, 1080}, {960, 720}, {240, 180}},
                                         Shape{{64, 64}, {64, 64}, {16, 16}},
                                         Shape{{32, 32}, {32, 32}, {16, 16}},
                                         Shape{{3840, 20}, {1280, 16}, {320, 16}},
                                         Shape{{0, 0}, {1280, 720}, {320, 180}}));

TEST(StreamPlan, TheRateIsTheSourcesUpToThirty) {
  const auto expected_rate = [](int numerator, int denominator) {
    return PlanCapture({}, File({640, 360}, numerator, denominator)).streams[0].expected_frame_rate;
  };
  EXPECT_EQ(expected_rate(60, 1), (FrameRate{30, 1}));
  EXPECT_EQ(expected_rate(24, 1), (FrameRate{24, 1}));
  EXPECT_EQ(expected_rate(0, 1), (FrameRate{30, 1}));
  EXPECT_EQ(expected_rate(30000, 1001), (FrameRate{30000, 1001}));
}

// The limit stays at thirty: a file of uneven time stamps is faster than its mean in places.
TEST(StreamPlan, ASlowSourceDoesNotLowerTheLimitOfTheBigStream) {
  EXPECT_EQ(PlanCapture({}, File({640, 360}, 10)).streams[0].frame_rate, (FrameRate{30, 1}));
}

TEST(StreamPlan, TheSmallStreamHasExactlyHalfTheRate) {
  const auto small_rate = [](int numerator, int denominator) {
    return PlanCapture({}, File({640, 360}, numerator, denominator)).streams[1].frame_rate;
  };
  EXPECT_EQ(small_rate(30, 1), (FrameRate{15, 1}));
  EXPECT_EQ(small_rate(60, 1), (FrameRate{15, 1}));
  EXPECT_EQ(small_rate(30000, 1001), (FrameRate{15000, 1001}));
  EXPECT_EQ(small_rate(25, 1), (FrameRate{25, 2}));
  EXPECT_EQ(small_rate(24, 1), (FrameRate{12, 1}));
  EXPECT_EQ(small_rate(1, 1), (FrameRate{1, 2}));
  EXPECT_EQ(small_rate(1, 2), (FrameRate{1, 4}));
  EXPECT_EQ(small_rate(0, 1), (FrameRate{15, 1}));
}

TEST(StreamPlan, WhatWasTypedHoldsAndTheSmallStreamFollowsTheBigOne) {
  RunOptions options;
  options.big.size = Size{1920, 1080};
  options.big.frame_rate = FrameRate{60, 1};
  options.big.bitrate_bps = 4'000'000;
  options.big.target = StreamTarget{"a.mkv", media::ContainerFormat::kMkv};
  const CapturePlan plan = PlanCapture(options, File({1920, 1080}, 60));
  EXPECT_EQ(plan.streams[0].size, (Size{1920, 1080}));
  EXPECT_EQ(plan.streams[0].frame_rate, (FrameRate{60, 1}));
  EXPECT_EQ(plan.streams[0].bitrate_bps, 4'000'000);
  EXPECT_EQ(plan.streams[0].target, options.big.target);
  EXPECT_EQ(plan.streams[1].size, (Size{480, 270}));
  EXPECT_EQ(plan.streams[1].frame_rate, (FrameRate{30, 1}));
}

TEST(StreamPlan, AStreamThatIsOffIsLeftOut) {
  RunOptions options;
  options.big.off = true;
  const CapturePlan small_only = PlanCapture(options, File({1920, 1080}, 30));
  ASSERT_EQ(small_only.streams.size(), 1U);
  EXPECT_EQ(small_only.streams[0].type, VideoStreamType::kSmall);
  EXPECT_EQ(small_only.streams[0].size, (Size{320, 180}));
  options.big.off = false;
  options.small.off = true;
  EXPECT_EQ(PlanCapture(options, File({1920, 1080}, 30)).streams.size(), 1U);
}

// The encoder's own default, so that leaving the bit rate out means the same everywhere.
TEST(StreamPlan, AFileIsReadWholeForASmallStreamOfMoreThanHalfTheBigOnesSize) {
  const video::CameraInfo file = File({1920, 1080}, 30);
  RunOptions options;
  options.big.size = Size{1280, 720};
  for (const Size half : {Size{640, 360}, Size{640, 180}, Size{320, 360}}) {
    options.small.size = half;
    EXPECT_FALSE(PlanCapture(options, file).size);
    EXPECT_EQ(PlanCapture(options, file).mode, video::ProducerMode::kDefault);
  }
  for (const Size more : {Size{642, 360}, Size{640, 362}, Size{1920, 1080}}) {
    options.small.size = more;
    EXPECT_EQ(PlanCapture(options, file).size, (Size{1920, 1080}));
    EXPECT_EQ(PlanCapture(options, file).mode, video::ProducerMode::kOwnSize);
  }
  EXPECT_FALSE(PlanCapture(options, Device({1920, 1080}, 30)).size) << "it chooses its own modes";
  options.small.off = true;
  EXPECT_FALSE(PlanCapture(options, file).size);
}

TEST(StreamPlan, WhatWasTypedOfTheCaptureSizeHolds) {
  RunOptions options;
  options.small.size = Size{1280, 720};
  options.mode = video::ProducerMode::kEncodeSize;
  EXPECT_EQ(PlanCapture(options, File({1920, 1080}, 30)).mode, video::ProducerMode::kEncodeSize);
  EXPECT_FALSE(PlanCapture(options, File({1920, 1080}, 30)).size);
  options.mode = video::ProducerMode::kOwnSize;
  options.size = Size{960, 540};
  EXPECT_EQ(PlanCapture(options, File({1920, 1080}, 30)).mode, video::ProducerMode::kOwnSize);
  EXPECT_EQ(PlanCapture(options, File({1920, 1080}, 30)).size, (Size{960, 540}));
}

TEST(StreamPlan, ItsOwnSizeWithoutASizeIsTheCamerasNaturalOne) {
  RunOptions options;
  options.mode = video::ProducerMode::kOwnSize;
  options.big.size = Size{640, 360};
  for (const auto& source : {File({1920, 1080}, 30), Device({1920, 1080}, 30)}) {
    EXPECT_EQ(PlanCapture(options, source).size, media::kNaturalSize);
  }
}

TEST(StreamPlan, TheBitRateFollowsTheSizeAndTheRateThatIsExpected) {
  RunOptions options;
  options.big.size = Size{1920, 1080};
  options.big.frame_rate = FrameRate{60, 1};
  EXPECT_EQ(PlanCapture(options, File({1920, 1080}, 25)).streams[0].bitrate_bps,
            media::DefaultBitrateBps({1920, 1080}, 25));
  options.big.bitrate_bps = 123'000;
  EXPECT_EQ(PlanCapture(options, File({1920, 1080}, 25)).streams[0].bitrate_bps, 123'000);
}

TEST(StreamPlan, AFileIsTakenAtItsOwnRateUnlessThatIsMoreThanIsNeeded) {
  EXPECT_FALSE(PlanCapture({}, File({640, 360}, 30)).frame_rate);
  EXPECT_FALSE(PlanCapture({}, File({640, 360}, 0)).frame_rate);
  EXPECT_EQ(PlanCapture({}, File({640, 360}, 60)).frame_rate, 30);
  EXPECT_EQ(PlanCapture({}, File({640, 360}, 60000, 1001)).frame_rate, 30);
  RunOptions options;
  options.big.off = true;
  EXPECT_EQ(PlanCapture(options, File({640, 360}, 60)).frame_rate, 15);
}

TEST(StreamPlan, AFasterFileIsTakenWholeUnlessThinningItKeepsAllGapsEven) {
  RunOptions options;
  options.big.frame_rate = FrameRate{20, 1};
  EXPECT_FALSE(PlanCapture(options, File({640, 360}, 25)).frame_rate) << "five of six";
  EXPECT_EQ(PlanCapture(options, File({640, 360}, 40)).frame_rate, 20);
  options.small.frame_rate = FrameRate{15, 1};
  EXPECT_FALSE(PlanCapture(options, File({640, 360}, 40)).frame_rate) << "three of four again";
  options.frame_rate = FrameRate{20, 1};
  EXPECT_EQ(PlanCapture(options, File({640, 360}, 25)).frame_rate, 20) << "as it was asked";
}

TEST(StreamPlan, ADeviceIsAskedForTheRateOfTheFasterStream) {
  EXPECT_EQ(PlanCapture({}, Device({640, 480}, 30)).frame_rate, 30);
  RunOptions options;
  options.small.frame_rate = FrameRate{60, 1};
  EXPECT_EQ(PlanCapture(options, Device({640, 480}, 30)).frame_rate, 60);
}

TEST(StreamPlan, AFasterFileIsTakenAtAMultipleOfARateThatIsNotWhole) {
  RunOptions options;
  options.big.off = true;
  // A rate of thirteen would leave gaps of one and of two frames.
  EXPECT_FALSE(PlanCapture(options, File({640, 360}, 25)).frame_rate);
  EXPECT_EQ(PlanCapture(options, File({640, 360}, 25)).streams[0].frame_rate, (FrameRate{25, 2}));
  options.small.frame_rate = FrameRate{25, 2};
  EXPECT_EQ(PlanCapture(options, File({640, 360}, 50)).frame_rate, 25);
  EXPECT_EQ(PlanCapture(options, Device({640, 480}, 30)).frame_rate, 25);
  options.small.frame_rate = FrameRate{30000, 1001};
  EXPECT_FALSE(PlanCapture(options, File({640, 360}, 60)).frame_rate);
  EXPECT_EQ(PlanCapture(options, Device({640, 480}, 30)).frame_rate, 30);
}

TEST(StreamPlan, AnAskedCaptureRateThatIsNotWholeIsKeptByTheEncoders) {
  RunOptions options;
  options.frame_rate = FrameRate{25, 2};
  const CapturePlan file = PlanCapture(options, File({640, 360}, 50));
  EXPECT_EQ(file.frame_rate, 25);
  EXPECT_EQ(file.streams[0].frame_rate, (FrameRate{25, 2}));
  EXPECT_EQ(file.streams[1].frame_rate, (FrameRate{25, 4}));
  EXPECT_FALSE(PlanCapture(options, File({640, 360}, 25)).frame_rate);
  EXPECT_EQ(PlanCapture(options, Device({640, 360}, 30)).frame_rate, 25);
}

TEST(StreamPlan, AnAskedCaptureRateBoundsWhatIsExpected) {
  RunOptions options;
  options.frame_rate = FrameRate{10, 1};
  for (const video::CameraInfo& source : {File({640, 360}, 30), Device({640, 480}, 30)}) {
    const CapturePlan plan = PlanCapture(options, source);
    EXPECT_EQ(plan.frame_rate, 10);
    EXPECT_EQ(plan.streams[0].expected_frame_rate, (FrameRate{10, 1}));
    EXPECT_EQ(plan.streams[1].frame_rate, (FrameRate{5, 1}));
  }
  options.frame_rate = FrameRate{60, 1};
  EXPECT_EQ(PlanCapture(options, File({640, 360}, 25)).streams[0].expected_frame_rate,
            (FrameRate{25, 1}));
}

}  // namespace
}  // namespace movra::app
