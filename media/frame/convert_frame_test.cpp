#include "media/frame/convert_frame.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

#include "gtest/gtest.h"
#include "media/frame/pictures_for_test.h"

namespace movra::media {
namespace {

using video::ColorDescription;
using video::PixelFormat;
using video::PixelFrame;
using video::PixelFrameInfo;

constexpr FlatColor kRustInGray{101, 101, 101, 101, 128, 128};

TEST(ConvertFrame, TenBitsBecomeTheNearestEight) {
  FramePool pool;
  WritableFrame wide = pool.Allocate(PixelFormat::kI010, {4, 2});
  const std::array<std::uint16_t, 4> levels{401, 402, 1021, 1023};
  for (std::size_t i = 0; i < 3; ++i) {
    const std::size_t count = i == 0 ? 4 : 2;
    const int rows = i == 0 ? 2 : 1;
    for (int y = 0; y < rows; ++y) {
      std::memcpy(wide.plane(i) + y * wide.stride(i), levels.data(), count * sizeof levels[0]);
    }
  }
  const PixelFrame frame = ConvertFrame(std::move(wide).Finish(), PixelFormat::kI420, pool);
  EXPECT_EQ(PlaneBytes(frame.info(), 0),
            (std::vector<std::uint8_t>{100, 101, 255, 255, 100, 101, 255, 255}));
  EXPECT_EQ(PlaneBytes(frame.info(), 1), (std::vector<std::uint8_t>{100, 101}));
  EXPECT_EQ(PlaneBytes(frame.info(), 2), (std::vector<std::uint8_t>{100, 101}));
}

TEST(ConvertFrame, EveryFormatBecomesEveryOtherWithTheSameColour) {
  FramePool pool;
  for (const video::Size size : {video::Size{64, 32}, video::Size{7, 5}}) {
    for (const PixelFormat from : kEveryFormat) {
      const PixelFrame source = FlatFrame(pool, from, size, kRust);
      for (const PixelFormat to : kEveryFormat) {
        const PixelFrame converted = ConvertFrame(source, to, pool);
        ASSERT_TRUE(converted) << static_cast<int>(from) << " to " << static_cast<int>(to);
        EXPECT_EQ(converted.info().format, to);
        EXPECT_EQ(converted.info().size, size);
        FlatColor expected = kRust;
        if (from == PixelFormat::kGray) {  // Has no colour; its luma is stretched for RGB.
          expected = kRustInGray;
          if (IsRgb(to)) expected.r = expected.g = expected.b = 99;
        }
        EXPECT_LE(DistanceFrom(converted.info(), expected), 3)
            << static_cast<int>(from) << " to " << static_cast<int>(to);
      }
    }
  }
}

TEST(ConvertFrame, NothingToDoHandsOnTheSameFrame) {
  FramePool pool;
  const PixelFrame frame = FlatFrame(pool, PixelFormat::kI420, {8, 8}, kRust);
  EXPECT_EQ(ConvertFrame(frame, PixelFormat::kI420, pool).owner(), frame.owner());
  EXPECT_EQ(ConvertFrame(frame, PixelFormat::kNone, pool).owner(), frame.owner());
  EXPECT_EQ(pool.allocations(), 1U);
}

TEST(ConvertFrame, GrayIsTheSharedLumaPlane) {
  FramePool pool;
  const PixelFrame frame = FlatFrame(pool, PixelFormat::kNV12, {8, 8}, kRust);
  const PixelFrame gray = ConvertFrame(frame, PixelFormat::kGray, pool);
  EXPECT_EQ(gray.info().planes[0].data, frame.info().planes[0].data);
  EXPECT_EQ(gray.info().planes[1].data, nullptr);
  EXPECT_EQ(pool.allocations(), 1U);
}

TEST(ConvertFrame, WhatIsNoPictureOrHasNoNameStaysEmpty) {
  FramePool pool;
  EXPECT_FALSE(ConvertFrame({}, PixelFormat::kI420, pool));
  const PixelFrame frame = FlatFrame(pool, PixelFormat::kI420, {8, 8}, kRust);
  EXPECT_FALSE(ConvertFrame(frame, static_cast<PixelFormat>(99), pool));
  PixelFrameInfo unknown = frame.info();
  unknown.format = static_cast<PixelFormat>(99);
  EXPECT_FALSE(ConvertFrame(frame.WithInfo(unknown), PixelFormat::kI420, pool));
}

TEST(ConvertFrame, TimeAndColourTravelAlong) {
  FramePool pool;
  PixelFrameInfo like;
  like.sequence = 5;
  like.timestamp = std::chrono::milliseconds(33);
  like.color = {9, 16, 9, false};
  const PixelFrame wide = FlatFrame(pool, PixelFormat::kI010, {8, 8}, kRust, like);
  const PixelFrame narrow = ConvertFrame(wide, PixelFormat::kI420, pool);
  EXPECT_EQ(narrow.info().color, like.color);
  EXPECT_EQ(narrow.info().sequence, 5U);
  EXPECT_EQ(narrow.info().timestamp, std::chrono::milliseconds(33));
  const PixelFrame rgb = ConvertFrame(narrow, PixelFormat::kBGRA, pool);
  EXPECT_EQ(rgb.info().color, (ColorDescription{9, 16, 0, true}));
  const PixelFrame back = ConvertFrame(rgb, PixelFormat::kNV12, pool);
  EXPECT_EQ(back.info().color, (ColorDescription{9, 16, 6, false}));
}

// Kr and Kb of the matrix, as ITU-T H.273 gives them.
struct Matrix {
  int code;
  double kr, kb;
};

std::array<double, 3> ToRgb(const FlatColor& c, const Matrix& m, bool full) {
  const double y = full ? c.y / 255.0 : (c.y - 16) / 219.0;
  const double cb = (c.u - 128) / (full ? 255.0 : 224.0);
  const double cr = (c.v - 128) / (full ? 255.0 : 224.0);
  const double r = y + 2 * (1 - m.kr) * cr;
  const double b = y + 2 * (1 - m.kb) * cb;
  const double g = (y - m.kr * r - m.kb * b) / (1 - m.kr - m.kb);
  return {r * 255, g * 255, b * 255};
}

TEST(ConvertFrame, RgbFollowsTheMatrixAndRangeOfTheFrame) {
  FramePool pool;
  // Strong enough in red that the matrices lie further apart than libyuv's coefficients are off.
  const FlatColor color{0, 0, 0, 60, 110, 220};
  for (const Matrix m : {Matrix{1, 0.2126, 0.0722}, Matrix{5, 0.299, 0.114},
                         Matrix{6, 0.299, 0.114}, Matrix{9, 0.2627, 0.0593}}) {
    for (const bool full : {false, true}) {
      for (const PixelFormat format : {PixelFormat::kI420, PixelFormat::kNV12, PixelFormat::kI422,
                                       PixelFormat::kI444, PixelFormat::kI010}) {
        PixelFrameInfo like;
        like.color = {2, 2, m.code, full};
        const PixelFrame frame = FlatFrame(pool, format, {16, 8}, color, like);
        const PixelFrame rgb = ConvertFrame(frame, PixelFormat::kRGBA, pool);
        const auto expected = ToRgb(color, m, full);
        for (std::size_t i = 0; i < 3; ++i) {
          EXPECT_NEAR(rgb.info().planes[0].data[i], std::clamp(expected[i], 0.0, 255.0), 4)
              << "matrix " << m.code << " full " << full << " channel " << i << " format "
              << static_cast<int>(format);
        }
      }
    }
  }
}

TEST(ConvertFrame, AnUnspecifiedMatrixIsTakenByTheNumberOfLines) {
  FramePool pool;
  const FlatColor color{0, 0, 0, 120, 128, 200};
  const auto green_at = [&](const video::Size& size) {
    const PixelFrame frame = FlatFrame(pool, PixelFormat::kI420, size, color);
    return ConvertFrame(frame, PixelFormat::kBGRA, pool).info().planes[0].data[1];
  };
  const double small = ToRgb(color, {6, 0.299, 0.114}, false)[1];
  const double high = ToRgb(color, {1, 0.2126, 0.0722}, false)[1];
  ASSERT_GT(std::abs(small - high), 5);
  EXPECT_NEAR(green_at({640, 718}), small, 3);
  EXPECT_NEAR(green_at({1280, 720}), high, 3);
  EXPECT_NEAR(green_at({720, 1280}), high, 3);
}

}  // namespace
}  // namespace movra::media
