// The big and the small encoded stream: their controllers and tracks, their parameters, the
// controls of a running encoder and the encoders' events.

#include <utility>

#include "video/producer/capture_rules.h"
#include "video/producer/producer_support.h"
#include "video/producer/video_producer2_impl.h"
#include "video/to_string.h"

namespace movra::video {

using producer_support::CheckMainQueue;
using producer_support::kInfo;

VideoProducer2Impl::EncoderSet VideoProducer2Impl::GetEncoderSet(VideoStreamType type) {
  if (type == VideoStreamType::kSmall) {
    return {"small_encoder_pixel_frame_track", small_encoder_input_track_,
            small_encoder_controller_,         small_encode_size_,
            small_encode_frame_rate_,          small_encoder_pixel_format_,
            small_encoder_buffer_type_};
  }
  return {"big_encoder_pixel_frame_track", big_encoder_input_track_,
          big_encoder_controller_,         big_encode_size_,
          big_encode_frame_rate_,          big_encoder_pixel_format_,
          big_encoder_buffer_type_};
}

std::shared_ptr<IVideoEncoderController> VideoProducer2Impl::GetEncoderController(
    VideoStreamType type) {
  const EncoderSet set = GetEncoderSet(type);
  if (set.controller) return set.controller;
  const std::shared_ptr<IVideoEncoderController::Client> self = shared_from_this();
  set.controller = IVideoEncoderController::CreateVideoEncoderController(context(), type, self);
  set.input_track = IPixelFrameTrack::Create(set.track_name, 1);
  return set.controller;
}

std::shared_ptr<IPixelFrameTrack> VideoProducer2Impl::GetEncoderControllerInputPixelFrameTrack(
    VideoStreamType type) {
  return GetEncoderSet(type).input_track;
}

void VideoProducer2Impl::StartEncoder(VideoStreamType type, const EncodeParams& params,
                                      std::shared_ptr<IVideoFrameTrackWriter> writer) {
  CheckMainQueue();
  SetEncoderParams(type, params);
  MOVRA_PRODUCER_LOG(kInfo) << "Start encoder for type:" << VideoStreamTypeToString(type)
                            << " with " << params.ToString();
  if (!writer) return;
  const auto controller = GetEncoderController(type);
  if (!controller) return;
  if (controller->IsStarted()) {
    MOVRA_PRODUCER_LOG(kInfo) << "Encoder already start.";
    return;
  }
  if (const auto track = GetEncoderControllerInputPixelFrameTrack(type)) {
    controller->SetInputTrackReader(track->GetReader());
  }
  controller->SetOutputTrackWriter(writer);
  controller->Start();
  if (params.width.has_value() && params.height.has_value()) {
    UpdateEncoderSupportFormatIfNeed(type, params);
    SetupProcessorOutputTrackForEncoder(type, params.width.value(), params.height.value());
  }
}

void VideoProducer2Impl::UpdateEncoderSupportFormatIfNeed(VideoStreamType type,
                                                          const EncodeParams& params) {
  const PixelFrameFormat format = IVideoEncoderController::QueryInputPixelFormat(type, params);
  const EncoderSet set = GetEncoderSet(type);
  // Once known, a format changes only by the encoder's own event.
  if (set.pixel_format != PixelFormat::kNone) return;
  set.pixel_format = format.pixel_format;
  set.buffer_type = format.buffer_type;
}

void VideoProducer2Impl::SetupProcessorOutputTrackForEncoder(VideoStreamType type, int width,
                                                             int height) {
  const auto controller = GetEncoderController(type);
  const EncoderSet set = GetEncoderSet(type);
  if (!controller || !set.input_track) return;
  // Removed first, so that no writer is ever registered twice.
  preprocessor_->RemoveOutputTrack(set.input_track->GetWriter());
  if (!controller->IsStarted()) return;
  CustomProcessParams params;
  params.width = width;
  params.height = height;
  params.enabled = true;
  params.buffer_type = set.buffer_type;
  params.pixel_format = set.pixel_format;
  params.stream_type = type;
  preprocessor_->AddOutputTrack(InterceptPosition::kEncoder, params, set.input_track->GetWriter());
}

void VideoProducer2Impl::StopEncoder(VideoStreamType type, unsigned long long max_wait_ms) {
  CheckMainQueue();
  MOVRA_PRODUCER_LOG(kInfo) << "Stop encoder for type:" << VideoStreamTypeToString(type)
                            << " with waiting max time:" << max_wait_ms << " ms";
  if (const auto track = GetEncoderControllerInputPixelFrameTrack(type)) {
    preprocessor_->RemoveOutputTrack(track->GetWriter());
  }
  DestroyEncoderController(type, max_wait_ms);
}

void VideoProducer2Impl::DestroyEncoderController(VideoStreamType type,
                                                  unsigned long long max_wait_ms) {
  const EncoderSet set = GetEncoderSet(type);
  if (set.controller) set.controller->Stop(max_wait_ms);
  if (set.input_track) set.input_track->Reset();
  set.input_track.reset();
  set.controller.reset();
}

void VideoProducer2Impl::SetEncoderParams(VideoStreamType type, const EncodeParams& params) {
  CheckMainQueue();
  // The first two compare against what the third overwrites.
  PrintEncoderParamsIfNeeded(type, params);
  UpdateEncoderParamsInternal(type, params);
  CacheEncodeSizeAndFrameRate(type, params);
  UpdateCaptureParamsByEncodeParamsIfNeed(type, params);
}

void VideoProducer2Impl::PrintEncoderParamsIfNeeded(VideoStreamType type,
                                                    const EncodeParams& params) {
  const EncoderSet set = GetEncoderSet(type);
  if (AreEncodeParamsUnchanged(params, set.encode_size, set.encode_frame_rate)) return;
  MOVRA_PRODUCER_LOG(kInfo) << "Set encoder params:" << params.ToString() << " for "
                            << VideoStreamTypeToString(type);
}

void VideoProducer2Impl::UpdateEncoderParamsInternal(VideoStreamType type,
                                                     const EncodeParams& params) {
  const auto controller = GetEncoderController(type);
  if (!controller) return;
  controller->SetEncodeParams(params);
  ReInterceptEncoderOutputTrackIfNeed(type, params, controller);
}

void VideoProducer2Impl::ReInterceptEncoderOutputTrackIfNeed(
    VideoStreamType type, const EncodeParams& params,
    std::shared_ptr<IVideoEncoderController> /*controller*/) {
  if (!params.width.has_value() || !params.height.has_value()) return;
  const Size size{params.width.value(), params.height.value()};
  if (size == GetEncoderSet(type).encode_size) return;
  // Wanted: the preprocessor's output size follows the big stream alone.
  if (type != VideoStreamType::kSmall) preprocessor_->SetEncoderOutputSize(size.width, size.height);
  UpdateEncoderSupportFormatIfNeed(type, params);
  SetupProcessorOutputTrackForEncoder(type, size.width, size.height);
}

void VideoProducer2Impl::CacheEncodeSizeAndFrameRate(VideoStreamType type,
                                                     const EncodeParams& params) {
  const EncoderSet set = GetEncoderSet(type);
  if (params.frame_rate.has_value()) set.encode_frame_rate = params.frame_rate.value();
  if (params.width.has_value() && params.height.has_value()) {
    set.encode_size = {params.width.value(), params.height.value()};
  }
}

void VideoProducer2Impl::SetEncoderMirror(bool mirror) {
  CheckMainQueue();
  preprocessor_->SetEncoderMirror(mirror);
}

void VideoProducer2Impl::SetEncoderRotation(VideoRotation rotation) {
  CheckMainQueue();
  preprocessor_->SetEncoderRotation(rotation);
}

// A control sent before the start leaves an idle controller that already carries the setting.

void VideoProducer2Impl::SetRpsNearestRefSize(VideoStreamType type, int size) {
  CheckMainQueue();
  if (const auto controller = GetEncoderController(type)) controller->SetRpsNearestRefSize(size);
}

void VideoProducer2Impl::DeliverRpsAck(VideoStreamType type, const RpsAck& ack) {
  CheckMainQueue();
  if (const auto controller = GetEncoderController(type)) {
    controller->DeliverRpsAck(ack.ack_value, ack.ack_flag);
  }
}

void VideoProducer2Impl::RequestKeyFrame(VideoStreamType type) {
  CheckMainQueue();
  if (const auto controller = GetEncoderController(type)) controller->RequestKeyFrame();
}

void VideoProducer2Impl::SetRoiConfig(VideoStreamType type,
                                      const std::vector<RoiConfigInfo>& configs) {
  CheckMainQueue();
  if (const auto controller = GetEncoderController(type)) controller->SetRoiConfig(configs);
}

void VideoProducer2Impl::OnEncoderNeededFormatChanged(VideoStreamType type, PixelFormat format,
                                                      BufferType buffer_type) {
  CheckMainQueue();
  const EncoderSet set = GetEncoderSet(type);
  MOVRA_PRODUCER_LOG(kInfo) << "Encoder format changed for stream type:"
                            << VideoStreamTypeToString(type)
                            << " from format:" << PixelFormatToString(set.pixel_format)
                            << " type:" << BufferTypeToString(set.buffer_type)
                            << " to format:" << PixelFormatToString(format)
                            << " type:" << BufferTypeToString(buffer_type);
  set.pixel_format = format;
  set.buffer_type = buffer_type;
  SetupProcessorOutputTrackForEncoder(type, set.encode_size.width, set.encode_size.height);
}

void VideoProducer2Impl::OnEncoderPropertyChanged(VideoStreamType type, const EncoderProperty& from,
                                                  const EncoderProperty& to) {
  CheckMainQueue();
  const auto client = client_.lock();
  if (!client) return;
  const EventMsg message(GetEncodePropertyChangedBaseMsg(type, from));
  client->OnEncoderPropertyChanged(this, type, from, to, message);
}

void VideoProducer2Impl::OnEncodeAbilityChanged(VideoStreamType /*type*/,
                                                const EncodeAbility& ability) {
  CheckMainQueue();
  // Wanted: the client learns of the change without the stream that reported it.
  if (const auto client = client_.lock()) client->OnEncodeAbilityChanged(this, ability);
}

void VideoProducer2Impl::OnEncoderError(VideoStreamType type, VideoEncoderError error,
                                        const movra_base::Value& detail) {
  CheckMainQueue();
  if (const auto client = client_.lock()) client->OnEncoderError(this, type, error, detail);
}

}  // namespace movra::video
