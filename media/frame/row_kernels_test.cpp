#include "media/frame/row_kernels.h"

#include <cstddef>
#include <random>
#include <vector>

#include "gtest/gtest.h"

namespace movra::media {
namespace {

constexpr std::uint8_t kUntouched = 77;

std::vector<std::uint8_t> RandomBytes(std::size_t count, std::mt19937& random) {
  std::vector<std::uint8_t> bytes(count);
  for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
  return bytes;
}

// The weights of one mean of `count` samples.
std::vector<std::int8_t> RandomWeights(int count, std::mt19937& random) {
  std::vector<std::int8_t> weights(static_cast<std::size_t>(count));
  for (int left = kWeightSum; left > 0; --left) {
    std::int8_t& weight = weights[random() % weights.size()];
    if (weight < kWeightSum - 1)
      ++weight;
    else
      ++left;
  }
  return weights;
}

// The largest that there can be, with one weight nearly the whole.
std::vector<std::int8_t> SteepWeights(int count) {
  std::vector<std::int8_t> weights(static_cast<std::size_t>(count));
  weights[0] = kWeightSum - 1;
  weights[1] = 1;
  return weights;
}

// Mixes rows that hold one level each.
std::vector<std::uint8_t> MixLevels(const std::vector<std::uint8_t>& levels,
                                    const std::vector<std::int8_t>& weights, int width) {
  std::vector<std::vector<std::uint8_t>> rows;
  std::vector<const std::uint8_t*> pointers;
  for (const std::uint8_t level : levels) rows.emplace_back(width, level);
  for (const auto& row : rows) pointers.push_back(row.data());
  std::vector<std::uint8_t> target(static_cast<std::size_t>(width) + 1, kUntouched);
  PortableRowKernels().mix_rows(pointers.data(), weights.data(),
                                static_cast<int>(levels.size()) / kGroup, width, target.data());
  return target;
}

TEST(RowKernels, RowsAreMixedByTheirWeights) {
  // (100 * 48 + 200 * 48 + 255 * 16) / 128 = 144.375
  EXPECT_EQ(MixLevels({0, 100, 200, 255}, {16, 48, 48, 16}, 3),
            (std::vector<std::uint8_t>{144, 144, 144, kUntouched}));
  // (8 * 10 + 120 * 90) / 128 = 85
  EXPECT_EQ(MixLevels({0, 0, 0, 10, 90, 0, 0, 0}, {0, 0, 0, 8, 120, 0, 0, 0}, 1),
            (std::vector<std::uint8_t>{85, kUntouched}));
}

TEST(RowKernels, MeansAreRoundedToTheNearest) {
  EXPECT_EQ(MixLevels({10, 11, 10, 10}, {65, 63, 0, 0}, 1).front(), 10);
  EXPECT_EQ(MixLevels({10, 11, 10, 10}, {64, 64, 0, 0}, 1).front(), 11);
  EXPECT_EQ(MixLevels({10, 11, 10, 10}, {63, 65, 0, 0}, 1).front(), 11);
}

TEST(RowKernels, EachSampleHasItsOwnTaps) {
  std::vector<std::uint8_t> source(40);
  for (std::size_t i = 0; i < source.size(); ++i) source[i] = static_cast<std::uint8_t>(i * 6);
  std::array<QuadTaps, 2> quads;
  quads[0].start = 10;
  quads[1].start = 20;
  for (std::size_t x = 0; x < 4; ++x) {
    quads[0].offsets[2 * x] = static_cast<std::uint8_t>(x);
    quads[0].weights[2 * x] = 64;
    quads[1].offsets[2 * x + 9] = 5;
    quads[1].weights[2 * x + 9] = 64;
  }
  std::vector<std::uint8_t> target(4, kUntouched);
  PortableRowKernels().mix_samples(source.data(), quads.data(), 2, 3, target.data());
  EXPECT_EQ(target, (std::vector<std::uint8_t>{105, 108, 111, kUntouched}));
}

TEST(RowKernels, TheFastestGiveTheSameRowsToTheBit) {
  std::mt19937 random(1);
  for (int width = 1; width <= 150; ++width) {
    const int groups = 1 + width % 2;
    const bool steep = width % 10 == 0;
    std::vector<std::vector<std::uint8_t>> rows;
    std::vector<const std::uint8_t*> pointers;
    for (int i = 0; i < groups * kGroup; ++i) {
      rows.push_back(steep ? std::vector<std::uint8_t>(static_cast<std::size_t>(width), 255)
                           : RandomBytes(static_cast<std::size_t>(width), random));
    }
    for (const auto& row : rows) pointers.push_back(row.data());
    const auto weights =
        steep ? SteepWeights(groups * kGroup) : RandomWeights(groups * kGroup, random);
    std::vector<std::uint8_t> expected(static_cast<std::size_t>(width) + 40, kUntouched);
    std::vector<std::uint8_t> target = expected;
    PortableRowKernels().mix_rows(pointers.data(), weights.data(), groups, width, expected.data());
    FastestRowKernels().mix_rows(pointers.data(), weights.data(), groups, width, target.data());
    EXPECT_EQ(target, expected) << width;
  }
}

TEST(RowKernels, TheFastestGiveTheSameSamplesToTheBit) {
  std::mt19937 random(2);
  const std::vector<std::uint8_t> source = RandomBytes(1000, random);
  for (int width = 1; width <= 80; ++width) {
    const auto groups = static_cast<std::size_t>(1 + width % 2);
    std::vector<QuadTaps> quads((static_cast<std::size_t>(width) + 3) / 4 * groups);
    for (std::size_t i = 0; i < quads.size(); ++i) {
      quads[i].start = static_cast<std::int32_t>(random() % (source.size() - 16));
      for (std::uint8_t& offset : quads[i].offsets) offset = random() % 16;
    }
    for (std::size_t i = 0; i < quads.size(); i += groups) {
      for (std::size_t x = 0; x < 4; ++x) {
        const auto weights = RandomWeights(static_cast<int>(groups) * kGroup, random);
        for (std::size_t tap = 0; tap < weights.size(); ++tap) {
          quads[i + tap / 4].weights[2 * x + tap % 2 + tap % 4 / 2 * 8] = weights[tap];
        }
      }
    }
    std::vector<std::uint8_t> expected(static_cast<std::size_t>(width) + 20, kUntouched);
    std::vector<std::uint8_t> target = expected;
    const int count = static_cast<int>(groups);
    PortableRowKernels().mix_samples(source.data(), quads.data(), count, width, expected.data());
    FastestRowKernels().mix_samples(source.data(), quads.data(), count, width, target.data());
    EXPECT_EQ(target, expected) << width;
  }
}

}  // namespace
}  // namespace movra::media
