#include "media/encode/encoder_counters.h"

#include <algorithm>
#include <utility>

namespace movra::media {
namespace {

std::uint32_t Microseconds(std::chrono::nanoseconds time) {
  return static_cast<std::uint32_t>(
      std::chrono::duration_cast<std::chrono::microseconds>(time).count());
}

std::uint32_t MeanMicroseconds(std::chrono::nanoseconds sum, std::uint32_t count) {
  return count == 0 ? 0 : Microseconds(sum / count);
}

}  // namespace

EncoderCounters::EncoderCounters(std::shared_ptr<FrameCounters> frames)
    : frames_(std::move(frames)) {}

void EncoderCounters::CountIn() {
  const MutexLock lock(mutex_);
  ++record_.frames_in;
}

void EncoderCounters::CountDroppedForRate() {
  frames_->Count(FrameFate::kDroppedToRate);
  const MutexLock lock(mutex_);
  ++record_.frames_dropped_rate;
}

void EncoderCounters::CountFailed(std::uint32_t frames) {
  frames_->Count(FrameFate::kFailed, frames);
  const MutexLock lock(mutex_);
  record_.frames_failed += frames;
}

void EncoderCounters::CountStopped(std::uint32_t frames) {
  frames_->Count(FrameFate::kStopped, frames);
}

void EncoderCounters::CountEncoded(const Encoded& encoded) {
  const MutexLock lock(mutex_);
  ++record_.frames_encoded;
  record_.key_frames += encoded.key_frame ? 1 : 0;
  record_.width = static_cast<std::uint32_t>(encoded.size.width);
  record_.height = static_cast<std::uint32_t>(encoded.size.height);
  bytes_ += encoded.bytes;
  encode_time_sum_ += encoded.encode_time;
  record_.encode_time_max_us =
      std::max(record_.encode_time_max_us, Microseconds(encoded.encode_time));
  if (encoded.latency.count() < 0) return;
  ++latency_count_;
  latency_sum_ += encoded.latency;
  record_.latency_max_us = std::max(record_.latency_max_us, Microseconds(encoded.latency));
}

void EncoderCounters::CountHandedOver(FrameFate fate) { frames_->Count(fate); }

void EncoderCounters::SetTargetBitrate(std::uint32_t bits_per_second) {
  const MutexLock lock(mutex_);
  record_.target_bitrate_bps = bits_per_second;
}

void EncoderCounters::SetProperty(const video::EncoderProperty& property) {
  const MutexLock lock(mutex_);
  property_ = property;
}

video::EncoderStats EncoderCounters::Stats() const {
  const MutexLock lock(mutex_);
  video::EncoderStats stats{record_, property_.implementation};
  stats.record.encode_time_mean_us = MeanMicroseconds(encode_time_sum_, record_.frames_encoded);
  stats.record.latency_mean_us = MeanMicroseconds(latency_sum_, latency_count_);
  stats.record.bytes_low = static_cast<std::uint32_t>(bytes_);
  stats.record.bytes_high = static_cast<std::uint32_t>(bytes_ >> 32);
  return stats;
}

video::EncoderProperty EncoderCounters::Property() const {
  const MutexLock lock(mutex_);
  return property_;
}

}  // namespace movra::media
