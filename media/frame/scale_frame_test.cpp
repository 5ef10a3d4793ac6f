#include "media/frame/scale_frame.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

#include "gtest/gtest.h"
#include "media/frame/grid_for_test.h"
#include "media/frame/pictures_for_test.h"

namespace movra::media {
namespace {

using video::PixelFormat;
using video::PixelFrame;
using video::Size;

double Lanczos3(double x) {
  constexpr double kPi = 3.14159265358979323846;
  if (std::abs(x) < 1e-9) return 1;
  if (std::abs(x) >= 3) return 0;
  return 3 * std::sin(kPi * x) * std::sin(kPi * x / 3) / (kPi * kPi * x * x);
}

// The grid in the luma plane, or in every channel of a pixel.
PixelFrame ToFrame(FramePool& pool, PixelFormat format, const Grid& grid) {
  WritableFrame frame = pool.Allocate(format, {grid.w, grid.h});
  Fill(frame, {0, 0, grid.w, grid.h}, kGray);
  const int bytes = LayoutOf(format, {grid.w, grid.h}, 0).bytes_per_sample;
  for (int y = 0; y < grid.h; ++y) {
    for (int x = 0; x < grid.w * bytes; ++x) {
      frame.plane(0)[y * frame.stride(0) + x] = static_cast<std::uint8_t>(grid(x / bytes, y));
    }
  }
  return std::move(frame).Finish();
}

Grid FromFrame(const PixelFrame& frame, int channel) {
  const int bytes = LayoutOf(frame.info().format, frame.info().size, 0).bytes_per_sample;
  return MakeGrid(frame.info().size.width, frame.info().size.height, [&](int x, int y) {
    return frame.info().planes[0].data[y * frame.info().planes[0].stride + x * bytes + channel];
  });
}

TEST(ScaleFrame, ShrinksAboutAsWellAsAWidenedBilinearFilter) {
  FramePool pool;
  const Grid scene = Scene(640, 360);
  const PixelFrame planes = ToFrame(pool, PixelFormat::kI420, scene);
  const PixelFrame pixels = ToFrame(pool, PixelFormat::kBGRA, scene);
  for (const Size size : {Size{480, 270}, Size{426, 240}, Size{334, 188}, Size{320, 180},
                          Size{160, 90}, Size{108, 60}}) {
    const Grid ideal = Resample(scene, size.width, size.height, 3, Lanczos3);
    const double bilinear = Psnr(Resample(scene, size.width, size.height, 1, Triangle), ideal);
    for (const PixelFrame& source : {planes, pixels}) {
      const double psnr = Psnr(FromFrame(ScaleFrame(source, size, pool), 0), ideal);
      EXPECT_GE(psnr, bilinear - 1) << size.ToString();
      EXPECT_GE(psnr, 37) << size.ToString();
    }
  }
}

TEST(ScaleFrame, EnlargesLikeABilinearFilter) {
  FramePool pool;
  const Grid scene = Scene(320, 180);
  for (const PixelFormat format : {PixelFormat::kI420, PixelFormat::kBGRA}) {
    const PixelFrame scaled = ScaleFrame(ToFrame(pool, format, scene), {640, 360}, pool);
    EXPECT_GE(Psnr(FromFrame(scaled, 0), Resample(scene, 640, 360, 1, Triangle)), 42);
  }
}

TEST(ScaleFrame, EveryFormatKeepsItsColourInEveryPlane) {
  FramePool pool;
  for (const PixelFormat format : kEveryFormat) {
    for (const Size size : {Size{34, 18}, Size{8, 4}, Size{100, 60}, Size{13, 7}, Size{1, 1}}) {
      const PixelFrame scaled = ScaleFrame(FlatFrame(pool, format, {50, 30}, kRust), size, pool);
      EXPECT_EQ(scaled.info().format, format);
      EXPECT_EQ(scaled.info().size, size);
      EXPECT_LE(DistanceFrom(scaled.info(), kRust), 2)
          << static_cast<int>(format) << " to " << size.ToString();
    }
  }
}

TEST(ScaleFrame, ChromaIsScaledLikeLuma) {
  FramePool pool;
  WritableFrame frame = pool.Allocate(PixelFormat::kI420, {64, 32});
  Fill(frame, {0, 0, 32, 32}, kRust);
  Fill(frame, {32, 0, 32, 32}, kGray);
  const PixelFrame scaled = ScaleFrame(std::move(frame).Finish(), {32, 16}, pool);
  EXPECT_LE(DistanceFrom(CropTo(scaled.info(), {0, 0, 14, 16}), kRust), 1);
  EXPECT_LE(DistanceFrom(CropTo(scaled.info(), {18, 0, 14, 16}), kGray), 1);
}

TEST(ScaleFrame, TheSameSizeHandsOnTheSameFrame) {
  FramePool pool;
  const PixelFrame frame = FlatFrame(pool, PixelFormat::kNV12, {8, 8}, kRust);
  EXPECT_EQ(ScaleFrame(frame, {8, 8}, pool).owner(), frame.owner());
  EXPECT_EQ(pool.allocations(), 1U);
}

TEST(ScaleFrame, ASizeThatCannotBeAllocatedGivesNothing) {
  FramePool pool;
  const PixelFrame frame = FlatFrame(pool, PixelFormat::kI420, {8, 8}, kRust);
  EXPECT_FALSE(ScaleFrame(frame, {0, 8}, pool));
  EXPECT_FALSE(ScaleFrame(frame, {8, -2}, pool));
}

TEST(ScaleFrame, TimeAndColourTravelAlong) {
  FramePool pool;
  video::PixelFrameInfo like;
  like.timestamp = std::chrono::milliseconds(33);
  like.color = {1, 1, 1, true};
  const PixelFrame scaled =
      ScaleFrame(FlatFrame(pool, PixelFormat::kNV12, {8, 8}, kRust, like), {4, 4}, pool);
  EXPECT_EQ(scaled.info().timestamp, std::chrono::milliseconds(33));
  EXPECT_EQ(scaled.info().color, like.color);
}

TEST(ScaleInto, TouchesTheRegionAlone) {
  FramePool pool;
  for (const PixelFormat format : {PixelFormat::kI420, PixelFormat::kI444, PixelFormat::kBGRA}) {
    const PixelFrame source = FlatFrame(pool, format, {50, 30}, kRust);
    WritableFrame target = pool.Allocate(format, {40, 20});
    Fill(target, {0, 0, 40, 20}, kGray);
    ScaleInto(source.info(), target, {8, 4, 20, 12}, pool);
    const PixelFrame result = std::move(target).Finish();
    EXPECT_LE(DistanceFrom(CropTo(result.info(), {8, 4, 20, 12}), kRust), 2);
    EXPECT_EQ(DistanceFrom(CropTo(result.info(), {0, 0, 40, 4}), kGray), 0);
    EXPECT_EQ(DistanceFrom(CropTo(result.info(), {0, 16, 40, 4}), kGray), 0);
    EXPECT_EQ(DistanceFrom(CropTo(result.info(), {0, 4, 8, 12}), kGray), 0);
    EXPECT_EQ(DistanceFrom(CropTo(result.info(), {28, 4, 12, 12}), kGray), 0);
  }
}

}  // namespace
}  // namespace movra::media
