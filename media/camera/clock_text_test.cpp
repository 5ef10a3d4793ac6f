#include "media/camera/clock_text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace movra::media {
namespace {

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr int kStride = 64;
constexpr video::Size kPicture{kStride, 32};

class ClockTextTest : public ::testing::Test {
 protected:
  // A part of the picture: dark, light, between, and what was not drawn into.
  [[nodiscard]] std::vector<std::string> Rows(int width, int height) const {
    std::vector<std::string> rows;
    for (int y = 0; y < height; ++y) {
      std::string& row = rows.emplace_back();
      for (int x = 0; x < width; ++x) {
        const std::uint8_t sample = luma_[static_cast<std::size_t>(y * kStride + x)];
        row += sample == 16 ? '.' : sample == 235 ? '#' : sample == 0 ? ' ' : '+';
      }
    }
    return rows;
  }

  std::vector<std::uint8_t> luma_ = std::vector<std::uint8_t>(kStride * 32, 0);
};

// Whatever fonts there are: none is asked for.
TEST_F(ClockTextTest, WithAPixelForEachDotABoxIsTheGlyphItself) {
  const ClockText text(9);
  ASSERT_EQ(text.glyph_size(), (video::Size{6, 9}));
  text.Draw(luma_.data(), kStride, kPicture, 0, 0, "4:#?");
  EXPECT_THAT(Rows(25, 10), ElementsAre("........................ ",  //
                                        "...#.........#.#........ ",  //
                                        "..##....#....#.#........ ",  //
                                        ".#.#....#...#####....... ",  //
                                        "#..#.........#.#........ ",  //
                                        "#####...#...#####....... ",  //
                                        "...#....#....#.#........ ",  //
                                        "...#.........#.#........ ",  //
                                        "........................ ",  //
                                        "                         "));
}

TEST_F(ClockTextTest, OtherSizesAreSmoothed) {
  const ClockText text(13);
  ASSERT_EQ(text.glyph_size(), (video::Size{8, 13}));
  text.Draw(luma_.data(), kStride, kPicture, 0, 0, "1");
  EXPECT_THAT(Rows(8, 13), Contains(HasSubstr("+")));
  EXPECT_THAT(Rows(8, 13), Contains(HasSubstr("#")));
}

TEST_F(ClockTextTest, WhatDoesNotFitIsLeftOutCharacterByCharacter) {
  const ClockText text(1);
  ASSERT_EQ(text.glyph_size(), (video::Size{5, 8}));
  text.Draw(luma_.data(), kStride, {12, 8}, 0, 1, "8");
  text.Draw(luma_.data(), kStride, {12, 8}, 0, -1, "8");
  text.Draw(luma_.data(), kStride, {12, 8}, -1, 0, "8");
  EXPECT_THAT(luma_, Each(0));
  text.Draw(luma_.data(), kStride, {12, 8}, 0, 0, "888");
  EXPECT_EQ(Rows(12, 1), std::vector<std::string>{"..........  "});
}

}  // namespace
}  // namespace movra::media
