// The virtual camera, and the cover image that is shown instead of camera pictures.

#include <utility>

#include "video/producer/producer_support.h"
#include "video/producer/video_producer2_impl.h"

namespace movra::video {

using producer_support::CheckMainQueue;
using producer_support::FindCameraService;
using producer_support::kInfo;
using producer_support::kRequester;

void VideoProducer2Impl::StartVirtualCameraInternal(
    const CameraParams& params, movra_base::OnceCallback<void(int, int)>&& on_started) {
  CheckMainQueue();
  preprocessor_->SetCoverImageParams(nullptr);
  if (!capture_output_track_) {
    capture_output_track_ = IPixelFrameTrack::Create("VirtualCaptureOutputTrack", 1);
  }
  const auto service = FindCameraService();
  if (!service || !capture_output_track_) return;
  service->StartCapture(kRequester, params, capture_output_track_->GetWriter(),
                        std::move(on_started));
}

void VideoProducer2Impl::StopVirtualCameraInternal() {
  CheckMainQueue();
  if (capture_status_ == CaptureStatus::kStopped) {
    MOVRA_PRODUCER_LOG(kInfo) << "Already stop.";
    return;
  }
  const auto service = FindCameraService();
  if (service && capture_output_track_ && virtual_camera_params_.has_value()) {
    service->StopCapture(virtual_camera_params_.value(), capture_output_track_->GetWriter(), {});
  }
}

void VideoProducer2Impl::SetCoverImageParams(std::shared_ptr<VideoCoverImageParams> params) {
  CheckMainQueue();
  if (!params) {
    preprocessor_->SetCoverImageParams(nullptr);
    return;
  }
  MOVRA_PRODUCER_LOG(kInfo) << "Set cover image with params:" << params->ToString();
  UpdateCameraParamsByCoverImageIfNeed(params);
  ReprocessCoverImage(*params);
}

void VideoProducer2Impl::UpdateCameraParamsByCoverImageIfNeed(
    std::shared_ptr<VideoCoverImageParams> params) {
  if (capture_status_ != CaptureStatus::kStarted || source_type_ != VideoSourceType::kCamera ||
      !camera_params_.has_value()) {
    return;
  }
  const auto service = FindCameraService();
  if (!service) return;
  // Only what changes: an absent field leaves the running camera's setting alone.
  CameraParams update;
  update.cover_image = params->image;
  update.camera_id = camera_params_->camera_id;
  service->UpdateCaptureParams(update);
}

void VideoProducer2Impl::ReprocessCoverImage(const VideoCoverImageParams& params) {
  preprocessor_->SetCoverImageParams(nullptr);
  if (capture_status_ != CaptureStatus::kStarted ||
      source_type_ == VideoSourceType::kVirtualCamera) {
    return;
  }
  auto copy = std::make_shared<VideoCoverImageParams>();
  copy->image = params.image;
  copy->image_option = params.image_option;
  preprocessor_->SetCoverImageParams(std::move(copy));
}

}  // namespace movra::video
