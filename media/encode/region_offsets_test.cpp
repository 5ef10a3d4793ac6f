#include "media/encode/region_offsets.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

namespace movra::media {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

TEST(RegionOffsets, NoRegionGivesNoMap) { EXPECT_THAT(RegionOffsets({}, {64, 64}), IsEmpty()); }

TEST(RegionOffsets, EveryMacroblockThatARegionTouchesGetsItsOffset) {
  EXPECT_THAT(RegionOffsets({{15, 16, 2, 16, -6}}, {64, 48}), ElementsAre(0, 0, 0, 0,    //
                                                                          -6, -6, 0, 0,  //
                                                                          0, 0, 0, 0));
}

TEST(RegionOffsets, APartialMacroblockAtTheEdgeCountsAsOne) {
  EXPECT_THAT(RegionOffsets({{32, 0, 100, 100, 4}}, {40, 17}), ElementsAre(0, 0, 4,  //
                                                                           0, 0, 4));
}

TEST(RegionOffsets, TheLastOfOverlappingRegionsCounts) {
  EXPECT_THAT(RegionOffsets({{0, 0, 32, 16, -6}, {16, 0, 32, 16, 3}}, {48, 16}),
              ElementsAre(-6, 3, 3));
}

TEST(RegionOffsets, RegionsOutsideThePictureOrWithoutExtentChangeNothing) {
  EXPECT_THAT(
      RegionOffsets(
          {{64, 0, 16, 16, -6}, {0, -16, 16, 16, -6}, {8, 8, 0, 16, -6}, {8, 8, -4, 16, -6}},
          {32, 32}),
      ElementsAre(0, 0, 0, 0));
}

TEST(RegionOffsets, ExtremeValuesAreLimited) {
  constexpr int kLow = std::numeric_limits<int>::min();
  constexpr int kHigh = std::numeric_limits<int>::max();
  EXPECT_THAT(RegionOffsets({{0, 0, kHigh, kHigh, kLow}}, {32, 16}), Each(-51));
  EXPECT_THAT(
      RegionOffsets({{kLow, kLow, kHigh, kHigh, 1}, {kHigh, kHigh, kHigh, kHigh, 1}}, {32, 16}),
      Each(0));
  EXPECT_THAT(RegionOffsets({{0, 0, 1, 1, 1}}, {0, 0}), SizeIs(0));
}

}  // namespace
}  // namespace movra::media
