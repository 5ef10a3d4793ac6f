#include "media/figures/frame_counts.h"

#include <numeric>

namespace movra::media {

const char* FrameFateName(FrameFate fate) {
  switch (fate) {
    case FrameFate::kEncoded:
      return "encoded";
    case FrameFate::kDisplaced:
      return "displaced";
    case FrameFate::kDroppedToRate:
      return "dropped_to_rate";
    case FrameFate::kNotMade:
      return "not_made";
    case FrameFate::kIntercepted:
      return "intercepted";
    case FrameFate::kUnwanted:
      return "unwanted";
    case FrameFate::kFailed:
      return "failed";
    case FrameFate::kStopped:
      break;
  }
  return "stopped";
}

std::uint64_t FrameCounts::sum() const {
  return std::accumulate(by_fate.begin(), by_fate.end(), std::uint64_t{0});
}

void FrameCounters::Add(const FrameCounts& counts) {
  Come(counts.came);
  for (std::size_t i = 0; i < kFrameFates; ++i) Count(static_cast<FrameFate>(i), counts.by_fate[i]);
}

FrameCounts FrameCounters::Counts() const {
  FrameCounts counts;
  // Fates first: a frame that comes meanwhile is on its way, and none seems to be one too many.
  for (std::size_t i = 0; i < kFrameFates; ++i) {
    counts.by_fate[i] = by_fate_[i].load(std::memory_order_acquire);
  }
  counts.came = came_.load(std::memory_order_acquire);
  return counts;
}

void CountInto(video::IPixelFrameTrackReader& reader,
               const std::shared_ptr<FrameCounters>& counters) {
  if (auto* const end = dynamic_cast<CountingTrackEnd*>(&reader)) end->CountInto(counters);
}

bool CountsInto(const video::IPixelFrameTrackReader& reader, const FrameCounters& counters) {
  const auto* const end = dynamic_cast<const CountingTrackEnd*>(&reader);
  return end != nullptr && end->CountsInto(counters);
}

bool CountsInto(const video::IPixelFrameTrackWriter& writer, const FrameCounters& counters) {
  const auto* const end = dynamic_cast<const CountingTrackEnd*>(&writer);
  return end != nullptr && end->CountsInto(counters);
}

void CountUnwritten(video::IPixelFrameTrackWriter& writer, FrameFate fate) {
  if (auto* const end = dynamic_cast<CountingTrackEnd*>(&writer)) end->CountUnwritten(fate);
}

}  // namespace movra::media
