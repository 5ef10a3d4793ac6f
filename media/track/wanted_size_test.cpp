#include "media/track/wanted_size.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <optional>

#include "media/track/bounded_track.h"

namespace movra::media {
namespace {

using video::Size;

TEST(WantedSize, TheWriterLearnsWhatTheReaderWantsLast) {
  BoundedTrack track(1);
  EXPECT_EQ(WantedSize(*track.GetWriter()), std::nullopt);
  WantSize(*track.GetReader(), {320, 180});
  EXPECT_EQ(WantedSize(*track.GetWriter()), (Size{320, 180}));
  track.Reset();
  WantSize(*track.GetReader(), {640, 360});
  EXPECT_EQ(WantedSize(*track.GetWriter()), (Size{640, 360}));
}

TEST(WantedSize, OfEndsThatSomebodyElseMadeNoneIsWanted) {
  struct OwnReader final : video::IPixelFrameTrackReader {
    std::uint32_t GetCaptureStat() override { return 0; }
    video::TrackItem Read() override { return {}; }
    void SetReadableCallback(std::function<void()> /*callback*/) override {}
  } reader;
  struct OwnWriter final : video::IPixelFrameTrackWriter {
    video::TrackWriteResult Write(video::PixelFrame /*frame*/) override {
      return video::TrackWriteResult::kAccepted;
    }
  } writer;
  WantSize(reader, {320, 180});
  EXPECT_EQ(WantedSize(writer), std::nullopt);
}

}  // namespace
}  // namespace movra::media
