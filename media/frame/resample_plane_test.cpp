#include "media/frame/resample_plane.h"

#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

#include "gtest/gtest.h"
#include "media/frame/grid_for_test.h"

namespace movra::media {
namespace {

using video::Size;

Grid Noise(int w, int h) {
  std::mt19937 random(3);
  return MakeGrid(w, h, [&](int, int) { return static_cast<double>(random() % 256); });
}

// Through a source with padded rows, into a target with a margin that must stay as it is.
Grid Resampled(const Grid& source, const Size& size) {
  constexpr int kPadding = 5;
  constexpr std::uint8_t kUntouched = 77;
  const int source_stride = source.w + kPadding;
  std::vector<std::uint8_t> from(static_cast<std::size_t>(source_stride * source.h), 255);
  for (int y = 0; y < source.h; ++y) {
    for (int x = 0; x < source.w; ++x) {
      from[static_cast<std::size_t>(y * source_stride + x)] =
          static_cast<std::uint8_t>(source(x, y));
    }
  }
  const int stride = size.width + kPadding;
  std::vector<std::uint8_t> to(static_cast<std::size_t>(stride * (size.height + 1)), kUntouched);
  FramePool pool;
  ResamplePlane({from.data(), source_stride, {source.w, source.h}}, {to.data(), stride, size},
                pool);
  int spoilt = 0;
  for (int y = 0; y <= size.height; ++y) {
    for (int x = y < size.height ? size.width : 0; x < stride; ++x) {
      spoilt += to[static_cast<std::size_t>(y * stride + x)] != kUntouched ? 1 : 0;
    }
  }
  EXPECT_EQ(spoilt, 0) << "written beyond the plane";
  return MakeGrid(size.width, size.height, [&](int x, int y) {
    return static_cast<double>(to[static_cast<std::size_t>(y * stride + x)]);
  });
}

double Mean(const Grid& grid) {
  double sum = 0;
  for (const double value : grid.at) sum += value;
  return sum / static_cast<double>(grid.at.size());
}

// Noise is the hardest of pictures: every weight shows.
TEST(ResamplePlane, FollowsTheWidenedBilinearFilterUpToAFactorOfFour) {
  const Grid noise = Noise(97, 61);
  for (const Size size :
       {Size{97, 61}, Size{96, 61}, Size{97, 60}, Size{65, 41}, Size{50, 32}, Size{49, 31},
        Size{33, 20}, Size{25, 16}, Size{120, 80}, Size{194, 122}, Size{300, 35}}) {
    const Grid ideal = Resample(noise, size.width, size.height, 1, Triangle);
    EXPECT_GE(Psnr(Resampled(noise, size), ideal), 52) << size.ToString();
  }
}

TEST(ResamplePlane, AveragesBeyondAFactorOfFour) {
  const Grid scene = Scene(480, 270);
  for (const Size size : {Size{110, 60}, Size{80, 45}, Size{33, 19}, Size{200, 30}}) {
    const Grid ideal = Resample(scene, size.width, size.height, 1, Triangle);
    EXPECT_GE(Psnr(Resampled(scene, size), ideal), 42) << size.ToString();
  }
}

TEST(ResamplePlane, MakesAPictureNeitherLighterNorDarker) {
  const Grid noise = Noise(360, 240);
  for (const Size size : {Size{240, 160}, Size{180, 120}, Size{90, 60}, Size{480, 320}}) {
    EXPECT_NEAR(Mean(Resampled(noise, size)), Mean(noise), 0.3) << size.ToString();
  }
}

TEST(ResamplePlane, KeepsBothEdgesWhereTheyAre) {
  // Dark left and top thirds: the step stays in its place.
  const Grid step = MakeGrid(60, 60, [](int x, int y) { return x < 20 || y < 20 ? 20.0 : 220.0; });
  for (const int side : {30, 40, 90}) {
    const Grid scaled = Resampled(step, {side, side});
    const int third = side / 3;
    EXPECT_EQ(scaled(0, side - 1), 20) << side;
    EXPECT_EQ(scaled(side - 1, 0), 20) << side;
    EXPECT_EQ(scaled(side - 1, side - 1), 220) << side;
    EXPECT_LT(scaled(third - 1, side - 1), 120) << side;
    EXPECT_GT(scaled(third, side - 1), 120) << side;
    EXPECT_LT(scaled(side - 1, third - 1), 120) << side;
    EXPECT_GT(scaled(side - 1, third), 120) << side;
  }
}

TEST(ResamplePlane, AnySizeBecomesAnyOther) {
  constexpr double kLevel = 93;
  for (const int from : {1, 2, 3, 4, 5, 7, 16, 33}) {
    for (const int to : {1, 2, 3, 5, 8, 17, 40}) {
      const Grid flat = MakeGrid(from, 41 - from, [](int, int) { return kLevel; });
      const Grid scaled = Resampled(flat, {to, 42 - to});
      for (const double value : scaled.at) ASSERT_EQ(value, kLevel) << from << " to " << to;
    }
  }
}

}  // namespace
}  // namespace movra::media
