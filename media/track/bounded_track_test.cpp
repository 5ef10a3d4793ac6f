#include "media/track/bounded_track.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "media/track/frame_counter_for_test.h"

namespace movra::media {
namespace {

using ::testing::ElementsAre;
using video::FrameDelivery;
using video::PixelFrame;
using video::StreamEnd;
using video::TrackItem;
using video::TrackWriteResult;

StreamEnd End(std::int32_t code) {
  StreamEnd end;
  end.error_code = code;
  return end;
}

std::vector<std::int64_t> Drain(BoundedTrack& track) {
  std::vector<std::int64_t> out;  // Sequence numbers; an end mark is its negative code.
  for (;;) {
    const TrackItem item = track.GetReader()->Read();
    if (const auto* const frame = std::get_if<PixelFrame>(&item)) {
      out.push_back(static_cast<std::int64_t>(frame->info().sequence));
    } else if (const auto* const end = std::get_if<StreamEnd>(&item)) {
      out.push_back(-end->error_code);
    } else {
      return out;
    }
  }
}

TEST(BoundedTrack, ALiveFrameDoesNotDisplaceALosslessOne) {
  FrameCounter frames;
  BoundedTrack track(2);
  const auto writer = track.GetWriter();
  ASSERT_EQ(writer->Write(frames.Make(1, FrameDelivery::kLossless)), TrackWriteResult::kAccepted);
  ASSERT_EQ(writer->Write(frames.Make(2, FrameDelivery::kLive)), TrackWriteResult::kAccepted);
  EXPECT_EQ(writer->Write(frames.Make(3, FrameDelivery::kLive)), TrackWriteResult::kReplacedOlder);
  EXPECT_THAT(Drain(track), ElementsAre(1, 3));
  EXPECT_EQ(frames.alive(), 0);
}

TEST(BoundedTrack, ALiveFrameIsDroppedAndCountedWhenOnlyLosslessOnesWait) {
  FrameCounter frames;
  BoundedTrack track(1);
  const auto writer = track.GetWriter();
  ASSERT_EQ(writer->Write(frames.Make(1, FrameDelivery::kLossless)), TrackWriteResult::kAccepted);
  EXPECT_EQ(writer->Write(frames.Make(2, FrameDelivery::kLive)), TrackWriteResult::kFull);
  EXPECT_EQ(track.GetReader()->GetDroppedFrames(), 1U);
  EXPECT_THAT(Drain(track), ElementsAre(1));
}

TEST(BoundedTrack, OfTwoEndMarksWithNoFrameBetweenTheNewerStays) {
  BoundedTrack track(1);
  track.GetWriter()->WriteEnd(End(1));
  track.GetWriter()->WriteEnd(End(2));
  EXPECT_THAT(Drain(track), ElementsAre(-2));
}

TEST(BoundedTrack, EndMarksThatDisplacementBringsTogetherBecomeOne) {
  FrameCounter frames;
  BoundedTrack track(1);
  const auto writer = track.GetWriter();
  for (int stream = 1; stream <= 5; ++stream) {
    ASSERT_NE(writer->Write(frames.Make(static_cast<std::uint64_t>(stream), FrameDelivery::kLive)),
              TrackWriteResult::kFull);
    writer->WriteEnd(End(stream));
  }
  EXPECT_THAT(Drain(track), ElementsAre(-4, 5, -5));
}

// A writer that never loses a frame and a reader on another thread, joined only by the callbacks.
TEST(BoundedTrack, ALosslessStreamArrivesWholeAndInOrderWithBoundedFramesInFlight) {
  constexpr std::uint64_t kFrames = 20000;
  FrameCounter frames;
  BoundedTrack track(1);
  const auto writer = track.GetWriter();
  const auto reader = track.GetReader();
  std::atomic<bool> readable = false;
  std::atomic<bool> room = false;
  reader->SetReadableCallback([&] {
    readable = true;
    readable.notify_one();
  });
  writer->SetRoomCallback([&] {
    room = true;
    room.notify_one();
  });
  std::thread source([&] {
    for (std::uint64_t i = 0; i < kFrames; ++i) {
      const PixelFrame frame = frames.Make(i, FrameDelivery::kLossless);
      while (writer->Write(frame) == TrackWriteResult::kFull) {
        room.wait(false);
        room = false;
      }
    }
    writer->WriteEnd(End(0));
  });
  std::uint64_t next = 0;
  for (bool ended = false; !ended;) {
    const TrackItem item = reader->Read();
    if (const auto* const frame = std::get_if<PixelFrame>(&item)) {
      ASSERT_EQ(frame->info().sequence, next++);
    } else if (std::holds_alternative<StreamEnd>(item)) {
      ended = true;
    } else {
      readable.wait(false);
      readable = false;
    }
  }
  source.join();
  EXPECT_EQ(next, kFrames);
  EXPECT_EQ(reader->GetCaptureStat(), kFrames);
  EXPECT_LE(frames.most(), 3) << "one waits, one is being written, one is being read";
  EXPECT_EQ(frames.alive(), 0);
}

}  // namespace
}  // namespace movra::media
