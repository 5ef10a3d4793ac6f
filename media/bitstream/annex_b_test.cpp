#include "media/bitstream/annex_b.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

namespace movra::media {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Bytes = std::vector<std::uint8_t>;

std::vector<Bytes> Units(const Bytes& stream) {
  std::vector<Bytes> units;
  for (const auto unit : NalUnits(stream)) units.emplace_back(unit.begin(), unit.end());
  return units;
}

TEST(AnnexB, UnitsStandBetweenStartCodesOfThreeOrFourBytes) {
  EXPECT_THAT(Units({0, 0, 0, 1, 0x67, 1, 2, 0, 0, 1, 0x68, 3, 0, 0, 0, 1, 0x65, 4, 5}),
              ElementsAre(Bytes{0x67, 1, 2}, Bytes{0x68, 3}, Bytes{0x65, 4, 5}));
}

TEST(AnnexB, BytesBeforeTheFirstStartCodeAndEmptyUnitsAreNoUnits) {
  EXPECT_THAT(Units({9, 9, 0, 0, 1, 0x41, 0, 0, 1, 0, 0, 1}), ElementsAre(Bytes{0x41}));
  EXPECT_THAT(Units({}), IsEmpty());
  EXPECT_THAT(Units({0, 0}), IsEmpty());
  EXPECT_THAT(Units({1, 2, 3, 4}), IsEmpty());
}

TEST(AnnexB, AnAddedUnitStandsBehindAStartCodeOfFourBytes) {
  Bytes stream{0, 0, 1, 0x67};
  AppendNalUnit(Bytes{0x68, 3}, stream);
  EXPECT_EQ(stream, (Bytes{0, 0, 1, 0x67, 0, 0, 0, 1, 0x68, 3}));
}

TEST(AnnexB, WhateverTheBytesUnitsPutTogetherAgainGiveTheSameUnits) {
  std::mt19937 random(11);
  std::uniform_int_distribution<int> byte(0, 3);
  std::uniform_int_distribution<int> length(0, 40);
  for (int round = 0; round < 2000; ++round) {
    Bytes stream;
    for (int i = length(random); i > 0; --i) {
      stream.push_back(static_cast<std::uint8_t>(byte(random)));
    }
    const auto units = Units(stream);
    Bytes again;
    for (const Bytes& unit : units) {
      again.insert(again.end(), {0, 0, 1});
      again.insert(again.end(), unit.begin(), unit.end());
    }
    EXPECT_EQ(Units(again), units);
  }
}

}  // namespace
}  // namespace movra::media
