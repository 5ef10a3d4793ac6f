// Effects, snapshots, and the points where the application processes or taps frames. All of it is
// the preprocessor's work; the producer keeps only the watermark's preview flag.

#include <utility>

#include "video/producer/producer_support.h"
#include "video/producer/video_producer2_impl.h"
#include "video/to_string.h"

namespace movra::video {

using producer_support::CheckMainQueue;
using producer_support::kInfo;

namespace {

// The application's beauty levels run from 0 to 9, the preprocessor's from 0 to 1.
constexpr float kBeautyLevels = 9.0F;

CustomProcessParams MakeProcessParams(bool enabled, PixelFormat format, BufferType type) {
  CustomProcessParams params;
  params.enabled = enabled;
  params.buffer_type = type;
  params.pixel_format = format;
  return params;
}

}  // namespace

void VideoProducer2Impl::SetWatermark(std::shared_ptr<ObjcWrapper<NSImage>> image, double x,
                                      double y, double width, bool in_preview) {
  CheckMainQueue();
  watermark_in_preview_ = in_preview;
  // The previews move to their new position before the watermark arrives there.
  SetupLocalRendererOutputTrackToPreprocessor();
  SetupCustomRendererOutputTrackToPreprocessor(PixelFormat::kNone, BufferType::kMemory);
  preprocessor_->SetWatermark(std::move(image), x, y, width, in_preview);
}

void VideoProducer2Impl::Snapshot(
    SnapshotSourceType source,
    movra_base::OnceCallback<void(std::shared_ptr<ObjcWrapper<NSImage>>)> on_done) {
  CheckMainQueue();
  if (source == SnapshotSourceType::kPreprocessor && preprocessor_) {
    preprocessor_->Snapshot(std::move(on_done));
  } else if (source == SnapshotSourceType::kLocalRenderer && local_renderer_) {
    local_renderer_->Snapshot(std::move(on_done));
  } else {
    std::move(on_done).Run(nullptr);
  }
}

void VideoProducer2Impl::SetBeautyStyle(BeautyStyle style) {
  CheckMainQueue();
  preprocessor_->SetBeautyStyle(style);
}

void VideoProducer2Impl::SetBeautyLevel(float level) {
  CheckMainQueue();
  preprocessor_->SetBeautyLevel(level / kBeautyLevels);
}

void VideoProducer2Impl::SetWhitenessLevel(float level) {
  CheckMainQueue();
  preprocessor_->SetWhitenessLevel(level / kBeautyLevels);
}

void VideoProducer2Impl::SetRuddyLevel(float level) {
  CheckMainQueue();
  preprocessor_->SetRuddyLevel(level / kBeautyLevels);
}

void VideoProducer2Impl::SetLUTColorFilter(std::shared_ptr<ObjcWrapper<NSImage>> filter) {
  CheckMainQueue();
  preprocessor_->SetLUTColorFilter(std::move(filter));
}

void VideoProducer2Impl::SetLUTColorFilterStrength(float strength) {
  CheckMainQueue();
  preprocessor_->SetLUTColorFilterStrength(strength);
}

void VideoProducer2Impl::SetLUTColorFilter(std::shared_ptr<ObjcWrapper<NSImage>> first,
                                           float first_strength,
                                           std::shared_ptr<ObjcWrapper<NSImage>> second,
                                           float second_strength, float ratio) {
  CheckMainQueue();
  preprocessor_->SetLUTColorFilter(std::move(first), first_strength, std::move(second),
                                   second_strength, ratio);
}

void VideoProducer2Impl::SetGreenScreenParams(const GreenScreenParams& params) {
  CheckMainQueue();
  preprocessor_->SetGreenScreenParams(params);
}

void VideoProducer2Impl::EnableCustomProcessing(
    bool enable, PixelFormat format, BufferType type,
    std::shared_ptr<VideoInterceptorListener> listener) {
  CheckMainQueue();
  MOVRA_PRODUCER_LOG(kInfo) << (enable ? "Enable" : "Disable")
                            << " custom process with format:" << PixelFormatToString(format)
                            << ", type:" << BufferTypeToString(type);
  // Wanted: enabling without a format removes the listener.
  if (enable && format != PixelFormat::kNone) {
    preprocessor_->AddInterceptor(InterceptPosition::kCustomProcessing,
                                  MakeProcessParams(false, format, type), listener);
  } else {
    preprocessor_->RemoveInterceptor(listener);
  }
}

void VideoProducer2Impl::AddVideoShuntTrack(InterceptPosition position, PixelFormat format,
                                            BufferType type,
                                            std::shared_ptr<IPixelFrameTrackWriter> writer) {
  CheckMainQueue();
  if (!writer) return;
  MOVRA_PRODUCER_LOG(kInfo) << "Add shunt track pos:" << InterceptPositionToString(position)
                            << " format:" << PixelFormatToString(format)
                            << " type:" << BufferTypeToString(type)
                            << " writer:" << static_cast<const void*>(writer.get());
  preprocessor_->AddOutputTrack(position, MakeProcessParams(true, format, type), writer);
}

void VideoProducer2Impl::RemoveVideoShuntTrack(std::shared_ptr<IPixelFrameTrackWriter> writer) {
  CheckMainQueue();
  if (!writer) return;
  MOVRA_PRODUCER_LOG(kInfo) << "Remove shunt track writer:"
                            << static_cast<const void*>(writer.get());
  preprocessor_->RemoveOutputTrack(writer);
}

void VideoProducer2Impl::AddInterceptor(InterceptPosition position,
                                        const CustomProcessParams& params,
                                        std::weak_ptr<VideoInterceptorListener> listener) {
  CheckMainQueue();
  preprocessor_->AddInterceptor(position, params, std::move(listener));
}

void VideoProducer2Impl::RemoveInterceptor(std::weak_ptr<VideoInterceptorListener> listener) {
  CheckMainQueue();
  preprocessor_->RemoveInterceptor(std::move(listener));
}

}  // namespace movra::video
