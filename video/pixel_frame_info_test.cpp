// Descriptions of pictures that lie in one piece.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "logging/recording_sink_for_test.h"
#include "video/pixel_frame.h"

namespace movra::video {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

// "0+640 230400+320 288000+320": where each plane begins, and its stride.
std::string Planes(PixelFormat format, const Size& size, std::int32_t stride = 0) {
  const std::vector<std::uint8_t> samples(1 << 20);
  const PixelFrameInfo info = PixelFrameInfo::For(format, size, samples, stride);
  EXPECT_EQ(info.format, format);
  EXPECT_EQ(info.size, size);
  std::string text;
  for (const PixelPlane& plane : info.planes) {
    if (plane.data == nullptr) continue;
    if (!text.empty()) text += " ";
    text += std::to_string(plane.data - samples.data()) + "+" + std::to_string(plane.stride);
  }
  return text;
}

TEST(PixelFrameInfoFor, EveryFormatHasItsPlanesOneBehindTheOther) {
  EXPECT_EQ(Planes(PixelFormat::kI420, {64, 36}), "0+64 2304+32 2880+32");
  EXPECT_EQ(Planes(PixelFormat::kNV12, {64, 36}), "0+64 2304+64");
  EXPECT_EQ(Planes(PixelFormat::kBGRA, {64, 36}), "0+256");
  EXPECT_EQ(Planes(PixelFormat::kRGBA, {64, 36}), "0+256");
  EXPECT_EQ(Planes(PixelFormat::kI422, {64, 36}), "0+64 2304+32 3456+32");
  EXPECT_EQ(Planes(PixelFormat::kI444, {64, 36}), "0+64 2304+64 4608+64");
  EXPECT_EQ(Planes(PixelFormat::kGray, {64, 36}), "0+64");
  EXPECT_EQ(Planes(PixelFormat::kI010, {64, 36}), "0+128 4608+64 5760+64");
}

TEST(PixelFrameInfoFor, OddSizesRoundTheChromaUp) {
  EXPECT_EQ(Planes(PixelFormat::kI420, {5, 3}), "0+5 15+3 21+3");
  EXPECT_EQ(Planes(PixelFormat::kNV12, {5, 3}), "0+5 15+6");
  EXPECT_EQ(Planes(PixelFormat::kI422, {5, 3}), "0+5 15+3 24+3");
  EXPECT_EQ(Planes(PixelFormat::kI010, {5, 3}), "0+10 30+6 42+6");
}

TEST(PixelFrameInfoFor, TheOtherPlanesFollowTheStrideOfTheFirst) {
  EXPECT_EQ(Planes(PixelFormat::kI420, {60, 4}, 64), "0+64 256+32 320+32");
  EXPECT_EQ(Planes(PixelFormat::kI420, {60, 4}, 65), "0+65 260+33 326+33");
  EXPECT_EQ(Planes(PixelFormat::kNV12, {60, 4}, 64), "0+64 256+64");
  EXPECT_EQ(Planes(PixelFormat::kI010, {60, 4}, 128), "0+128 512+64 640+64");
  EXPECT_EQ(Planes(PixelFormat::kBGRA, {60, 4}, 241), "0+241");
}

// The warning that a description without planes comes with.
std::string Fault(PixelFormat format, const Size& size, std::size_t bytes, std::int32_t stride) {
  const movra_logging::RecordingSink log;
  const std::vector<std::uint8_t> samples(bytes);
  const PixelFrameInfo info = PixelFrameInfo::For(format, size, samples, stride);
  for (const PixelPlane& plane : info.planes) EXPECT_EQ(plane.data, nullptr);
  const std::vector<std::string> texts = log.texts();
  return texts.size() == 1 ? texts.front() : std::to_string(texts.size()) + " lines";
}

TEST(PixelFrameInfoFor, ASampleTooFewIsOne) {
  const movra_logging::RecordingSink log;
  const std::vector<std::uint8_t> samples(64 * 35 + 60);
  const auto info = PixelFrameInfo::For(PixelFormat::kGray, {60, 36}, samples, 64);
  EXPECT_NE(info.planes[0].data, nullptr) << "behind the last row nothing is needed";
  EXPECT_THAT(log.texts(), IsEmpty());
  EXPECT_EQ(Fault(PixelFormat::kGray, {60, 36}, samples.size() - 1, 64),
            "PixelFrameInfo::For kGray 60x36: 2300 bytes are needed, and there are 2299");
  EXPECT_EQ(Fault(PixelFormat::kNV12, {5, 3}, 26, 0),
            "PixelFrameInfo::For kNV12 5x3: 27 bytes are needed, and there are 26");
}

TEST(PixelFrameInfoFor, WhatCannotBeIsToldAndHasNoPlanes) {
  EXPECT_THAT(Fault(PixelFormat::kNone, {64, 36}, 9999, 64), HasSubstr("has no planes"));
  EXPECT_THAT(Fault(PixelFormat{99}, {64, 36}, 9999, 64), HasSubstr("has no planes"));
  EXPECT_THAT(Fault(PixelFormat::kI420, {}, 9999, 0), HasSubstr("1 to 32768"));
  EXPECT_THAT(Fault(PixelFormat::kI420, {64, -36}, 9999, 0), HasSubstr("1 to 32768"));
  EXPECT_THAT(Fault(PixelFormat::kI420, {32769, 1}, 99999, 0), HasSubstr("1 to 32768"));
  EXPECT_THAT(Fault(PixelFormat::kBGRA, {64, 2}, 9999, 255),
              HasSubstr("a row has 256 bytes, and the stride is 255"));
  EXPECT_THAT(Fault(PixelFormat::kI420, {64, 2}, 9999, -64), HasSubstr("the stride is -64"));
  EXPECT_THAT(Fault(PixelFormat::kI010, {64, 2}, 9999, 129), HasSubstr("does not fit"));
  EXPECT_THAT(Fault(PixelFormat::kGray, {64, 2}, 9999, 0x7FFFFFFF), HasSubstr("does not fit"));
}

}  // namespace
}  // namespace movra::video
