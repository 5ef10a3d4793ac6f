#include "media/encode/stream_encoder.h"

#include <algorithm>
#include <array>
#include <utility>

#include "logging/log_message.h"
#include "logging/log_stream.h"
#include "video/to_string.h"

namespace movra::media {
namespace {

using std::chrono::nanoseconds;
using std::chrono::steady_clock;
using video::PixelFormat;
using video::PixelFrameInfo;

std::int64_t ToTicks(nanoseconds time) {
  // 90 kHz is nine ticks in 100 microseconds.
  constexpr std::int64_t kNanosecondsPerNineTicks = 100'000;
  // In two parts, because nine times a time of some decades is more than the number holds.
  const std::int64_t whole = time.count() / kNanosecondsPerNineTicks;
  const std::int64_t rest = time.count() % kNanosecondsPerNineTicks;
  return whole * 9 + (rest * 9 + kNanosecondsPerNineTicks / 2) / kNanosecondsPerNineTicks;
}

bool HasPlanes(const PixelFrameInfo& info, const std::array<std::int32_t, 3>& row_bytes) {
  for (std::size_t i = 0; i < row_bytes.size(); ++i) {
    if (row_bytes[i] == 0) continue;
    if (info.planes[i].data == nullptr || info.planes[i].stride < row_bytes[i]) return false;
  }
  return info.size.width > 0 && info.size.height > 0;
}

bool IsReadable(const PixelFrameInfo& info) {
  if (info.buffer_type != video::BufferType::kMemory) return false;
  const std::int32_t width = info.size.width;
  const std::int32_t half = width / 2 + width % 2;
  if (info.format == PixelFormat::kI420) return HasPlanes(info, {width, half, half});
  if (info.format == PixelFormat::kNV12) return HasPlanes(info, {width, 2 * half, 0});
  return false;
}

video::EncoderProperty PropertyOf(const IFrameEncoder& encoder, const StreamFormat& format) {
  const auto width = static_cast<std::int64_t>(format.size.width);
  return {static_cast<std::int64_t>(video::VideoCodec::kH264),
          (width << 32) | static_cast<std::int64_t>(format.size.height), encoder.Describe()};
}

}  // namespace

StreamEncoder::StreamEncoder(video::VideoContext context, video::VideoStreamType type,
                             FrameEncoderFactory factory, std::shared_ptr<EncoderEvents> events,
                             std::shared_ptr<EncoderCounters> counters)
    : context_(std::move(context)),
      type_(type),
      factory_(std::move(factory)),
      events_(std::move(events)),
      counters_(std::move(counters)) {}

void StreamEncoder::SetParams(const video::EncodeParams& params,
                              std::vector<video::RoiConfigInfo> regions) {
  params_ = params;
  regions_ = std::move(regions);
  dropper_.SetRate(FrameRateOf(params));
}

bool StreamEncoder::Keeps(const video::PixelFrame& frame) {
  const bool kept = dropper_.Keep(frame.info().timestamp);
  if (!kept) counters_->CountDroppedForRate();
  return kept;
}

const video::EncodedFrame* StreamEncoder::Encode(const video::PixelFrame& frame) {
  const PixelFrameInfo& info = frame.info();
  if (!IsReadable(info)) {
    counters_->CountFailed();
    if (!std::exchange(input_refused_, true)) {
      events_->Failed(video::VideoEncoderError::kInputUnsupported,
                      "the encoder reads I420 and NV12 in memory, not " +
                          video::PixelFormatToString(info.format) + " in " +
                          video::BufferTypeToString(info.buffer_type));
    }
    return nullptr;
  }
  input_refused_ = false;
  if (!PrepareEncoder({info.size, info.color})) {
    counters_->CountFailed();
    return nullptr;
  }
  const std::int64_t ticks = NextTicks(info.timestamp);
  const bool key_frame =
      std::exchange(key_frame_requested_, false) || IsKeyFrameDue(info.timestamp);
  EncoderFailure failure;
  const auto begin = steady_clock::now();
  const auto picture = encoder_->Encode(frame, ticks, key_frame, failure);
  if (!picture.has_value()) {
    Fail(failure);
    counters_->CountFailed();
    return nullptr;
  }
  if (picture->key_frame) last_key_frame_ = info.timestamp;
  encoded_ = {picture->data,
              picture->size_bytes,
              video::VideoCodec::kH264,
              type_,
              picture->key_frame,
              info.size,
              info.color,
              info.timestamp,
              ExpectedDuration(),
              info.capture_time,
              info.sequence,
              info.damaged_frames,
              steady_clock::now() - begin};
  CountEncoded(info);
  return &encoded_;
}

void StreamEncoder::EndStream() {
  dropper_.Reset();
  frames_ = 0;
  key_frame_requested_ = true;
}

bool StreamEncoder::PrepareEncoder(const StreamFormat& format) {
  EncoderSettings settings = ResolveEncoderSettings(params_, regions_, format.size);
  const bool open = encoder_ != nullptr && encoder_->HasSettings();
  if (settings == settings_ && format == format_ && (open || failed_)) return open;
  const bool adopted = open && format == format_ && settings.codec == settings_.codec &&
                       encoder_->Reconfigure(settings);
  settings_ = std::move(settings);
  format_ = format;
  counters_->SetTargetBitrate(static_cast<std::uint32_t>(settings_.bitrate_kbps) * 1000);
  return adopted || Open(settings_, format_);
}

bool StreamEncoder::Open(const EncoderSettings& settings, const StreamFormat& format) {
  // Closed first, so that two encoders never stand in memory at once.
  encoder_.reset();
  EncoderFailure failure;
  if (settings.codec == video::VideoCodec::kH264) {
    encoder_ = factory_(settings, format, failure);
  } else {
    failure = {video::VideoEncoderError::kUnavailable,
               "there is no encoder for " + video::VideoCodecToString(settings.codec)};
  }
  failed_ = encoder_ == nullptr;
  if (failed_) {
    Fail(failure);
    return false;
  }
  PublishProperty(format);
  return true;
}

void StreamEncoder::Fail(const EncoderFailure& failure) {
  encoder_.reset();
  failed_ = true;
  counters_->SetProperty({});
  if (movra_logging::ShouldCreateLogMessage(movra_logging::kLogLevelError)) {
    LogStream("../../media/encode/stream_encoder", __LINE__, __func__,
              movra_logging::kLogLevelError, nullptr)
        << LogTraceId(context_.trace()) << LogTag(context_.log_tag()) << " "
        << video::VideoStreamTypeToString(type_) << " encoder failed: " << failure.text;
  }
  events_->Failed(failure.error, failure.text);
}

void StreamEncoder::PublishProperty(const StreamFormat& format) {
  const video::EncoderProperty property = PropertyOf(*encoder_, format);
  counters_->SetProperty(property);
  if (property == property_) return;
  events_->PropertyChanged(property_, property);
  property_ = property;
}

void StreamEncoder::CountEncoded(const PixelFrameInfo& info) {
  EncoderCounters::Encoded encoded;
  encoded.bytes = encoded_.size_bytes;
  encoded.key_frame = encoded_.key_frame;
  encoded.size = info.size;
  encoded.encode_time = encoded_.encode_time;
  if (info.capture_time.count() > 0) {
    encoded.latency =
        std::max(nanoseconds(0), steady_clock::now().time_since_epoch() - info.capture_time);
  }
  counters_->CountEncoded(encoded);
}

std::int64_t StreamEncoder::NextTicks(nanoseconds timestamp) {
  if (frames_ == 0 || timestamp < last_timestamp_) {
    frames_ = 0;
    first_timestamp_ = timestamp;
    first_ticks_ = last_ticks_ + ToTicks(settings_.nominal_rate.Interval());
    last_key_frame_ = timestamp;
  }
  last_distance_ = frames_ > 0 ? timestamp - last_timestamp_ : nanoseconds(0);
  ++frames_;
  last_timestamp_ = timestamp;
  // Two frames within one tick still need an order.
  last_ticks_ = std::max(last_ticks_ + 1, first_ticks_ + ToTicks(timestamp - first_timestamp_));
  return last_ticks_;
}

bool StreamEncoder::IsKeyFrameDue(nanoseconds timestamp) const {
  // Half a frame of tolerance: time stamps are rounded, and the nearest frame is meant.
  const nanoseconds tolerance = std::min(ExpectedDuration(), last_distance_) / 2;
  // On this side of the comparison, because behind a pause of centuries there is no room for more.
  return timestamp - last_key_frame_ >= KeyFrameInterval(params_) - tolerance;
}

nanoseconds StreamEncoder::ExpectedDuration() const {
  if (frames_ > 1) {
    const nanoseconds sum = last_timestamp_ - first_timestamp_;
    const nanoseconds mean = sum / static_cast<std::int64_t>(frames_ - 1);
    // What counts after a pause is how the frames come now; the mean forgets it slowly.
    return mean / 2 < last_distance_ ? mean : 2 * last_distance_;
  }
  return FrameRateOf(params_).Interval();
}

}  // namespace movra::media
