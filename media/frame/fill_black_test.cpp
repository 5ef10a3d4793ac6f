#include "media/frame/fill_black.h"

#include <cstddef>
#include <utility>

#include "gtest/gtest.h"
#include "media/frame/pictures_for_test.h"

namespace movra::media {
namespace {

using video::PixelFormat;

TEST(FillBlack, IsBlackByTheRangeInTheRegionAndNowhereElse) {
  FramePool pool;
  for (const bool full_range : {false, true}) {
    FlatColor black = kBlack;
    if (full_range) black.y = 0;
    for (const PixelFormat format : kEveryFormat) {
      video::PixelFrameInfo like;
      like.color.full_range = full_range;
      WritableFrame frame = pool.Allocate(format, {31, 15}, like);
      Fill(frame, {0, 0, 31, 15}, kRust);
      FillBlack(frame, {4, 2, 27, 5});
      const video::PixelFrame result = std::move(frame).Finish();
      EXPECT_EQ(DistanceFrom(CropTo(result.info(), {4, 2, 27, 5}), black), 0)
          << static_cast<int>(format);
      EXPECT_EQ(DistanceFrom(CropTo(result.info(), {0, 0, 4, 15}), kRust), 0);
      EXPECT_EQ(DistanceFrom(CropTo(result.info(), {0, 0, 31, 2}), kRust), 0);
      EXPECT_EQ(DistanceFrom(CropTo(result.info(), {0, 8, 31, 7}), kRust), 0);
    }
  }
}

TEST(FillBlack, AnEmptyRegionChangesNothing) {
  FramePool pool;
  WritableFrame frame = pool.Allocate(PixelFormat::kI420, {8, 8});
  Fill(frame, {0, 0, 8, 8}, kRust);
  FillBlack(frame, {0, 0, 0, 8});
  FillBlack(frame, {0, 8, 8, 0});
  EXPECT_EQ(DistanceFrom(std::move(frame).Finish().info(), kRust), 0);
}

}  // namespace
}  // namespace movra::media
