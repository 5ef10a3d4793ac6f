#include "media/capture/picture_size.h"

#include <gtest/gtest.h>

namespace movra::media {
namespace {

using video::Size;
using video::VideoRotation;

TEST(CoveringSize, IsTheNaturalSizeWhenNothingIsAsked) {
  EXPECT_EQ(CoveringSize({1920, 1080}, {0, 0}), (Size{1920, 1080}));
  EXPECT_EQ(CoveringSize({853, 479}, {0, 0}), (Size{853, 479}));
  EXPECT_EQ(CoveringSize({853, 479}, {-4, -2}), (Size{853, 479}));
}

TEST(CoveringSize, IsTheAskedSizeForAPictureOfTheSameShape) {
  EXPECT_EQ(CoveringSize({1920, 1080}, {1280, 720}), (Size{1280, 720}));
  EXPECT_EQ(CoveringSize({3840, 2160}, {640, 360}), (Size{640, 360}));
}

TEST(CoveringSize, KeepsTheShapeAndCoversWhatIsAsked) {
  EXPECT_EQ(CoveringSize({640, 480}, {320, 180}), (Size{320, 240}));
  EXPECT_EQ(CoveringSize({1920, 1080}, {640, 480}), (Size{854, 480}));
  EXPECT_EQ(CoveringSize({1000, 1000}, {640, 360}), (Size{640, 640}));
  EXPECT_EQ(CoveringSize({1920, 800}, {1280, 720}), (Size{1728, 720}));
}

TEST(CoveringSize, HoldsLongSideAgainstLongSide) {
  EXPECT_EQ(CoveringSize({1080, 1920}, {1280, 720}), (Size{720, 1280}));
  EXPECT_EQ(CoveringSize({1920, 1080}, {720, 1280}), (Size{1280, 720}));
  EXPECT_EQ(CoveringSize({1080, 1920}, {640, 480}), (Size{480, 854}));
}

TEST(CoveringSize, NeverEnlarges) {
  EXPECT_EQ(CoveringSize({640, 360}, {1280, 720}), (Size{640, 360}));
  EXPECT_EQ(CoveringSize({640, 480}, {1280, 720}), (Size{640, 480}));
  EXPECT_EQ(CoveringSize({853, 479}, {853, 479}), (Size{853, 479}));
  EXPECT_EQ(CoveringSize({853, 479}, {852, 479}), (Size{853, 479}));
}

TEST(CoveringSize, RoundsOddSidesUpToEvenOnes) {
  EXPECT_EQ(CoveringSize({1920, 1080}, {1279, 719}), (Size{1280, 720}));
  EXPECT_EQ(CoveringSize({853, 480}, {851, 100}), (Size{852, 478}));
  EXPECT_EQ(CoveringSize({4096, 16}, {100, 0}), (Size{100, 2}));
}

TEST(CoveringSize, IgnoresASideThatIsNotAsked) {
  EXPECT_EQ(CoveringSize({1920, 1080}, {960, 0}), (Size{960, 540}));
  EXPECT_EQ(CoveringSize({1920, 1080}, {0, 960}), (Size{960, 540}));
}

TEST(CoveringSize, IsSafeForExtremeNumbers) {
  EXPECT_EQ(CoveringSize({0, 0}, {640, 360}), (Size{0, 0}));
  EXPECT_EQ(CoveringSize({1920, 1080}, {2147483647, 2147483647}), (Size{1920, 1080}));
  EXPECT_EQ(CoveringSize({2147483647, 1}, {2147483646, 1}), (Size{2147483647, 1}));
}

TEST(UprightSize, SwapsTheSidesForAQuarterTurn) {
  EXPECT_EQ(UprightSize({1920, 1080}, 1, 1, VideoRotation::k0), (Size{1920, 1080}));
  EXPECT_EQ(UprightSize({1920, 1080}, 1, 1, VideoRotation::k90), (Size{1080, 1920}));
  EXPECT_EQ(UprightSize({1920, 1080}, 1, 1, VideoRotation::k180), (Size{1920, 1080}));
  EXPECT_EQ(UprightSize({1920, 1080}, 1, 1, VideoRotation::k270), (Size{1080, 1920}));
}

TEST(UprightSize, StretchesTheStoredWidthBeforeTheTurn) {
  EXPECT_EQ(UprightSize({720, 576}, 16, 15, VideoRotation::k0), (Size{768, 576}));
  EXPECT_EQ(UprightSize({720, 480}, 8, 9, VideoRotation::k0), (Size{640, 480}));
  EXPECT_EQ(UprightSize({1440, 1080}, 4, 3, VideoRotation::k90), (Size{1080, 1920}));
}

TEST(UprightSize, TakesSamplesAsSquareWhenTheRatioIsAbsentOrAbsurd) {
  EXPECT_EQ(UprightSize({721, 576}, 0, 1, VideoRotation::k0), (Size{721, 576}));
  EXPECT_EQ(UprightSize({721, 576}, 1, 0, VideoRotation::k0), (Size{721, 576}));
  EXPECT_EQ(UprightSize({720, 576}, 1000, 1, VideoRotation::k0), (Size{720, 576}));
  EXPECT_EQ(UprightSize({720, 576}, 1, 1000, VideoRotation::k0), (Size{720, 576}));
  EXPECT_EQ(UprightSize({30000, 20}, 9, 1, VideoRotation::k0), (Size{30000, 20}));
}

}  // namespace
}  // namespace movra::media
