// What a stage is given: a frame to draw into or to replace.

#include "media/effects/stage_frame.h"

#include <chrono>
#include <cstdint>
#include <utility>

#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "media/frame/convert_frame.h"
#include "media/frame/pictures_for_test.h"

namespace movra::media {
namespace {

using video::PixelFormat;
using video::PixelFrame;

class StageFrameTest : public ::testing::Test {
 protected:
  static constexpr video::Size kSize{16, 8};

  PixelFrame MakeFrame() {
    video::PixelFrameInfo info;
    info.sequence = 5;
    info.delivery = video::FrameDelivery::kLossless;
    info.timestamp = std::chrono::seconds(2);
    return FlatFrame(pool, PixelFormat::kI420, kSize, kRust, info);
  }

  static void Draw(WritableFrame& picture) {
    Fill(picture, {0, 0, kSize.width, kSize.height}, kGray);
  }

  FramePool pool;
};

TEST_F(StageFrameTest, AFrameThatNobodyElseHasIsWrittenInPlace) {
  PixelFrame given = MakeFrame();
  const std::uint8_t* const samples = given.info().planes[0].data;
  StageFrame frame(std::move(given), pool);
  WritableFrame* const picture = frame.Write();
  ASSERT_NE(picture, nullptr);
  Draw(*picture);
  EXPECT_EQ(frame.info().sequence, 5U) << "while it is written too";
  EXPECT_EQ(frame.picture().info().planes[0].data, samples);
  EXPECT_EQ(DistanceFrom(frame.picture().info(), kGray), 0);
  EXPECT_EQ(pool.allocations(), 1U);
}

TEST_F(StageFrameTest, AFrameThatIsSharedIsCopied) {
  const PixelFrame given = MakeFrame();
  StageFrame frame(given, pool);
  Draw(*frame.Write());
  EXPECT_EQ(DistanceFrom(frame.picture().info(), kGray), 0);
  EXPECT_EQ(DistanceFrom(given.info(), kRust), 0);
  EXPECT_EQ(frame.picture().info().timestamp, given.info().timestamp);
}

TEST_F(StageFrameTest, TwoWritesAreOneCopyAtMost) {
  const PixelFrame given = MakeFrame();
  StageFrame frame(given, pool);
  WritableFrame* const first = frame.Write();
  EXPECT_EQ(frame.Write(), first);
  const std::uint8_t* const samples = frame.picture().info().planes[0].data;
  ASSERT_NE(frame.Write(), nullptr);
  EXPECT_EQ(frame.picture().info().planes[0].data, samples);
}

TEST_F(StageFrameTest, AReplacementGoesOnAsTheSameFrameOfTheStream) {
  StageFrame frame(MakeFrame(), pool);
  frame.Replace(FlatFrame(pool, PixelFormat::kBGRA, {4, 4}, kGray));
  EXPECT_EQ(frame.info().format, PixelFormat::kBGRA);
  EXPECT_EQ(frame.info().sequence, 5U);
  EXPECT_EQ(frame.info().delivery, video::FrameDelivery::kLossless);
  EXPECT_EQ(frame.info().timestamp, std::chrono::seconds(2));
  EXPECT_EQ(frame.picture().info().sequence, 5U);
}

TEST_F(StageFrameTest, WhatIsReplacedWhileItIsWrittenIsGone) {
  StageFrame frame(MakeFrame(), pool);
  ASSERT_NE(frame.Write(), nullptr);
  frame.Replace(FlatFrame(pool, PixelFormat::kI420, kSize, kGray));
  EXPECT_EQ(DistanceFrom(frame.picture().info(), kGray), 0);
  EXPECT_EQ(frame.info().sequence, 5U);
  EXPECT_EQ(pool.idle_buffers(), 1U);
}

TEST_F(StageFrameTest, APictureInAnotherFormatIsWrittenWithoutAnotherCopy) {
  StageFrame frame(MakeFrame(), pool);
  frame.Replace(ConvertFrame(frame.picture(), PixelFormat::kBGRA, frame.pool()));
  const std::uint8_t* const samples = frame.info().planes[0].data;
  ASSERT_NE(frame.Write(), nullptr);
  EXPECT_EQ(frame.picture().info().planes[0].data, samples);
}

TEST_F(StageFrameTest, APictureThatIsNotThereIsNotWritten) {
  StageFrame frame(PixelFrame(), pool);
  EXPECT_EQ(frame.Write(), nullptr);
  EXPECT_FALSE(frame.picture());
}

}  // namespace
}  // namespace movra::media
