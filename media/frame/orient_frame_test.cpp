#include "media/frame/orient_frame.h"

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "gtest/gtest.h"
#include "media/frame/pictures_for_test.h"

namespace movra::media {
namespace {

using video::PixelFormat;
using video::PixelFrame;
using video::Size;
using video::VideoRotation;

// Every sample of every plane differs from its neighbours.
PixelFrame Distinct(FramePool& pool, PixelFormat format, const Size& size) {
  WritableFrame frame = pool.Allocate(format, size);
  std::uint8_t next = 1;
  for (std::size_t i = 0; i < PlaneCount(format); ++i) {
    const PlaneLayout layout = LayoutOf(format, size, i);
    for (int y = 0; y < layout.samples.height; ++y) {
      for (std::size_t x = 0; x < layout.row_bytes(); ++x) {
        frame.plane(
            i)[static_cast<std::ptrdiff_t>(y) * frame.stride(i) + static_cast<std::ptrdiff_t>(x)] =
            next++;
      }
    }
  }
  return std::move(frame).Finish();
}

// The plane turned sample by sample.
std::vector<std::uint8_t> Expected(const PixelFrame& frame, std::size_t plane, int degrees,
                                   bool mirror) {
  const PlaneLayout layout = LayoutOf(frame.info().format, frame.info().size, plane);
  const auto bytes = PlaneBytes(frame.info(), plane);
  const int w = layout.samples.width;
  const int h = layout.samples.height;
  const bool swaps = degrees == 90 || degrees == 270;
  const int tw = swaps ? h : w;
  const int th = swaps ? w : h;
  std::vector<std::uint8_t> out;
  for (int y = 0; y < th; ++y) {
    for (int x = 0; x < tw; ++x) {
      const int tx = mirror ? tw - 1 - x : x;
      int sx = tx;
      int sy = y;
      if (degrees == 90) sx = y, sy = h - 1 - tx;
      if (degrees == 180) sx = w - 1 - tx, sy = h - 1 - y;
      if (degrees == 270) sx = w - 1 - y, sy = tx;
      const auto at = static_cast<std::size_t>((sy * w + sx) * layout.bytes_per_sample);
      for (std::size_t k = 0; k < static_cast<std::size_t>(layout.bytes_per_sample); ++k) {
        out.push_back(bytes[at + k]);
      }
    }
  }
  return out;
}

TEST(OrientFrame, TurnsClockwiseAndThenMirrors) {
  FramePool pool;
  for (const PixelFormat format :
       {PixelFormat::kI420, PixelFormat::kI444, PixelFormat::kGray, PixelFormat::kBGRA}) {
    const PixelFrame frame = Distinct(pool, format, {10, 6});
    for (const int degrees : {0, 90, 180, 270}) {
      for (const bool mirror : {false, true}) {
        const PixelFrame turned =
            OrientFrame(frame, {static_cast<VideoRotation>(degrees), mirror}, pool);
        const bool swaps = degrees % 180 == 90;
        ASSERT_EQ(turned.info().size, (swaps ? Size{6, 10} : Size{10, 6}));
        for (std::size_t i = 0; i < PlaneCount(format); ++i) {
          EXPECT_EQ(PlaneBytes(turned.info(), i), Expected(frame, i, degrees, mirror))
              << static_cast<int>(format) << " by " << degrees << " mirror " << mirror;
        }
      }
    }
  }
}

TEST(OrientFrame, FormatsThatCannotBeTurnedAsTheyAreComeOutAsI420) {
  FramePool pool;
  for (const PixelFormat format : {PixelFormat::kNV12, PixelFormat::kI422, PixelFormat::kI010}) {
    const PixelFrame turned =
        OrientFrame(FlatFrame(pool, format, {10, 6}, kRust), {VideoRotation::k90, true}, pool);
    EXPECT_EQ(turned.info().format, PixelFormat::kI420);
    EXPECT_EQ(DistanceFrom(turned.info(), kRust), 0);
  }
}

TEST(OrientFrame, NothingToDoHandsOnTheSameFrame) {
  FramePool pool;
  const PixelFrame frame = FlatFrame(pool, PixelFormat::kNV12, {10, 6}, kRust);
  EXPECT_EQ(OrientFrame(frame, {}, pool).owner(), frame.owner());
  EXPECT_EQ(OrientFrame(frame, {static_cast<VideoRotation>(17), false}, pool).owner(),
            frame.owner());
  EXPECT_FALSE(OrientFrame({}, {VideoRotation::k90, true}, pool));
}

TEST(OrientFrame, RotationsAddUpToAFullTurn) {
  EXPECT_EQ(AddRotations(VideoRotation::k90, VideoRotation::k180), VideoRotation::k270);
  EXPECT_EQ(AddRotations(VideoRotation::k270, VideoRotation::k180), VideoRotation::k90);
  EXPECT_EQ(AddRotations(VideoRotation::k180, VideoRotation::k180), VideoRotation::k0);
  EXPECT_EQ(AddRotations(static_cast<VideoRotation>(17), VideoRotation::k90), VideoRotation::k90);
}

}  // namespace
}  // namespace movra::media
