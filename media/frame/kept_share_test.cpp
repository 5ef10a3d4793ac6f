#include "media/frame/kept_share.h"

#include <gtest/gtest.h>

#include <thread>
#include <utility>

#include "media/frame/pictures_for_test.h"

namespace movra::media {
namespace {

using video::PixelFormat;
using video::PixelFrame;

class KeptShareTest : public ::testing::Test {
 protected:
  // Whether a share of the frame is written in place.
  bool IsInPlace(PixelFrame share) {
    const WritableFrame writable = WritableFrame::Of(std::move(share), pool_);
    return writable.info().planes[0].data == frame_.info().planes[0].data;
  }

  FramePool pool_;
  const PixelFrame frame_ = FlatFrame(pool_, PixelFormat::kI420, {32, 16}, kGray);
};

TEST_F(KeptShareTest, TheOnlyOtherShareIsWrittenInPlace) {
  EXPECT_FALSE(IsInPlace(frame_)) << "nothing is kept yet";
  const KeptShare kept(frame_);
  EXPECT_FALSE(kept.is_written());
  EXPECT_TRUE(IsInPlace(frame_));
  EXPECT_TRUE(kept.is_written());
}

TEST_F(KeptShareTest, AThirdShareIsSomebodyElses) {
  const PixelFrame third = frame_;
  const KeptShare kept(frame_);
  EXPECT_FALSE(IsInPlace(frame_));
  EXPECT_FALSE(kept.is_written());
}

TEST_F(KeptShareTest, IsOverWithItsEnd) {
  { const KeptShare kept(frame_); }
  EXPECT_FALSE(IsInPlace(frame_));
}

TEST_F(KeptShareTest, HoldsForThisThreadAlone) {
  const KeptShare kept(frame_);
  bool is_in_place = true;
  std::thread([&] { is_in_place = IsInPlace(frame_); }).join();
  EXPECT_FALSE(is_in_place);
  EXPECT_FALSE(kept.is_written());
}

TEST_F(KeptShareTest, OfAnotherFrameChangesNothing) {
  const PixelFrame other = FlatFrame(pool_, PixelFormat::kI420, {32, 16}, kGray);
  const KeptShare kept(other);
  EXPECT_FALSE(IsInPlace(frame_));
  EXPECT_FALSE(kept.is_written());
}

TEST_F(KeptShareTest, EachOfSeveralCounts) {
  const PixelFrame second = frame_;
  const KeptShare kept(frame_);
  const KeptShare kept_too(second);
  EXPECT_TRUE(IsInPlace(frame_));
}

}  // namespace
}  // namespace movra::media
