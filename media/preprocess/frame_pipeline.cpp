#include "media/preprocess/frame_pipeline.h"

#include <algorithm>
#include <cstdint>
#include <utility>
#include <variant>

#include "logging/guarded_call.h"
#include "media/frame/convert_frame.h"
#include "media/frame/frame_layout.h"
#include "media/frame/kept_share.h"
#include "media/text/warning.h"
#include "media/track/wanted_size.h"
#include "video/to_string.h"

namespace movra::media {

using video::FrameDelivery;
using video::InterceptPosition;
using video::PixelFrame;
using video::PixelFrameInfo;

namespace {

constexpr char kLogFile[] = "../../media/preprocess/frame_pipeline";

bool IsSamePicture(const PixelFrame& a, const PixelFrame& b) {
  return a.owner() == b.owner() && a.info().planes[0].data == b.info().planes[0].data &&
         a.info().size == b.info().size && a.info().format == b.info().format;
}

PixelFrame WithDelivery(const PixelFrame& frame, FrameDelivery delivery) {
  PixelFrameInfo info = frame.info();
  info.delivery = delivery;
  return frame.WithInfo(info);
}

std::int64_t AreaOf(const video::Size& wanted, const video::Size& own) {
  const std::int64_t width = wanted.width > 0 ? wanted.width : own.width;
  return width * (wanted.height > 0 ? wanted.height : own.height);
}

// Whoever reads what the tap writes may have refused the size that the tap was given.
video::Size SizeFor(const Tap& tap, const video::IPixelFrameTrackWriter& writer) {
  return WantedSize(writer).value_or(video::Size{tap.params.width, tap.params.height});
}

const char* NameOf(const Tap& /*tap*/) { return "The frame writer"; }
const char* NameOf(const Interceptor& /*interceptor*/) { return "The interceptor"; }

// "The interceptor at kPreview"
template <class T>
std::string Describe(const Attachment<T>& attachment) {
  return NameOf(attachment) + std::string(" at ") +
         video::InterceptPositionToString(attachment.position);
}

template <class T>
void TellIfGone(const video::VideoContext& context, const Attachment<T>& attachment) {
  if (attachment.flags->is_removed || !attachment.target.expired()) return;
  if (attachment.flags->is_known.exchange(true)) return;
  Warn(context, kLogFile,
       Describe(attachment) + " was gone before its first frame: it is held weakly, keep it alive");
}

// Calls code that may be the application's; what throws is over. Whether it returned.
template <class T, class Call>
bool CallAttached(const Attachment<T>& attachment, Call&& call) {
  attachment.flags->is_known = true;
  const auto whose = [&] { return Describe(attachment); };
  const bool has_returned = movra_logging::CallGuarded(whose, std::forward<Call>(call));
  if (!has_returned) attachment.flags->has_thrown = true;
  return has_returned;
}

std::string Describe(const video::Size& size, video::PixelFormat format) {
  return size.ToString() + " " + video::PixelFormatToString(format);
}

}  // namespace

void TellIfNeverUsed(const video::VideoContext& context, const Tap& tap) {
  TellIfGone(context, tap);
}

void TellIfNeverUsed(const video::VideoContext& context, const Interceptor& interceptor) {
  TellIfGone(context, interceptor);
}

FramePipeline::FramePipeline(video::VideoContext context,
                             const std::shared_ptr<FrameAccount>& account)
    : context_(std::move(context)),
      source_(FrameAccount::Source(account)),
      streams_{FrameAccount::Stream(account, video::VideoStreamType::kBig),
               FrameAccount::Stream(account, video::VideoStreamType::kSmall)} {}

PixelFrame FramePipeline::Process(PixelFrame frame, const PipelineSettings& settings,
                                  const std::function<bool()>& is_stopped) {
  Pass pass{settings, is_stopped, std::move(frame), std::nullopt};
  PixelFrame shown;
  for (const auto& step : settings.way) {
    if (const auto* const stage = std::get_if<StageStep>(&step)) {
      Run(pass, *stage);
      continue;
    }
    const auto position = std::get<InterceptPosition>(step);
    Visit(pass, position);
    if (position == InterceptPosition::kPreviewWithWatermark) shown = pass.frame;
  }
  return shown;
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
  if (listener == nullptr) return TellIfGone(context_, interceptor);
  if (pass.is_stopped()) return;
  const PixelFrame offered = ConvertFrame(pass.frame, interceptor.params.pixel_format, pool_);
  if (!offered) {
    const PixelFrameInfo& info = pass.frame.info();
    return ReportNotMade("an interceptor's", info.size, interceptor.params.pixel_format, info);
  }
  // Asked anew right before the call, as a write is: making the picture takes time.
  if (interceptor.flags->is_removed || pass.is_stopped()) return;
  PixelFrame answer;
  // Kept back for a listener that throws. Where it needed no conversion it is the same handle.
  const bool is_converted = !IsSamePicture(offered, pass.frame);
  if (!is_converted) pass.frame = {};
  const KeptShare kept(offered);
  const bool has_answered = CallAttached(
      interceptor, [&] { answer = listener->OnInterceptFrame(interceptor.position, offered); });
  if (!is_converted) pass.frame = offered;
  // A listener that only looked shall not cost the frame a conversion.
  const bool has_only_looked = answer && IsSamePicture(answer, offered) && !kept.is_written();
  if (!has_answered || has_only_looked) return;
  if (!answer) source_->Count(FrameFate::kIntercepted);
  // An interceptor's new frame may lack what belongs to the stream and not to the picture.
  pass.frame = answer ? answer.InStreamOf(pass.frame.info()) : PixelFrame();
  pass.outputs.reset();
}

void FramePipeline::WriteToTaps(Pass& pass, InterceptPosition position) {
  std::vector<Output> outputs = MakeOutputs(pass, position);
  // Written with the smallest first: it is soon encoded, but would wait for a processor until the
  // longer work is done. The largest gives away what making the others took.
  for (auto output = outputs.rbegin(); output != outputs.rend(); ++output) {
    Write(*output, pass.is_stopped);
  }
  if (position != InterceptPosition::kEncoder) return;
  for (const auto& stream : streams_) {
    const bool is_wanted = std::any_of(outputs.begin(), outputs.end(), [&](const Output& output) {
      return output.stream == stream.get();
    });
    if (!is_wanted) stream->Count(FrameFate::kUnwanted);
  }
}

std::vector<FramePipeline::Output> FramePipeline::MakeOutputs(Pass& pass,
                                                              InterceptPosition position) {
  std::vector<Output> outputs;
  for (const Tap& tap : pass.settings.taps) {
    if (tap.position != position) continue;
    auto writer = tap.Target();
    if (writer == nullptr) {
      TellIfGone(context_, tap);
      continue;
    }
    FrameCounters* const stream = StreamOf(tap, *writer);
    const video::Size size = SizeFor(tap, *writer);
    outputs.push_back({&tap, std::move(writer), stream, size, {}});
  }
  // Made with the largest first, because smaller ones are made from it.
  const video::Size own = pass.frame.info().size;
  std::stable_sort(outputs.begin(), outputs.end(), [&](const Output& a, const Output& b) {
    return AreaOf(a.size, own) > AreaOf(b.size, own);
  });
  for (Output& output : outputs) output.frame = MakePicture(pass, *output.tap, output.size);
  return outputs;
}

PixelFrame FramePipeline::MakePicture(Pass& pass, const Tap& tap, const video::Size& size) {
  if (!pass.outputs) pass.outputs.emplace(pass.frame, pass.settings.adaptive_mode, pool_);
  PixelFrame made = pass.outputs->Make(size, tap.params.pixel_format);
  if (!made) {
    ReportNotMade(video::VideoStreamTypeToString(tap.params.stream_type) + "'s", size,
                  tap.params.pixel_format, pass.frame.info());
    return made;
  }
  return tap.is_for_encoder ? made : WithDelivery(made, FrameDelivery::kLive);
}

void FramePipeline::Write(Output& output, const std::function<bool()>& is_stopped) {
  const auto count = [&](FrameFate fate) {
    if (output.stream != nullptr) output.stream->Count(fate);
  };
  if (!output.frame) return count(FrameFate::kNotMade);
  // Asked right before the write, because others may have removed it meanwhile. An encoder's tap
  // that is being removed still gets the frame that was on its way to it: it may be added anew
  // with another size, and a lossless frame must not fall in between.
  if (is_stopped()) return count(FrameFate::kStopped);
  if (!output.tap->is_for_encoder && output.tap->flags->is_removed) return;
  const bool is_lossless = output.frame.info().delivery == FrameDelivery::kLossless;
  auto result = video::TrackWriteResult::kClosed;
  static_cast<void>(
      CallAttached(*output.tap, [&] { result = output.writer->Write(std::move(output.frame)); }));
  // The track counts what it takes or loses; a lossless frame that it refuses is nobody's.
  if (is_lossless && result == video::TrackWriteResult::kFull) count(FrameFate::kDisplaced);
}

void FramePipeline::Run(Pass& pass, const StageStep& step) {
  if (!pass.frame || *step.has_thrown) return;
  std::optional<StageFrame> work;
  PixelFrameInfo before;
  bool is_made = true;
  step.Run([&] {
    if (!step.prepared->IsNeededFor(pass.frame.info())) return;
    before = pass.frame.info();
    pass.outputs.reset();  // It has a share in the frame, which can be written in place without.
    work.emplace(std::move(pass.frame), pool_);
    is_made = step.prepared->Process(*work);
  });
  if (!work) return;
  pass.frame = is_made ? work->picture() : PixelFrame();
  if (pass.frame) return;
  ReportNotMade(std::string("the ") + step.name, before.size, before.format, before);
  source_->Count(FrameFate::kNotMade);
}

FrameCounters* FramePipeline::StreamOf(const Tap& tap,
                                       const video::IPixelFrameTrackWriter& writer) const {
  if (!tap.is_for_encoder) return nullptr;
  const bool is_small = tap.params.stream_type == video::VideoStreamType::kSmall;
  FrameCounters* const stream = streams_[is_small ? 1 : 0].get();
  return CountsInto(writer, *stream) ? stream : nullptr;
}

void FramePipeline::ReportNotMade(const std::string& whose, const video::Size& size,
                                  video::PixelFormat format, const PixelFrameInfo& from) {
  constexpr std::size_t kMostReports = 16;  // Sizes that change for ever shall not fill the log.
  const bool is_too_long = std::max(size.width, size.height) > kLongestSide;
  std::string text = "Cannot make " + whose + " picture " + Describe(size, format) + " from " +
                     Describe(from.size, from.format) + ": ";
  text += is_too_long ? "sides end at " + std::to_string(kLongestSide) + " pixels"
                      : "no such conversion, or no memory";
  const bool is_known = std::find(reported_.begin(), reported_.end(), text) != reported_.end();
  if (is_known || reported_.size() >= kMostReports) return;
  reported_.push_back(text);
  Warn(context_, kLogFile, text);
}

// Asked of the target, as it is written to: a tap that is being removed may come back.
bool EncodersHaveRoom(const PipelineSettings& settings) {
  return std::all_of(settings.taps.begin(), settings.taps.end(), [](const Tap& tap) {
    if (!tap.is_for_encoder) return true;
    const auto writer = tap.Target();
    bool has_room = true;
    if (writer == nullptr) return true;
    static_cast<void>(CallAttached(tap, [&] { has_room = writer->HasRoom(); }));
    return has_room;
  });
}

void WriteEndToTaps(const PipelineSettings& settings, const video::StreamEnd& end,
                    const std::function<bool()>& is_stopped) {
  std::vector<std::shared_ptr<video::IPixelFrameTrackWriter>> told;
  for (const Tap& tap : settings.taps) {
    auto writer = tap.is_for_encoder ? tap.Target() : tap.Lock();
    if (writer == nullptr || std::find(told.begin(), told.end(), writer) != told.end()) continue;
    if (is_stopped()) return;
    static_cast<void>(CallAttached(tap, [&] { writer->WriteEnd(end); }));
    told.push_back(std::move(writer));
  }
}

}  // namespace movra::media
