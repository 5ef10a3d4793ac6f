#include "app/stream_meter.h"

#include <utility>

namespace movra::app {
namespace {

using std::chrono::nanoseconds;

// Sources round their time stamps to their own ticks; a frame so close below the limit is meant to
// stand on it.
constexpr nanoseconds kTickRounding = std::chrono::microseconds(20);

}  // namespace

StreamMeter::StreamMeter(std::shared_ptr<video::IVideoFrameTrackWriter> next,
                         std::optional<nanoseconds> limit, Callbacks callbacks)
    : next_(std::move(next)), limit_(limit), callbacks_(std::move(callbacks)) {}

bool StreamMeter::IsBeyondLimit(const video::EncodedFrame& frame) const {
  return limit_ && frame.timestamp - *first_timestamp_ >= *limit_ - kTickRounding;
}

void StreamMeter::Write(const video::EncodedFrame& frame) {
  CountPacket();
  if (limit_reached_) return;
  const bool is_first = !first_timestamp_;
  if (is_first) {
    first_timestamp_ = frame.timestamp;
    first_capture_ = frame.capture_time;
  }
  if (IsBeyondLimit(frame)) {
    limit_reached_ = true;
    if (callbacks_.on_limit) callbacks_.on_limit();
    return;
  }
  // Before the write: a slow disk is not the encoder's latency.
  const auto arrival = std::chrono::steady_clock::now();
  next_->Write(frame);
  Count(frame, arrival);
  if (is_first && callbacks_.on_first_frame) callbacks_.on_first_frame();
}

void StreamMeter::WriteEnd(const video::StreamEnd& end) { next_->WriteEnd(end); }

void StreamMeter::CountPacket() {
  const std::lock_guard lock(mutex_);
  ++figures_.packets;
}

void StreamMeter::Count(const video::EncodedFrame& frame,
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
  figures_.media_time = frame.timestamp - *first_timestamp_ + frame.duration;
  const nanoseconds latency = arrival.time_since_epoch() - frame.capture_time;
  encode_times_.Add(frame.encode_time);
  latencies_.Add(latency);
  roads_.Add(latency - frame.encode_time);
  pacing_errors_.Add(std::chrono::abs(frame.capture_time - first_capture_ -
                                      (frame.timestamp - *first_timestamp_)));
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
