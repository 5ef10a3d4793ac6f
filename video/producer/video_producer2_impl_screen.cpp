// Screen sharing: starting and stopping the capturer, its window lists and its events.

#include "video/producer/producer_support.h"
#include "video/producer/video_producer2_impl.h"
#include "video/to_string.h"

namespace movra::video {

using producer_support::CheckMainQueue;
using producer_support::kAlreadyStarted;
using producer_support::kInfo;

void VideoProducer2Impl::StartCapture(const DesktopScreenParams& params) {
  CheckMainQueue();
  MOVRA_PRODUCER_LOG(kInfo) << "Start desktop screen capture with params:" << params.ToString();
  if (!IsNeedStartCapture()) {
    MOVRA_PRODUCER_LOG(kInfo) << kAlreadyStarted << VideoSourceTypeToString(source_type_);
    return;
  }
  desktop_screen_params_ = params;
  StartCaptureInternal({});
}

void VideoProducer2Impl::StartCapture(const MobileScreenParams& params) {
  CheckMainQueue();
  MOVRA_PRODUCER_LOG(kInfo) << "Start mobile screen capture with params:" << params.ToString();
  if (!IsNeedStartCapture()) {
    MOVRA_PRODUCER_LOG(kInfo) << kAlreadyStarted << VideoSourceTypeToString(source_type_);
    return;
  }
  mobile_screen_params_ = params;
  StartCaptureInternal({});
}

bool VideoProducer2Impl::PrepareScreenSharing() {
  CheckMainQueue();
  const std::shared_ptr<IScreenSharing::Client> self = shared_from_this();
  if (screen_sharing_) screen_sharing_->SetClient(self);
  if (!capture_output_track_) {
    capture_output_track_ = IPixelFrameTrack::Create("ScreenOutputTrack", 1);
  }
  if (!screen_sharing_ || !capture_output_track_) return false;
  screen_sharing_->AddOutputWriter(capture_output_track_->GetWriter());
  return true;
}

void VideoProducer2Impl::StartDesktopScreenSharing() {
  if (PrepareScreenSharing()) screen_sharing_->StartDesktopCapture(desktop_screen_params_.value());
}

void VideoProducer2Impl::StartMobileScreenSharing() {
  if (PrepareScreenSharing()) screen_sharing_->StartMobileCapture(mobile_screen_params_.value());
}

void VideoProducer2Impl::StopScreenSharing() {
  CheckMainQueue();
  if (!screen_sharing_) return;
  if (capture_output_track_) {
    screen_sharing_->RemoveOutputWriter(capture_output_track_->GetWriter());
  }
  screen_sharing_->Stop();
}

std::vector<ScreenSourceInfo> VideoProducer2Impl::GetScreenShareSourceList(
    const Size& thumbnail_size, const Size& icon_size) {
  CheckMainQueue();
  if (!screen_sharing_) return {};
  return IScreenSharing::GetSourceList(thumbnail_size, icon_size);
}

void VideoProducer2Impl::AddExcludedShareWindow(long window) {
  CheckMainQueue();
  if (screen_sharing_) screen_sharing_->AddExcludedShareWindow(window);
}

void VideoProducer2Impl::RemoveExcludedShareWindow(long window) {
  CheckMainQueue();
  if (screen_sharing_) screen_sharing_->RemoveExcludedShareWindow(window);
}

void VideoProducer2Impl::RemoveAllExcludedShareWindow() {
  CheckMainQueue();
  if (screen_sharing_) screen_sharing_->RemoveAllExcludedShareWindow();
}

void VideoProducer2Impl::AddIncludedShareWindow(long window) {
  CheckMainQueue();
  if (screen_sharing_) screen_sharing_->AddIncludedShareWindow(window);
}

void VideoProducer2Impl::RemoveIncludedShareWindow(long window) {
  CheckMainQueue();
  if (screen_sharing_) screen_sharing_->RemoveIncludedShareWindow(window);
}

void VideoProducer2Impl::RemoveAllIncludedShareWindow() {
  CheckMainQueue();
  if (screen_sharing_) screen_sharing_->RemoveAllIncludedShareWindow();
}

void VideoProducer2Impl::OnScreenSharingError(long source, VideoScreenSharingError error) {
  CheckMainQueue();
  if (const auto client = client_.lock()) client->OnScreenSharingError(this, source, error);
}

void VideoProducer2Impl::OnScreenSharingStarted(long source) {
  CheckMainQueue();
  if (const auto client = client_.lock()) client->OnScreenSharingStarted(this, source);
}

void VideoProducer2Impl::OnScreenSharingStopped(long source,
                                                VideoScreenSharingStoppedReason reason) {
  CheckMainQueue();
  if (const auto client = client_.lock()) client->OnScreenSharingStopped(this, source, reason);
}

void VideoProducer2Impl::OnScreenSharingPaused(long source, VideoScreenSharingPausedReason reason) {
  CheckMainQueue();
  if (const auto client = client_.lock()) client->OnScreenSharingPaused(this, source, reason);
}

void VideoProducer2Impl::OnScreenSharingResumed(long source,
                                                VideoScreenSharingResumedReason reason) {
  CheckMainQueue();
  if (const auto client = client_.lock()) client->OnScreenSharingResumed(this, source, reason);
}

void VideoProducer2Impl::OnScreenSharingFirstFrame(long source, long long elapsed_ms) {
  CheckMainQueue();
  if (const auto client = client_.lock()) {
    client->OnScreenSharingFirstFrame(this, source, elapsed_ms);
  }
}

void VideoProducer2Impl::OnWindowCovered(long source) {
  CheckMainQueue();
  if (const auto client = client_.lock()) client->OnWindowCovered(this, source);
}

// Wanted: the capture follows the window by itself, and the client has no use for the event.
void VideoProducer2Impl::OnScreenSharingWindowSizeChanged(long /*source*/, const Size& /*size*/) {}

void VideoProducer2Impl::OnCapturerModeChange(long source, CapturerMode from, CapturerMode to) {
  CheckMainQueue();
  if (const auto client = client_.lock()) client->OnCapturerModeChange(this, source, from, to);
}

}  // namespace movra::video
