#include "media/preprocess/placement.h"

#include <cmath>
#include <cstdint>
#include <vector>

#include "gtest/gtest.h"

namespace movra::media {
namespace {

using video::FrameAdaptiveMode;
using video::Region;
using video::Size;

TEST(Place, CropKeepsTheMiddleOfTheWiderPicture) {
  EXPECT_EQ(Place({1920, 1080}, {720, 720}, FrameAdaptiveMode::kCrop),
            (Placement{{420, 0, 1080, 1080}, {0, 0, 720, 720}}));
}

TEST(Place, CropKeepsTheMiddleOfTheTallerPicture) {
  EXPECT_EQ(Place({1080, 1920}, {1280, 720}, FrameAdaptiveMode::kCrop),
            (Placement{{0, 656, 1080, 608}, {0, 0, 1280, 720}}));
}

TEST(Place, StretchUsesEverything) {
  EXPECT_EQ(Place({1920, 1080}, {720, 720}, FrameAdaptiveMode::kStretch),
            (Placement{{0, 0, 1920, 1080}, {0, 0, 720, 720}}));
}

TEST(Place, FitLeavesBarsAboveAndBelowTheWiderPicture) {
  EXPECT_EQ(Place({1920, 1080}, {720, 720}, FrameAdaptiveMode::kFit),
            (Placement{{0, 0, 1920, 1080}, {0, 156, 720, 406}}));
}

TEST(Place, FitLeavesBarsBesideTheTallerPicture) {
  EXPECT_EQ(Place({1080, 1920}, {1280, 720}, FrameAdaptiveMode::kFit),
            (Placement{{0, 0, 1080, 1920}, {436, 0, 406, 720}}));
}

TEST(Place, AModeWithoutANameCrops) {
  EXPECT_EQ(Place({1920, 1080}, {720, 720}, static_cast<FrameAdaptiveMode>(-7)),
            Place({1920, 1080}, {720, 720}, FrameAdaptiveMode::kCrop));
}

TEST(Place, ShapesThatDifferByRoundingAloneCountAsTheSame) {
  for (const auto mode : {FrameAdaptiveMode::kCrop, FrameAdaptiveMode::kFit}) {
    EXPECT_EQ(Place({854, 480}, {1280, 720}, mode),
              (Placement{{0, 0, 854, 480}, {0, 0, 1280, 720}}));
    EXPECT_EQ(Place({1280, 720}, {854, 480}, mode),
              (Placement{{0, 0, 1280, 720}, {0, 0, 854, 480}}));
  }
}

bool LiesWithin(const Region& inner, const Size& outer) {
  return inner.x >= 0 && inner.y >= 0 && inner.width > 0 && inner.height > 0 &&
         inner.x + inner.width <= outer.width && inner.y + inner.height <= outer.height;
}

bool IsEvenOrReaches(std::int32_t offset, std::int32_t extent, std::int32_t side) {
  return offset % 2 == 0 && (extent % 2 == 0 || offset + extent == side);
}

TEST(Place, EveryResultLiesWithinIsAlignedCentredAndKeepsTheShape) {
  const std::vector<std::int32_t> sides = {1, 2, 3, 7, 16, 90, 111, 480, 721, 1080, 1920, 32768};
  for (const std::int32_t sw : sides) {
    for (const std::int32_t sh : sides) {
      for (const std::int32_t tw : sides) {
        for (const std::int32_t th : sides) {
          for (const auto mode :
               {FrameAdaptiveMode::kCrop, FrameAdaptiveMode::kStretch, FrameAdaptiveMode::kFit}) {
            const Placement p = Place({sw, sh}, {tw, th}, mode);
            ASSERT_TRUE(LiesWithin(p.source, {sw, sh}));
            ASSERT_TRUE(LiesWithin(p.target, {tw, th}));
            ASSERT_TRUE(IsEvenOrReaches(p.source.x, p.source.width, sw));
            ASSERT_TRUE(IsEvenOrReaches(p.source.y, p.source.height, sh));
            ASSERT_TRUE(IsEvenOrReaches(p.target.x, p.target.width, tw));
            ASSERT_TRUE(IsEvenOrReaches(p.target.y, p.target.height, th));
            const auto centred = [](std::int32_t at, std::int32_t extent, std::int32_t side) {
              const std::int32_t other = side - at - extent;
              return at <= other && other - at < 4;
            };
            ASSERT_TRUE(centred(p.source.x, p.source.width, sw));
            ASSERT_TRUE(centred(p.source.y, p.source.height, sh));
            ASSERT_TRUE(centred(p.target.x, p.target.width, tw));
            ASSERT_TRUE(centred(p.target.y, p.target.height, th));
            if (mode == FrameAdaptiveMode::kStretch) continue;
            // Either side of what was fitted is at most two samples off its exact length.
            const Region& fitted = mode == FrameAdaptiveMode::kCrop ? p.source : p.target;
            const double w = mode == FrameAdaptiveMode::kCrop ? tw : sw;
            const double h = mode == FrameAdaptiveMode::kCrop ? th : sh;
            const bool keeps_shape = std::abs(fitted.height - fitted.width * h / w) <= 2 ||
                                     std::abs(fitted.width - fitted.height * w / h) <= 2;
            ASSERT_TRUE(keeps_shape) << sw << "x" << sh << " into " << tw << "x" << th;
          }
        }
      }
    }
  }
}

}  // namespace
}  // namespace movra::media
