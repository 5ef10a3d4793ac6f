// The fixture of the tests of the capture side.

#ifndef MOVRA_VIDEO_PRODUCER_CAPTURE_TEST_FIXTURE_H_
#define MOVRA_VIDEO_PRODUCER_CAPTURE_TEST_FIXTURE_H_

#include <cstdint>
#include <memory>
#include <string>

#include "core/notification_center.h"
#include "video/producer/producer_test_fixture.h"

namespace movra::video {

// The producer at the registry of notifications; journal().LeaveOut(0) shows it.
inline constexpr char kSubscribeDeviceState[] = "NotificationCenter.SubscribeEvent(3:, producer)";
inline constexpr char kSubscribeAutoFocus[] = "NotificationCenter.SubscribeEvent(44:, producer)";
inline constexpr char kUnsubscribeDeviceState[] =
    "NotificationCenter.UnsubscribeEvent(3:, producer)";
inline constexpr char kUnsubscribeAutoFocus[] =
    "NotificationCenter.UnsubscribeEvent(44:, producer)";

class CaptureTest : public ProducerTest {
 protected:
  [[nodiscard]] static CameraParams Camera(const std::string& id = "cam-1") {
    CameraParams params;
    params.camera_id = id;
    return params;
  }
  [[nodiscard]] static CameraParams CameraOfSize(std::int32_t width, std::int32_t height) {
    CameraParams params = Camera();
    params.width = width;
    params.height = height;
    return params;
  }
  [[nodiscard]] static DesktopScreenParams Desktop(std::int32_t frame_rate = 15) {
    DesktopScreenParams params;
    params.frame_rate = frame_rate;
    return params;
  }
  [[nodiscard]] static MobileScreenParams Mobile(std::int32_t frame_rate = 10) {
    MobileScreenParams params;
    params.frame_rate = frame_rate;
    return params;
  }

  // A producer that captures from the camera.
  [[nodiscard]] std::shared_ptr<VideoProducer2Impl> MakeCapturingProducer(
      const CameraParams& params = Camera()) {
    auto producer = MakeProducer();
    producer->StartCapture(params, {});
    return producer;
  }

  // Ends the capture in the producer's state alone: what the source was asked for stays behind,
  // and so does its track.
  static void LeaveSourceBehind(IVideoProducer2& producer) {
    producer.EnableCustomCapturing(false);
  }

  static void SetBigEncodeSize(IVideoProducer2& producer, std::int32_t width, std::int32_t height) {
    EncodeParams params;
    params.width = width;
    params.height = height;
    producer.SetEncoderParams(VideoStreamType::kBig, params);
  }

  // An image that tells of its end.
  [[nodiscard]] std::shared_ptr<ObjcWrapper<NSImage>> MakeMortalImage(const std::string& name) {
    return {new ObjcWrapper<NSImage>(name), [this](ObjcWrapper<NSImage>* image) {
              journal().Add(testing::Journal::kDestruction, "~" + image->name());
              delete image;
            }};
  }

  // How many listen to the two notifications of cameras.
  [[nodiscard]] static std::size_t CountDeviceObservers() {
    return core::NotificationCenter::GetInstance().ObserverCount(core::NotificationId{3}, "");
  }
  [[nodiscard]] static std::size_t CountFocusObservers() {
    return core::NotificationCenter::GetInstance().ObserverCount(core::NotificationId{44}, "");
  }

  [[nodiscard]] testing::CameraServiceDouble& camera_service() {
    return world().camera_services.Last();
  }
};

}  // namespace movra::video

#endif  // MOVRA_VIDEO_PRODUCER_CAPTURE_TEST_FIXTURE_H_
