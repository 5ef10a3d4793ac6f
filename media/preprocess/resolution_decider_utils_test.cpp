#include "video/resolution_decider_utils.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "gtest/gtest.h"

namespace movra::video {
namespace {

constexpr Size kFullHd{1920, 1080};

Size Limited(const Size& size) {
  return resolution_decider_utils::CalculateSizeByLimitLandscapeSize(kFullHd, size);
}

TEST(CalculateSizeByLimitLandscapeSize, WhatFitsStays) {
  EXPECT_EQ(Limited({1280, 720}), (Size{1280, 720}));
  EXPECT_EQ(Limited({1920, 1080}), kFullHd);
  EXPECT_EQ(Limited({2, 2}), (Size{2, 2}));
}

TEST(CalculateSizeByLimitLandscapeSize, WhatIsTooLargeShrinksInItsShape) {
  EXPECT_EQ(Limited({3840, 2160}), kFullHd);
  EXPECT_EQ(Limited({4096, 2160}), (Size{1920, 1012}));
  EXPECT_EQ(Limited({2000, 2000}), (Size{1080, 1080}));
  EXPECT_EQ(Limited({1440, 1200}), (Size{1296, 1080}));
}

TEST(CalculateSizeByLimitLandscapeSize, APortraitSizeIsLimitedLikeItsLandscapeTwin) {
  EXPECT_EQ(Limited({1080, 1920}), (Size{1080, 1920}));
  EXPECT_EQ(Limited({2160, 3840}), (Size{1080, 1920}));
  EXPECT_EQ(Limited({2160, 4096}), (Size{1012, 1920}));
}

TEST(CalculateSizeByLimitLandscapeSize, ALimitMayBeWrittenEitherWayRound) {
  EXPECT_EQ(resolution_decider_utils::CalculateSizeByLimitLandscapeSize({1080, 1920}, {3840, 2160}),
            kFullHd);
}

TEST(CalculateSizeByLimitLandscapeSize, ASizeThatIsNotKnownStaysSo) {
  EXPECT_EQ(Limited({0, 0}), (Size{0, 0}));
  EXPECT_EQ(Limited({-1, -5}), (Size{0, 0}));
}

TEST(CalculateSizeByLimitLandscapeSize, AMissingSideStaysMissingAndTheOtherIsLimited) {
  EXPECT_EQ(Limited({1280, 0}), (Size{1280, 0}));
  EXPECT_EQ(Limited({0, 1280}), (Size{0, 1280}));
  EXPECT_EQ(Limited({3840, 0}), (Size{1920, 0}));
  EXPECT_EQ(Limited({0, 3840}), (Size{0, 1920}));
  EXPECT_EQ(Limited({1281, -3}), (Size{1280, 0}));
}

TEST(CalculateSizeByLimitLandscapeSize, NothingFitsWithinNothing) {
  EXPECT_EQ(resolution_decider_utils::CalculateSizeByLimitLandscapeSize({0, 0}, {640, 360}),
            (Size{0, 0}));
}

TEST(CalculateSizeByLimitLandscapeSize, OddSidesGoDownToEvenOnesButNotToNone) {
  EXPECT_EQ(Limited({853, 481}), (Size{852, 480}));
  EXPECT_EQ(Limited({1, 1}), (Size{2, 2}));
  EXPECT_EQ(Limited({20000, 3}), (Size{1920, 2}));
  EXPECT_EQ(resolution_decider_utils::CalculateSizeByLimitLandscapeSize({1281, 721}, {2562, 1442}),
            (Size{1280, 720}));
}

TEST(CalculateSizeByLimitLandscapeSize, ASquareStaysOneUnderAnOddLimit) {
  EXPECT_EQ(resolution_decider_utils::CalculateSizeByLimitLandscapeSize({333, 111}, {113, 113}),
            (Size{110, 110}));
}

TEST(CalculateSizeByLimitLandscapeSize, HugeSidesDoNotOverflow) {
  EXPECT_EQ(Limited({2147483646, 2147483646}), (Size{1080, 1080}));
  EXPECT_EQ(Limited({2147483646, 2}), (Size{1920, 2}));
}

TEST(CalculateSizeByLimitLandscapeSize, EveryResultIsEvenWithinTheLimitNotEnlargedAndInShape) {
  const std::vector<Size> limits = {{1920, 1080}, {1280, 720}, {640, 480}, {333, 111}, {100, 100}};
  for (const Size& limit : limits) {
    const std::int32_t long_limit = std::max(limit.width, limit.height);
    const std::int32_t short_limit = std::min(limit.width, limit.height);
    for (std::int32_t w = 2; w < 4200; w += 37) {
      for (std::int32_t h = 2; h < 4200; h += 41) {
        const Size r = resolution_decider_utils::CalculateSizeByLimitLandscapeSize(limit, {w, h});
        ASSERT_TRUE(r.width % 2 == 0 && r.height % 2 == 0 && r.width > 0 && r.height > 0);
        ASSERT_LE(r.width, w);
        ASSERT_LE(r.height, h);
        ASSERT_LE(std::max(r.width, r.height), long_limit);
        ASSERT_LE(std::min(r.width, r.height), short_limit);
        ASSERT_EQ(r, (resolution_decider_utils::CalculateSizeByLimitLandscapeSize(
                         {limit.height, limit.width}, {w, h})));
        const Size turned =
            resolution_decider_utils::CalculateSizeByLimitLandscapeSize(limit, {h, w});
        ASSERT_EQ(r, (Size{turned.height, turned.width}));
        // As large as the limit allows, to within the rounding to even numbers.
        const double ratio = std::min({1.0, static_cast<double>(long_limit) / std::max(w, h),
                                       static_cast<double>(short_limit) / std::min(w, h)});
        ASSERT_LT(std::abs(r.width - w * ratio), 2) << w << "x" << h;
        ASSERT_LT(std::abs(r.height - h * ratio), 2) << w << "x" << h;
      }
    }
  }
}

}  // namespace
}  // namespace movra::video
