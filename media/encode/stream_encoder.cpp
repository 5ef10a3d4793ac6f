#include "media/encode/stream_encoder.h"

#include <algorithm>
#include <string>
#include <utility>

#include "logging/log_message.h"
#include "logging/log_stream.h"
#include "media/encode/refused_change.h"
#include "video/to_string.h"

namespace movra::media {
namespace {

using std::chrono::nanoseconds;
using std::chrono::steady_clock;
using video::PixelFrameInfo;

std::int64_t ToTicks(nanoseconds time) {
  // 90 kHz is nine ticks in 100 microseconds.
  constexpr std::int64_t kNanosecondsPerNineTicks = 100'000;
  // In two parts, because nine times a time of some decades is more than the number holds.
  const std::int64_t whole = time.count() / kNanosecondsPerNineTicks;
  const std::int64_t rest = time.count() % kNanosecondsPerNineTicks;
  return whole * 9 + (rest * 9 + kNanosecondsPerNineTicks / 2) / kNanosecondsPerNineTicks;
}

video::EncoderProperty PropertyOf(const IFrameEncoder& encoder, video::VideoCodec codec,
                                  const StreamFormat& format) {
  const auto width = static_cast<std::int64_t>(format.size.width);
  return {static_cast<std::int64_t>(codec),
          (width << 32) | static_cast<std::int64_t>(format.size.height), encoder.Describe()};
}

}  // namespace

StreamEncoder::StreamEncoder(video::VideoContext context, video::VideoStreamType type,
                             EncoderRegistry registry, EncoderEvents events,
                             std::shared_ptr<EncoderCounters> counters)
    : context_(std::move(context)),
      type_(type),
      registry_(std::move(registry)),
      events_(std::move(events)),
      counters_(std::move(counters)) {}

StreamEncoder::~StreamEncoder() { Abandon(); }

void StreamEncoder::SetParams(const video::EncodeParams& params,
                              std::vector<video::RoiConfigInfo> regions) {
  if (std::exchange(params_hold_, false)) {
    former_params_ = params_;
    former_regions_ = regions_;
  }
  TakeParams(params, std::move(regions));
}

void StreamEncoder::TakeParams(const video::EncodeParams& params,
                               std::vector<video::RoiConfigInfo> regions) {
  params_ = params;
  regions_ = std::move(regions);
  dropper_.SetRate(FrameRateOf(params));
  const video::VideoCodec codec = params.codec.value_or(kDefaultCodec);
  if (entry_ == nullptr || entry_->codec != codec) entry_ = registry_.Find(codec);
}

bool StreamEncoder::Keeps(const video::PixelFrame& frame) {
  const std::uint64_t source_run = frame.info().source_run;
  if (source_run_ && *source_run_ != source_run) BeginAnew();
  source_run_ = source_run;
  const bool kept = dropper_.Keep(frame.info().timestamp);
  if (!kept) counters_->CountDroppedForRate();
  return kept;
}

void StreamEncoder::Encode(const video::PixelFrame& frame, const EncodedFrameReceiver& receiver) {
  const PixelFrameInfo& info = frame.info();
  if (Reads(info) && PrepareEncoder({info.size, info.color}, receiver)) {
    Submit(frame, receiver);
  } else {
    counters_->CountFailed();
  }
}

bool StreamEncoder::Reads(const PixelFrameInfo& info) {
  // Without an encoder there is something else to tell than what it does not read.
  if (entry_ == nullptr) return true;
  const bool reads = entry_->Reads(info);
  if (!reads && !input_refused_) {
    events_.Failed(video::VideoEncoderError::kInputUnsupported, entry_->WhyNotRead(info));
  }
  input_refused_ = !reads;
  return reads;
}

void StreamEncoder::Submit(const video::PixelFrame& frame, const EncodedFrameReceiver& receiver) {
  const PixelFrameInfo& info = frame.info();
  const std::int64_t ticks = NextTicks(info.timestamp);
  const bool key_frame =
      std::exchange(key_frame_requested_, false) || IsKeyFrameDue(info.timestamp);
  // Now, because the picture may come late, and the frames until then need none.
  if (std::exchange(is_new_, false) || key_frame) NoteKeyFrame(ticks, info.timestamp);
  inside_.push_back({ticks, info.timestamp, ExpectedDuration(), info.capture_time, info.sequence,
                     info.damaged_frames});
  EncoderFailure failure;
  const auto begin = steady_clock::now();
  const bool taken = encoder_->Submit(frame, ticks, key_frame, failure);
  inside_.back().encode_time = steady_clock::now() - begin;
  if (taken) {
    TakePictures(receiver);
  } else {
    Fail(failure);
  }
}

void StreamEncoder::TakePictures(const EncodedFrameReceiver& receiver) {
  while (encoder_ != nullptr) {
    EncoderFailure failure;
    const auto begin = steady_clock::now();
    const auto picture = encoder_->Take(failure);
    if (!picture.has_value()) {
      if (failure.code != video::VideoEncoderError::kNone) Fail(failure);
      return;
    }
    const auto found = std::find_if(inside_.begin(), inside_.end(), [&](const Inside& frame) {
      return frame.ticks == picture->ticks;
    });
    if (found == inside_.end()) {
      Fail({video::VideoEncoderError::kEncodeFailed,
            "the encoder gave a picture of a frame that it does not have"});
      return;
    }
    Inside frame = *found;
    inside_.erase(found);
    frame.encode_time += steady_clock::now() - begin;
    if (HandOver(*picture, frame, receiver) == FrameFate::kStopped) Abandon();
  }
}

FrameFate StreamEncoder::HandOver(const EncodedPicture& picture, const Inside& frame,
                                  const EncodedFrameReceiver& receiver) {
  if (picture.key_frame) NoteKeyFrame(frame.ticks, frame.timestamp);
  const video::EncodedFrame encoded{
      picture.data,      picture.size_bytes, settings_.codec,        type_,
      picture.key_frame, format_.size,       format_.color,          frame.timestamp,
      frame.duration,    frame.capture_time, frame.sequence,         frame.damaged_frames,
      frame.encode_time, pictures_++,        picture.temporal_layer, picture.referenced};
  CountEncoded(encoded);
  const FrameFate fate = receiver(encoded);
  counters_->CountHandedOver(fate);
  return fate;
}

void StreamEncoder::Flush(const EncodedFrameReceiver& receiver) {
  if (inside_.empty()) return;
  EncoderFailure failure;
  const auto begin = steady_clock::now();
  if (!encoder_->Flush(failure)) return Fail(failure);
  const auto share = (steady_clock::now() - begin) / static_cast<std::int64_t>(inside_.size());
  for (Inside& frame : inside_) frame.encode_time += share;
  TakePictures(receiver);
  if (inside_.empty()) return;
  Fail({video::VideoEncoderError::kEncodeFailed,
        "the encoder gave no picture for " + std::to_string(inside_.size()) + " frames"});
}

void StreamEncoder::EndStream(const EncodedFrameReceiver& receiver) {
  Flush(receiver);
  pictures_ = 0;
  BeginAnew();
}

// What comes has nothing to do with what was before.
void StreamEncoder::BeginAnew() {
  dropper_.Reset();
  frames_ = 0;
  key_frame_requested_ = true;
}

bool StreamEncoder::PrepareEncoder(const StreamFormat& format,
                                   const EncodedFrameReceiver& receiver) {
  EncoderSettings settings = ResolveEncoderSettings(params_, regions_, format.size);
  const bool open = encoder_ != nullptr && encoder_->CanGoOn();
  if (settings == settings_ && format == format_ && (open || failed_)) {
    params_hold_ = open;
    return open;
  }
  if (open && format == format_) {
    ChangeSettings(settings, receiver);
    return true;
  }
  // Of the size and colour of before.
  Flush(receiver);
  return Open(settings, format);
}

void StreamEncoder::ChangeSettings(const EncoderSettings& settings,
                                   const EncodedFrameReceiver& receiver) {
  if (settings.codec == settings_.codec && encoder_->Reconfigure(settings)) {
    return TakeSettings(settings);
  }
  // Beside the one that is open, which goes on if this one cannot be opened.
  EncoderFailure failure;
  auto other = registry_.Open(settings, format_, failure);
  if (other == nullptr) {
    TakeParams(former_params_, former_regions_);
    params_hold_ = true;
    return TellRefused(context_, type_, events_, failure.text);
  }
  Flush(receiver);
  TakeSettings(settings);
  Install(std::move(other));
}

bool StreamEncoder::Open(const EncoderSettings& settings, const StreamFormat& format) {
  // Closed first, so that nobody needs memory for two sizes at once.
  encoder_.reset();
  format_ = format;
  TakeSettings(settings);
  EncoderFailure failure;
  auto encoder = registry_.Open(settings, format, failure);
  if (encoder == nullptr) {
    Fail(failure);
    return false;
  }
  Install(std::move(encoder));
  return true;
}

void StreamEncoder::TakeSettings(const EncoderSettings& settings) {
  settings_ = settings;
  params_hold_ = true;
  counters_->SetTargetBitrate(static_cast<std::uint32_t>(settings_.bitrate_kbps) * 1000);
}

void StreamEncoder::Install(std::unique_ptr<IFrameEncoder> encoder) {
  encoder_ = std::move(encoder);
  failed_ = false;
  is_new_ = true;
  PublishProperty(format_);
}

void StreamEncoder::Fail(const EncoderFailure& failure) {
  encoder_.reset();
  failed_ = true;
  params_hold_ = false;
  counters_->SetProperty({});
  if (movra_logging::ShouldCreateLogMessage(movra_logging::kLogLevelError)) {
    LogStream("../../media/encode/stream_encoder", __LINE__, __func__,
              movra_logging::kLogLevelError, nullptr)
        << LogTraceId(context_.trace()) << LogTag(context_.log_tag()) << " "
        << video::VideoStreamTypeToString(type_) << " encoder failed: " << failure.text;
  }
  events_.Failed(failure.code, failure.text);
  if (inside_.empty()) return;
  counters_->CountFailed(static_cast<std::uint32_t>(inside_.size()));
  inside_.clear();
}

void StreamEncoder::Abandon() {
  encoder_.reset();
  if (inside_.empty()) return;
  counters_->CountStopped(static_cast<std::uint32_t>(inside_.size()));
  inside_.clear();
}

void StreamEncoder::PublishProperty(const StreamFormat& format) {
  const video::EncoderProperty property = PropertyOf(*encoder_, settings_.codec, format);
  counters_->SetProperty(property);
  if (property == property_) return;
  events_.PropertyChanged(property_, property);
  property_ = property;
}

void StreamEncoder::CountEncoded(const video::EncodedFrame& encoded) {
  EncoderCounters::Encoded counted;
  counted.bytes = encoded.size_bytes;
  counted.key_frame = encoded.key_frame;
  counted.size = encoded.size;
  counted.encode_time = encoded.encode_time;
  if (encoded.capture_time.count() > 0) {
    counted.latency =
        std::max(nanoseconds(0), steady_clock::now().time_since_epoch() - encoded.capture_time);
  }
  counters_->CountEncoded(counted);
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

void StreamEncoder::NoteKeyFrame(std::int64_t ticks, nanoseconds timestamp) {
  // A late picture may be of before the last one that was asked for, or of another time line.
  if (ticks < std::max(first_ticks_, last_key_ticks_)) return;
  last_key_ticks_ = ticks;
  last_key_frame_ = timestamp;
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
