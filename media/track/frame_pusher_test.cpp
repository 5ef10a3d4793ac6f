#include "media/track/frame_pusher.h"

#include <chrono>
#include <functional>
#include <future>
#include <latch>
#include <memory>
#include <semaphore>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "media/track/bounded_track.h"

namespace movra::media {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using video::FrameDelivery;
using video::PixelFrame;
using video::PixelFrameInfo;
using video::TrackWriteResult;

PixelFrame Frame(std::uint64_t sequence = 0) {
  PixelFrameInfo info;
  info.sequence = sequence;
  return {info, std::make_shared<int>()};
}

// Answers what the test says.
class Writer final : public video::IPixelFrameTrackWriter {
 public:
  TrackWriteResult Write(PixelFrame frame) override {
    frames.push_back(std::move(frame));
    return answer();
  }
  void WriteEnd(const video::StreamEnd& end) override { ends.push_back(end.error_code); }
  void SetRoomCallback(std::function<void()> callback) override { on_room = std::move(callback); }

  std::function<TrackWriteResult()> answer = [] { return TrackWriteResult::kAccepted; };
  std::function<void()> on_room;
  std::vector<PixelFrame> frames;
  std::vector<int> ends;
};

class FramePusherTest : public ::testing::Test {
 protected:
  std::vector<std::uint64_t> Numbers() const {
    std::vector<std::uint64_t> numbers;
    for (const PixelFrame& frame : writer->frames) numbers.push_back(frame.info().sequence);
    return numbers;
  }

  std::shared_ptr<Writer> writer = std::make_shared<Writer>();
};

TEST_F(FramePusherTest, FramesBecomeLosslessAndGetTheTimeOfTheirPush) {
  FramePusher pusher(writer);
  PixelFrame timed = Frame();
  PixelFrameInfo info = timed.info();
  info.capture_time = std::chrono::seconds(3);
  const auto before = std::chrono::steady_clock::now().time_since_epoch();
  EXPECT_TRUE(pusher.Push(timed.WithInfo(info)));
  EXPECT_TRUE(pusher.Push(Frame()));
  ASSERT_THAT(writer->frames, SizeIs(2));
  EXPECT_EQ(writer->frames[0].info().delivery, FrameDelivery::kLossless);
  EXPECT_EQ(writer->frames[0].info().capture_time, std::chrono::seconds(3));
  EXPECT_EQ(writer->frames[0].owner(), timed.owner());
  EXPECT_GE(writer->frames[1].info().capture_time, before);
}

TEST_F(FramePusherTest, FramesWithoutANumberGetTheNextOne) {
  FramePusher pusher(writer);
  for (const std::uint64_t number : {0U, 0U, 7U, 0U}) EXPECT_TRUE(pusher.Push(Frame(number)));
  EXPECT_THAT(Numbers(), ElementsAre(0, 1, 7, 8));
}

TEST_F(FramePusherTest, RoomThatIsMadeRightBehindARefusalIsNotMissed) {
  FramePusher pusher(writer);
  writer->answer = [&] {
    if (writer->frames.size() > 1) return TrackWriteResult::kAccepted;
    writer->on_room();
    return TrackWriteResult::kFull;
  };
  EXPECT_TRUE(pusher.Push(Frame()));
  EXPECT_THAT(Numbers(), ElementsAre(0, 0));
}

TEST_F(FramePusherTest, RoomThatWasMadeBeforeTheTryIsNoReasonForAnother) {
  FramePusher pusher(writer);
  writer->on_room();
  std::counting_semaphore<> refused(0);
  writer->answer = [&] {
    refused.release();
    return TrackWriteResult::kFull;
  };
  auto pushed = std::async(std::launch::async, [&] { return pusher.Push(Frame()); });
  refused.acquire();
  pusher.Stop();
  EXPECT_FALSE(pushed.get());
  EXPECT_THAT(writer->frames, SizeIs(1));
}

TEST_F(FramePusherTest, AFullTrackIsWaitedForAndLosesNothing) {
  constexpr std::uint64_t kFrames = 100;
  BoundedTrack track(2);
  FramePusher pusher(track.GetWriter());
  std::thread thread([&] {
    for (std::uint64_t i = 0; i < kFrames; ++i) EXPECT_TRUE(pusher.Push(Frame()));
    pusher.End();
  });
  std::uint64_t read = 0;
  for (bool has_ended = false; !has_ended;) {
    const video::TrackItem item = track.GetReader()->Read();
    has_ended = std::holds_alternative<video::StreamEnd>(item);
    const auto* const frame = std::get_if<PixelFrame>(&item);
    if (frame != nullptr) {
      EXPECT_EQ(frame->info().sequence, read++);
    }
    std::this_thread::yield();
  }
  thread.join();
  EXPECT_EQ(read, kFrames);
}

TEST_F(FramePusherTest, AStopLetsGoOfAPushThatWaits) {
  FramePusher pusher(writer);
  std::latch refused(1);
  writer->answer = [&] {
    refused.count_down();
    return TrackWriteResult::kFull;
  };
  auto pushed = std::async(std::launch::async, [&] { return pusher.Push(Frame()); });
  refused.wait();
  pusher.Stop();
  EXPECT_FALSE(pushed.get());
}

TEST_F(FramePusherTest, BehindAStopNothingIsWritten) {
  FramePusher pusher(writer);
  pusher.Stop();
  EXPECT_FALSE(pusher.Push(Frame()));
  pusher.End();
  EXPECT_THAT(writer->frames, IsEmpty());
  EXPECT_THAT(writer->ends, IsEmpty());
}

TEST_F(FramePusherTest, WhatIsRefusedForGoodIsNotWaitedFor) {
  FramePusher pusher(writer);
  for (const auto result : {TrackWriteResult::kClosed, TrackWriteResult{4}}) {
    writer->answer = [result] { return result; };
    EXPECT_FALSE(pusher.Push(Frame()));
  }
  writer->answer = [] { return TrackWriteResult::kReplacedOlder; };
  EXPECT_TRUE(pusher.Push(Frame()));
  EXPECT_THAT(Numbers(), ElementsAre(0, 0, 0)) << "what was not taken has no number";
}

TEST_F(FramePusherTest, ATrackThatGoesLetsGoOfAPushThatWaits) {
  auto track = std::make_unique<BoundedTrack>(1);
  FramePusher pusher(track->GetWriter());
  EXPECT_TRUE(pusher.Push(Frame()));
  auto pushed = std::async(std::launch::async, [&] { return pusher.Push(Frame()); });
  track.reset();
  EXPECT_FALSE(pushed.get());
}

TEST_F(FramePusherTest, TheEndAndItsErrorTravelBehindTheFrames) {
  FramePusher pusher(writer);
  pusher.End();
  pusher.End({.error_code = 3, .reason = "broken"});
  EXPECT_THAT(writer->ends, ElementsAre(0, 3));
}

TEST_F(FramePusherTest, GivesTheRoomCallbackBack) {
  {
    const FramePusher pusher(writer);
    EXPECT_TRUE(static_cast<bool>(writer->on_room));
  }
  EXPECT_FALSE(static_cast<bool>(writer->on_room));
}

}  // namespace
}  // namespace movra::media
