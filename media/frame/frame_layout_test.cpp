#include "media/frame/frame_layout.h"

#include <cstdint>
#include <vector>

#include "gtest/gtest.h"
#include "media/frame/pictures_for_test.h"

namespace movra::media {
namespace {

using video::PixelFormat;
using video::Size;

TEST(FrameLayout, EveryFormatHasItsPlanesAndOddSizesRoundChromaUp) {
  struct Expected {
    PixelFormat format;
    std::vector<Size> samples;
    std::vector<int> bytes;
  };
  const std::vector<Expected> all = {
      {PixelFormat::kI420, {{7, 5}, {4, 3}, {4, 3}}, {1, 1, 1}},
      {PixelFormat::kNV12, {{7, 5}, {4, 3}}, {1, 2}},
      {PixelFormat::kBGRA, {{7, 5}}, {4}},
      {PixelFormat::kRGBA, {{7, 5}}, {4}},
      {PixelFormat::kI422, {{7, 5}, {4, 5}, {4, 5}}, {1, 1, 1}},
      {PixelFormat::kI444, {{7, 5}, {7, 5}, {7, 5}}, {1, 1, 1}},
      {PixelFormat::kGray, {{7, 5}}, {1}},
      {PixelFormat::kI010, {{7, 5}, {4, 3}, {4, 3}}, {2, 2, 2}},
  };
  for (const Expected& expected : all) {
    ASSERT_EQ(PlaneCount(expected.format), expected.samples.size());
    for (std::size_t i = 0; i < expected.samples.size(); ++i) {
      const PlaneLayout layout = LayoutOf(expected.format, {7, 5}, i);
      EXPECT_EQ(layout.samples, expected.samples[i]);
      EXPECT_EQ(layout.bytes_per_sample, expected.bytes[i]);
    }
  }
}

TEST(FrameLayout, AFormatWithoutANameHasNoPlanes) {
  EXPECT_EQ(PlaneCount(PixelFormat::kNone), 0U);
  EXPECT_EQ(PlaneCount(static_cast<PixelFormat>(12345)), 0U);
}

TEST(FrameLayout, OnlyKnownFormatsOfSensibleSizesAreAllocatable) {
  EXPECT_TRUE(IsAllocatable(PixelFormat::kI420, {1, 1}));
  EXPECT_TRUE(IsAllocatable(PixelFormat::kI420, {32768, 32768}));
  EXPECT_FALSE(IsAllocatable(PixelFormat::kI420, {0, 2}));
  EXPECT_FALSE(IsAllocatable(PixelFormat::kI420, {2, 0}));
  EXPECT_FALSE(IsAllocatable(PixelFormat::kI420, {-2, 2}));
  EXPECT_FALSE(IsAllocatable(PixelFormat::kI420, {32769, 2}));
  EXPECT_FALSE(IsAllocatable(PixelFormat::kI420, {2, 32769}));
  EXPECT_FALSE(IsAllocatable(PixelFormat::kNone, {2, 2}));
}

TEST(FrameLayout, ACropShowsTheRegionOfEveryPlaneWithoutCopying) {
  FramePool pool;
  for (const PixelFormat format : kEveryFormat) {
    WritableFrame frame = pool.Allocate(format, {16, 12});
    Fill(frame, {0, 0, 16, 12}, kGray);
    Fill(frame, {4, 2, 8, 6}, kRust);
    const video::PixelFrame picture = std::move(frame).Finish();
    const video::PixelFrameInfo part = CropTo(picture.info(), {4, 2, 8, 6});
    EXPECT_EQ(part.size, (Size{8, 6}));
    EXPECT_EQ(DistanceFrom(part, kRust), 0) << static_cast<int>(format);
    EXPECT_NE(DistanceFrom(CropTo(picture.info(), {2, 2, 8, 6}), kRust), 0);
    EXPECT_NE(DistanceFrom(CropTo(picture.info(), {4, 0, 8, 6}), kRust), 0);
  }
}

}  // namespace
}  // namespace movra::media
