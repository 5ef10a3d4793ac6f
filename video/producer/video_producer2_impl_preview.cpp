// The local preview and custom rendering: their renderers, their taps on the preprocessor, the
// settings of the shown picture and the renderers' events.

#include <iomanip>
#include <ios>
#include <utility>

#include "video/producer/capture_rules.h"
#include "video/producer/producer_support.h"
#include "video/producer/video_producer2_impl.h"
#include "video/to_string.h"

namespace movra::video {

using producer_support::CheckMainQueue;
using producer_support::FindCameraService;
using producer_support::kInfo;

void VideoProducer2Impl::SetRenderView(std::shared_ptr<ObjcWrapper<NSView>> view) {
  CheckMainQueue();
  if (!view) {
    StopLocalRender();
    return;
  }
  if (local_renderer_) {
    local_renderer_->SetView(std::move(view));
  } else {
    StartLocalRender(std::move(view));
  }
  SetupLocalRendererOutputTrackToPreprocessor();
}

void VideoProducer2Impl::StartLocalRender(std::shared_ptr<ObjcWrapper<NSView>> view) {
  local_renderer_ = CreateRenderer(local_render_track_);
  if (!local_renderer_) return;
  if (local_render_track_) local_renderer_->SetInputTrack(local_render_track_->GetReader());
  local_renderer_->SetView(std::move(view));
  // What lives in the preprocessor (mirror, rotation, adaptive mode) outlives the renderer; what
  // belongs to a view is applied to each new one.
  if (fill_mode_.has_value()) local_renderer_->SetFillMode(fill_mode_.value());
  if (background_color_.has_value()) local_renderer_->SetBackgroundColor(background_color_.value());
  local_renderer_->Start();
  if (const auto service = FindCameraService()) {
    local_renderer_->EnableManualFocus(!service->IsAutoFocusEnabled());
  }
}

void VideoProducer2Impl::SetupLocalRendererOutputTrackToPreprocessor() {
  TapPreprocessorForPreview(local_renderer_, local_render_track_);
}

void VideoProducer2Impl::StopLocalRender() {
  DetachPreviewTrack(local_render_track_);
  if (!local_renderer_) return;
  local_renderer_->SetView(nullptr);
  local_renderer_->SetInputTrack(nullptr);
  local_renderer_->Stop(false);
  local_renderer_.reset();
}

void VideoProducer2Impl::EnableCustomRendering(bool enable, PixelFormat format, BufferType type,
                                               std::shared_ptr<IPixelFrameTrackWriter> writer) {
  CheckMainQueue();
  MOVRA_PRODUCER_LOG(kInfo) << (enable ? "Enable" : "Disable")
                            << " custom render with format:" << PixelFormatToString(format)
                            << ", type:" << BufferTypeToString(type);
  if (enable) {
    StartCustomRender(format, type, std::move(writer));
    SetupCustomRendererOutputTrackToPreprocessor(format, type);
  } else {
    StopCustomRender();
  }
}

void VideoProducer2Impl::StartCustomRender(PixelFormat format, BufferType type,
                                           std::shared_ptr<IPixelFrameTrackWriter> writer) {
  // Wanted: enabling twice replaces the renderer, and the old one is released without a stop.
  custom_renderer_ = CreateRenderer(custom_render_track_);
  if (!custom_renderer_) return;
  custom_renderer_->ResetRenderState();
  custom_renderer_->SetCustomRenderOutput(format, type, std::move(writer));
  if (custom_render_track_) custom_renderer_->SetInputTrack(custom_render_track_->GetReader());
  // Wanted: no background colour, for there is no view behind the frames.
  if (fill_mode_.has_value()) custom_renderer_->SetFillMode(fill_mode_.value());
  custom_renderer_->Start();
}

void VideoProducer2Impl::SetupCustomRendererOutputTrackToPreprocessor(PixelFormat /*format*/,
                                                                      BufferType /*type*/) {
  // The renderer converts; the tap takes frames as they are.
  TapPreprocessorForPreview(custom_renderer_, custom_render_track_);
}

void VideoProducer2Impl::StopCustomRender() {
  DetachPreviewTrack(custom_render_track_);
  if (!custom_renderer_) return;
  custom_renderer_->SetInputTrack(nullptr);
  custom_renderer_->Stop(false);
  custom_renderer_->ResetRenderState();
  custom_renderer_.reset();
}

std::shared_ptr<IVideoRendererController> VideoProducer2Impl::CreateRenderer(
    std::shared_ptr<IPixelFrameTrack>& track) {
  if (!track) track = IPixelFrameTrack::Create(context().log_tag(), 1);
  const std::shared_ptr<IVideoRendererController::Client> self = shared_from_this();
  return IVideoRendererController::Create(context(), self, preprocessor_queue_);
}

void VideoProducer2Impl::TapPreprocessorForPreview(
    const std::shared_ptr<IVideoRendererController>& renderer,
    const std::shared_ptr<IPixelFrameTrack>& track) {
  if (!renderer || !track) return;
  const auto writer = track->GetWriter();
  // Removed first, so that setting up again never leaves two outputs for one writer.
  preprocessor_->RemoveOutputTrack(writer);
  CustomProcessParams params;
  params.enabled = true;
  preprocessor_->AddOutputTrack(watermark_in_preview_ ? InterceptPosition::kPreviewWithWatermark
                                                      : InterceptPosition::kPreview,
                                params, writer);
}

void VideoProducer2Impl::DetachPreviewTrack(const std::shared_ptr<IPixelFrameTrack>& track) {
  if (!track) return;
  preprocessor_->RemoveOutputTrack(track->GetWriter());
  track->Reset();
}

void VideoProducer2Impl::SetCameraFocusPosition(float x, float y) {
  CheckMainQueue();
  if (local_renderer_) local_renderer_->SetCameraFocusPosition(x, y);
}

void VideoProducer2Impl::SetRenderMirror(MirrorMode mode) {
  CheckMainQueue();
  MOVRA_PRODUCER_LOG(kInfo) << "Set render mirror:" << MirrorModeToString(mode);
  preprocessor_->SetMirror(mode);
}

void VideoProducer2Impl::SetRenderRotation(VideoRotation rotation) {
  CheckMainQueue();
  MOVRA_PRODUCER_LOG(kInfo) << "Set render rotation:" << VideoRotationToString(rotation);
  preprocessor_->SetRotation(rotation);
}

void VideoProducer2Impl::SetRenderBackgroundColor(unsigned int color) {
  CheckMainQueue();
  MOVRA_PRODUCER_LOG(kInfo) << "Set render back ground color:0x" << std::hex << std::setw(8)
                            << std::setfill('0') << color;
  background_color_ = color;
  if (local_renderer_) local_renderer_->SetBackgroundColor(color);
}

void VideoProducer2Impl::SetFillMode(FillMode mode) {
  CheckMainQueue();
  MOVRA_PRODUCER_LOG(kInfo) << "Set fill mode:" << FillModeToString(mode);
  fill_mode_ = mode;
  if (local_renderer_) local_renderer_->SetFillMode(mode);
  if (custom_renderer_) custom_renderer_->SetFillMode(mode);
}

void VideoProducer2Impl::SetGSensorMode(GSensorMode mode) {
  CheckMainQueue();
  MOVRA_PRODUCER_LOG(kInfo) << "Set GSensor mode:" << GSensorModeToString(mode);
  preprocessor_->SetGSensorMode(mode);
}

void VideoProducer2Impl::SetOutputFrameAdaptiveMode(FrameAdaptiveMode mode, bool flag) {
  CheckMainQueue();
  MOVRA_PRODUCER_LOG(kInfo) << "Set output frame adaptive mode:" << FrameAdaptiveModeToString(mode);
  custom_frame_adaptive_mode_ = mode;
  preprocessor_->SetFrameAdaptiveMode(mode);
  preprocessor_->SetFrameAdaptiveFlag(flag);
}

FrameAdaptiveMode VideoProducer2Impl::GetCalculateFrameAdaptiveMode() const {
  return CalculateFrameAdaptiveMode(custom_frame_adaptive_mode_, source_type_);
}

void VideoProducer2Impl::OnFocusAtPoint(int x, int y, int /*view_width*/, int /*view_height*/) {
  if (const auto service = FindCameraService()) {
    service->FocusAtPoint(static_cast<float>(x), static_cast<float>(y));
  }
}

void VideoProducer2Impl::OnRenderFirstFrame(RenderEventReason reason, unsigned int width,
                                            unsigned int height) {
  CheckMainQueue();
  const auto client = client_.lock();
  if (!client) return;
  const EventMsg message = reason == RenderEventReason::kFirstFrame
                               ? MakeRenderFirstFrameEventMsg(width, height)
                               : MakeRenderFirstFrameInViewEventMsg(width, height);
  client->OnRenderFirstFrame(this, width, height, message);
}

void VideoProducer2Impl::OnRenderError(VideoRenderError error) {
  CheckMainQueue();
  if (const auto client = client_.lock()) client->OnRenderError(this, error);
}

// Wanted: zooming and the freeze reports have no receiver.
void VideoProducer2Impl::OnZoom(float /*scale*/) {}
void VideoProducer2Impl::OnClassicRenderFreeze(unsigned int /*duration_ms*/) {}
void VideoProducer2Impl::OnFeelingRenderFreeze(unsigned int /*duration_ms*/) {}

}  // namespace movra::video
