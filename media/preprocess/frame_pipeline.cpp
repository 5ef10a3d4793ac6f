#include "media/preprocess/frame_pipeline.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "media/frame/convert_frame.h"

namespace movra::media {

using video::FrameDelivery;
using video::InterceptPosition;
using video::PixelFrame;
using video::PixelFrameInfo;
using video::VideoRotation;

namespace {

bool IsSamePicture(const PixelFrame& a, const PixelFrame& b) {
  return a.owner() == b.owner() && a.info().planes[0].data == b.info().planes[0].data &&
         a.info().size == b.info().size && a.info().format == b.info().format;
}

PixelFrame WithDelivery(const PixelFrame& frame, FrameDelivery delivery) {
  PixelFrameInfo info = frame.info();
  info.delivery = delivery;
  return frame.WithInfo(info);
}

std::int64_t AreaOf(const Tap& tap, const video::Size& own) {
  const std::int64_t width = tap.params.width > 0 ? tap.params.width : own.width;
  return width * (tap.params.height > 0 ? tap.params.height : own.height);
}

bool IsForEncoder(const Tap& tap) { return tap.position == InterceptPosition::kEncoder; }

}  // namespace

PixelFrame FramePipeline::Process(PixelFrame frame, const PipelineSettings& settings,
                                  const std::function<bool()>& is_stopped) {
  Pass pass{settings, is_stopped, std::move(frame), std::nullopt};
  Visit(pass, InterceptPosition::kCaptured);
  Turn(pass, {AddRotations(pass.frame.info().rotation, settings.orientation.rotation),
              settings.orientation.mirror});
  Visit(pass, InterceptPosition::kBeautified);
  Visit(pass, InterceptPosition::kCustomProcessing);
  Visit(pass, InterceptPosition::kPreview);
  Visit(pass, InterceptPosition::kPreviewWithWatermark);
  PixelFrame upright = pass.frame;
  Turn(pass, settings.encoder_orientation);
  Visit(pass, InterceptPosition::kEncoder);
  return upright;
}

PixelFrame FramePipeline::ToImage(const PixelFrame& frame) {
  return ConvertFrame(frame, video::PixelFormat::kBGRA, pool_);
}

void FramePipeline::Visit(Pass& pass, InterceptPosition position) {
  for (const Interceptor& interceptor : pass.settings.interceptors) {
    if (interceptor.position == position && pass.frame) Intercept(pass, interceptor);
  }
  if (pass.frame) WriteToTaps(pass, position);
}

void FramePipeline::Intercept(Pass& pass, const Interceptor& interceptor) {
  const auto listener = interceptor.Lock();
  if (listener == nullptr || pass.is_stopped()) return;
  const PixelFrame offered = ConvertFrame(pass.frame, interceptor.params.pixel_format, pool_);
  if (!offered) return;
  const PixelFrame answer = listener->OnInterceptFrame(interceptor.position, offered);
  // A listener that only looked shall not cost the frame a conversion.
  if (answer && IsSamePicture(answer, offered)) return;
  // An interceptor's new frame may lack what belongs to the stream and not to the picture.
  pass.frame = answer ? answer.InStreamOf(pass.frame.info()) : PixelFrame();
  pass.outputs.reset();
}

void FramePipeline::WriteToTaps(Pass& pass, InterceptPosition position) {
  std::vector<const Tap*> taps;
  for (const Tap& tap : pass.settings.taps) {
    if (tap.position == position) taps.push_back(&tap);
  }
  // Made with the largest first, because smaller ones are made from it.
  const video::Size own = pass.frame.info().size;
  std::stable_sort(taps.begin(), taps.end(),
                   [&](const Tap* a, const Tap* b) { return AreaOf(*a, own) > AreaOf(*b, own); });
  std::vector<Output> outputs;
  for (const Tap* const tap : taps) {
    if (auto output = MakeOutput(pass, *tap)) outputs.push_back(std::move(*output));
  }
  // Written with the smallest first: it is soon encoded, but would wait for a processor until the
  // longer work is done. The largest gives away what making the others took.
  for (auto output = outputs.rbegin(); output != outputs.rend(); ++output) {
    // Asked right before the write, because others may have removed it meanwhile. An encoder's tap
    // that is being removed still gets the frame that was on its way to it: it may be added anew
    // with another size, and a lossless frame must not fall in between.
    if ((!IsForEncoder(*output->tap) && !*output->tap->attached) || pass.is_stopped()) continue;
    static_cast<void>(output->writer->Write(std::move(output->frame)));
  }
}

std::optional<FramePipeline::Output> FramePipeline::MakeOutput(Pass& pass, const Tap& tap) {
  auto writer = tap.target.lock();
  if (writer == nullptr) return std::nullopt;
  if (!pass.outputs) pass.outputs.emplace(pass.frame, pass.settings.adaptive_mode, pool_);
  PixelFrame made =
      pass.outputs->Make({tap.params.width, tap.params.height}, tap.params.pixel_format);
  if (!made) return std::nullopt;
  if (!IsForEncoder(tap)) made = WithDelivery(made, FrameDelivery::kLive);
  return Output{&tap, std::move(writer), std::move(made)};
}

void FramePipeline::Turn(Pass& pass, const Orientation& orientation) {
  if (!pass.frame) return;
  const PixelFrame turned = OrientFrame(pass.frame, orientation, pool_);
  const bool is_same = turned && IsSamePicture(turned, pass.frame);
  const bool was_marked = pass.frame.info().rotation != VideoRotation::k0;
  if (is_same && !was_marked) return;
  PixelFrameInfo info = turned.info();
  info.rotation = VideoRotation::k0;
  pass.frame = turned.WithInfo(info);
  pass.outputs.reset();
}

bool EncodersHaveRoom(const PipelineSettings& settings) {
  return std::all_of(settings.taps.begin(), settings.taps.end(), [](const Tap& tap) {
    if (!IsForEncoder(tap)) return true;
    const auto writer = tap.Lock();
    return writer == nullptr || writer->HasRoom();
  });
}

void WriteEndToTaps(const PipelineSettings& settings, const video::StreamEnd& end) {
  std::vector<std::shared_ptr<video::IPixelFrameTrackWriter>> told;
  for (const Tap& tap : settings.taps) {
    auto writer = tap.Lock();
    if (writer == nullptr || std::find(told.begin(), told.end(), writer) != told.end()) continue;
    writer->WriteEnd(end);
    told.push_back(std::move(writer));
  }
}

}  // namespace movra::media
