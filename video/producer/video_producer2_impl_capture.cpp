// Starting, stopping, pausing and resuming a capture, of every kind of source.

#include <utility>

#include "video/platform.h"
#include "video/producer/capture_rules.h"
#include "video/producer/producer_support.h"
#include "video/producer/video_producer2_impl.h"
#include "video/to_string.h"

namespace movra::video {

using producer_support::CheckMainQueue;
using producer_support::FindCameraService;
using producer_support::kAlreadyStarted;
using producer_support::kInfo;
using producer_support::kRequester;
using producer_support::kWarning;

void VideoProducer2Impl::StartCapture(const CameraParams& params,
                                      movra_base::OnceCallback<void(int, int)>&& on_started) {
  // Owned from here, so that a callback that nobody takes is destroyed before the return.
  auto callback = std::move(on_started);
  CheckMainQueue();
  MOVRA_PRODUCER_LOG(kInfo) << "Start camera capture with params:" << params.ToString();
  if (!IsNeedStartCapture()) {
    MOVRA_PRODUCER_LOG(kInfo) << kAlreadyStarted << VideoSourceTypeToString(source_type_);
    return;
  }
  if (IsVirtualCameraId(params.camera_id)) {
    virtual_camera_params_ = params;
  } else {
    camera_params_ = params;
    const Size input{params.width.value_or(0), params.height.value_or(0)};
    const Size size = CalculateCameraCaptureSizeByInputSize(input);
    MOVRA_PRODUCER_LOG(kInfo) << "Calculate capture size with mode:"
                              << ProducerModeToString(producer_mode_)
                              << " input size:" << input.ToString()
                              << " encoder size:" << big_encode_size_.ToString()
                              << " calculate capture size:" << size.ToString();
    camera_params_->width = size.width;
    camera_params_->height = size.height;
  }
  StartCaptureInternal(std::move(callback));
}

bool VideoProducer2Impl::IsNeedStartCapture() const {
  return capture_status_ == CaptureStatus::kStopped;
}

Size VideoProducer2Impl::CalculateCameraCaptureSizeByInputSize(const Size& input) const {
  return CalculateCaptureSize(producer_mode_, input, big_encode_size_);
}

void VideoProducer2Impl::StartCaptureInternal(
    movra_base::OnceCallback<void(int, int)>&& on_started) {
  if (!StartStoredSource(std::move(on_started))) return;
  // Started means asked for: a camera reports its result later, and to the callback alone.
  capture_status_.exchange(CaptureStatus::kStarted);
  preprocessor_->StartProcessing();
  if (capture_output_track_) preprocessor_->SetInputTrackReader(capture_output_track_->GetReader());
  preprocessor_->SetSourceType(source_type_);
  preprocessor_->SetFrameAdaptiveMode(GetCalculateFrameAdaptiveMode());
}

bool VideoProducer2Impl::StartStoredSource(movra_base::OnceCallback<void(int, int)>&& on_started) {
  if (camera_params_.has_value()) {
    source_type_.exchange(VideoSourceType::kCamera);
    SubscribeCameraEvent();
    StartCamera(camera_params_.value(), std::move(on_started));
  } else if (mobile_screen_params_.has_value()) {
    source_type_.exchange(VideoSourceType::kScreen);
    StartMobileScreenSharing();
  } else if (desktop_screen_params_.has_value()) {
    source_type_.exchange(VideoSourceType::kScreen);
    StartDesktopScreenSharing();
  } else if (virtual_camera_params_.has_value()) {
    source_type_.exchange(VideoSourceType::kVirtualCamera);
    StartVirtualCameraInternal(virtual_camera_params_.value(), std::move(on_started));
  } else {
    return false;
  }
  return true;
}

void VideoProducer2Impl::StartCamera(const CameraParams& params,
                                     movra_base::OnceCallback<void(int, int)>&& on_started) {
  CheckMainQueue();
  if (!capture_output_track_) {
    capture_output_track_ = IPixelFrameTrack::Create("CameraOutputTrack", 1);
  }
  const auto service = FindCameraService();
  if (!service || !capture_output_track_) return;
  service->StartCapture(kRequester, params, capture_output_track_->GetWriter(),
                        std::move(on_started));
}

void VideoProducer2Impl::OnCaptureStarted(int error_code, int elapse_time) {
  MOVRA_PRODUCER_LOG(kInfo) << "Error code:" << error_code << ", elapse time:" << elapse_time;
}

void VideoProducer2Impl::StopCapture(movra_base::OnceCallback<void()>&& on_stopped) {
  auto callback = std::move(on_stopped);
  CheckMainQueue();
  MOVRA_PRODUCER_LOG(kInfo) << "Stop capture with source type:"
                            << VideoSourceTypeToString(source_type_);
  if (capture_status_ != CaptureStatus::kStopped) {
    StopCaptureInternal(std::move(callback));
  } else {
    MOVRA_PRODUCER_LOG(kInfo) << "Already stop.";
  }
}

void VideoProducer2Impl::StopCaptureInternal(movra_base::OnceCallback<void()>&& on_stopped) {
  CheckMainQueue();
  // Every kind of source is torn down, whichever runs.
  StopCamera(std::move(on_stopped));
  StopScreenSharing();
  StopVirtualCameraInternal();
  camera_params_.reset();
  mobile_screen_params_.reset();
  desktop_screen_params_.reset();
  virtual_camera_params_.reset();
  if (capture_output_track_) capture_output_track_->Reset();
  capture_output_track_.reset();
  source_type_.exchange(VideoSourceType::kNone);
  capture_status_.exchange(CaptureStatus::kStopped);
  preprocessor_->StopProcessing();
}

void VideoProducer2Impl::StopCamera(movra_base::OnceCallback<void()>&& on_stopped) {
  CheckMainQueue();
  const auto service = FindCameraService();
  if (service && capture_output_track_ && camera_params_.has_value()) {
    service->StopCapture(camera_params_.value(), capture_output_track_->GetWriter(),
                         std::move(on_stopped));
  }
  UnSubscribeCameraEvent();
}

void VideoProducer2Impl::PauseCapture() {
  CheckMainQueue();
  // Wanted: a pause or resume in the wrong state is reported and carried out all the same, and
  // only the screen capturer is told; a camera keeps running.
  if (capture_status_ != CaptureStatus::kStarted) {
    MOVRA_PRODUCER_LOG(kWarning) << "Invalid capture status:" << capture_status_;
  }
  screen_sharing_->Pause();
  capture_status_.exchange(CaptureStatus::kPaused);
}

void VideoProducer2Impl::ResumeCapture() {
  CheckMainQueue();
  if (capture_status_ != CaptureStatus::kPaused) {
    MOVRA_PRODUCER_LOG(kWarning) << "Invalid capture status:" << capture_status_;
  }
  screen_sharing_->Resume();
  capture_status_.exchange(CaptureStatus::kStarted);
}

bool VideoProducer2Impl::IsCapturing() {
  CheckMainQueue();
  return capture_status_ == CaptureStatus::kStarted;
}

VideoSourceType VideoProducer2Impl::GetCurrentSourceType() {
  CheckMainQueue();
  return source_type_;
}

void VideoProducer2Impl::SetProducerMode(ProducerMode mode) {
  CheckMainQueue();
  producer_mode_ = mode;
  preprocessor_->SetProducerMode(mode);
}

void VideoProducer2Impl::EnableCustomCapturing(bool enable) {
  CheckMainQueue();
  MOVRA_PRODUCER_LOG(kInfo) << (enable ? "Enable" : "Disable") << " custom capture.";
  if (!enable) {
    // Wanted: a running camera is not stopped here, only the state says so; the application pairs
    // this with enabling.
    source_type_.exchange(VideoSourceType::kNone);
    capture_status_.exchange(CaptureStatus::kStopped);
    preprocessor_->StopProcessing();
    return;
  }
  if (source_type_ == VideoSourceType::kCustom && capture_status_ == CaptureStatus::kStarted) {
    MOVRA_PRODUCER_LOG(kInfo) << "Custom capture already start!";
    return;
  }
  StopCaptureInternal({});
  source_type_.exchange(VideoSourceType::kCustom);
  capture_status_.exchange(CaptureStatus::kStarted);
  preprocessor_->StartProcessing();
}

void VideoProducer2Impl::SetCustomCaptureInputTrack(
    std::shared_ptr<IPixelFrameTrackReader> reader) {
  custom_capture_input_track_ = reader;
  CheckMainQueue();
  if (source_type_ == VideoSourceType::kCustom) preprocessor_->SetInputTrackReader(reader);
}

}  // namespace movra::video
