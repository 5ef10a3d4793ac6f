// What a producer on the real collaborators tells: of its encoders by events, of its cameras by
// notifications.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "app/encoder_error_client.h"
#include "app/producer_e2e_for_test.h"
#include "core/location.h"
#include "core/notification_center.h"
#include "media/capture/camera_error.h"
#include "media/encode/encode_for_test.h"

namespace movra::app {
namespace {

using media::PacketRecorder;
using ::testing::HasSubstr;
using ::testing::SizeIs;
using ::testing::StartsWith;
using video::CaptureEnd;
using video::CaptureEndKind;

struct Change {
  video::EncoderProperty from;
  video::EncoderProperty to;
  EventMsg message;
};

class PropertyClient final : public EncoderErrorClient {
 public:
  PropertyClient() : EncoderErrorClient([](auto...) {}) {}
  void OnEncoderPropertyChanged(video::IVideoProducer2*, video::VideoStreamType,
                                const video::EncoderProperty& from,
                                const video::EncoderProperty& to,
                                const EventMsg& message) override {
    changes.push_back({from, to, message});
  }
  std::vector<Change> changes;
};

TEST_F(ProducerE2e, AChangedPropertyIsToldWithATextOfWhatTheEncoderWasBefore) {
  const auto producer = MakeProducer();
  const auto client = std::make_shared<PropertyClient>();
  producer->SetClient(client);
  const auto big = std::make_shared<PacketRecorder>();
  StartEncoder(*producer, kBig, Params({320, 180}, 30, 150'000), big);
  StartCamera(*producer, "test:?frames=40&size=320x180&rate=30&lossless");
  big->WaitForPackets(2);
  big->HoldNextWrite();
  big->WaitUntilHeld();
  OnMainQueue([&] { producer->SetEncoderParams(kBig, Params({160, 90}, 30, 150'000)); });
  big->Release();
  big->WaitForEnd();
  OnMainQueue([] {});

  ASSERT_THAT(client->changes, SizeIs(2));
  const Change& opened = client->changes[0];
  EXPECT_EQ(opened.from, video::EncoderProperty());
  EXPECT_EQ(opened.to.codec, static_cast<int>(video::VideoCodec::kH264));
  EXPECT_EQ(opened.to.size, (std::int64_t{320} << 32) | 180);
  EXPECT_THAT(opened.to.implementation, StartsWith("libx264 "));
  EXPECT_EQ(opened.message.text,
            "event=encode_property_changed stream=kBig codec=0 size=0x0 implementation=");
  EXPECT_EQ(opened.message.detail, "");
  const Change& resized = client->changes[1];
  EXPECT_EQ(resized.from, opened.to);
  EXPECT_EQ(resized.to.size, (std::int64_t{160} << 32) | 90);
  EXPECT_EQ(resized.message.text,
            "event=encode_property_changed stream=kBig codec=1 size=320x180 implementation=" +
                opened.to.implementation);
  EXPECT_EQ(resized.message.detail, "");
}

struct Listener {
  void OnEnded(const CaptureEnd& end) { ends.push_back(end); }
  std::vector<CaptureEnd> ends;
};

class CaptureNewsE2e : public ProducerE2e {
 protected:
  CaptureNewsE2e() {
    core::SubscribeEvent<std::function<void(const CaptureEnd&)>>(
        video::kCaptureEndedNotification, "", core::Location(__FILE__, __LINE__), listener_,
        &Listener::OnEnded);
  }
  ~CaptureNewsE2e() override { core::NotificationCenter::GetInstance().Clear(); }

  const std::vector<CaptureEnd>& ends() const { return listener_->ends; }

 private:
  const std::shared_ptr<Listener> listener_ = std::make_shared<Listener>();
};

TEST_F(CaptureNewsE2e, ACameraThatCannotBeStartedIsToldAndCountsAsCapturing) {
  const auto producer = MakeProducer();
  StartCamera(*producer, "file:/nowhere/talk.mp4");
  while (ends().empty()) OnMainQueue([] {});
  ASSERT_THAT(ends(), SizeIs(1));
  EXPECT_EQ(ends()[0].kind, CaptureEndKind::kNotStarted);
  EXPECT_EQ(ends()[0].error_code, static_cast<int>(media::CameraError::kNoSuchFile));
  EXPECT_THAT(ends()[0].text, HasSubstr("/nowhere/talk.mp4"));
  EXPECT_TRUE(producer->IsCapturing());
}

TEST_F(CaptureNewsE2e, ASourceThatHasEndedCountsAsCapturingUntilItIsStopped) {
  const auto producer = MakeProducer();
  const auto big = std::make_shared<PacketRecorder>();
  StartEncoder(*producer, kBig, Params({320, 180}, 30, 150'000), big);
  StartCamera(*producer, "test:?frames=4&size=320x180&lossless");
  big->WaitForEnd();
  OnMainQueue([] {});
  ASSERT_THAT(ends(), SizeIs(1));
  EXPECT_EQ(ends()[0].kind, CaptureEndKind::kEnded);
  EXPECT_EQ(ends()[0].text, "");
  EXPECT_TRUE(producer->IsCapturing());
  OnMainQueue([&] { producer->StopCapture({}); });
  EXPECT_FALSE(producer->IsCapturing());
}

}  // namespace
}  // namespace movra::app
