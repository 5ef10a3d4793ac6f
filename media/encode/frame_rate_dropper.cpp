#include "media/encode/frame_rate_dropper.h"

namespace movra::media {
namespace {

using std::chrono::nanoseconds;

constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;
constexpr int kHighestRate = 1000;

// How early a frame may be, as a share of the interval. Away from the early positions of common
// rate pairs (1/2 of an interval for 2:1, 1/3 for 3:2, 2/5 for 5:3, 1/4 for 4:3), so that jitter
// does not flip a decision between one frame and the next.
constexpr std::int64_t kEarlyNumerator = 5;
constexpr std::int64_t kEarlyDenominator = 16;

nanoseconds EarlyBy(int rate) {
  return nanoseconds(kNanosecondsPerSecond * kEarlyNumerator / (kEarlyDenominator * rate));
}

}  // namespace

void FrameRateDropper::SetRate(int frames_per_second) {
  const int rate =
      frames_per_second > kHighestRate || frames_per_second < 0 ? 0 : frames_per_second;
  if (rate == rate_) return;
  rate_ = rate;
  anchor_ = last_kept_;
  next_slot_ = 1;
}

bool FrameRateDropper::Keep(nanoseconds timestamp) {
  if (!started_ || timestamp < last_seen_) {
    Anchor(timestamp);
    return true;
  }
  last_seen_ = timestamp;
  if (rate_ > 0) {
    if (timestamp + EarlyBy(rate_) < Due(next_slot_)) return false;
    ++next_slot_;
    // Less than an interval late is jitter and the next frame is due as planned. More is a gap.
    if (timestamp >= Due(next_slot_)) {
      const std::int64_t passed = (timestamp + EarlyBy(rate_) - anchor_).count();
      const std::int64_t seconds = passed / kNanosecondsPerSecond;
      const std::int64_t rest = passed % kNanosecondsPerSecond;
      next_slot_ = seconds * rate_ + rest * rate_ / kNanosecondsPerSecond + 1;
    }
  }
  last_kept_ = timestamp;
  return true;
}

nanoseconds FrameRateDropper::Due(std::int64_t slot) const {
  const std::int64_t seconds = slot / rate_;
  const std::int64_t rest = slot % rate_;
  return anchor_ +
         nanoseconds(seconds * kNanosecondsPerSecond + rest * kNanosecondsPerSecond / rate_);
}

void FrameRateDropper::Anchor(nanoseconds timestamp) {
  started_ = true;
  anchor_ = timestamp;
  next_slot_ = 1;
  last_seen_ = timestamp;
  last_kept_ = timestamp;
}

}  // namespace movra::media
