#include "media/frame/color_matrix.h"

#include "gtest/gtest.h"

namespace movra::media {
namespace {

std::int32_t MatrixOf(std::int32_t stated, video::Size size) {
  video::PixelFrameInfo info;
  info.size = size;
  info.color.matrix = stated;
  return media::MatrixOf(info);
}

TEST(ColorMatrix, WhatIsStatedHolds) {
  for (const std::int32_t matrix : {1, 4, 5, 6, 7, 8, 9, 10, 14}) {
    EXPECT_EQ(MatrixOf(matrix, {320, 180}), matrix);
    EXPECT_EQ(MatrixOf(matrix, {1920, 1080}), matrix);
  }
}

TEST(ColorMatrix, OtherwiseTheSizeDecidesAsInPlayers) {
  for (const std::int32_t matrix : {kMatrixUnspecified, kMatrixIdentity, kMatrixReserved}) {
    EXPECT_EQ(MatrixOf(matrix, {1280, 720}), kMatrixBt709);
    EXPECT_EQ(MatrixOf(matrix, {720, 1280}), kMatrixBt709);
    EXPECT_EQ(MatrixOf(matrix, {1280, 718}), kMatrixBt601);
    EXPECT_EQ(MatrixOf(matrix, {718, 1280}), kMatrixBt601);
  }
}

}  // namespace
}  // namespace movra::media
