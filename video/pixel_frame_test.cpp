#include "video/pixel_frame.h"

#include <gtest/gtest.h>

namespace movra::video {
namespace {

TEST(PixelFrame, IsEmptyWithoutAnOwner) {
  EXPECT_FALSE(PixelFrame());
  EXPECT_FALSE(PixelFrame(PixelFrameInfo(), nullptr));
  EXPECT_TRUE(PixelFrame(PixelFrameInfo(), std::make_shared<int>()));
}

TEST(PixelFrame, CopiesShareTheSamplesUntilTheLastOneGoes) {
  auto owner = std::make_shared<int>();
  const std::weak_ptr<int> watch = owner;
  PixelFrame first(PixelFrameInfo(), std::move(owner));
  PixelFrame second = first;
  first = {};
  EXPECT_FALSE(watch.expired());
  second = {};
  EXPECT_TRUE(watch.expired());
}

TEST(PixelFrame, InAStreamHasItsTimesAndCountsAndKeepsItsPicture) {
  PixelFrameInfo stream;
  stream.size = {1, 2};
  stream.delivery = FrameDelivery::kLossless;
  stream.timestamp = std::chrono::nanoseconds(1);
  stream.capture_time = std::chrono::nanoseconds(2);
  stream.sequence = 3;
  stream.damaged_frames = 4;
  PixelFrameInfo own;
  own.size = {64, 48};
  own.color.matrix = 1;
  const PixelFrame frame(own, std::make_shared<int>());
  const PixelFrame moved = frame.InStreamOf(stream);
  EXPECT_EQ(moved.owner(), frame.owner());
  EXPECT_EQ(moved.info().size, own.size);
  EXPECT_EQ(moved.info().color, own.color);
  EXPECT_EQ(moved.info().delivery, FrameDelivery::kLossless);
  EXPECT_EQ(moved.info().timestamp, stream.timestamp);
  EXPECT_EQ(moved.info().capture_time, stream.capture_time);
  EXPECT_EQ(moved.info().sequence, 3U);
  EXPECT_EQ(moved.info().damaged_frames, 4U);
}

TEST(PixelFrame, KnowsWhatItWasEnlargedFromWhileItIsWhole) {
  const std::array<std::uint8_t, 2> samples{};
  PixelFrameInfo info;
  info.size = {640, 360};
  info.planes[0].data = samples.data();
  PixelFrame frame(info, std::make_shared<int>());
  EXPECT_EQ(frame.enlarged_from(), nullptr);
  const PixelFrame original(PixelFrameInfo(), std::make_shared<int>());
  frame.set_enlarged_from(original);
  info.timestamp = std::chrono::nanoseconds(5);
  const PixelFrame stamped = PixelFrame(frame).WithInfo(info);
  ASSERT_NE(stamped.enlarged_from(), nullptr);
  EXPECT_EQ(stamped.enlarged_from()->owner(), original.owner());

  PixelFrameInfo cropped = info;
  cropped.size.height = 358;
  EXPECT_EQ(frame.WithInfo(cropped).enlarged_from(), nullptr);
  PixelFrameInfo moved = info;
  moved.planes[0].data = samples.data() + 1;
  EXPECT_EQ(frame.WithInfo(moved).enlarged_from(), nullptr);
}

TEST(PixelFrame, AnotherDescriptionKeepsTheSamples) {
  PixelFrameInfo info;
  info.sequence = 3;
  const PixelFrame frame(info, std::make_shared<int>());
  info.sequence = 4;
  const PixelFrame described = frame.WithInfo(info);
  EXPECT_EQ(described.owner(), frame.owner());
  EXPECT_EQ(described.info().sequence, 4u);
  EXPECT_EQ(frame.info().sequence, 3u);
}

TEST(PixelFrame, StartsLiveUprightAndOfUnspecifiedColour) {
  const PixelFrameInfo info;
  EXPECT_EQ(info.format, PixelFormat::kNone);
  EXPECT_EQ(info.delivery, FrameDelivery::kLive);
  EXPECT_EQ(info.rotation, VideoRotation::k0);
  EXPECT_EQ(info.color, (ColorDescription{2, 2, 2, false}));
  EXPECT_EQ(StreamEnd().error_code, 0);
}

}  // namespace
}  // namespace movra::video
