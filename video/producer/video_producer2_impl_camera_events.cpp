// Device and auto-focus notifications of the camera in use.

#include <string>
#include <utility>

#include "core/location.h"
#include "core/notification_center.h"
#include "video/producer/producer_support.h"
#include "video/producer/video_producer2_impl.h"

namespace movra::video {

using producer_support::CheckMainQueue;
using producer_support::FindCameraService;
using producer_support::kSourceFile;

namespace {

// Both notifications are published without an event name.
const std::string kNoEvent;

constexpr int kDeviceStateLocation = 352;
constexpr int kAutoFocusLocation = 354;

}  // namespace

void VideoProducer2Impl::SubscribeCameraEvent() {
  CheckMainQueue();
  const auto self = shared_from_this();
  core::SubscribeEvent<std::function<void(const CameraDeviceState&, const VideoDeviceInfo&)>>(
      kCameraDeviceStateNotification, kNoEvent, core::Location(kSourceFile, kDeviceStateLocation),
      self, &VideoProducer2Impl::OnCameraDeviceStateChange);
  core::SubscribeEvent<std::function<void(const std::string&, bool)>>(
      kCameraAutoFocusNotification, kNoEvent, core::Location(kSourceFile, kAutoFocusLocation), self,
      &VideoProducer2Impl::OnCameraAutoFocusEnabled);
}

void VideoProducer2Impl::UnSubscribeCameraEvent() {
  CheckMainQueue();
  auto& center = core::NotificationCenter::GetInstance();
  const auto self = shared_from_this();
  center.UnsubscribeEvent(kCameraDeviceStateNotification, kNoEvent, self);
  center.UnsubscribeEvent(kCameraAutoFocusNotification, kNoEvent, self);
}

void VideoProducer2Impl::OnCameraDeviceStateChange(const CameraDeviceState& state,
                                                   const VideoDeviceInfo& info) {
  CheckMainQueue();
  if (!FindCameraService() || source_type_ != VideoSourceType::kCamera) return;
  const auto devices =
      ICameraService::GetCameraDeviceList(CameraListInterface::GetCameraListMode::kAll);
  if (state == CameraDeviceState::kRemoved) {
    if (devices.empty() || !camera_params_.has_value() ||
        camera_params_->camera_id != info.device_id) {
      return;
    }
    // Wanted: the old camera is then stopped under the new one's id.
    camera_params_->camera_id = devices.front().device_id;
  } else if (state != CameraDeviceState::kAdded || devices.size() != 1) {
    return;
  }
  // Wanted: the stop ends both subscriptions and the restart makes none, so no further device
  // event is heard until the next full start.
  StopCamera({});
  StartCamera(camera_params_.value(),
              movra_base::BindOnce(&VideoProducer2Impl::OnCaptureStarted, shared_from_this()));
}

void VideoProducer2Impl::OnCameraAutoFocusEnabled(const std::string& /*device_id*/, bool enabled) {
  if (local_renderer_) local_renderer_->EnableManualFocus(!enabled);
}

}  // namespace movra::video
