#include "video/producer/capture_rules.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

#include "testing/environment.h"

namespace movra::video {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Values;
using enum ProducerMode;

constexpr Size kInput{320, 240};
constexpr Size kPortraitInput{720, 1280};

// The size limit is what the environment says.
class CaptureSize : public ::testing::Test {
 protected:
  testing::Environment env_;
};

class LimitedCaptureSize : public CaptureSize,
                           public ::testing::WithParamInterface<ProducerMode> {};

INSTANTIATE_TEST_SUITE_P(BothLimitedModes, LimitedCaptureSize, Values(kDefault, kLimitedSize));

TEST_P(LimitedCaptureSize, LimitsTheEncodeSizeTo1920x1080AndIgnoresTheInput) {
  env_.world().answers.limited_size = Size{1600, 900};
  EXPECT_EQ(CalculateCaptureSize(GetParam(), kInput, {3200, 1800}), (Size{1600, 900}));
  EXPECT_THAT(env_.journal().Take(),
              ElementsAre("CalculateSizeByLimitLandscapeSize(1920x1080, 3200x1800)"));
}

TEST_P(LimitedCaptureSize, TurnsALimitedPortraitSizeToLandscape) {
  env_.world().answers.limited_size = Size{608, 1080};
  EXPECT_EQ(CalculateCaptureSize(GetParam(), kPortraitInput, {720, 1280}), (Size{1080, 608}));
}

TEST_P(LimitedCaptureSize, LeavesASquareAsItIs) {
  EXPECT_EQ(CalculateCaptureSize(GetParam(), {}, {640, 640}), (Size{640, 640}));
}

TEST_P(LimitedCaptureSize, AsksTheLimitForAnUnknownEncodeSizeToo) {
  EXPECT_EQ(CalculateCaptureSize(GetParam(), kInput, {0, 0}), (Size{0, 0}));
  EXPECT_THAT(env_.journal().Take(),
              ElementsAre("CalculateSizeByLimitLandscapeSize(1920x1080, 0x0)"));
}

TEST_P(LimitedCaptureSize, ComparesSidesAsSignedNumbers) {
  env_.world().answers.limited_size = Size{-4, 2};
  EXPECT_EQ(CalculateCaptureSize(GetParam(), kInput, {}), (Size{2, -4}));
}

TEST_F(CaptureSize, OfTheEncodeSizeModeIsNotLimited) {
  env_.world().answers.limited_size = Size{1, 1};
  EXPECT_EQ(CalculateCaptureSize(kEncodeSize, kInput, {3840, 2160}), (Size{3840, 2160}));
  EXPECT_THAT(env_.journal().Take(), IsEmpty());
}

TEST_F(CaptureSize, OfTheEncodeSizeModeIsTurnedToLandscape) {
  EXPECT_EQ(CalculateCaptureSize(kEncodeSize, kPortraitInput, {720, 1280}), (Size{1280, 720}));
  EXPECT_EQ(CalculateCaptureSize(kEncodeSize, kPortraitInput, {-1, 0}), (Size{0, -1}));
}

TEST_F(CaptureSize, OfTheOwnSizeModeIsTheInputAsItIs) {
  for (const Size input : {kPortraitInput, kInput, Size{0, 720}, Size{1280, 0}, Size{7681, 3}}) {
    EXPECT_EQ(CalculateCaptureSize(kOwnSize, input, {640, 360}), input) << input.ToString();
  }
  EXPECT_THAT(env_.journal().Take(), IsEmpty());
}

TEST_F(CaptureSize, OfTheOwnSizeModeWithoutAnInputIsTheLimitedEncodeSize) {
  env_.world().answers.limited_size = Size{1600, 900};
  EXPECT_EQ(CalculateCaptureSize(kOwnSize, {}, {3200, 1800}), (Size{1600, 900}));
  EXPECT_THAT(env_.journal().Take(),
              ElementsAre("CalculateSizeByLimitLandscapeSize(1920x1080, 3200x1800)"));
}

TEST_F(CaptureSize, OfTheOwnSizeModeKeepsALimitedPortraitSize) {
  env_.world().answers.limited_size = Size{608, 1080};
  EXPECT_EQ(CalculateCaptureSize(kOwnSize, {}, {720, 1280}), (Size{608, 1080}));
}

class UnnamedProducerMode : public CaptureSize,
                            public ::testing::WithParamInterface<std::int32_t> {};

INSTANTIATE_TEST_SUITE_P(OutsideOfTheFour, UnnamedProducerMode,
                         Values(-1, 4, 5, std::numeric_limits<std::int32_t>::min(),
                                std::numeric_limits<std::int32_t>::max()));

TEST_P(UnnamedProducerMode, HasNoCaptureSizeAndAsksForNoLimit) {
  EXPECT_EQ(CalculateCaptureSize(static_cast<ProducerMode>(GetParam()), kInput, {1280, 720}),
            (Size{0, 0}));
  EXPECT_THAT(env_.journal().Take(), IsEmpty());
}

TEST(ScreenSource, IsAScreenOrAMirroredScreen) {
  EXPECT_TRUE(IsScreenSource(static_cast<VideoSourceType>(2)));
  EXPECT_TRUE(IsScreenSource(static_cast<VideoSourceType>(5)));
}

TEST(ScreenSource, IsNothingElse) {
  for (const std::int32_t value : {-1, 0, 1, 3, 4, 6}) {
    EXPECT_FALSE(IsScreenSource(static_cast<VideoSourceType>(value))) << value;
  }
}

TEST(FrameAdaptiveModeRule, KeepsScreensWhole) {
  EXPECT_EQ(CalculateFrameAdaptiveMode({}, static_cast<VideoSourceType>(2)),
            static_cast<FrameAdaptiveMode>(2));
  EXPECT_EQ(CalculateFrameAdaptiveMode({}, static_cast<VideoSourceType>(5)),
            static_cast<FrameAdaptiveMode>(2));
}

TEST(FrameAdaptiveModeRule, CropsEverythingElse) {
  for (const std::int32_t value : {-1, 0, 1, 3, 4, 6}) {
    EXPECT_EQ(CalculateFrameAdaptiveMode({}, static_cast<VideoSourceType>(value)),
              static_cast<FrameAdaptiveMode>(0))
        << value;
  }
}

TEST(FrameAdaptiveModeRule, PrefersTheApplicationsOwnModeWhateverItIs) {
  for (const std::int32_t mode : {0, 1, 2, 17}) {
    const auto own = static_cast<FrameAdaptiveMode>(mode);
    EXPECT_EQ(CalculateFrameAdaptiveMode(own, VideoSourceType::kCamera), own);
    EXPECT_EQ(CalculateFrameAdaptiveMode(own, VideoSourceType::kScreen), own);
  }
}

// Absent where a side or the rate is -1.
EncodeParams ParamsOf(std::int32_t width, std::int32_t height, std::int32_t frame_rate) {
  EncodeParams params;
  if (width != -1) params.width = width;
  if (height != -1) params.height = height;
  if (frame_rate != -1) params.frame_rate = frame_rate;
  return params;
}

struct UnchangedCase {
  std::string name;
  EncodeParams params;  // Compared with 1280x720 at 30.
  bool unchanged;
};

class EncodeParamsUnchanged : public ::testing::TestWithParam<UnchangedCase> {};

INSTANTIATE_TEST_SUITE_P(
    AgainstWhatTheStreamHas, EncodeParamsUnchanged,
    Values(UnchangedCase{"NothingGiven", ParamsOf(-1, -1, -1), true},
           UnchangedCase{"EverythingTheSame", ParamsOf(1280, 720, 30), true},
           UnchangedCase{"TheSameSize", ParamsOf(1280, 720, -1), true},
           UnchangedCase{"TheSameRate", ParamsOf(-1, -1, 30), true},
           UnchangedCase{"AnotherRate", ParamsOf(-1, -1, 31), false},
           UnchangedCase{"AnotherRateOfTheSameSize", ParamsOf(1280, 720, 29), false},
           UnchangedCase{"AnotherWidth", ParamsOf(1281, 720, 30), false},
           UnchangedCase{"AnotherHeight", ParamsOf(1280, 721, 30), false},
           UnchangedCase{"AnotherSizeWithoutARate", ParamsOf(640, 360, -1), false},
           UnchangedCase{"AnotherWidthWithoutAHeight", ParamsOf(640, -1, 30), true},
           UnchangedCase{"AnotherHeightWithoutAWidth", ParamsOf(-1, 360, 30), true},
           UnchangedCase{"AnotherRateAndOneSide", ParamsOf(1280, -1, 15), false},
           UnchangedCase{"NoSizeAtAll", ParamsOf(0, 0, 30), false},
           UnchangedCase{"ARateOfNought", ParamsOf(-1, -1, 0), false}),
    [](const auto& test) { return test.param.name; });

TEST_P(EncodeParamsUnchanged, LooksAtAFullSizeAndAtAGivenRate) {
  EXPECT_EQ(AreEncodeParamsUnchanged(GetParam().params, {1280, 720}, 30), GetParam().unchanged);
}

}  // namespace
}  // namespace movra::video
