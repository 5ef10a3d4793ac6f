// The little of the producer that other threads may touch: the state that its readers ask for while
// the main thread works, and weakly bound handlers that run while the producer dies. Worth most
// under ThreadSanitizer. Latches and barriers force the order; where it is left open, both orders
// are right.

#include <atomic>
#include <barrier>
#include <chrono>
#include <functional>
#include <latch>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "core/dispatch_queue.h"
#include "core/notification_center.h"
#include "video/producer/capture_test_fixture.h"

namespace movra::video {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ProducerThreads : public CaptureTest {
 protected:
  // The two notifications as a camera service publishes them.
  static void PublishDeviceState(CameraDeviceState state, const std::string& id) {
    VideoDeviceInfo device;
    device.device_id = id;
    core::NotificationCenter::GetInstance()
        .Publish<const CameraDeviceState&, const VideoDeviceInfo&>(kCameraDeviceStateNotification,
                                                                   "", state, device);
  }
  static void PublishAutoFocus(bool enabled) {
    core::NotificationCenter::GetInstance().Publish<const std::string&, bool>(
        kCameraAutoFocusNotification, "", "cam-1", enabled);
  }

  // What the main thread does to the state, and what a reader sees after it.
  struct Step {
    std::function<void(VideoProducer2Impl&)> work;
    bool is_capturing;
    VideoSourceType source;
  };
  [[nodiscard]] static std::vector<Step> Steps() {
    using P = VideoProducer2Impl;
    using enum VideoSourceType;
    return {{[](P& p) { p.StartCapture(Camera(), {}); }, true, kCamera},
            {[](P& p) { p.PauseCapture(); }, false, kCamera},
            {[](P& p) { p.ResumeCapture(); }, true, kCamera},
            {[](P& p) { p.StopCapture({}); }, false, kNone},
            {[](P& p) { p.StartCapture(Desktop()); }, true, kScreen},
            {[](P& p) { p.EnableCustomCapturing(true); }, true, kCustom},
            {[](P& p) { p.EnableCustomCapturing(false); }, false, kNone},
            {[](P& p) { p.StartCapture(Camera("virtual:1"), {}); }, true, kVirtualCamera},
            {[](P& p) { p.StopCapture({}); }, false, kNone}};
  }
};

TEST_F(ProducerThreads, AReaderSeesWhatTheMainThreadDidBefore) {
  const auto producer = MakeProducer();
  std::barrier turn(2);
  std::thread reader([&] {
    for (const Step& step : Steps()) {
      turn.arrive_and_wait();
      EXPECT_EQ(producer->IsCapturing(), step.is_capturing);
      EXPECT_EQ(producer->GetCurrentSourceType(), step.source);
      turn.arrive_and_wait();
    }
  });
  for (const Step& step : Steps()) {
    step.work(*producer);
    turn.arrive_and_wait();
    turn.arrive_and_wait();
  }
  reader.join();
}

TEST_F(ProducerThreads, ReadersMayAskAtAnyMoment) {
  constexpr int kReaders = 2;
  constexpr int kRounds = 50;
  const auto producer = MakeProducer();
  std::latch begun(kReaders);
  std::atomic<bool> is_done = false;
  std::atomic<int> wrong = 0;
  std::vector<std::thread> readers;
  for (int i = 0; i < kReaders; ++i) {
    readers.emplace_back([&] {
      for (bool is_first = true; is_first || !is_done; is_first = false) {
        static_cast<void>(producer->IsCapturing());
        const VideoSourceType source = producer->GetCurrentSourceType();
        if (source < VideoSourceType::kNone || source > VideoSourceType::kCustom) ++wrong;
        if (is_first) begun.count_down();
      }
    });
  }
  begun.wait();
  for (int round = 0; round < kRounds; ++round) {
    for (const Step& step : Steps()) step.work(*producer);
  }
  is_done = true;
  for (std::thread& reader : readers) reader.join();
  EXPECT_EQ(wrong, 0);
}

// A main queue at whose question a thread stops, so that a test can hold it in the midst of what it
// does.
class GatedQueue : public core::DispatchQueue {
 public:
  // Returns once somebody waits in the question.
  void WaitForQuestion() { asked_.wait(); }
  void Open() { open_.count_down(); }

  [[nodiscard]] bool IsCurrent() const override {
    if (!is_first_.exchange(false)) return false;
    asked_.count_down();
    open_.wait();
    return false;
  }
  void Post(core::Task) override {}
  void PostDelayed(core::Task, std::chrono::nanoseconds) override {}

 private:
  mutable std::atomic<bool> is_first_ = true;
  mutable std::latch asked_{1};
  mutable std::latch open_{1};
};

TEST_F(ProducerThreads, AHandlerKeepsItsProducerUntilItReturns) {
  auto producer = MakeCapturingProducer();
  const auto gate = std::make_shared<GatedQueue>();
  const auto previous = core::SetMainQueue(gate);
  journal().Clear();
  std::thread camera([] { PublishDeviceState(CameraDeviceState::kOpened, "cam-1"); });
  gate->WaitForQuestion();
  producer.reset();
  EXPECT_THAT(journal().Take(), IsEmpty());
  gate->Open();
  camera.join();
  core::SetMainQueue(previous);
  EXPECT_THAT(journal().Take(),
              ElementsAre("camera_service.GetSelf()", "ICameraService.GetCameraDeviceList(0)",
                          "~preprocessor", "~CameraOutputTrack", "~screen_sharing"));
}

TEST_F(ProducerThreads, ARestartFromAHandlerKeepsItsProducerUntilItIsAnswered) {
  VideoDeviceInfo other;
  other.device_id = "cam-2";
  world().answers.cameras = {other};
  auto producer = MakeCapturingProducer();
  const auto gate = std::make_shared<GatedQueue>();
  const auto previous = core::SetMainQueue(gate);
  std::thread camera([] { PublishDeviceState(CameraDeviceState::kRemoved, "cam-1"); });
  gate->WaitForQuestion();
  producer.reset();
  gate->Open();
  camera.join();
  core::SetMainQueue(previous);
  EXPECT_EQ(journal().Count(std::string_view("~preprocessor")), 0u);
  EXPECT_THAT(EntriesOf([&] { camera_service().AnswerStart(0, 15); }),
              AllOf(Contains(Info("Error code:0, elapse time:15")), Contains("~preprocessor")));
}

TEST_F(ProducerThreads, HandlersOfADeadProducerDoNothing) {
  auto producer = MakeCapturingProducer();
  producer->SetRenderView(testing::MakeView("view"));
  producer.reset();
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([] {
                std::thread([] {
                  PublishDeviceState(CameraDeviceState::kRemoved, "cam-1");
                  PublishAutoFocus(true);
                }).join();
              }),
              IsEmpty());
}

// Whoever lets go last destroys the producer: the main thread, or a handler.
TEST_F(ProducerThreads, HandlersAndTheEndOfTheProducerMayMeet) {
  constexpr int kRounds = 100;
  for (int round = 0; round < kRounds; ++round) {
    auto producer = MakeCapturingProducer();
    producer->SetRenderView(testing::MakeView("view"));
    journal().Clear();
    std::latch start(3);
    std::thread focus([&] {
      start.arrive_and_wait();
      PublishAutoFocus(true);
    });
    std::thread device([&] {
      start.arrive_and_wait();
      PublishDeviceState(CameraDeviceState::kOpened, "cam-1");
    });
    start.arrive_and_wait();
    producer.reset();
    focus.join();
    device.join();
    EXPECT_EQ(world().preprocessors.CountAlive(), 0u);
    EXPECT_EQ(world().renderers.CountAlive(), 0u);
    core::NotificationCenter::GetInstance().Clear();
  }
}

}  // namespace
}  // namespace movra::video
