#include "media/encode/frame_rate_dropper.h"

#include <algorithm>
#include <utility>

namespace movra::media {
namespace {

using std::chrono::nanoseconds;

constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;
constexpr int kHighestRate = 1000;

// How early a frame may be, as a share of the stream's interval. Away from the early positions of
// common rate pairs (1/2 of an interval for 2:1, 1/3 for 3:2, 2/5 for 5:3, 1/4 for 4:3), so that
// jitter does not flip a decision between one frame and the next. A source that is faster than
// twice the rate has a frame nearer to the due time: of its interval it is twice that share.
constexpr std::int64_t kEarlyNumerator = 5;
constexpr std::int64_t kEarlyDenominator = 16;

nanoseconds EarlyBy(nanoseconds interval, nanoseconds source_interval) {
  return std::min(interval / 2, source_interval) / kEarlyDenominator * 2 * kEarlyNumerator;
}

}  // namespace

void FrameRateDropper::SetRate(const FrameRate& rate) {
  const bool limits = !rate.IsNone() && rate.PerSecond() <= kHighestRate;
  const FrameRate limit = limits ? MakeFrameRate(rate.numerator, rate.denominator) : FrameRate();
  if (limit == rate_) return;
  rate_ = limit;
  anchor_ = last_kept_;
  next_slot_ = 1;
}

bool FrameRateDropper::Keep(nanoseconds timestamp) {
  if (!started_ || timestamp < last_seen_) {
    Anchor(timestamp);
    return true;
  }
  const nanoseconds distance = timestamp - std::exchange(last_seen_, timestamp);
  // Two frames that come close together say nothing about the source's rate.
  const nanoseconds source_interval = std::max(distance, std::exchange(last_distance_, distance));
  if (!rate_.IsNone()) {
    const nanoseconds early = EarlyBy(rate_.Interval(), source_interval);
    if (timestamp - anchor_ < Due(next_slot_) - early) return false;
    TakeSlot(timestamp - anchor_, early);
  }
  last_kept_ = timestamp;
  return true;
}

nanoseconds FrameRateDropper::Due(std::int64_t slot) const {
  const std::int64_t seconds = slot * rate_.denominator;
  return nanoseconds(seconds / rate_.numerator * kNanosecondsPerSecond +
                     seconds % rate_.numerator * kNanosecondsPerSecond / rate_.numerator);
}

void FrameRateDropper::TakeSlot(nanoseconds passed, nanoseconds early) {
  // After this time the grid begins anew exactly: so many slots as the numerator says.
  const nanoseconds cycle = std::chrono::seconds(rate_.denominator);
  ++next_slot_;
  // Less than an interval late is jitter and the next frame is due as planned. More is a gap.
  if (passed >= Due(next_slot_)) {
    passed += early;
    anchor_ += passed / cycle * cycle;
    const nanoseconds rest = passed % cycle;
    const std::int64_t seconds = rest.count() / kNanosecondsPerSecond;
    const std::int64_t fraction = rest.count() % kNanosecondsPerSecond;
    next_slot_ = (seconds * rate_.numerator + fraction * rate_.numerator / kNanosecondsPerSecond) /
                     rate_.denominator +
                 1;
  }
  // Keeps slot numbers so low that their products fit.
  if (next_slot_ > rate_.numerator) {
    anchor_ += cycle;
    next_slot_ -= rate_.numerator;
  }
}

void FrameRateDropper::Anchor(nanoseconds timestamp) {
  started_ = true;
  anchor_ = timestamp;
  next_slot_ = 1;
  last_seen_ = timestamp;
  last_kept_ = timestamp;
  last_distance_ = nanoseconds(0);
}

}  // namespace movra::media
