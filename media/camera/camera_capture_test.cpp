#include "media/camera/camera_capture.h"

#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "media/camera/capture_for_test.h"

namespace movra::media {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using ::testing::ElementsAre;
using video::CameraInfo;
using video::FrameDelivery;
using video::PixelFrame;
using video::Size;
using video::StreamEnd;

// Time jumps to whatever is waited for.
class JumpingClock final : public CaptureClock {
 public:
  [[nodiscard]] TimePoint Now() const override { return now_; }
  void WaitUntil(std::unique_lock<std::mutex>& /*lock*/, std::condition_variable& /*wake*/,
                 TimePoint deadline) const override {
    waits_.push_back(deadline - start_);
    now_ = deadline;
  }
  [[nodiscard]] const std::vector<nanoseconds>& waits() const { return waits_; }

 private:
  const TimePoint start_ = TimePoint() + std::chrono::hours(1);
  mutable TimePoint now_ = start_;
  mutable std::vector<nanoseconds> waits_;
};

// Time stands still, and a wait ends only when it is woken.
class StandingClock final : public CaptureClock {
 public:
  [[nodiscard]] TimePoint Now() const override { return TimePoint() + std::chrono::hours(1); }
  void WaitUntil(std::unique_lock<std::mutex>& lock, std::condition_variable& wake,
                 TimePoint /*deadline*/) const override {
    waiting_ = true;
    waiting_.notify_all();
    wake.wait(lock);
  }
  void WaitUntilWaiting() const { waiting_.wait(false); }

 private:
  mutable std::atomic<bool> waiting_ = false;
};

class CameraCaptureTest : public ::testing::Test {
 protected:
  CameraCapture& Start(std::shared_ptr<SourceScript> script, const CaptureRequest& request = {}) {
    capture_ = std::make_unique<CameraCapture>(std::make_unique<ScriptedSource>(std::move(script)),
                                               writer_, request, *clock_, delivered_);
    capture_->Start([this](const CameraInfo& info) { opened_ = info.error_code; });
    return *capture_;
  }

  static std::vector<std::uint64_t> SequencesOf(const std::vector<PixelFrame>& frames) {
    std::vector<std::uint64_t> sequences;
    for (const PixelFrame& frame : frames) sequences.push_back(frame.info().sequence);
    return sequences;
  }

  static std::vector<int> NumbersOf(const std::vector<PixelFrame>& frames) {
    std::vector<int> numbers;
    for (const PixelFrame& frame : frames) numbers.push_back(frame.info().planes[0].data[0]);
    return numbers;
  }

  std::shared_ptr<CollectingWriter> writer_ = std::make_shared<CollectingWriter>();
  std::shared_ptr<const CaptureClock> clock_ = std::make_shared<CaptureClock>();
  std::shared_ptr<std::atomic<std::uint32_t>> delivered_ =
      std::make_shared<std::atomic<std::uint32_t>>(0);
  std::atomic<int> opened_ = -1;
  std::unique_ptr<CameraCapture> capture_;
};

TEST_F(CameraCaptureTest, WritesAllFramesInOrderAndThenTheEnd) {
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
  EXPECT_EQ(opened_, 0);
}

TEST_F(CameraCaptureTest, WaitsForRoomBeforeEachLosslessFrame) {
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

TEST_F(CameraCaptureTest, StopsWhileItWaitsForRoom) {
  writer_ = std::make_shared<CollectingWriter>(1);
  CameraCapture& capture = Start(MakeScript(4));
  writer_->WaitUntilRefused();
  capture.Stop();
  EXPECT_EQ(writer_->frames().size(), 1u);
  EXPECT_FALSE(writer_->end().has_value());
  EXPECT_FALSE(writer_->has_room_callback());
}

TEST_F(CameraCaptureTest, StopsWhileTheSourceWaitsAndWritesNoEndOfIt) {
  auto script = MakeScript(2);
  script->items.pop_back();
  CameraCapture& capture = Start(script);
  script->WaitUntilWaiting();
  capture.Stop();
  EXPECT_EQ(writer_->frames().size(), 2u);
  EXPECT_FALSE(writer_->end().has_value());
}

TEST_F(CameraCaptureTest, StopsWhileTheSourceIsBeingOpened) {
  auto script = MakeScript(2);
  script->open_waits = true;
  CameraCapture& capture = Start(script);
  script->WaitUntilWaiting();
  EXPECT_EQ(opened_, -1);
  capture.Stop();
  EXPECT_EQ(writer_->frames().size(), 0u);
}

TEST_F(CameraCaptureTest, WritesNothingOfASourceThatCannotBeOpened) {
  auto script = MakeScript(2);
  script->info.error_code = 7;
  Start(script).Stop();
  EXPECT_EQ(opened_, 7);
  EXPECT_TRUE(writer_->frames().empty());
  EXPECT_FALSE(writer_->end().has_value());
}

TEST_F(CameraCaptureTest, EndsWhenNobodyCanReadAnyMore) {
  writer_->Close();
  auto script = MakeScript(3);
  Start(script).Stop();
  EXPECT_EQ(*delivered_, 0u);
}

TEST_F(CameraCaptureTest, TheWriterBecomesTheOnlyOwnerOfAFrame) {
  Start(MakeScript(3));
  writer_->WaitForEnd();
  EXPECT_EQ(writer_->most_owners(), 1);
}

TEST_F(CameraCaptureTest, SetsThePolicyOfTheSourceOnItsFrames) {
  auto script = MakeScript(1);
  script->policy.delivery = FrameDelivery::kLive;
  Start(script);
  writer_->WaitForEnd();
  EXPECT_EQ(writer_->frames()[0].info().delivery, FrameDelivery::kLive);
  EXPECT_FALSE(writer_->has_room_callback());
}

TEST_F(CameraCaptureTest, StampsTheTimeOfDeliveryUnlessTheSourceKnowsIt) {
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

TEST_F(CameraCaptureTest, HoldsPacedFramesBackUntilTheirTimeFromTheFirstOneOn) {
  const auto clock = std::make_shared<JumpingClock>();
  clock_ = clock;
  auto script = MakeScript(4, 25);
  script->policy = {.delivery = FrameDelivery::kLive, .paced = true};
  script->items.pop_front();  // So that the first frame's time stamp is not 0.
  Start(script);
  writer_->WaitForEnd();
  EXPECT_THAT(clock->waits(), ElementsAre(milliseconds(40), milliseconds(80)));
}

TEST_F(CameraCaptureTest, StopsWhileAFrameIsHeldBack) {
  const auto clock = std::make_shared<StandingClock>();
  clock_ = clock;
  auto script = MakeScript(4);
  script->policy = {.delivery = FrameDelivery::kLive, .paced = true};
  CameraCapture& capture = Start(script);
  clock->WaitUntilWaiting();
  capture.Stop();
  EXPECT_THAT(NumbersOf(writer_->frames()), ElementsAre(0));
}

TEST_F(CameraCaptureTest, DropsEvenlyToTheAskedRateAndLeavesNoGaps) {
  Start(MakeScript(9, 30), {.frame_rate = 10});
  writer_->WaitForEnd();
  EXPECT_THAT(NumbersOf(writer_->frames()), ElementsAre(0, 3, 6));
  EXPECT_THAT(SequencesOf(writer_->frames()), ElementsAre(0, 1, 2));
  EXPECT_EQ(writer_->frames()[1].info().timestamp, milliseconds(100));
}

TEST_F(CameraCaptureTest, KeepsTheGapsThatTheSourceReports) {
  auto script = MakeScript(4);
  script->items.erase(script->items.begin() + 1);
  Start(script);
  writer_->WaitForEnd();
  EXPECT_THAT(SequencesOf(writer_->frames()), ElementsAre(0, 2, 3));
}

TEST_F(CameraCaptureTest, AppliesANewRateAndSizeToTheFramesThatFollow) {
  writer_ = std::make_shared<CollectingWriter>(1);
  auto script = MakeScript(7, 30);
  CameraCapture& capture = Start(script, {.size = {32, 18}});
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

TEST_F(CameraCaptureTest, GoesOnAfterNothing) {
  auto script = MakeScript(2);
  script->items.insert(script->items.begin() + 1, std::monostate());
  Start(script);
  writer_->WaitForEnd();
  EXPECT_THAT(NumbersOf(writer_->frames()), ElementsAre(0, 1));
}

}  // namespace
}  // namespace movra::media
