#include "media/output/encoded_fan_out.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <mutex>
#include <numeric>
#include <string>
#include <thread>
#include <vector>

#include "core/no_more_threads_for_test.h"
#include "media/output/sink_double_for_test.h"

namespace movra::media {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

// Of anything that a test waits for by a clock, which then ends before.
constexpr milliseconds kLong = std::chrono::minutes(10);

SinkQueue Lossless(std::size_t max_frames = 1000) {
  return {SinkPolicy::kLossless, 1 << 20, max_frames, false};
}
SinkQueue Waiting(std::size_t max_frames) {
  return {SinkPolicy::kLossless, 1 << 20, max_frames, true};
}
SinkQueue Live(std::size_t max_frames) {
  return {SinkPolicy::kDropToKeyFrame, 1 << 20, max_frames, false};
}

class EncodedFanOutTest : public ::testing::Test {
 private:
  // First, because sinks' threads tell of errors until the fan-out is gone.
  std::mutex mutex_;
  std::vector<WriteError> errors_;  // Guarded by mutex_.

 protected:
  using Sink = std::shared_ptr<SinkDouble>;

  Sink Add(const SinkQueue& queue) {
    const auto sink = std::make_shared<SinkDouble>("'" + std::to_string(sinks_.size()) + "'");
    sinks_.push_back({sink, queue, [this](const WriteError& error) {
                        const std::lock_guard lock(mutex_);
                        errors_.push_back(error);
                      }});
    return sink;
  }
  void Make() {
    fan_out_ = std::make_unique<EncodedFanOut>(std::move(sinks_));
    sinks_.clear();
  }

  // The next frame, of ten bytes that say its number.
  void Write(bool key_frame = false) {
    const std::vector<std::uint8_t> bytes(10, static_cast<std::uint8_t>(next_));
    video::EncodedFrame frame;
    frame.data = bytes.data();
    frame.size_bytes = bytes.size();
    frame.sequence = next_++;
    frame.key_frame = key_frame;
    source_ = bytes.data();
    fan_out_->Write(frame);
  }
  void WriteMany(int count, std::uint64_t key_interval = 10) {
    for (int i = 0; i < count; ++i) Write(next_ % key_interval == 0);
  }
  // With a clock that never says that the time is over.
  void CloseInPeace() {
    fan_out_->LimitWaits(kLong);
    fan_out_->Close();
  }

  [[nodiscard]] SinkFigures Figures(std::size_t index) const { return fan_out_->figures(index); }
  // The sum holds: every frame that was handed has one end.
  void ExpectSum(std::size_t index, std::uint64_t handed) const {
    const SinkFigures figures = Figures(index);
    const auto dropped =
        std::accumulate(figures.dropped.begin(), figures.dropped.end(), std::uint64_t{0});
    EXPECT_EQ(figures.handed, handed) << index;
    EXPECT_EQ(figures.handed, figures.passed + dropped + figures.waiting) << index;
    EXPECT_EQ(figures.passed, figures.written.frames + figures.not_written()) << index;
    EXPECT_EQ(figures.waiting, 0U) << index;
  }
  [[nodiscard]] std::vector<WriteError> errors() {
    const std::lock_guard lock(mutex_);
    return errors_;
  }

  std::vector<FanOutSink> sinks_;
  std::unique_ptr<EncodedFanOut> fan_out_;
  std::uint64_t next_ = 0;
  const std::uint8_t* source_ = nullptr;  // Where the last frame's bytes were.
};

TEST_F(EncodedFanOutTest, OneSinkAloneIsWrittenByTheEncoderWithoutACopy) {
  const Sink sink = Add(Live(1));
  Make();
  Write(true);
  EXPECT_THAT(sink->places(), ElementsAre(source_));
  EXPECT_EQ(sink->thread(), std::this_thread::get_id());
  fan_out_->WriteEnd({});
  EXPECT_EQ(sink->ends(), 1);
  fan_out_->LimitWaits(milliseconds(7));
  fan_out_->Close(nanoseconds(5));
  EXPECT_EQ(sink->limit(), milliseconds(7));
  EXPECT_EQ(sink->end(), nanoseconds(5));
  ExpectSum(0, 1);
}

TEST_F(EncodedFanOutTest, SeveralShareOneCopyOfEachFrame) {
  const Sink first = Add(Lossless());
  const Sink second = Add(Lossless());
  Make();
  // Both hold it, so that its memory is not used again.
  first->Block();
  second->Block();
  Write(true);
  first->WaitUntilInside();
  second->WaitUntilInside();
  first->Release();
  second->Release();
  CloseInPeace();
  EXPECT_EQ(first->places(), second->places());
  EXPECT_NE(first->thread(), second->thread());
  EXPECT_THAT(first->bytes(), ElementsAre(std::vector<std::uint8_t>(10, 0)));
  EXPECT_NE(first->thread(), std::this_thread::get_id());
}

TEST_F(EncodedFanOutTest, ABlockedSinkHoldsUpNeitherTheEncoderNorAnother) {
  const Sink stuck = Add(Lossless());
  const Sink live = Add(Live(5));
  const Sink other = Add(Lossless());
  stuck->Block();
  live->Block();
  Make();
  WriteMany(100);
  other->WaitForFrames(100);
  EXPECT_THAT(stuck->frames(), IsEmpty());
  stuck->Release();
  live->Release();
  CloseInPeace();
  EXPECT_THAT(stuck->frames(), SizeIs(100));
  EXPECT_EQ(stuck->frames(), other->frames());
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(EncodedFanOutTest, ALiveSinkThatIsFullLeavesOutWhatComesUntilTheNextKeyFrame) {
  const Sink live = Add(Live(2));
  const Sink other = Add(Lossless());
  live->Block();
  Make();
  Write(true);
  live->WaitUntilInside();
  for (int i = 1; i <= 5; ++i) Write();
  // Displaces the two that wait.
  Write(true);
  Write();
  live->Release();
  CloseInPeace();
  EXPECT_THAT(live->frames(), ElementsAre(0, 6, 7));
  const SinkFigures figures = Figures(0);
  EXPECT_EQ(figures.dropped_for(SinkDrop::kQueueFull), 3U);
  EXPECT_EQ(figures.dropped_for(SinkDrop::kNoKeyFrame), 2U);
  ExpectSum(0, 8);
  EXPECT_THAT(other->frames(), SizeIs(8));
  EXPECT_THAT(errors(), IsEmpty()) << "which is no failure";
}

TEST_F(EncodedFanOutTest, ALiveSinkThatHasRoomAgainStillWaitsForAKeyFrame) {
  const Sink live = Add(Live(1));
  Add(Lossless());
  live->Block();
  Make();
  Write(true);
  live->WaitUntilInside();
  Write();
  Write();
  live->Release();
  live->WaitForFrames(2);
  Write();
  Write(true);
  live->WaitForFrames(3);
  CloseInPeace();
  EXPECT_THAT(live->frames(), ElementsAre(0, 1, 4));
  ExpectSum(0, 5);
}

TEST_F(EncodedFanOutTest, AFileThatIsTooSlowBreaksOffBehindWhatWaitedAndTheOthersGoOn) {
  const Sink slow = Add(Lossless(3));
  const Sink other = Add(Lossless());
  slow->Block();
  Make();
  Write(true);
  slow->WaitUntilInside();
  for (int i = 1; i <= 5; ++i) Write();
  ASSERT_THAT(errors(), SizeIs(1)) << "told once";
  EXPECT_EQ(errors()[0].code, WriteErrorKind::kTooSlow);
  EXPECT_THAT(errors()[0].text, AllOf(HasSubstr("writing '0'"), HasSubstr("30 bytes wait")));
  EXPECT_TRUE(fan_out_->broken_off(0));
  EXPECT_FALSE(fan_out_->broken_off(1));
  slow->Release();
  slow->WaitForClose();
  Write();
  fan_out_->WriteEnd({});
  other->WaitForEnd();
  CloseInPeace();
  EXPECT_THAT(slow->frames(), ElementsAre(0, 1, 2, 3));
  EXPECT_EQ(slow->ends(), 0);
  EXPECT_EQ(Figures(0).dropped_for(SinkDrop::kQueueFull), 1U);
  EXPECT_EQ(Figures(0).dropped_for(SinkDrop::kBrokenOff), 2U);
  ExpectSum(0, 7);
  EXPECT_THAT(other->frames(), SizeIs(7));
  EXPECT_EQ(other->ends(), 1);
}

TEST_F(EncodedFanOutTest, TheBytesThatWaitAreBoundedToo) {
  SinkQueue queue = Lossless();
  queue.max_bytes = 25;
  const Sink slow = Add(queue);
  Add(Lossless());
  slow->Block();
  Make();
  Write(true);
  slow->WaitUntilInside();
  for (int i = 0; i < 2; ++i) Write();
  EXPECT_THAT(errors(), IsEmpty());
  Write();
  EXPECT_THAT(errors(), SizeIs(1));
  slow->Release();
}

TEST_F(EncodedFanOutTest, AFrameLargerThanAQueueHasRoomInAnEmptyOne) {
  SinkQueue queue = Lossless();
  queue.max_bytes = 5;
  const Sink sink = Add(queue);
  Add(Lossless());
  Make();
  Write(true);
  CloseInPeace();
  EXPECT_THAT(sink->frames(), SizeIs(1));
}

TEST_F(EncodedFanOutTest, ASourceThatWaitsIsHeldUpInsteadAndNothingIsLost) {
  const Sink slow = Add(Waiting(2));
  const Sink other = Add(Lossless());
  slow->Block();
  Make();
  std::thread encoder([this] { WriteMany(50); });
  slow->WaitUntilInside();
  slow->Release();
  encoder.join();
  CloseInPeace();
  EXPECT_THAT(slow->frames(), SizeIs(50));
  EXPECT_EQ(slow->frames(), other->frames());
  EXPECT_THAT(errors(), IsEmpty());
  ExpectSum(0, 50);
}

TEST_F(EncodedFanOutTest, ACloseLetsAnEncoderGoThatIsHeldUp) {
  const Sink stuck = Add(Waiting(1));
  Add(Lossless());
  stuck->Block();
  stuck->close_releases = true;
  Make();
  Write(true);
  stuck->WaitUntilInside();
  Write();
  std::thread encoder([this] { Write(); });
  fan_out_->LimitWaits(milliseconds(0));
  fan_out_->Close();
  encoder.join();
  stuck->WaitForFrames(1);
  EXPECT_EQ(Figures(0).dropped_for(SinkDrop::kClosed), 2U);
  ExpectSum(0, 3);
}

TEST_F(EncodedFanOutTest, AFailureLetsAnEncoderGoThatIsHeldUp) {
  const Sink stuck = Add(Waiting(1));
  const Sink other = Add(Lossless());
  stuck->Block();
  stuck->fails_at = 0;
  Make();
  Write(true);
  stuck->WaitUntilInside();
  std::thread encoder([this] { WriteMany(20); });
  stuck->Release();
  encoder.join();
  CloseInPeace();
  EXPECT_THAT(other->frames(), SizeIs(21));
  ExpectSum(0, 21);
}

TEST_F(EncodedFanOutTest, ASinkThatThrowsIsToldOnceAndGetsNothingMore) {
  const Sink broken = Add(Lossless());
  const Sink other = Add(Lossless());
  broken->throws_at = 1;
  broken->Block();
  Make();
  WriteMany(4);
  broken->Release();
  other->WaitForFrames(4);
  CloseInPeace();
  ASSERT_THAT(errors(), SizeIs(1));
  EXPECT_THAT(errors()[0].text, AllOf(HasSubstr("'0'"), HasSubstr("threw")));
  EXPECT_THAT(broken->frames(), ElementsAre(0));
  EXPECT_EQ(broken->closes(), 1);
  EXPECT_TRUE(fan_out_->broken_off(0));
  EXPECT_EQ(Figures(0).not_written(), 1U);
  EXPECT_EQ(Figures(0).dropped_for(SinkDrop::kBrokenOff), 2U);
  ExpectSum(0, 4);
  EXPECT_THAT(other->frames(), SizeIs(4));
}

TEST_F(EncodedFanOutTest, ASinkThatFailsGetsNothingMoreAndTellsThatItself) {
  const Sink broken = Add(Lossless());
  const Sink other = Add(Lossless());
  broken->fails_at = 1;
  Make();
  WriteMany(4);
  fan_out_->WriteEnd({});
  other->WaitForEnd();
  CloseInPeace();
  EXPECT_THAT(errors(), IsEmpty());
  EXPECT_TRUE(fan_out_->broken_off(0));
  EXPECT_EQ(broken->ends(), 0);
  EXPECT_THAT(other->frames(), SizeIs(4));
  ExpectSum(0, 4);
}

TEST_F(EncodedFanOutTest, EndsAndLimitsAndTheCloseGoToEach) {
  const std::vector<Sink> sinks{Add(Lossless()), Add(Live(5)), Add(Waiting(5))};
  Make();
  Write(true);
  fan_out_->WriteEnd({});
  for (const Sink& sink : sinks) sink->WaitForEnd();
  fan_out_->LimitWaits(milliseconds(7));
  fan_out_->Close(nanoseconds(5));
  fan_out_->Close(nanoseconds(6));
  for (const Sink& sink : sinks) {
    EXPECT_EQ(sink->ends(), 1);
    EXPECT_EQ(sink->limit(), milliseconds(7));
    EXPECT_EQ(sink->closes(), 1);
    EXPECT_EQ(sink->end(), nanoseconds(5));
  }
}

TEST_F(EncodedFanOutTest, WhatComesBehindTheCloseIsCountedAndGoesNowhere) {
  const Sink sink = Add(Lossless());
  Add(Lossless());
  Make();
  CloseInPeace();
  Write(true);
  fan_out_->WriteEnd({});
  EXPECT_THAT(sink->frames(), IsEmpty());
  EXPECT_EQ(Figures(0).dropped_for(SinkDrop::kClosed), 1U);
  ExpectSum(0, 1);
}

TEST_F(EncodedFanOutTest, ASinkThatIsStuckIsLeftBehindAndKeepsWhatItNeeds) {
  const auto gone = std::make_shared<std::promise<void>>();
  Sink stuck = Add(Lossless());
  Add(Lossless());
  stuck->Block();
  stuck->on_gone = [gone] { gone->set_value(); };
  Make();
  WriteMany(4);
  stuck->WaitUntilInside();
  fan_out_->LimitWaits(milliseconds(0));
  fan_out_->Close();
  EXPECT_EQ(Figures(0).dropped_for(SinkDrop::kClosed), 3U);
  EXPECT_EQ(Figures(0).not_written(), 1U);
  ExpectSum(0, 4);
  fan_out_.reset();
  // The last share that is not its thread's goes before it can end.
  SinkDouble& sink = *stuck;
  stuck.reset();
  sink.Release();
  gone->get_future().wait();
}

TEST_F(EncodedFanOutTest, AtOverloadEveryFrameOfEverySinkHasOneEnd) {
  const std::vector<Sink> sinks{Add(Lossless()), Add(Live(7)),    Add(Lossless(20)),
                                Add(Lossless()), Add(Lossless()), Add(Waiting(3))};
  sinks[1]->Block();
  sinks[2]->Block();
  sinks[3]->fails_at = 50;
  sinks[4]->throws_at = 60;
  Make();
  Write(true);
  sinks[1]->WaitUntilInside();
  sinks[2]->WaitUntilInside();
  WriteMany(199, 20);
  sinks[1]->Release();
  WriteMany(100, 20);
  sinks[0]->WaitForFrames(300);
  sinks[2]->Release();
  CloseInPeace();
  for (std::size_t i = 0; i < sinks.size(); ++i) ExpectSum(i, 300);
  EXPECT_THAT(sinks[0]->frames(), SizeIs(300));
  EXPECT_GT(Figures(1).dropped_for(SinkDrop::kNoKeyFrame), 0U);
  EXPECT_THAT(sinks[2]->frames(), SizeIs(21));
  EXPECT_THAT(sinks[3]->frames(), SizeIs(50));
  EXPECT_THAT(sinks[4]->frames(), SizeIs(60));
  EXPECT_THAT(sinks[5]->frames(), SizeIs(300));
}

TEST_F(EncodedFanOutTest, WithoutAThreadNothingIsLeftBehind) {
  const Sink first = Add(Lossless());
  Add(Lossless());
  {
    const core::NoMoreThreads none;
    EXPECT_THROW(Make(), std::system_error);
  }
  EXPECT_EQ(first->closes(), 1);
}

TEST(UsualSinkQueue, HoldsTheEncoderUpOnlyWhereTheSourceWaitsAndNothingMayBeLost) {
  EXPECT_FALSE(UsualSinkQueue(SinkPolicy::kLossless, SourceClock::kOwn).waits_when_full);
  EXPECT_TRUE(UsualSinkQueue(SinkPolicy::kLossless, SourceClock::kWaits).waits_when_full);
  EXPECT_FALSE(UsualSinkQueue(SinkPolicy::kDropToKeyFrame, SourceClock::kWaits).waits_when_full);
}

TEST(SinkFigures, EachReasonHasAName) {
  std::vector<std::string> names;
  for (std::size_t i = 0; i < kSinkDrops; ++i) {
    names.emplace_back(SinkDropName(static_cast<SinkDrop>(i)));
  }
  EXPECT_THAT(names, ElementsAre("queue_full", "no_key_frame", "broken_off", "closed"));
}

}  // namespace
}  // namespace movra::media
