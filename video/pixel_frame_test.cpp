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
