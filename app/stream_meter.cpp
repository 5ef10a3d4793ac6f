#include "app/stream_meter.h"

#include <algorithm>
#include <utility>

namespace movra::app {
namespace {

using std::chrono::nanoseconds;

// Sources round their time stamps to their own ticks.
constexpr nanoseconds kTickRounding = std::chrono::microseconds(20);

}  // namespace

void StreamFigures::TakeWritten(const media::WrittenFigures& written) {
  frames = written.frames;
  key_frames = written.key_frames;
  bytes = written.bytes;
  file_bytes = written.file_bytes;
  media_time = written.duration;
  longest_wait = written.longest_wait;
}

StreamMeter::StreamMeter(std::shared_ptr<video::IVideoFrameTrackWriter> next,
                         std::shared_ptr<media::TimeOrigin> origin,
                         std::optional<nanoseconds> limit, Callbacks callbacks)
    : next_(std::move(next)),
      limit_(limit),
      callbacks_(std::move(callbacks)),
      time_line_(std::move(origin)) {}

bool StreamMeter::IsAtLimit(nanoseconds place) const {
  return limit_ && place >= *limit_ - kTickRounding;
}

void StreamMeter::ReachLimit() {
  limit_reached_ = true;
  if (callbacks_.on_limit) callbacks_.on_limit();
}

void StreamMeter::Write(const video::EncodedFrame& frame) {
  CountPacket();
  if (limit_reached_) return CountBeyondLimit();
  const bool is_first = !time_line_.last();
  const nanoseconds place = time_line_.Add(frame.timestamp, frame.duration);
  if (IsAtLimit(place)) {
    CountBeyondLimit();
    return ReachLimit();
  }
  if (is_first) {
    first_place_ = place;
    first_timestamp_ = frame.timestamp;
    first_capture_ = frame.capture_time;
  }
  video::EncodedFrame kept = frame;
  if (limit_) kept.duration = std::min(frame.duration, *limit_ - place);
  // Before the write: a slow disk is not the encoder's latency.
  const auto arrival = std::chrono::steady_clock::now();
  next_->Write(kept);
  Count(kept, place, arrival);
  if (is_first && callbacks_.on_first_frame) callbacks_.on_first_frame();
}

void StreamMeter::WriteEnd(const video::StreamEnd& end) {
  // An end behind the limit is as little the stream's as a frame there.
  if (limit_reached_) return;
  video::StreamEnd kept = end;
  if (limit_ && end.end_time && time_line_.last()) {
    const nanoseconds beyond = time_line_.PlaceOf(*end.end_time) - *limit_;
    if (beyond.count() > 0) *kept.end_time -= beyond;
    // The last picture would have stood for longer.
    if (beyond > kTickRounding) ReachLimit();
  }
  next_->WriteEnd(kept);
}

void StreamMeter::CountPacket() {
  const std::lock_guard lock(mutex_);
  ++figures_.packets;
}

void StreamMeter::CountBeyondLimit() {
  const std::lock_guard lock(mutex_);
  ++figures_.packets_beyond_limit;
}

void StreamMeter::Count(const video::EncodedFrame& frame, nanoseconds place,
                        std::chrono::steady_clock::time_point arrival) {
  const std::lock_guard lock(mutex_);
  if (figures_.frames == 0) {
    figures_.first_frame = arrival;
    figures_.begin = frame.timestamp;
  }
  ++figures_.frames;
  if (frame.key_frame) ++figures_.key_frames;
  figures_.bytes += frame.size_bytes;
  figures_.damaged_frames = frame.damaged_frames;
  figures_.media_time = place - first_place_ + frame.duration;
  const nanoseconds latency = arrival.time_since_epoch() - frame.capture_time;
  encode_times_.Add(frame.encode_time);
  latencies_.Add(latency);
  roads_.Add(latency - frame.encode_time);
  pacing_errors_.Add(
      std::chrono::abs(frame.capture_time - first_capture_ - (frame.timestamp - first_timestamp_)));
}

StreamFigures StreamMeter::Figures() const {
  const std::lock_guard lock(mutex_);
  StreamFigures figures = figures_;
  figures.encode_time = encode_times_.Summary();
  figures.latency = latencies_.Summary();
  figures.road = roads_.Summary();
  figures.pacing_error = pacing_errors_.Summary();
  return figures;
}

}  // namespace movra::app
