// The registries of the process: under which keys and ids the producer is found there and looks.

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "core/notification_center.h"
#include "core/service_center.h"
#include "video/producer/capture_test_fixture.h"

namespace movra::video {
namespace {

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;

class Subscriptions : public CaptureTest {
 protected:
  Subscriptions() { journal().LeaveOut(~unsigned{testing::Journal::kRegistry}); }
};

TEST_F(Subscriptions, AreMadeToTheDeviceStateAndThenToTheAutoFocus) {
  const auto producer = MakeProducer();
  EXPECT_THAT(EntriesOf([&] { producer->StartCapture(Camera(), {}); }),
              ElementsAre(kSubscribeDeviceState, kSubscribeAutoFocus));
}

TEST_F(Subscriptions, EndInTheOrderInWhichTheyWereMade) {
  const auto producer = MakeCapturingProducer();
  EXPECT_THAT(EntriesOf([&] { producer->StopCapture({}); }),
              ElementsAre(kUnsubscribeDeviceState, kUnsubscribeAutoFocus));
}

TEST_F(Subscriptions, EndOnceMoreWithEveryTearingDownOfACamera) {
  const auto producer = MakeProducer();
  const auto expected = ElementsAre(kUnsubscribeDeviceState, kUnsubscribeAutoFocus);
  EXPECT_THAT(EntriesOf([&] { producer->EnableCustomCapturing(true); }), expected);
  EXPECT_THAT(EntriesOf([&] { producer->Uninitialize(); }), expected);
}

// A camera service under every id around the right one, each named by its id.
class LookUps : public CaptureTest {
 protected:
  LookUps() {
    for (int id = 0; id < 64; ++id) {
      services_.push_back(
          env().Make<testing::CameraServiceDouble>("service@" + std::to_string(id)));
      core::ServiceCenter::Instance().SetService(core::ServiceId{id},
                                                 std::shared_ptr<ICameraService>(services_.back()));
    }
  }

  // The calls of services that the action makes.
  template <class Action>
  [[nodiscard]] std::vector<std::string> CallsOf(Action&& action) {
    std::vector<std::string> entries = EntriesOf(action);
    EXPECT_THAT(entries, Not(Contains(HasSubstr("MakeService"))));
    std::erase_if(entries, [](const std::string& entry) { return !entry.starts_with("service@"); });
    return entries;
  }

 private:
  std::vector<std::shared_ptr<testing::CameraServiceDouble>> services_;
};

TEST_F(LookUps, OfTheCameraServiceAreMadeUnderNine) {
  const auto producer = MakeProducer();
  EXPECT_THAT(CallsOf([&] {
                world().answers.cameras = {{"cam-2", "", "", 0}};
                producer->StartCapture(CameraOfSize(320, 180), {});
                SetBigEncodeSize(*producer, 1280, 720);
                producer->SetRenderView(testing::MakeView("view"));
                world().renderers.Last().client()->OnFocusAtPoint(1, 2, 3, 4);
                static_cast<void>(producer->GetStats(VideoStreamType::kBig));
                core::NotificationCenter::GetInstance()
                    .Publish<const CameraDeviceState&, const VideoDeviceInfo&>(
                        core::NotificationId{3}, "", CameraDeviceState::kRemoved,
                        VideoDeviceInfo{"cam-1", "", "", 0});
                producer->StopCapture({});
                producer->StartCapture(Camera("virtual:1"), {});
                producer->Uninitialize();
              }),
              AllOf(Each(StartsWith("service@9.")), SizeIs(::testing::Gt(15))));
}

}  // namespace
}  // namespace movra::video
