#include "media/camera/camera_capture.h"

#include <future>
#include <thread>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/no_more_threads_for_test.h"
#include "media/camera/camera_error.h"
#include "media/camera/capture_for_test.h"
#include "media/track/bounded_track.h"
#include "media/track/frame_counts.h"

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
  ~CameraCaptureTest() override {
    if (capture_ != nullptr) StopAndWait(*capture_);
  }

  CameraCapture& MakeInto(std::shared_ptr<video::IPixelFrameTrackWriter> writer,
                          std::shared_ptr<SourceScript> script,
                          const CaptureRequest& request = {}) {
    capture_ = std::make_shared<CameraCapture>(
        movra_base::BindOnce(
            [script = std::move(script)]() mutable -> std::unique_ptr<CameraSource> {
              return std::make_unique<ScriptedSource>(std::move(script));
            }),
        std::move(writer), request, clock_, delivered_);
    return *capture_;
  }
  CameraCapture& Make(std::shared_ptr<SourceScript> script) {
    return MakeInto(writer_, std::move(script));
  }

  CameraCapture& StartInto(std::shared_ptr<video::IPixelFrameTrackWriter> writer,
                           std::shared_ptr<SourceScript> script,
                           const CaptureRequest& request = {}) {
    EXPECT_TRUE(MakeInto(std::move(writer), std::move(script), request).Start(Opened()));
    return *capture_;
  }
  CameraCapture& Start(std::shared_ptr<SourceScript> script, const CaptureRequest& request = {}) {
    return StartInto(writer_, std::move(script), request);
  }

  [[nodiscard]] CameraCapture::OpenedCallback Opened() const {
    return [opened = opened_](const CameraInfo& info) { *opened = info.error_code; };
  }

  // With all that the capture's thread may still do.
  static void StopAndWait(CameraCapture& capture) {
    capture.Stop();
    WaitFor(capture.camera_let_go());
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
  std::shared_ptr<std::atomic<int>> opened_ = std::make_shared<std::atomic<int>>(-1);
  std::shared_ptr<CameraCapture> capture_;
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
  EXPECT_EQ(*opened_, 0);
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
  StopAndWait(capture);
  EXPECT_EQ(writer_->frames().size(), 1u);
  EXPECT_FALSE(writer_->end().has_value());
  EXPECT_FALSE(writer_->has_room_callback());
}

TEST_F(CameraCaptureTest, StopsWhileTheSourceWaitsAndWritesNoEndOfIt) {
  auto script = MakeScript(2);
  script->items.pop_back();
  CameraCapture& capture = Start(script);
  script->WaitUntilWaiting();
  StopAndWait(capture);
  EXPECT_EQ(writer_->frames().size(), 2u);
  EXPECT_FALSE(writer_->end().has_value());
}

TEST_F(CameraCaptureTest, StopsWhileTheSourceIsBeingOpened) {
  auto script = MakeScript(2);
  script->open_waits = true;
  CameraCapture& capture = Start(script);
  script->WaitUntilWaiting();
  EXPECT_EQ(*opened_, -1);
  StopAndWait(capture);
  EXPECT_EQ(writer_->frames().size(), 0u);
}

TEST_F(CameraCaptureTest, WritesNothingOfASourceThatCannotBeOpened) {
  auto script = MakeScript(2);
  script->info.error_code = 7;
  WaitFor(Start(script).camera_let_go());
  EXPECT_EQ(*opened_, 7);
  EXPECT_TRUE(writer_->frames().empty());
  EXPECT_FALSE(writer_->end().has_value());
}

TEST_F(CameraCaptureTest, EndsWhenNobodyCanReadAnyMore) {
  writer_->Close();
  auto script = MakeScript(3);
  WaitFor(Start(script).camera_let_go());
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
  StopAndWait(capture);
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

// The same with a track of ours, which counts.
class CountedCaptureTest : public CameraCaptureTest {
 protected:
  CountedCaptureTest() { CountInto(*track_.GetReader(), counters_); }

  CameraCapture& Start(const std::shared_ptr<SourceScript>& script,
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
  CameraCapture& capture = Start(script);
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
  CameraCapture& capture = Start(script);
  script->WaitUntilWaiting();
  capture.Stop();
  script->LetOn();
  WaitFor(capture.camera_let_go());
  EXPECT_EQ(counters_->Counts().came, 1u);
  EXPECT_EQ(counters_->Counts().of(FrameFate::kStopped), 1u);
}

TEST_F(CameraCaptureTest, StopWaitsForNoSourceAndNothingThatItStillDeliversIsWritten) {
  for (const SourceItem& late : {SourceItem(MakeSourceFrame(1)), SourceItem(StreamEnd{})}) {
    writer_ = std::make_shared<CollectingWriter>();
    auto script = MakeScript(1);
    script->items.pop_back();
    script->is_deaf = true;
    script->last_item = late;
    CameraCapture& capture = Start(script);
    script->WaitUntilWaiting();
    capture.Stop();
    EXPECT_FALSE(writer_->has_room_callback());
    WaitFor(capture.writer_let_go());
    script->LetOn();
    WaitFor(capture.camera_let_go());
    EXPECT_EQ(writer_->frames().size(), 1u);
    EXPECT_FALSE(writer_->end().has_value());
  }
}

TEST_F(CameraCaptureTest, MayEndBeforeItsSourceDoes) {
  auto script = MakeScript(1);
  script->open_waits = true;
  script->is_deaf = true;
  Start(script);
  script->WaitUntilWaiting();
  capture_->Stop();
  capture_.reset();
  writer_.reset();
  script->LetOn();
  script->WaitUntilGone();
  EXPECT_EQ(*opened_, -1) << "a start that was stopped has its answer already";
}

TEST_F(CameraCaptureTest, StopWaitsForNoWriteAndLetsGoOfTheWriterBehindIt) {
  const auto writer = std::make_shared<HeldWriter>();
  capture_ =
      std::make_shared<CameraCapture>(movra_base::BindOnce([]() -> std::unique_ptr<CameraSource> {
                                        return std::make_unique<ScriptedSource>(MakeScript(3));
                                      }),
                                      writer, CaptureRequest{}, clock_, delivered_);
  ASSERT_TRUE(capture_->Start(Opened()));
  writer->WaitUntilWriting();
  capture_->Stop();
  std::atomic<bool> let_go = false;
  capture_->writer_let_go().Then([&] { let_go = true; });
  EXPECT_FALSE(let_go);
  writer->LetOn();
  WaitFor(capture_->camera_let_go());
  EXPECT_TRUE(let_go);
  EXPECT_EQ(writer->writes(), 1);
  EXPECT_EQ(writer->ends(), 0);
}

TEST_F(CameraCaptureTest, MakesItsSourceWhenTheEarlierOnesHaveLetGo) {
  const auto clock = std::make_shared<StandingClock>();
  clock_ = clock;
  Release first;
  Release second;
  auto script = MakeScript(1);
  script->policy.paced = false;
  CameraCapture& capture = Make(script);
  capture.WaitFor(first);
  capture.WaitFor(second);
  first.Done();
  ASSERT_TRUE(capture.Start(Opened()));
  clock->WaitUntilWaiting();
  EXPECT_EQ(*opened_, -1);
  EXPECT_TRUE(script->IsGone());
  second.Done();
  writer_->WaitForEnd();
  EXPECT_EQ(*opened_, 0);
}

TEST_F(CameraCaptureTest, IsBusyWhenTheEarlierOneKeepsItsCameraForFiveSeconds) {
  const auto clock = std::make_shared<JumpingClock>();
  clock_ = clock;
  Release earlier;
  CameraCapture& capture = Make(MakeScript(1));
  capture.WaitFor(earlier);
  ASSERT_TRUE(capture.Start(Opened()));
  WaitFor(capture.camera_let_go());
  EXPECT_EQ(*opened_, static_cast<int>(CameraError::kBusy));
  EXPECT_THAT(clock->waits(), ElementsAre(std::chrono::seconds(5)));
  EXPECT_TRUE(writer_->frames().empty());
  earlier.Done();
}

TEST_F(CameraCaptureTest, MakesNoSourceOnceItIsStopped) {
  const auto clock = std::make_shared<StandingClock>();
  clock_ = clock;
  Release earlier;
  auto script = MakeScript(1);
  CameraCapture& capture = Make(script);
  capture.WaitFor(earlier);
  ASSERT_TRUE(capture.Start(Opened()));
  clock->WaitUntilWaiting();
  StopAndWait(capture);
  EXPECT_TRUE(script->requests.empty());
  EXPECT_EQ(*opened_, -1);
}

TEST_F(CameraCaptureTest, InterruptsASourceThatIsMadeBehindTheStop) {
  const auto script = MakeScript(0);
  script->items.clear();
  script->open_waits = true;
  std::promise<void> making;
  std::promise<void> stopped;
  capture_ =
      std::make_shared<CameraCapture>(movra_base::BindOnce([&]() -> std::unique_ptr<CameraSource> {
                                        making.set_value();
                                        stopped.get_future().wait();
                                        return std::make_unique<ScriptedSource>(script);
                                      }),
                                      writer_, CaptureRequest{}, clock_, delivered_);
  ASSERT_TRUE(capture_->Start(Opened()));
  making.get_future().wait();
  capture_->Stop();
  stopped.set_value();
  WaitFor(capture_->camera_let_go());
  EXPECT_TRUE(script->interrupted);
}

TEST_F(CameraCaptureTest, SaysThatThereIsNoSuchCameraWhenNoneIsMade) {
  capture_ = std::make_shared<CameraCapture>(
      movra_base::BindOnce([]() -> std::unique_ptr<CameraSource> { return nullptr; }), writer_,
      CaptureRequest{}, clock_, delivered_);
  ASSERT_TRUE(capture_->Start(Opened()));
  WaitFor(capture_->camera_let_go());
  EXPECT_EQ(*opened_, static_cast<int>(CameraError::kNoSuchCamera));
}

TEST_F(CameraCaptureTest, IsNotStartedWhereThereIsNoThreadToBeHad) {
  const auto script = MakeScript(1);
  CameraCapture& capture = Make(script);
  {
    const core::NoMoreThreads none;
    EXPECT_FALSE(capture.Start(Opened()));
  }
  capture.Stop();
  EXPECT_EQ(*opened_, -1);
  EXPECT_TRUE(script->requests.empty());
  capture_.reset();
}

}  // namespace
}  // namespace movra::media
