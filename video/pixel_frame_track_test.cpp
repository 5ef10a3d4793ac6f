#include "video/pixel_frame_track.h"

#include <gtest/gtest.h>

#include "video/video_frame_track.h"

namespace movra::video {
namespace {

class LeastWriter : public IPixelFrameTrackWriter {
 public:
  TrackWriteResult Write(PixelFrame) override { return TrackWriteResult::kAccepted; }
};

class LeastReader : public IPixelFrameTrackReader {
 public:
  std::uint32_t GetCaptureStat() override { return 0; }
  TrackItem Read() override { return {}; }
  void SetReadableCallback(std::function<void()>) override {}
};

class LeastEncodedWriter : public IVideoFrameTrackWriter {
 public:
  void Write(const EncodedFrame&) override {}
};

TEST(PixelFrameTrackWriter, ThatOnlyWritesAlwaysHasRoomAndNeverCalls) {
  LeastWriter writer;
  EXPECT_TRUE(writer.HasRoom());
  bool called = false;
  writer.SetRoomCallback([&] { called = true; });
  writer.WriteEnd(StreamEnd());
  EXPECT_EQ(writer.Write(PixelFrame()), TrackWriteResult::kAccepted);
  EXPECT_FALSE(called);
}

TEST(PixelFrameTrackReader, ThatCountsNoLossesHasNone) {
  EXPECT_EQ(LeastReader().GetDroppedFrames(), 0u);
}

TEST(VideoFrameTrackWriter, MayLeaveTheEndOut) { LeastEncodedWriter().WriteEnd(StreamEnd()); }

}  // namespace
}  // namespace movra::video
