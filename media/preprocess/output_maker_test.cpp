#include "media/preprocess/output_maker.h"

#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include "gtest/gtest.h"
#include "media/frame/convert_frame.h"
#include "media/frame/pictures_for_test.h"
#include "media/frame/scale_frame.h"

namespace movra::media {
namespace {

using video::FrameAdaptiveMode;
using video::PixelFormat;
using video::PixelFrame;
using video::Size;

// Gray around a rust-coloured middle that is as high as the picture.
PixelFrame WideWithRustMiddle(FramePool& pool, PixelFormat format,
                              const video::PixelFrameInfo& like = {}) {
  WritableFrame frame = pool.Allocate(format, {320, 180}, like);
  Fill(frame, {0, 0, 320, 180}, kGray);
  Fill(frame, {70, 0, 180, 180}, kRust);
  return std::move(frame).Finish();
}

TEST(OutputMaker, WhatNeedsNoChangeIsTheSameFrame) {
  FramePool pool;
  const PixelFrame frame = FlatFrame(pool, PixelFormat::kNV12, {64, 36}, kRust);
  OutputMaker maker(frame, FrameAdaptiveMode::kCrop, pool);
  EXPECT_EQ(maker.Make({64, 36}, PixelFormat::kNV12).owner(), frame.owner());
  EXPECT_EQ(maker.Make({0, 0}, PixelFormat::kNone).owner(), frame.owner());
  EXPECT_EQ(maker.Make({64, 0}, PixelFormat::kNV12).owner(), frame.owner());
  EXPECT_EQ(pool.allocations(), 1U);
}

TEST(OutputMaker, EachSizeAndFormatIsMadeOnce) {
  FramePool pool;
  OutputMaker maker(FlatFrame(pool, PixelFormat::kI420, {128, 72}, kRust), FrameAdaptiveMode::kCrop,
                    pool);
  for (const PixelFormat format : {PixelFormat::kI420, PixelFormat::kNV12, PixelFormat::kBGRA}) {
    const PixelFrame first = maker.Make({64, 36}, format);
    EXPECT_EQ(first.info().size, (Size{64, 36}));
    EXPECT_EQ(first.info().format, format);
    EXPECT_LE(DistanceFrom(first.info(), kRust), 3);
    EXPECT_EQ(maker.Make({64, 36}, format).owner(), first.owner());
  }
  EXPECT_EQ(pool.allocations(), 4U) << "the frame, the scaled one and two conversions of it";
}

TEST(OutputMaker, ASmallPictureIsMadeFromTheBigOneOfTheSameShape) {
  FramePool pool;
  PixelFrame frame = FlatFrame(pool, PixelFormat::kI420, {1920, 1080}, kRust);
  OutputMaker maker(frame, FrameAdaptiveMode::kCrop, pool);
  PixelFrame big = maker.Make({1280, 720}, PixelFormat::kI420);
  // Nobody else writes into it: the test changes the big picture to see where the small one is
  // from.
  const auto paint = [](const PixelFrame& target, const FlatColor& color) {
    for (std::size_t i = 0; i < 3; ++i) {
      const PlaneLayout layout = LayoutOf(PixelFormat::kI420, target.info().size, i);
      std::memset(const_cast<std::uint8_t*>(target.info().planes[i].data),
                  SampleOf(PixelFormat::kI420, i, color)[0],
                  static_cast<std::size_t>(target.info().planes[i].stride) *
                      static_cast<std::size_t>(layout.samples.height));
    }
  };
  paint(big, kGray);
  EXPECT_LE(DistanceFrom(maker.Make({320, 180}, PixelFormat::kI420).info(), kGray), 2);
  EXPECT_LE(DistanceFrom(maker.Make({640, 360}, PixelFormat::kI420).info(), kGray), 2);
  EXPECT_LE(DistanceFrom(maker.Make({960, 540}, PixelFormat::kI420).info(), kRust), 2)
      << "more than half as large: from the frame";
  EXPECT_LE(DistanceFrom(maker.Make({320, 320}, PixelFormat::kI420).info(), kRust), 2)
      << "another part of the frame";
}

TEST(OutputMaker, ASmallPictureFromTheBigOneLooksLikeOneFromTheFrame) {
  FramePool pool;
  WritableFrame scene = pool.Allocate(PixelFormat::kI420, {1920, 1080});
  Fill(scene, {0, 0, 1920, 1080}, kGray);
  for (int y = 0; y < 1080; ++y) {
    for (int x = 0; x < 1920; ++x) {
      const double value = 120 + 60 * std::sin(x * 0.03) * std::cos(y * 0.05) +
                           30 * std::sin(x * 0.21 + y * 0.17) + ((x / 200 + y / 150) % 2) * 30;
      scene.plane(0)[y * scene.stride(0) + x] = static_cast<std::uint8_t>(value);
    }
  }
  const PixelFrame frame = std::move(scene).Finish();
  OutputMaker maker(frame, FrameAdaptiveMode::kCrop, pool);
  static_cast<void>(maker.Make({1280, 720}, PixelFormat::kI420));
  const auto indirect = PlaneBytes(maker.Make({320, 180}, PixelFormat::kI420).info(), 0);
  const auto direct = PlaneBytes(ScaleFrame(frame, {320, 180}, pool).info(), 0);
  double error = 0;
  for (std::size_t i = 0; i < direct.size(); ++i) {
    error += std::pow(direct[i] - indirect[i], 2);
  }
  EXPECT_LE(error / static_cast<double>(direct.size()), 1.0) << "48 dB apart at least";
}

// A frame that was enlarged from 480x360; what is made from that picture is rust, all else gray.
class OutputMakerOfEnlarged : public ::testing::Test {
 protected:
  OutputMakerOfEnlarged() {
    video::PixelFrameInfo like;
    like.sequence = 7;
    frame_ = FlatFrame(pool_, PixelFormat::kI420, {640, 360}, kGray, like);
    frame_.set_enlarged_from(FlatFrame(pool_, PixelFormat::kNV12, {480, 360}, kRust));
  }

  bool IsFromTheSmallerPicture(const Size& size, FrameAdaptiveMode mode, const Size& before = {}) {
    OutputMaker maker(frame_, mode, pool_);
    if (before != Size{}) static_cast<void>(maker.Make(before, PixelFormat::kI420));
    const PixelFrame made = maker.Make(size, PixelFormat::kI420);
    EXPECT_EQ(made.info().size, size);
    EXPECT_EQ(made.info().format, PixelFormat::kI420);
    EXPECT_EQ(made.info().sequence, 7U);
    const bool is_rust = DistanceFrom(made.info(), kRust) <= 2;
    EXPECT_NE(is_rust, DistanceFrom(made.info(), kGray) <= 2);
    return is_rust;
  }

  FramePool pool_;
  PixelFrame frame_;
};

TEST_F(OutputMakerOfEnlarged, SmallerPicturesAreMadeFromTheOneBefore) {
  for (const Size size : {Size{160, 90}, Size{320, 180}, Size{480, 270}}) {
    EXPECT_TRUE(IsFromTheSmallerPicture(size, FrameAdaptiveMode::kCrop));
    EXPECT_TRUE(IsFromTheSmallerPicture(size, FrameAdaptiveMode::kCrop, {640, 360}));
  }
  EXPECT_TRUE(IsFromTheSmallerPicture({160, 90}, FrameAdaptiveMode::kCrop, {600, 338}))
      << "though a larger one was made that would do";
}

TEST_F(OutputMakerOfEnlarged, OnesThatItIsTooSmallForAreMadeFromTheFrame) {
  EXPECT_FALSE(IsFromTheSmallerPicture({640, 360}, FrameAdaptiveMode::kCrop));
  EXPECT_FALSE(IsFromTheSmallerPicture({482, 272}, FrameAdaptiveMode::kCrop));
  EXPECT_FALSE(IsFromTheSmallerPicture({480, 362}, FrameAdaptiveMode::kStretch));
}

TEST_F(OutputMakerOfEnlarged, TheSameHoldsForRows) {
  frame_ = FlatFrame(pool_, PixelFormat::kI420, {360, 640}, kGray, frame_.info());
  frame_.set_enlarged_from(FlatFrame(pool_, PixelFormat::kI420, {360, 480}, kRust));
  EXPECT_TRUE(IsFromTheSmallerPicture({90, 160}, FrameAdaptiveMode::kCrop));
  EXPECT_TRUE(IsFromTheSmallerPicture({180, 160}, FrameAdaptiveMode::kCrop));
  EXPECT_FALSE(IsFromTheSmallerPicture({180, 180}, FrameAdaptiveMode::kCrop));
}

TEST_F(OutputMakerOfEnlarged, APartIsTakenWhereItBeginsAndEndsAtWholeSamples) {
  EXPECT_TRUE(IsFromTheSmallerPicture({160, 180}, FrameAdaptiveMode::kCrop))
      << "from 160, which is 120 there, 320 wide, which is 240";
  EXPECT_TRUE(IsFromTheSmallerPicture({160, 80}, FrameAdaptiveMode::kCrop)) << "all of a row";
  EXPECT_FALSE(IsFromTheSmallerPicture({180, 180}, FrameAdaptiveMode::kCrop))
      << "from 140, which is 105";
  EXPECT_FALSE(IsFromTheSmallerPicture({239, 180}, FrameAdaptiveMode::kCrop))
      << "from 80, which is 60, 478 wide, which is no whole number";
}

TEST(OutputMaker, CropShowsTheMiddleWithoutCopyingWhenTheSizeFits) {
  FramePool pool;
  const PixelFrame frame = WideWithRustMiddle(pool, PixelFormat::kI420);
  OutputMaker maker(frame, FrameAdaptiveMode::kCrop, pool);
  const PixelFrame cropped = maker.Make({180, 180}, PixelFormat::kI420);
  EXPECT_EQ(cropped.owner(), frame.owner());
  EXPECT_EQ(cropped.info().planes[0].data, frame.info().planes[0].data + 70);
  EXPECT_EQ(DistanceFrom(cropped.info(), kRust), 0);
}

TEST(OutputMaker, CropFillsTheOutput) {
  FramePool pool;
  OutputMaker maker(WideWithRustMiddle(pool, PixelFormat::kNV12), FrameAdaptiveMode::kCrop, pool);
  EXPECT_LE(DistanceFrom(maker.Make({90, 90}, PixelFormat::kNV12).info(), kRust), 2);
}

TEST(OutputMaker, StretchShowsEverythingInAnotherShape) {
  FramePool pool;
  OutputMaker maker(WideWithRustMiddle(pool, PixelFormat::kI420), FrameAdaptiveMode::kStretch,
                    pool);
  const PixelFrame stretched = maker.Make({160, 180}, PixelFormat::kI420);
  EXPECT_LE(DistanceFrom(CropTo(stretched.info(), {0, 0, 32, 180}), kGray), 2);
  EXPECT_LE(DistanceFrom(CropTo(stretched.info(), {40, 0, 80, 180}), kRust), 2);
  EXPECT_LE(DistanceFrom(CropTo(stretched.info(), {128, 0, 32, 180}), kGray), 2);
}

TEST(OutputMaker, FitAddsBarsThatAreExactlyBlackByTheRange) {
  FramePool pool;
  for (const bool full_range : {false, true}) {
    FlatColor black = kBlack;
    if (full_range) black.y = 0;
    video::PixelFrameInfo like;
    like.color.full_range = full_range;
    for (const PixelFormat from : {PixelFormat::kI420, PixelFormat::kI444, PixelFormat::kGray}) {
      OutputMaker maker(FlatFrame(pool, from, {320, 180}, kRust, like), FrameAdaptiveMode::kFit,
                        pool);
      for (const PixelFormat to : {PixelFormat::kI420, PixelFormat::kNV12, PixelFormat::kI010}) {
        const PixelFrame boxed = maker.Make({160, 160}, to);
        ASSERT_TRUE(boxed);
        EXPECT_EQ(DistanceFrom(CropTo(boxed.info(), {0, 0, 160, 34}), black), 0);
        EXPECT_EQ(DistanceFrom(CropTo(boxed.info(), {0, 124, 160, 36}), black), 0);
        EXPECT_EQ(DistanceFrom(CropTo(boxed.info(), {0, 34, 160, 90}), black) > 20, true);
      }
      const PixelFrame pillars = maker.Make({320, 90}, PixelFormat::kI420);
      EXPECT_EQ(DistanceFrom(CropTo(pillars.info(), {0, 0, 80, 90}), black), 0);
      EXPECT_EQ(DistanceFrom(CropTo(pillars.info(), {240, 0, 80, 90}), black), 0);
    }
    OutputMaker maker(FlatFrame(pool, PixelFormat::kRGBA, {320, 180}, kRust),
                      FrameAdaptiveMode::kFit, pool);
    const PixelFrame boxed = maker.Make({160, 160}, PixelFormat::kBGRA);
    EXPECT_EQ(DistanceFrom(CropTo(boxed.info(), {0, 0, 160, 34}), kBlack), 0);
    EXPECT_LE(DistanceFrom(CropTo(boxed.info(), {0, 34, 160, 90}), kRust), 2);
  }
}

TEST(OutputMaker, BarsOfASmallPictureAreItsOwnThoughThePictureIsFromTheBigOne) {
  FramePool pool;
  OutputMaker maker(FlatFrame(pool, PixelFormat::kI420, {320, 180}, kRust), FrameAdaptiveMode::kFit,
                    pool);
  static_cast<void>(maker.Make({300, 300}, PixelFormat::kI420));
  const PixelFrame boxed = maker.Make({100, 100}, PixelFormat::kI420);
  EXPECT_EQ(DistanceFrom(CropTo(boxed.info(), {0, 0, 100, 22}), kBlack), 0);
  EXPECT_LE(DistanceFrom(CropTo(boxed.info(), {0, 22, 100, 56}), kRust), 2);
  EXPECT_EQ(DistanceFrom(CropTo(boxed.info(), {0, 78, 100, 22}), kBlack), 0);
}

TEST(OutputMaker, ASmallerFrameInALargerOutputIsEnlargedNotLeftAlone) {
  FramePool pool;
  OutputMaker maker(FlatFrame(pool, PixelFormat::kI420, {64, 36}, kRust), FrameAdaptiveMode::kCrop,
                    pool);
  const PixelFrame large = maker.Make({128, 72}, PixelFormat::kI420);
  EXPECT_EQ(large.info().size, (Size{128, 72}));
  EXPECT_LE(DistanceFrom(large.info(), kRust), 2);
}

TEST(OutputMaker, EveryFormatBecomesEveryOtherInAnotherSize) {
  FramePool pool;
  for (const PixelFormat from : kEveryFormat) {
    OutputMaker maker(FlatFrame(pool, from, {64, 36}, kGray), FrameAdaptiveMode::kCrop, pool);
    for (const PixelFormat to : kEveryFormat) {
      const PixelFrame made = maker.Make({31, 17}, to);
      ASSERT_TRUE(made) << static_cast<int>(from) << " to " << static_cast<int>(to);
      EXPECT_EQ(made.info().format, to);
      EXPECT_EQ(made.info().size, (Size{31, 17}));
      EXPECT_LE(DistanceFrom(made.info(), kGray), 4)
          << static_cast<int>(from) << " to " << static_cast<int>(to);
    }
  }
}

TEST(OutputMaker, WhatCannotBeMadeIsEmptyAndHarmsNothingElse) {
  FramePool pool;
  OutputMaker maker(FlatFrame(pool, PixelFormat::kI420, {64, 36}, kRust), FrameAdaptiveMode::kCrop,
                    pool);
  EXPECT_FALSE(maker.Make({100000, 100000}, PixelFormat::kI420));
  EXPECT_FALSE(maker.Make({32, 18}, static_cast<PixelFormat>(77)));
  EXPECT_TRUE(maker.Make({32, 18}, PixelFormat::kI420));
}

}  // namespace
}  // namespace movra::media
