// When frames are turned at all, and what they say of themselves behind it. How pictures are turned
// is OrientFrame's business.

#include "media/effects/orient_stage.h"

#include <memory>

#include "gtest/gtest.h"
#include "media/frame/pictures_for_test.h"

namespace movra::media {
namespace {

using video::VideoRotation;

constexpr auto kUpright = OrientStage::Purpose::kUpright;
constexpr auto kForEncoders = OrientStage::Purpose::kForEncoders;

video::PixelFrameInfo Marked(VideoRotation rotation) {
  video::PixelFrameInfo info;
  info.rotation = rotation;
  return info;
}

TEST(OrientStage, AFrameThatIsAsItShouldBeIsLeftAlone) {
  const auto untouched = Marked(VideoRotation::k0);
  for (const auto purpose : {kUpright, kForEncoders}) {
    EXPECT_FALSE(OrientStage(purpose).Prepare({})->IsNeededFor(untouched));
  }
  StageSettings nameless;
  nameless.orientation.rotation = static_cast<VideoRotation>(45);
  nameless.encoder_orientation.rotation = static_cast<VideoRotation>(45);
  for (const auto purpose : {kUpright, kForEncoders}) {
    EXPECT_FALSE(OrientStage(purpose).Prepare(nameless)->IsNeededFor(untouched));
  }
}

TEST(OrientStage, EachFollowsItsOwnSettings) {
  StageSettings turned;
  turned.orientation.rotation = VideoRotation::k180;
  StageSettings mirrored_for_encoders;
  mirrored_for_encoders.encoder_orientation.mirror = true;
  const auto frame = Marked(VideoRotation::k0);
  EXPECT_TRUE(OrientStage(kUpright).Prepare(turned)->IsNeededFor(frame));
  EXPECT_FALSE(OrientStage(kForEncoders).Prepare(turned)->IsNeededFor(frame));
  EXPECT_FALSE(OrientStage(kUpright).Prepare(mirrored_for_encoders)->IsNeededFor(frame));
  EXPECT_TRUE(OrientStage(kForEncoders).Prepare(mirrored_for_encoders)->IsNeededFor(frame));
}

TEST(OrientStage, AFullTurnKeepsTheSamplesAndClearsTheMark) {
  FramePool pool;
  StageSettings settings;
  settings.orientation.rotation = VideoRotation::k270;
  const auto given =
      FlatFrame(pool, video::PixelFormat::kI420, {16, 8}, kRust, Marked(VideoRotation::k90));
  const auto prepared = OrientStage(kUpright).Prepare(settings);
  ASSERT_TRUE(prepared->IsNeededFor(given.info()));
  StageFrame frame(given, pool);
  ASSERT_TRUE(prepared->Process(frame));
  EXPECT_EQ(frame.picture().owner(), given.owner());
  EXPECT_EQ(frame.picture().info().rotation, VideoRotation::k0);
}

// An interceptor's picture is taken for upright, whatever it says.
TEST(OrientStage, ForEncodersTheFramesOwnRotationIsClearedAndNotApplied) {
  FramePool pool;
  const auto given =
      FlatFrame(pool, video::PixelFormat::kI420, {16, 8}, kRust, Marked(VideoRotation::k90));
  const auto prepared = OrientStage(kForEncoders).Prepare({});
  ASSERT_TRUE(prepared->IsNeededFor(given.info()));
  StageFrame frame(given, pool);
  ASSERT_TRUE(prepared->Process(frame));
  EXPECT_EQ(frame.picture().info().size, (video::Size{16, 8}));
  EXPECT_EQ(frame.picture().info().rotation, VideoRotation::k0);
}

TEST(OrientStage, APictureThatCannotBeMadeIsSaidSo) {
  FramePool pool;
  StageFrame frame(video::PixelFrame(), pool);
  EXPECT_FALSE(OrientStage(kUpright).Prepare({})->Process(frame));
}

}  // namespace
}  // namespace movra::media
