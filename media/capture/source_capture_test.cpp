#include <memory>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "media/capture/source_capture_for_test.h"
#include "media/figures/frame_counts.h"
#include "media/track/bounded_track.h"

namespace movra::media {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using ::testing::ElementsAre;
using video::FrameDelivery;
using video::PixelFrame;
using video::Size;
using video::StreamEnd;

TEST_F(SourceCaptureTest, WritesAllFramesInOrderAndThenTheEnd) {
  auto script = MakeScript(3);
  script->items.back() = StreamEnd{.error_code = 5, .reason = "why", .damaged_frames = 2};
  Start(script);
  const StreamEnd end = writer_->WaitForEnd();
  EXPECT_EQ(end.error_code, 5);
  EXPECT_EQ(end.reason, "why");
  EXPECT_EQ(end.damaged_frames, 2u);
  EXPECT_THAT(NumbersOf(writer_->frames()), ElementsAre(0, 1, 2));
  EXPECT_THAT(SequencesOf(writer_->frames()), ElementsAre(0, 1, 2));
  EXPECT_EQ(*delivered_, 3u);
  EXPECT_EQ(*opened_, 0);
}

TEST_F(SourceCaptureTest, WaitsForRoomBeforeEachLosslessFrame) {
  writer_ = std::make_shared<CollectingWriter>(1);
  Start(MakeScript(4));
  for (std::size_t frames = 1; frames < 4; ++frames) {
    writer_->WaitUntilRefused();
    EXPECT_EQ(writer_->frames().size(), frames);
    writer_->MakeRoom(1);
  }
  writer_->WaitForEnd();
  EXPECT_THAT(NumbersOf(writer_->frames()), ElementsAre(0, 1, 2, 3));
}

TEST_F(SourceCaptureTest, StopsWhileItWaitsForRoom) {
  writer_ = std::make_shared<CollectingWriter>(1);
  SourceCapture& capture = Start(MakeScript(4));
  writer_->WaitUntilRefused();
  StopAndWait(capture);
  EXPECT_EQ(writer_->frames().size(), 1u);
  EXPECT_FALSE(writer_->end().has_value());
  EXPECT_FALSE(writer_->has_room_callback());
}

TEST_F(SourceCaptureTest, StopsWhileTheSourceWaitsAndWritesNoEndOfIt) {
  auto script = MakeScript(2);
  script->items.pop_back();
  SourceCapture& capture = Start(script);
  script->WaitUntilWaiting();
  StopAndWait(capture);
  EXPECT_EQ(writer_->frames().size(), 2u);
  EXPECT_FALSE(writer_->end().has_value());
}

TEST_F(SourceCaptureTest, StopsWhileTheSourceIsBeingOpened) {
  auto script = MakeScript(2);
  script->open_waits = true;
  SourceCapture& capture = Start(script);
  script->WaitUntilWaiting();
  EXPECT_EQ(*opened_, -1);
  StopAndWait(capture);
  EXPECT_EQ(writer_->frames().size(), 0u);
}

TEST_F(SourceCaptureTest, WritesNothingOfASourceThatCannotBeOpened) {
  auto script = MakeScript(2);
  script->info.error_code = 7;
  WaitFor(Start(script).camera_let_go());
  EXPECT_EQ(*opened_, 7);
  EXPECT_TRUE(writer_->frames().empty());
  EXPECT_FALSE(writer_->end().has_value());
}

TEST_F(SourceCaptureTest, EachStartHasANumberThatItsFramesCarry) {
  std::vector<std::uint64_t> runs;
  for (int start = 0; start < 2; ++start) {
    writer_ = std::make_shared<CollectingWriter>();
    Start(MakeScript(2));
    writer_->WaitForEnd();
    for (const PixelFrame& frame : writer_->frames()) runs.push_back(frame.info().source_run);
    WaitFor(capture_->camera_let_go());
  }
  ASSERT_EQ(runs.size(), 4u);
  EXPECT_NE(runs[0], 0u);
  EXPECT_EQ(runs[0], runs[1]);
  EXPECT_NE(runs[1], runs[2]);
  EXPECT_EQ(runs[2], runs[3]);
}

TEST_F(SourceCaptureTest, EndsWhenNobodyCanReadAnyMore) {
  writer_->Close();
  auto script = MakeScript(3);
  WaitFor(Start(script).camera_let_go());
  EXPECT_EQ(*delivered_, 0u);
}

TEST_F(SourceCaptureTest, TheWriterBecomesTheOnlyOwnerOfAFrame) {
  Start(MakeScript(3));
  writer_->WaitForEnd();
  EXPECT_EQ(writer_->most_owners(), 1);
}

TEST_F(SourceCaptureTest, SetsThePolicyOfTheSourceOnItsFrames) {
  auto script = MakeScript(1);
  script->policy.delivery = FrameDelivery::kLive;
  Start(script);
  writer_->WaitForEnd();
  EXPECT_EQ(writer_->frames()[0].info().delivery, FrameDelivery::kLive);
  EXPECT_FALSE(writer_->has_room_callback());
}

TEST_F(SourceCaptureTest, StampsTheTimeOfDeliveryUnlessTheSourceKnowsIt) {
  auto script = MakeScript(2);
  auto& second = std::get<SourceFrame>(script->items[1]);
  video::PixelFrameInfo info = second.frame.info();
  info.capture_time = nanoseconds(77);
  second.frame = second.frame.WithInfo(info);
  const auto before = std::chrono::steady_clock::now().time_since_epoch();
  Start(script);
  writer_->WaitForEnd();
  const auto after = std::chrono::steady_clock::now().time_since_epoch();
  EXPECT_GE(writer_->frames()[0].info().capture_time, before);
  EXPECT_LE(writer_->frames()[0].info().capture_time, after);
  EXPECT_EQ(writer_->frames()[1].info().capture_time, nanoseconds(77));
}

TEST_F(SourceCaptureTest, HoldsPacedFramesBackUntilTheirTimeFromTheFirstOneOn) {
  const auto clock = std::make_shared<JumpingClock>();
  clock_ = clock;
  auto script = MakeScript(4, 25);
  script->policy = {.delivery = FrameDelivery::kLive, .paced = true};
  script->items.pop_front();  // So that the first frame's time stamp is not 0.
  Start(script);
  writer_->WaitForEnd();
  EXPECT_THAT(clock->waits(), ElementsAre(milliseconds(40), milliseconds(80)));
}

TEST_F(SourceCaptureTest, StopsWhileAFrameIsHeldBack) {
  const auto clock = std::make_shared<StandingClock>();
  clock_ = clock;
  auto script = MakeScript(4);
  script->policy = {.delivery = FrameDelivery::kLive, .paced = true};
  SourceCapture& capture = Start(script);
  clock->WaitUntilWaiting();
  StopAndWait(capture);
  EXPECT_THAT(NumbersOf(writer_->frames()), ElementsAre(0));
}

TEST_F(SourceCaptureTest, DropsEvenlyToTheAskedRateAndLeavesNoGaps) {
  Start(MakeScript(9, 30), {.frame_rate = 10});
  writer_->WaitForEnd();
  EXPECT_THAT(NumbersOf(writer_->frames()), ElementsAre(0, 3, 6));
  EXPECT_THAT(SequencesOf(writer_->frames()), ElementsAre(0, 1, 2));
  EXPECT_EQ(writer_->frames()[1].info().timestamp, milliseconds(100));
}

TEST_F(SourceCaptureTest, KeepsTheGapsThatTheSourceReports) {
  auto script = MakeScript(4);
  script->items.erase(script->items.begin() + 1);
  Start(script);
  writer_->WaitForEnd();
  EXPECT_THAT(SequencesOf(writer_->frames()), ElementsAre(0, 2, 3));
}

TEST_F(SourceCaptureTest, AppliesANewRateAndSizeToTheFramesThatFollow) {
  writer_ = std::make_shared<CollectingWriter>(1);
  auto script = MakeScript(7, 30);
  SourceCapture& capture = Start(script, {.size = {32, 18}});
  writer_->WaitUntilRefused();  // The second frame was read under the old request.
  capture.SetRequest({.size = {16, 9}, .frame_rate = 15});
  EXPECT_EQ(capture.request().frame_rate, 15);
  writer_->MakeRoom(10);
  writer_->WaitForEnd();
  EXPECT_THAT(NumbersOf(writer_->frames()), ElementsAre(0, 1, 3, 5));
  EXPECT_EQ(writer_->frames()[1].info().size, (Size{32, 18}));
  EXPECT_EQ(writer_->frames()[2].info().size, (Size{16, 10}));
  EXPECT_EQ(script->requests.front().size, (Size{32, 18}));
  EXPECT_EQ(script->requests.back().size, (Size{16, 9}));
}

TEST_F(SourceCaptureTest, WhatIsAskedWhileTheSourceWaitsHoldsForTheFrameThatItGives) {
  auto script = MakeScript(1);
  script->items.pop_back();
  script->is_deaf = true;
  script->last_item = MakeSourceFrame(1);
  SourceCapture& capture = Start(script, {.size = {32, 18}, .frame_rate = 1});
  script->WaitUntilWaiting();
  capture.SetRequest({.size = {64, 36}, .frame_rate = 0});
  script->LetOn();
  const std::vector<PixelFrame> frames = writer_->WaitForFrames(2);
  EXPECT_EQ(frames[0].info().size, (Size{32, 18}));
  EXPECT_EQ(frames[1].info().size, (Size{64, 36}));
  EXPECT_EQ(frames[1].info().sequence, 1U) << "none was left out before";
}

TEST_F(SourceCaptureTest, GoesOnAfterNothing) {
  auto script = MakeScript(2);
  script->items.insert(script->items.begin() + 1, std::monostate());
  Start(script);
  writer_->WaitForEnd();
  EXPECT_THAT(NumbersOf(writer_->frames()), ElementsAre(0, 1));
}

// The same with a track of ours, which counts.
class CountedCaptureTest : public SourceCaptureTest {
 protected:
  CountedCaptureTest() { CountInto(*track_.GetReader(), counters_); }

  SourceCapture& Start(const std::shared_ptr<SourceScript>& script,
                       const CaptureRequest& request = {}) {
    return StartInto(track_.GetWriter(), script, request);
  }

  // The number of frames up to the end.
  [[nodiscard]] std::uint64_t ReadAll() {
    const auto reader = track_.GetReader();
    std::uint64_t frames = 0;
    for (;;) {
      const video::TrackItem item = reader->Read();
      if (std::holds_alternative<StreamEnd>(item)) return frames;
      if (std::holds_alternative<PixelFrame>(item)) ++frames;
      std::this_thread::yield();
    }
  }

  const std::shared_ptr<FrameCounters> counters_ = std::make_shared<FrameCounters>();
  BoundedTrack track_{1};
};

TEST_F(CountedCaptureTest, CountsWhatIsDroppedToTheRate) {
  Start(MakeScript(9, 30), {.frame_rate = 10});
  EXPECT_EQ(ReadAll(), 3u);
  EXPECT_EQ(counters_->Counts().came, 9u);
  EXPECT_EQ(counters_->Counts().of(FrameFate::kDroppedToRate), 6u);
  EXPECT_EQ(counters_->Counts().sum(), 6u);
}

TEST_F(CountedCaptureTest, CountsWhatCannotBeMade) {
  auto script = MakeScript(3);
  std::get<SourceFrame>(script->items[1]).upright_size = {65536, 2};
  Start(script);
  EXPECT_EQ(ReadAll(), 2u);
  EXPECT_EQ(counters_->Counts().came, 3u);
  EXPECT_EQ(counters_->Counts().of(FrameFate::kNotMade), 1u);
  EXPECT_EQ(counters_->Counts().sum(), 1u);
}

TEST_F(CountedCaptureTest, CountsWhatIsInHandWhenItIsStopped) {
  // Behind the first frame, which fills the track, the second one waits for its time.
  const auto clock = std::make_shared<StandingClock>();
  clock_ = clock;
  auto script = MakeScript(3);
  script->policy.paced = true;
  SourceCapture& capture = Start(script);
  clock->WaitUntilWaiting();
  StopAndWait(capture);
  EXPECT_EQ(counters_->Counts().came, 2u);
  EXPECT_EQ(counters_->Counts().of(FrameFate::kStopped), 1u);
  track_.Reset();
  EXPECT_EQ(counters_->Counts().of(FrameFate::kStopped), 2u);
}

TEST_F(CountedCaptureTest, CountsWhatTheSourceDeliversBehindTheStop) {
  auto script = MakeScript(0);
  script->items.clear();
  script->is_deaf = true;
  script->last_item = MakeSourceFrame(0);
  SourceCapture& capture = Start(script);
  script->WaitUntilWaiting();
  capture.Stop();
  script->LetOn();
  WaitFor(capture.camera_let_go());
  EXPECT_EQ(counters_->Counts().came, 1u);
  EXPECT_EQ(counters_->Counts().of(FrameFate::kStopped), 1u);
}

}  // namespace
}  // namespace movra::media
