#include "media/track/bounded_track.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "media/figures/frame_counter_for_test.h"

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

// A frame whose owner's end calls the track: a library's or an application's destructor may.
PixelFrame FrameThatCallsBack(FrameDelivery delivery, std::function<void()> on_end) {
  video::PixelFrameInfo info;
  info.delivery = delivery;
  static constexpr int kOwned = 0;
  return {info, std::shared_ptr<const void>(
                    &kOwned, [on_end = std::move(on_end)](const void*) { on_end(); })};
}

TEST(BoundedTrack, TheEndOfADroppedFrameMayUseTheTrack) {
  FrameCounter frames;
  auto track = std::make_unique<BoundedTrack>(1);
  const auto writer = track->GetWriter();
  const auto reader = track->GetReader();
  int ends = 0;
  const auto use_the_track = [&] {
    ++ends;
    EXPECT_EQ(std::holds_alternative<PixelFrame>(reader->Read()), ends == 1) << "after " << ends;
    static_cast<void>(writer->HasRoom());
    reader->SetReadableCallback({});
    writer->SetRoomCallback({});
  };
  const auto write = [&] {
    return writer->Write(FrameThatCallsBack(FrameDelivery::kLive, use_the_track));
  };
  ASSERT_EQ(write(), TrackWriteResult::kAccepted);
  ASSERT_EQ(writer->Write(frames.Make(1, FrameDelivery::kLive)), TrackWriteResult::kReplacedOlder);
  EXPECT_EQ(ends, 1) << "displaced";
  ASSERT_EQ(write(), TrackWriteResult::kAccepted);
  track->Reset();
  EXPECT_EQ(ends, 2) << "reset";
  ASSERT_EQ(write(), TrackWriteResult::kAccepted);
  track.reset();
  EXPECT_EQ(ends, 3) << "closed";
  ASSERT_EQ(write(), TrackWriteResult::kClosed);
  EXPECT_EQ(ends, 4) << "refused";
}

TEST(BoundedTrack, ACallbackThatThrowsStopsNeitherTheWriterNorTheReader) {
  FrameCounter frames;
  BoundedTrack track(1);
  track.GetReader()->SetReadableCallback([] { throw 1; });
  track.GetWriter()->SetRoomCallback([] { throw 1; });
  for (std::uint64_t i = 0; i < 2; ++i) {
    EXPECT_EQ(track.GetWriter()->Write(frames.Make(i, FrameDelivery::kLossless)),
              TrackWriteResult::kAccepted);
    EXPECT_THAT(Drain(track), ElementsAre(i));
  }
}

// A writer that never loses a frame and a reader on another thread, joined only by the callbacks.
TEST(BoundedTrack, ALosslessStreamArrivesWholeAndInOrderWithBoundedFramesInFlight) {
  constexpr std::uint64_t kFrames = 2000;
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
