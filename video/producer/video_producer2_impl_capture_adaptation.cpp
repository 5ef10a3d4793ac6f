// How the big stream's encode parameters change a running capture.

#include "video/producer/capture_rules.h"
#include "video/producer/producer_support.h"
#include "video/producer/video_producer2_impl.h"
#include "video/to_string.h"

namespace movra::video {

using producer_support::CheckMainQueue;
using producer_support::FindCameraService;
using producer_support::kInfo;

namespace {

// The capture's rate only ever goes up. Answers whether it did.
bool RaiseFrameRate(movra_base::Optional<std::int32_t>& current, std::int32_t frame_rate) {
  if (current.value_or(0) >= frame_rate) return false;
  current = frame_rate;
  return true;
}

}  // namespace

void VideoProducer2Impl::UpdateCaptureParamsByEncodeParamsIfNeed(VideoStreamType type,
                                                                 const EncodeParams& params) {
  CheckMainQueue();
  if (type == VideoStreamType::kSmall || capture_status_ == CaptureStatus::kStopped) return;
  if (params.frame_rate.has_value()) UpdateCaptureFramerateIfNeed(params);
  if (!params.width.has_value() || !params.height.has_value()) return;
  if (source_type_ == VideoSourceType::kCamera) {
    UpdateCameraCaptureWidthAndHeightIfNeed();
  } else if (IsScreenSource(source_type_)) {
    UpdateScreenCaptureSizeIfNeed(params);
  }
}

void VideoProducer2Impl::UpdateCaptureFramerateIfNeed(const EncodeParams& params) {
  const std::int32_t frame_rate = params.frame_rate.value();
  if (!RaiseCaptureFrameRate(frame_rate)) return;
  MOVRA_PRODUCER_LOG(kInfo) << "Update capture frame rate:" << frame_rate
                            << " for current source type:" << VideoSourceTypeToString(source_type_);
}

bool VideoProducer2Impl::RaiseCaptureFrameRate(std::int32_t frame_rate) {
  const VideoSourceType source = source_type_;
  if (source == VideoSourceType::kCamera && camera_params_.has_value()) {
    if (!RaiseFrameRate(camera_params_->frame_rate, frame_rate)) return false;
    if (const auto service = FindCameraService()) {
      service->UpdateCaptureParams(camera_params_.value());
    }
    return true;
  }
  if (!IsScreenSource(source)) return false;
  if (mobile_screen_params_.has_value()) {
    if (!RaiseFrameRate(mobile_screen_params_->frame_rate, frame_rate)) return false;
    screen_sharing_->UpdateMobileScreenParams(mobile_screen_params_.value());
    return true;
  }
  if (desktop_screen_params_.has_value()) {
    if (!RaiseFrameRate(desktop_screen_params_->frame_rate, frame_rate)) return false;
    screen_sharing_->UpdateDesktopScreenParams(desktop_screen_params_.value());
    return true;
  }
  return false;
}

void VideoProducer2Impl::UpdateCameraCaptureWidthAndHeightIfNeed() {
  if (!camera_params_.has_value()) return;
  CameraParams& camera = camera_params_.value();
  const Size current{camera.width.value_or(0), camera.height.value_or(0)};
  const Size target = CalculateCameraCaptureSizeByInputSize(Size{});
  // Wanted: in kOwnSize the camera keeps the size that the application chose.
  if (target == current || producer_mode_ == ProducerMode::kOwnSize) return;
  MOVRA_PRODUCER_LOG(kInfo) << "Update camera capture size from " << current.ToString() << " to "
                            << target.ToString() << " in " << ProducerModeToString(producer_mode_);
  camera.width = target.width;
  camera.height = target.height;
  if (const auto service = FindCameraService()) service->UpdateCaptureParams(camera);
}

// Wanted: the size of a screen capture is never adapted.
void VideoProducer2Impl::UpdateScreenCaptureSizeIfNeed(const EncodeParams& /*params*/) {}

}  // namespace movra::video
