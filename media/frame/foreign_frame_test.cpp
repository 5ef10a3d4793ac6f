// Everything that reads pictures reads each plane by its own stride and not a byte beyond its rows.

#include "media/frame/foreign_frame_for_test.h"

#include <cstddef>
#include <cstdint>
#include <random>
#include <utility>

#include "gtest/gtest.h"
#include "media/frame/convert_frame.h"
#include "media/frame/orient_frame.h"
#include "media/frame/pictures_for_test.h"
#include "media/frame/scale_frame.h"

namespace movra::media {
namespace {

using video::PixelFormat;
using video::PixelFrame;
using video::Size;

// Every sample shows where it came from. Samples of ten bits stay below 1024.
PixelFrame Noise(FramePool& pool, PixelFormat format, const Size& size) {
  std::mt19937 random(5);
  WritableFrame frame = pool.Allocate(format, size);
  for (std::size_t i = 0; i < PlaneCount(format); ++i) {
    const PlaneLayout layout = LayoutOf(format, size, i);
    for (int y = 0; y < layout.samples.height; ++y) {
      std::uint8_t* const row = frame.plane(i) + std::ptrdiff_t{y} * frame.stride(i);
      for (std::size_t x = 0; x < layout.row_bytes(); ++x) {
        const bool is_upper = format == PixelFormat::kI010 && x % 2 == 1;
        row[x] = static_cast<std::uint8_t>(random() % (is_upper ? 4 : 256));
      }
    }
  }
  return std::move(frame).Finish();
}

void ExpectTheSame(const PixelFrame& a, const PixelFrame& b, const char* what) {
  ASSERT_TRUE(a && b) << what;
  ASSERT_EQ(a.info().format, b.info().format) << what;
  ASSERT_EQ(a.info().size, b.info().size) << what;
  for (std::size_t i = 0; i < PlaneCount(a.info().format); ++i) {
    EXPECT_TRUE(PlaneBytes(a.info(), i) == PlaneBytes(b.info(), i))
        << what << ", plane " << i << " of " << a.info().size.ToString();
  }
}

class ForeignFrame : public ::testing::TestWithParam<PixelFormat> {
 protected:
  // Calls `check` with a picture of our own and its copy in foreign memory, in sizes whose rows end
  // at any place within what is read at once.
  template <class Check>
  void ForEachSize(const Check& check) {
    for (const Size& size : {Size{64, 36}, Size{67, 35}, Size{33, 6}, Size{5, 3}, Size{1, 1}}) {
      const PixelFrame own = Noise(pool_, GetParam(), size);
      check(own, ForeignCopy(own));
    }
  }

  FramePool pool_;
};

INSTANTIATE_TEST_SUITE_P(EveryFormat, ForeignFrame, ::testing::ValuesIn(kEveryFormat));

TEST_P(ForeignFrame, IsConvertedAsOurOwn) {
  ForEachSize([&](const PixelFrame& own, const PixelFrame& foreign) {
    for (const PixelFormat to : kEveryFormat) {
      ExpectTheSame(ConvertFrame(own, to, pool_), ConvertFrame(foreign, to, pool_), "converted");
    }
  });
}

TEST_P(ForeignFrame, IsScaledAsOurOwn) {
  ForEachSize([&](const PixelFrame& own, const PixelFrame& foreign) {
    const Size& size = own.info().size;
    for (const Size& to : {Size{48, 27}, Size{13, 7}, Size{100, 61}, Size{size.width, 20},
                           Size{20, size.height}, Size{1, 1}}) {
      ExpectTheSame(ScaleFrame(own, to, pool_), ScaleFrame(foreign, to, pool_), "scaled");
    }
  });
}

TEST_P(ForeignFrame, IsTurnedAsOurOwn) {
  ForEachSize([&](const PixelFrame& own, const PixelFrame& foreign) {
    for (const int degrees : {0, 90, 180, 270}) {
      for (const bool mirror : {false, true}) {
        const Orientation turn{static_cast<video::VideoRotation>(degrees), mirror};
        ExpectTheSame(OrientFrame(own, turn, pool_), OrientFrame(foreign, turn, pool_), "turned");
      }
    }
  });
}

TEST_P(ForeignFrame, IsCopiedToBeChanged) {
  ForEachSize([&](const PixelFrame& own, const PixelFrame& foreign) {
    ExpectTheSame(own, WritableFrame::Of(foreign, pool_).Finish(), "copied");
  });
}

}  // namespace
}  // namespace movra::media
