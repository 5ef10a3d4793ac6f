#include "media/preprocess/stream_clock.h"

#include <algorithm>
#include <variant>

namespace movra::media {

using std::chrono::nanoseconds;
using video::PixelFrame;
using video::PixelFrameInfo;
using video::StreamEnd;

namespace {

// Where nothing tells how long the last picture stood.
constexpr nanoseconds kUsualDistance = std::chrono::milliseconds(33);

}  // namespace

void StreamClock::Place(video::TrackItem& item) {
  if (auto* const frame = std::get_if<PixelFrame>(&item)) PlaceFrame(*frame);
  if (auto* const end = std::get_if<StreamEnd>(&item); end != nullptr && end->end_time) {
    *end->end_time += shift_;
    end_ = end->end_time;
  }
}

void StreamClock::PlaceFrame(PixelFrame& frame) {
  PixelFrameInfo info = frame.info();
  const bool is_another = last_ && last_->source_run != info.source_run;
  if (is_another) shift_ = last_->timestamp + GapBefore(info) - info.timestamp;
  if (shift_.count() != 0) {
    info.timestamp += shift_;
    frame = frame.WithInfo(info);
  }
  const nanoseconds distance =
      last_ && !is_another ? info.timestamp - last_->timestamp : nanoseconds(0);
  last_ = {info.source_run, info.delivery == video::FrameDelivery::kLive, info.timestamp,
           info.capture_time, distance};
  end_.reset();
}

nanoseconds StreamClock::GapBefore(const PixelFrameInfo& info) const {
  const bool are_timed = last_->capture_time.count() > 0 && info.capture_time.count() > 0;
  const nanoseconds apart = info.capture_time - last_->capture_time;
  if (last_->is_live && are_timed && apart.count() > 0) return apart;
  if (end_ && *end_ > last_->timestamp) return *end_ - last_->timestamp;
  return last_->distance.count() > 0 ? last_->distance : kUsualDistance;
}

}  // namespace movra::media
