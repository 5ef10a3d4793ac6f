#include "media/capture/fit_frame.h"

#include <gtest/gtest.h>

#include "media/camera/frame_marker.h"
#include "media/camera/test_picture.h"
#include "media/capture/picture_size.h"
#include "media/frame/color_matrix.h"

namespace movra::media {
namespace {

using video::PixelFrame;
using video::Size;
using video::VideoRotation;

class FitFrameTest : public ::testing::Test {
 protected:
  FitFrameTest() {
    picture_ = TestPicture({640, 360}).Draw(77, std::chrono::nanoseconds(5), pool_);
  }

  SourceFrame Rotated(VideoRotation rotation) const {
    video::PixelFrameInfo info = picture_.info();
    info.rotation = rotation;
    return {picture_.WithInfo(info), UprightSize(info.size, 1, 1, rotation)};
  }

  FramePool pool_;
  PixelFrame picture_;
};

TEST_F(FitFrameTest, HandsOnAFrameThatFitsWithoutTouchingIt) {
  for (const Size asked : {Size{0, 0}, Size{640, 360}, Size{1280, 720}}) {
    const PixelFrame frame = FitFrame({picture_, {640, 360}}, asked, pool_);
    EXPECT_EQ(frame.owner(), picture_.owner());
    EXPECT_EQ(frame.info().size, (Size{640, 360}));
  }
}

TEST_F(FitFrameTest, ScalesTheWholePictureToTheCoveringSize) {
  const PixelFrame frame = FitFrame({picture_, {640, 360}}, {240, 180}, pool_);
  EXPECT_EQ(frame.info().size, (Size{320, 180}));
  EXPECT_EQ(frame.info().timestamp, std::chrono::nanoseconds(5));
  EXPECT_EQ(frame.info().color, picture_.info().color);
  EXPECT_EQ(ReadFrameMarker(frame), 77u);
}

TEST_F(FitFrameTest, MakesPixelsSquare) {
  const PixelFrame frame = FitFrame({picture_, {854, 360}}, {0, 0}, pool_);
  EXPECT_EQ(frame.info().size, (Size{854, 360}));
  EXPECT_EQ(ReadFrameMarker(frame), 77u);
}

TEST_F(FitFrameTest, AnEnlargedPictureBringsTheOneItWasMadeFrom) {
  const PixelFrame wide = FitFrame({picture_, {854, 360}}, {0, 0}, pool_);
  ASSERT_NE(wide.enlarged_from(), nullptr);
  EXPECT_EQ(wide.enlarged_from()->owner(), picture_.owner());
  const PixelFrame high = FitFrame({picture_, {640, 480}}, {0, 0}, pool_);
  ASSERT_NE(high.enlarged_from(), nullptr);
  EXPECT_EQ(high.enlarged_from()->info().color, high.info().color);

  EXPECT_EQ(FitFrame({picture_, {640, 360}}, {0, 0}, pool_).enlarged_from(), nullptr);
  EXPECT_EQ(FitFrame({picture_, {640, 360}}, {320, 180}, pool_).enlarged_from(), nullptr);
  EXPECT_EQ(FitFrame({picture_, {854, 360}}, {640, 270}, pool_).enlarged_from(), nullptr);
  const PixelFrame mirrored = FitFrame({picture_, {854, 360}, true}, {0, 0}, pool_);
  EXPECT_EQ(mirrored.enlarged_from(), nullptr) << "it shows something else";
}

TEST_F(FitFrameTest, TurnsThePictureUprightAndSaysSo) {
  for (const VideoRotation rotation :
       {VideoRotation::k90, VideoRotation::k180, VideoRotation::k270}) {
    const PixelFrame turned = FitFrame(Rotated(rotation), {0, 0}, pool_);
    EXPECT_EQ(turned.info().rotation, VideoRotation::k0);
    EXPECT_EQ(turned.info().size, SwapsSides(rotation) ? (Size{360, 640}) : (Size{640, 360}));
    EXPECT_EQ(ReadFrameMarker(turned), std::nullopt);

    // Turned the rest of the way round, it can be read.
    video::PixelFrameInfo info = turned.info();
    info.rotation = static_cast<VideoRotation>(360 - static_cast<int>(rotation));
    const PixelFrame back = FitFrame(
        {turned.WithInfo(info), UprightSize(info.size, 1, 1, info.rotation)}, {320, 180}, pool_);
    EXPECT_EQ(back.info().size, (Size{320, 180}));
    EXPECT_EQ(ReadFrameMarker(back), 77u);
  }
}

TEST_F(FitFrameTest, UndoesAMirrorBehindTheRotation) {
  const PixelFrame mirrored = FitFrame({picture_, {640, 360}, true}, {0, 0}, pool_);
  EXPECT_EQ(ReadFrameMarker(mirrored), std::nullopt);
  EXPECT_EQ(ReadFrameMarker(FitFrame({mirrored, {640, 360}, true}, {0, 0}, pool_)), 77u);

  // A quarter turn and a mirror swap the axes, and twice is not at all.
  SourceFrame swapped = Rotated(VideoRotation::k90);
  swapped.mirrored = true;
  SourceFrame again{FitFrame(swapped, {0, 0}, pool_), {640, 360}, true};
  video::PixelFrameInfo info = again.frame.info();
  info.rotation = VideoRotation::k90;
  again.frame = again.frame.WithInfo(info);
  EXPECT_EQ(ReadFrameMarker(FitFrame(again, {0, 0}, pool_)), 77u);
}

TEST_F(FitFrameTest, NamesTheMatrixThatTheSizeStandsFor) {
  const auto fitted = [this](const PixelFrame& frame, std::int32_t matrix) {
    video::PixelFrameInfo stated = frame.info();
    stated.color.matrix = matrix;
    return FitFrame({frame.WithInfo(stated), stated.size}, {320, 180}, pool_).info().color.matrix;
  };
  const PixelFrame large = pool_.Allocate(video::PixelFormat::kI420, {1280, 720}).Finish();
  const PixelFrame small = pool_.Allocate(video::PixelFormat::kI420, {640, 360}).Finish();
  const PixelFrame pixels = pool_.Allocate(video::PixelFormat::kBGRA, {1280, 720}).Finish();
  EXPECT_EQ(fitted(large, kMatrixUnspecified), kMatrixBt709);
  EXPECT_EQ(fitted(small, kMatrixUnspecified), kMatrixBt601);
  EXPECT_EQ(fitted(large, kMatrixBt601), kMatrixBt601);
  EXPECT_EQ(fitted(pixels, kMatrixIdentity), kMatrixIdentity);
}

TEST_F(FitFrameTest, IsEmptyWhereNoPictureCanBe) {
  EXPECT_FALSE(FitFrame({PixelFrame(), {640, 360}}, {320, 180}, pool_));
}

}  // namespace
}  // namespace movra::media
