#include "media/track/frame_pusher.h"

#include <chrono>
#include <utility>

namespace movra::media {

FramePusher::FramePusher(std::shared_ptr<video::IPixelFrameTrackWriter> writer)
    : writer_(std::move(writer)) {
  writer_->SetRoomCallback([this] {
    {
      const std::lock_guard lock(mutex_);
      has_room_ = true;
    }
    changed_.notify_one();
  });
}

FramePusher::~FramePusher() { writer_->SetRoomCallback({}); }

bool FramePusher::Push(video::PixelFrame frame) {
  frame = Complete(frame);
  auto result = video::TrackWriteResult::kFull;
  for (bool is_first = true; result == video::TrackWriteResult::kFull; is_first = false) {
    if (!MayTry(is_first)) return false;
    result = writer_->Write(frame);
  }
  const bool is_taken = result == video::TrackWriteResult::kAccepted ||
                        result == video::TrackWriteResult::kReplacedOlder;
  if (is_taken) next_number_ = frame.info().sequence + 1;
  return is_taken;
}

void FramePusher::End(const video::StreamEnd& end) {
  {
    const std::lock_guard lock(mutex_);
    if (is_stopped_) return;
  }
  writer_->WriteEnd(end);
}

void FramePusher::Stop() {
  {
    const std::lock_guard lock(mutex_);
    is_stopped_ = true;
  }
  changed_.notify_one();
}

video::PixelFrame FramePusher::Complete(const video::PixelFrame& frame) {
  video::PixelFrameInfo info = frame.info();
  info.delivery = video::FrameDelivery::kLossless;
  if (info.sequence == 0) info.sequence = next_number_;
  if (info.capture_time == info.capture_time.zero()) {
    info.capture_time = std::chrono::steady_clock::now().time_since_epoch();
  }
  return frame.WithInfo(info);
}

// Room that is made from here on is noticed: the note is torn up before the try.
bool FramePusher::MayTry(bool is_first) {
  std::unique_lock lock(mutex_);
  if (!is_first) changed_.wait(lock, [this] { return has_room_ || is_stopped_; });
  has_room_ = false;
  return !is_stopped_;
}

}  // namespace movra::media
