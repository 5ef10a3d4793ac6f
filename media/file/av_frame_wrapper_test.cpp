#include "media/file/av_frame_wrapper.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "media/ffmpeg/ffmpeg_api.h"

namespace movra::media {
namespace {

using video::PixelFrame;

// Frames of one colour, which the test owns.
class AvFrameWrapperTest : public ::testing::Test {
 protected:
  AvFrameWrapperTest() { EXPECT_EQ(LoadFfmpeg(), ""); }

  // Interleaved bytes, as many as `pixel` has for each pixel.
  AvFramePtr Packed(AVPixelFormat format, video::Size size,
                    const std::vector<std::uint8_t>& pixel) {
    AvFramePtr frame(av_frame_alloc());
    frame->format = format;
    frame->width = size.width;
    frame->height = size.height;
    std::vector<std::uint8_t>& bytes = memory_.emplace_back();
    for (int i = 0; i < size.width * size.height; ++i) {
      bytes.insert(bytes.end(), pixel.begin(), pixel.end());
    }
    bytes.resize(bytes.size() + 64);  // The scaler may read on.
    frame->data[0] = bytes.data();
    frame->linesize[0] = size.width * static_cast<int>(pixel.size());
    return frame;
  }

  static void ExpectColour(const PixelFrame& frame, video::Size size, int y, int u, int v) {
    ASSERT_TRUE(frame);
    const video::PixelFrameInfo& info = frame.info();
    EXPECT_EQ(info.format, video::PixelFormat::kI420);
    ASSERT_EQ(info.size, size);
    const int values[] = {y, u, v};
    for (std::size_t plane = 0; plane < 3; ++plane) {
      const int width = plane == 0 ? size.width : (size.width + 1) / 2;
      const int height = plane == 0 ? size.height : (size.height + 1) / 2;
      for (int row = 0; row < height; ++row) {
        for (int x = 0; x < width; ++x) {
          const int sample =
              info.planes[plane].data[std::ptrdiff_t{row} * info.planes[plane].stride + x];
          ASSERT_NEAR(sample, values[plane], 2) << plane << " " << x << "," << row;
        }
      }
    }
  }

  std::vector<std::vector<std::uint8_t>> memory_;
  AvFrameWrapper wrapper_;
};

// Red, green and blue of BT.709 with limited range.
TEST_F(AvFrameWrapperTest, OneWrapperTakesPicturesWhoseSizeAndFormatChange) {
  for (int round = 0; round < 2; ++round) {
    ExpectColour(wrapper_.Wrap(Packed(AV_PIX_FMT_RGB24, {64, 48}, {255, 0, 0})), {64, 48}, 63, 102,
                 240);
    ExpectColour(wrapper_.Wrap(Packed(AV_PIX_FMT_RGB24, {32, 16}, {0, 255, 0})), {32, 16}, 173, 42,
                 26);
    ExpectColour(wrapper_.Wrap(Packed(AV_PIX_FMT_BGR24, {32, 16}, {255, 0, 0})), {32, 16}, 32, 240,
                 118);
    ExpectColour(wrapper_.Wrap(Packed(AV_PIX_FMT_RGB24, {32, 16}, {0, 0, 255})), {32, 16}, 32, 240,
                 118);
    ExpectColour(wrapper_.Wrap(Packed(AV_PIX_FMT_RGBA, {33, 17}, {255, 0, 0, 255})), {33, 17}, 63,
                 102, 240);
  }
}

TEST_F(AvFrameWrapperTest, WhatIsTransparentIsShownOverBlack) {
  ExpectColour(wrapper_.Wrap(Packed(AV_PIX_FMT_RGBA, {34, 18}, {255, 0, 0, 0})), {34, 18}, 16, 128,
               128);
  ExpectColour(wrapper_.Wrap(Packed(AV_PIX_FMT_RGBA, {33, 17}, {255, 255, 255, 128})), {33, 17},
               126, 128, 128);
  ExpectColour(wrapper_.Wrap(Packed(AV_PIX_FMT_BGRA, {33, 17}, {0, 0, 255, 128})), {33, 17}, 39,
               115, 184);
}

TEST_F(AvFrameWrapperTest, AFourthPlaneIsLookedAt) {
  const video::Size size{32, 16};
  for (const auto& [alpha, luma] : {std::pair<std::uint8_t, int>{255, 200}, {0, 16}}) {
    AvFramePtr frame = Packed(AV_PIX_FMT_YUVA420P, size, {200});
    for (const int plane : {1, 2}) {
      frame->data[plane] = Packed(AV_PIX_FMT_GRAY8, {16, 8}, {128})->data[0];
      frame->linesize[plane] = 16;
    }
    frame->data[3] = Packed(AV_PIX_FMT_GRAY8, size, {alpha})->data[0];
    frame->linesize[3] = 32;
    ExpectColour(wrapper_.Wrap(std::move(frame)), size, luma, 128, 128);
  }
}

TEST_F(AvFrameWrapperTest, KnowsWhichFormatsMayBeTransparent) {
  EXPECT_TRUE(HasAlpha(AV_PIX_FMT_RGBA));
  EXPECT_TRUE(HasAlpha(AV_PIX_FMT_YUVA444P10LE));
  EXPECT_FALSE(HasAlpha(AV_PIX_FMT_YUV420P));
  EXPECT_FALSE(HasAlpha(AV_PIX_FMT_BGR0));
  EXPECT_FALSE(HasAlpha(AV_PIX_FMT_NONE));
}

}  // namespace
}  // namespace movra::media
