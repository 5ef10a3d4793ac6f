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
#include "media/frame/pictures_for_test.h"

namespace movra::media {
namespace {

using video::PixelFormat;
using video::PixelFrame;
using video::Size;

// Samples in double precision, for a reference that is only straightforward.
struct Grid {
  int w = 0;
  int h = 0;
  std::vector<double> at;

  double operator()(int x, int y) const { return at[static_cast<std::size_t>(y * w + x)]; }
};

Grid MakeGrid(int w, int h, const std::function<double(int, int)>& value) {
  Grid grid{w, h, {}};
  for (int y = 0; y < h; ++y) {
    for (int x = 0; x < w; ++x) grid.at.push_back(value(x, y));
  }
  return grid;
}

// A scene with hard edges, and detail whose strength falls with its frequency as in photographs.
Grid Scene(int w, int h) {
  return MakeGrid(w, h, [](int x, int y) {
    double value = 120 + 30 * std::sin(x * 0.011 + y * 0.007);
    for (int octave = 1; octave <= 6; ++octave) {
      const double f = 0.02 * std::pow(2.0, octave);
      value += 50.0 / std::pow(2.0, octave) * std::sin(f * (x * 0.8 + y * 0.33 * octave)) *
               std::cos(f * y * 0.6);
    }
    if ((x / 90 + y / 70) % 5 == 0) value = 230;
    return std::clamp(std::round(value), 0.0, 255.0);
  });
}

// One row or column of a separable resampling with the filter widened for shrinking.
double Sample(int count, int target_count, int index, double radius,
              const std::function<double(double)>& kernel,
              const std::function<double(int)>& source) {
  const double ratio = static_cast<double>(count) / target_count;
  const double widen = std::max(1.0, ratio);
  const double center = (index + 0.5) * ratio - 0.5;
  double sum = 0;
  double weights = 0;
  for (int i = static_cast<int>(std::floor(center - radius * widen));
       i <= static_cast<int>(std::ceil(center + radius * widen)); ++i) {
    const double weight = kernel((i - center) / widen);
    sum += weight * source(std::clamp(i, 0, count - 1));
    weights += weight;
  }
  return sum / weights;
}

Grid Resample(const Grid& source, int w, int h, double radius,
              const std::function<double(double)>& kernel) {
  const Grid rows = MakeGrid(w, source.h, [&](int x, int y) {
    return Sample(source.w, w, x, radius, kernel, [&](int i) { return source(i, y); });
  });
  return MakeGrid(w, h, [&](int x, int y) {
    return Sample(rows.h, h, y, radius, kernel, [&](int i) { return rows(x, i); });
  });
}

double Triangle(double x) { return std::max(0.0, 1 - std::abs(x)); }

double Lanczos3(double x) {
  constexpr double kPi = 3.14159265358979323846;
  if (std::abs(x) < 1e-9) return 1;
  if (std::abs(x) >= 3) return 0;
  return 3 * std::sin(kPi * x) * std::sin(kPi * x / 3) / (kPi * kPi * x * x);
}

double Psnr(const Grid& a, const Grid& b) {
  double error = 0;
  for (std::size_t i = 0; i < a.at.size(); ++i) {
    const double d =
        std::round(std::clamp(a.at[i], 0.0, 255.0)) - std::round(std::clamp(b.at[i], 0.0, 255.0));
    error += d * d;
  }
  if (error == 0) return 100;
  return 10 * std::log10(255 * 255 * static_cast<double>(a.at.size()) / error);
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

// What it loses against the reference is libyuv's rounding, which is downwards at each step and
// coarser for whole pixels than for planes.
TEST(ScaleFrame, ShrinksAboutAsWellAsAWidenedBilinearFilter) {
  FramePool pool;
  const Grid scene = Scene(960, 540);
  for (const PixelFormat format : {PixelFormat::kI420, PixelFormat::kBGRA}) {
    const double rounding_db = format == PixelFormat::kI420 ? 1.2 : 4;
    const PixelFrame source = ToFrame(pool, format, scene);
    for (const Size size :
         {Size{800, 450}, Size{640, 360}, Size{502, 282}, Size{480, 270}, Size{426, 240},
          Size{360, 202}, Size{320, 180}, Size{160, 90}, Size{112, 62}}) {
      const Grid ideal = Resample(scene, size.width, size.height, 3, Lanczos3);
      const double bilinear = Psnr(Resample(scene, size.width, size.height, 1, Triangle), ideal);
      const Grid scaled = FromFrame(ScaleFrame(source, size, pool), 0);
      EXPECT_GE(Psnr(scaled, ideal), bilinear - rounding_db) << size.ToString();
      EXPECT_GE(Psnr(scaled, ideal), 38) << size.ToString();
    }
  }
}

TEST(ScaleFrame, WholeRatiosAverageExactly) {
  FramePool pool;
  const Grid scene = Scene(480, 240);
  for (const int ratio : {2, 3, 4, 8}) {
    const int w = scene.w / ratio;
    const int h = scene.h / ratio;
    const Grid mean = MakeGrid(w, h, [&](int x, int y) {
      double sum = 0;
      for (int k = 0; k < ratio * ratio; ++k)
        sum += scene(x * ratio + k % ratio, y * ratio + k / ratio);
      return sum / (ratio * ratio);
    });
    const PixelFrame scaled = ScaleFrame(ToFrame(pool, PixelFormat::kI420, scene), {w, h}, pool);
    EXPECT_GE(Psnr(FromFrame(scaled, 0), mean), 47) << ratio;
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
      // libyuv rounds down at each step.
      EXPECT_LE(DistanceFrom(scaled.info(), kRust), size.width == 1 ? 4 : 2)
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
