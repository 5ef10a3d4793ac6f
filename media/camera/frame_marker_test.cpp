#include "media/camera/frame_marker.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include <gtest/gtest.h>

namespace movra::media {
namespace {

using video::Size;

struct Luma {
  explicit Luma(Size extent)
      : size(extent),
        samples(static_cast<std::size_t>(extent.width) * static_cast<std::size_t>(extent.height)) {}
  std::uint8_t& At(int x, int y) {
    return samples[static_cast<std::size_t>(y) * static_cast<std::size_t>(size.width) +
                   static_cast<std::size_t>(x)];
  }
  std::optional<std::uint32_t> Read() { return ReadFrameMarker(samples.data(), size.width, size); }

  Size size;
  std::vector<std::uint8_t> samples;
};

Luma Painted(Size size, std::uint32_t number) {
  Luma luma(size);
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      luma.At(x, y) = static_cast<std::uint8_t>(40 + (x * 7 + y * 13) % 150);
    }
  }
  PaintFrameMarker(luma.samples.data(), size.width, size, number);
  return luma;
}

// Bilinear, with the region's corners mapped onto the picture's.
Luma Resampled(Luma& source, int left, int top, Size region, Size size) {
  Luma out(size);
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      const double fx = left + (x + 0.5) * region.width / size.width - 0.5;
      const double fy = top + (y + 0.5) * region.height / size.height - 0.5;
      const int x0 = std::clamp(static_cast<int>(fx), 0, source.size.width - 2);
      const int y0 = std::clamp(static_cast<int>(fy), 0, source.size.height - 2);
      const double ax = std::clamp(fx - x0, 0.0, 1.0);
      const double ay = std::clamp(fy - y0, 0.0, 1.0);
      const double value = (source.At(x0, y0) * (1 - ax) + source.At(x0 + 1, y0) * ax) * (1 - ay) +
                           (source.At(x0, y0 + 1) * (1 - ax) + source.At(x0 + 1, y0 + 1) * ax) * ay;
      out.At(x, y) = static_cast<std::uint8_t>(std::lround(value));
    }
  }
  return out;
}

Luma CroppedToShape(Luma& source, Size size) {
  const double scale = std::max(static_cast<double>(size.width) / source.size.width,
                                static_cast<double>(size.height) / source.size.height);
  const Size region{static_cast<int>(std::lround(size.width / scale)),
                    static_cast<int>(std::lround(size.height / scale))};
  return Resampled(source, (source.size.width - region.width) / 2,
                   (source.size.height - region.height) / 2, region, size);
}

Luma Blurred(Luma& source, int radius) {
  Luma out(source.size);
  for (int y = 0; y < source.size.height; ++y) {
    for (int x = 0; x < source.size.width; ++x) {
      int sum = 0;
      for (int dy = -radius; dy <= radius; ++dy) {
        for (int dx = -radius; dx <= radius; ++dx) {
          sum += source.At(std::clamp(x + dx, 0, source.size.width - 1),
                           std::clamp(y + dy, 0, source.size.height - 1));
        }
      }
      out.At(x, y) = static_cast<std::uint8_t>(sum / ((2 * radius + 1) * (2 * radius + 1)));
    }
  }
  return out;
}

const std::vector<std::uint32_t> kNumbers = {0,        1,        2,     255,      256,
                                             599,      4711,     65535, 0x5AC396, 0xA53C69,
                                             0xFFFFFF, 0x800000, 7,     123456,   0x0F0F0F};

TEST(FrameMarker, ReadsBackWhatWasPaintedInPicturesOfEveryShape) {
  for (const Size size : {Size{320, 180}, Size{1280, 720}, Size{720, 1280}, Size{180, 320},
                          Size{640, 480}, Size{64, 64}, Size{853, 479}, Size{33, 2000}}) {
    for (const std::uint32_t number : kNumbers) {
      EXPECT_EQ(Painted(size, number).Read(), number) << size.width << "x" << size.height;
    }
  }
}

TEST(FrameMarker, ReadsEveryOneOfManyNumbersAfterACropThatChangesTheScaleOfTheCells) {
  for (std::uint32_t number = 0; number < 600; ++number) {
    Luma source = Painted({320, 180}, number);
    EXPECT_EQ(CroppedToShape(source, {180, 320}).Read(), number);
  }
}

TEST(FrameMarker, TakesTheNumberModuloThePeriod) {
  EXPECT_EQ(Painted({320, 180}, kFrameMarkerPeriod + 5).Read(), 5u);
}

TEST(FrameMarker, StaysInsideThePicture) {
  const Size size{320, 180};
  std::vector<std::uint8_t> guarded(static_cast<std::size_t>(400 * size.height), 77);
  PaintFrameMarker(guarded.data(), 400, size, 9);
  for (int y = 0; y < size.height; ++y) {
    EXPECT_TRUE(std::all_of(guarded.begin() + y * 400 + size.width, guarded.begin() + (y + 1) * 400,
                            [](std::uint8_t sample) { return sample == 77; }));
  }
  EXPECT_EQ(ReadFrameMarker(guarded.data(), 400, size), 9u);
}

TEST(FrameMarker, CoversItsRegionAndNothingElse) {
  for (const Size size : {Size{320, 180}, Size{34, 62}, Size{1280, 720}}) {
    Luma luma(size);
    PaintFrameMarker(luma.samples.data(), size.width, size, 3);
    int left = size.width, top = size.height, right = 0, bottom = 0;
    for (int y = 0; y < size.height; ++y) {
      for (int x = 0; x < size.width; ++x) {
        if (luma.At(x, y) == 0) continue;
        left = std::min(left, x);
        right = std::max(right, x + 1);
        top = std::min(top, y);
        bottom = std::max(bottom, y + 1);
      }
    }
    const video::Region region = FrameMarkerRegion(size);
    EXPECT_EQ(region.x, left / 2 * 2);
    EXPECT_EQ(region.y, top / 2 * 2);
    EXPECT_EQ(region.x + region.width, (right + 1) / 2 * 2);
    EXPECT_EQ(region.y + region.height, (bottom + 1) / 2 * 2);
  }
  EXPECT_EQ(FrameMarkerRegion({64, 16}), video::Region());
}

TEST(FrameMarker, SurvivesScalingToTheSmallStream) {
  for (const std::uint32_t number : kNumbers) {
    Luma source = Painted({1280, 720}, number);
    EXPECT_EQ(Resampled(source, 0, 0, source.size, {320, 180}).Read(), number);
    EXPECT_EQ(Resampled(source, 0, 0, source.size, {160, 90}).Read(), number);
  }
}

TEST(FrameMarker, SurvivesCroppingToOtherShapes) {
  for (const std::uint32_t number : kNumbers) {
    Luma source = Painted({1280, 720}, number);
    for (const Size size : {Size{720, 720}, Size{320, 240}, Size{720, 1280}, Size{1000, 300}}) {
      EXPECT_EQ(CroppedToShape(source, size).Read(), number) << size.width << "x" << size.height;
    }
  }
}

TEST(FrameMarker, SurvivesBarsAndAStretch) {
  for (const std::uint32_t number : kNumbers) {
    Luma source = Painted({1280, 720}, number);
    EXPECT_EQ(Resampled(source, 0, 0, source.size, {480, 640}).Read(), number);
    Luma inner = Resampled(source, 0, 0, source.size, {480, 270});
    Luma barred({480, 480});
    std::fill(barred.samples.begin(), barred.samples.end(), std::uint8_t{16});
    std::copy(inner.samples.begin(), inner.samples.end(), barred.samples.begin() + 105 * 480);
    EXPECT_EQ(barred.Read(), number);
  }
}

TEST(FrameMarker, SurvivesBlurNoiseAndALossOfContrast) {
  std::mt19937 random(1);
  std::normal_distribution<double> noise(0, 25);
  for (const std::uint32_t number : kNumbers) {
    Luma source = Painted({320, 180}, number);
    Luma blurred = Blurred(source, 2);
    for (std::uint8_t& sample : blurred.samples) {
      sample = static_cast<std::uint8_t>(std::clamp(90 + sample * 0.4 + noise(random), 0.0, 255.0));
    }
    EXPECT_EQ(blurred.Read(), number);
  }
}

TEST(FrameMarker, FindsNoNumberWhereNoneWasPainted) {
  Luma luma({320, 180});
  EXPECT_EQ(luma.Read(), std::nullopt);
  std::fill(luma.samples.begin(), luma.samples.end(), std::uint8_t{235});
  EXPECT_EQ(luma.Read(), std::nullopt);
  std::mt19937 random(2);
  for (std::uint8_t& sample : luma.samples) sample = static_cast<std::uint8_t>(random());
  EXPECT_EQ(luma.Read(), std::nullopt);
}

TEST(FrameMarker, RefusesABlockWithOneWrongCell) {
  Luma luma = Painted({320, 180}, 42);
  const std::uint8_t old = luma.At(120, 73);
  for (int y = 68; y < 79; ++y) {
    for (int x = 115; x < 126; ++x) luma.At(x, y) = old > 128 ? 16 : 235;
  }
  EXPECT_EQ(luma.Read(), std::nullopt);
}

TEST(FrameMarker, RefusesBlocksThatAreMirroredOrUpsideDown) {
  for (std::uint32_t number = 0; number < 20; ++number) {
    Luma luma = Painted({160, 90}, number);
    std::reverse(luma.samples.begin(), luma.samples.end());
    EXPECT_EQ(luma.Read(), std::nullopt);
    for (auto row = luma.samples.begin(); row != luma.samples.end(); row += 160) {
      std::reverse(row, row + 160);
    }
    EXPECT_EQ(luma.Read(), std::nullopt);
  }
}

TEST(FrameMarker, LeavesPicturesAloneThatAreTooSmall) {
  Luma luma({64, 16});
  PaintFrameMarker(luma.samples.data(), 64, luma.size, 1);
  EXPECT_EQ(std::count(luma.samples.begin(), luma.samples.end(), 0), 64 * 16);
  EXPECT_EQ(luma.Read(), std::nullopt);
}

TEST(FrameMarker, ReadsFramesOfEightBitLumaOnly) {
  Luma luma = Painted({320, 180}, 11);
  video::PixelFrameInfo info;
  info.format = video::PixelFormat::kGray;
  info.size = luma.size;
  info.planes[0] = {luma.samples.data(), luma.size.width};
  const std::shared_ptr<const void> owner(&luma, [](const void*) {});
  EXPECT_EQ(ReadFrameMarker(video::PixelFrame(info, owner)), 11u);
  info.format = video::PixelFormat::kBGRA;
  EXPECT_EQ(ReadFrameMarker(video::PixelFrame(info, owner)), std::nullopt);
  EXPECT_EQ(ReadFrameMarker(video::PixelFrame()), std::nullopt);
}

}  // namespace
}  // namespace movra::media
