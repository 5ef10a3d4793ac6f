#include "video/producer/video_producer2_impl.h"

#include <ostream>
#include <utility>

#include "core/thread_manager.h"
#include "video/platform.h"
#include "video/producer/capture_rules.h"
#include "video/producer/producer_support.h"

namespace movra::video {

using producer_support::CheckMainQueue;
using producer_support::FindCameraService;
using producer_support::kInfo;

VideoProducer2Impl::VideoProducer2Impl(const VideoContext& context,
                                       std::shared_ptr<IVideoProducer2::Client> client,
                                       VideoStreamType stream_type)
    : VideoLoggable(context), client_(client), stream_type_(stream_type) {
  // Before anything is created, so that every collaborator's context carries the tag.
  this->context().AppendLogTagToBack(stream_type == VideoStreamType::kBig ? "[main]" : "[sub]");
  preprocessor_queue_ = GetPreprocessorQueue();
  preprocessor_ = IVideoPreprocessor2::Create(this->context(), preprocessor_queue_);
  screen_sharing_ = IScreenSharing::Create(this->context());
}

VideoProducer2Impl::~VideoProducer2Impl() = default;

std::shared_ptr<core::DispatchQueue> VideoProducer2Impl::GetPreprocessorQueue() {
  const movra_base::Optional<core::ThreadOption> option;
  if (IsMetalAvailable()) {
    return core::ThreadManager::GetTaskQueue(core::BusinessID::kPreprocessorOfOneProducer,
                                             reinterpret_cast<unsigned long>(this), option);
  }
  return core::ThreadManager::GetTaskQueue(core::BusinessID::kPreprocessorShared, 0, option);
}

void VideoProducer2Impl::Initialize() {
  CheckMainQueue();
  MOVRA_PRODUCER_LOG(kInfo) << "Initialize";
  preprocessor_->StartProcessing();
}

void VideoProducer2Impl::Uninitialize() {
  CheckMainQueue();
  MOVRA_PRODUCER_LOG(kInfo) << "Uninitialize";
  if (capture_status_ != CaptureStatus::kStopped) {
    StopCamera({});
    StopScreenSharing();
  }
  screen_sharing_.reset();
  preprocessor_->StopProcessing();
  preprocessor_.reset();
  DestroyEncoderController(VideoStreamType::kBig, 0);
  DestroyEncoderController(VideoStreamType::kSmall, 0);
  DetachAndStopRenderer(local_renderer_);
  DetachAndStopRenderer(custom_renderer_);
}

void VideoProducer2Impl::DetachAndStopRenderer(
    std::shared_ptr<IVideoRendererController>& renderer) {
  if (renderer) {
    renderer->SetInputTrack(nullptr);
    renderer->Stop(false);
  }
  renderer.reset();
}

void VideoProducer2Impl::SetClient(std::shared_ptr<IVideoProducer2::Client> client) {
  client_ = client;
}

VideoProducerType VideoProducer2Impl::GetProducerType() const {
  return VideoProducerType::kDefault;
}

VideoProducerStats2 VideoProducer2Impl::GetStats(VideoStreamType type) {
  CheckMainQueue();
  stats_.capture_stat = GetCaptureStat();
  stats_.preprocess_stat = preprocessor_ ? preprocessor_->GetStats() : 0;
  const auto& renderer = local_renderer_ ? local_renderer_ : custom_renderer_;
  if (renderer) stats_.render_stat = renderer->GetStats().frames_rendered;
  // Wanted: both streams share the one record, and a stream without a controller leaves it alone.
  const auto& controller = GetEncoderSet(type).controller;
  if (controller) stats_.encoder_stats = controller->GetStats().record;
  return stats_;
}

std::uint32_t VideoProducer2Impl::GetCaptureStat() {
  const VideoSourceType source = source_type_;
  if (source == VideoSourceType::kCamera || source == VideoSourceType::kVirtualCamera) {
    // Wanted: the virtual camera is asked with the real camera's parameters too.
    const auto service = FindCameraService();
    if (service && camera_params_.has_value()) {
      return service->GetCaptureStat(camera_params_.value());
    }
  } else if (IsScreenSource(source)) {
    if (screen_sharing_) return screen_sharing_->GetCaptureStat();
  } else if (source == VideoSourceType::kCustom) {
    if (const auto reader = custom_capture_input_track_.lock()) return reader->GetCaptureStat();
  }
  return stats_.capture_stat;
}

std::ostream& operator<<(std::ostream& stream, VideoProducer2Impl::CaptureStatus status) {
  switch (status) {
    case VideoProducer2Impl::CaptureStatus::kStopped:
      return stream << "kStopped = 0";
    case VideoProducer2Impl::CaptureStatus::kStarted:
      return stream << "kStarted = 1";
    case VideoProducer2Impl::CaptureStatus::kPaused:
      return stream << "kPaused = 2";
  }
  return stream << "CaptureStatus::UN_DEF(" << static_cast<std::int32_t>(status) << ")";
}

}  // namespace movra::video
