// Whose the callbacks are that the capture's operations take: theirs from their first step on, also
// where the application hands over a variable that it keeps. So a callback that nobody takes ends
// before the operation returns, and never with the application's variable.

#include <functional>
#include <ostream>
#include <string>
#include <utility>

#include "video/producer/capture_test_fixture.h"

namespace movra::video {
namespace {

using ::testing::Contains;
using ::testing::Values;

constexpr char kQueueCheck[] = "main_queue.IsCurrent()";

class OwnedCallback : public CaptureTest {
 protected:
  // Hands a variable to the operation, and looks at it when the operation begins and ends.
  template <class Signature, class Operation>
  void ExpectTakenByAndEndedIn(const Operation& operation) {
    auto callback = env().Callback<Signature>("callback");
    bool was_taken = false;
    AtEntry(kQueueCheck, [&] { was_taken = !callback; });
    EXPECT_THAT(EntriesOf([&] { operation(std::move(callback)); }), Contains("~callback"));
    EXPECT_TRUE(was_taken);
  }
  void ExpectTakenByStart(VideoProducer2Impl& producer, const CameraParams& params) {
    ExpectTakenByAndEndedIn<void(int, int)>(
        [&](auto&& callback) { producer.StartCapture(params, std::move(callback)); });
  }
  void ExpectTakenByStop(VideoProducer2Impl& producer) {
    ExpectTakenByAndEndedIn<void()>(
        [&](auto&& callback) { producer.StopCapture(std::move(callback)); });
  }
};

TEST_F(OwnedCallback, OfAStartThatIsRefused) {
  const auto producer = MakeCapturingProducer();
  ExpectTakenByStart(*producer, Camera());
  ExpectTakenByStart(*producer, Camera("virtual:1"));
}

TEST_F(OwnedCallback, OfAStartWithoutACameraService) {
  env().LoseCameraService();
  ExpectTakenByStart(*MakeProducer(), Camera());
  ExpectTakenByStart(*MakeProducer(), Camera("virtual:1"));
}

TEST_F(OwnedCallback, OfAStartWithoutATrack) {
  world().answers.makes_track = false;
  ExpectTakenByStart(*MakeProducer(), Camera());
}

// The screen that stayed behind is started, and it has no callback.
TEST_F(OwnedCallback, OfAVirtualCamerasStartThatStartsAScreen) {
  const auto producer = MakeProducer();
  producer->StartCapture(Desktop());
  LeaveSourceBehind(*producer);
  ExpectTakenByStart(*producer, Camera("virtual:1"));
}

TEST_F(OwnedCallback, OfAStopWhileStopped) { ExpectTakenByStop(*MakeProducer()); }

TEST_F(OwnedCallback, OfAStopOfAScreen) {
  const auto producer = MakeProducer();
  producer->StartCapture(Desktop());
  ExpectTakenByStop(*producer);
}

TEST_F(OwnedCallback, OfAStopWithoutACameraService) {
  const auto producer = MakeCapturingProducer();
  env().LoseCameraService();
  ExpectTakenByStop(*producer);
}

}  // namespace
}  // namespace movra::video
