// The same driver as the fuzzer's, with fixed seeds and for a bounded time.

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

#include "model/play_table.h"
#include "model/random_play.h"

namespace movra::video::model {
namespace {

std::vector<std::uint8_t> RandomBytes(unsigned seed, std::size_t count) {
  std::mt19937 generator(seed);
  std::vector<std::uint8_t> bytes(count);
  for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(generator());
  return bytes;
}

TEST(RandomPlay, TheProducerDoesWhatItsModelSays) {
  constexpr unsigned kShortPlays = 250;
  for (unsigned seed = 1; seed <= kShortPlays; ++seed) {
    const PlayResult result = Play(RandomBytes(seed, 20 + seed % 180));
    ASSERT_EQ(result.failure, "") << "seed " << seed;
  }
}

TEST(RandomPlay, TheProducerStillDoesAfterManySteps) {
  for (unsigned seed = 1; seed <= 2; ++seed) {
    const PlayResult result = Play(RandomBytes(seed, 8000));
    ASSERT_EQ(result.failure, "") << "seed " << seed;
    EXPECT_GT(result.steps, 1500U);
  }
}

TEST(RandomPlay, WhatTheFuzzerFoundIsPlayed) {
  std::size_t plays = 0;
  for (const auto& entry : std::filesystem::directory_iterator(MOVRA_CORPUS)) {
    std::ifstream file(entry.path(), std::ios::binary);
    const std::vector<std::uint8_t> bytes{std::istreambuf_iterator<char>(file), {}};
    ASSERT_EQ(Play(bytes).failure, "") << entry.path();
    ++plays;
  }
  EXPECT_GE(plays, 40U);
}

TEST(RandomPlay, EveryStepIsTaken) {
  for (std::size_t step = 0; step < AllSteps().size(); ++step) {
    for (unsigned variant = 0; variant < 24; ++variant) {
      std::vector<std::uint8_t> bytes = {static_cast<std::uint8_t>(step)};
      for (int i = 0; i < 4; ++i) bytes.push_back(static_cast<std::uint8_t>(variant + step));
      EXPECT_EQ(Play(bytes).failure, "") << AllSteps()[step].name;
    }
  }
}

}  // namespace
}  // namespace movra::video::model
