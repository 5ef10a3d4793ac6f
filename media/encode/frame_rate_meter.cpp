#include "media/encode/frame_rate_meter.h"

#include <algorithm>
#include <cmath>

namespace movra::media {
namespace {

constexpr std::int64_t kTicksPerSecond = 90'000;
constexpr std::int64_t kWindow = kTicksPerSecond / 2;
constexpr std::int64_t kLeastIntervals = 4;
constexpr double kTolerance = 0.1;

}  // namespace

bool FrameRateMeter::Add(std::int64_t ticks) {
  if (!started_) {
    started_ = true;
    last_ticks_ = ticks;
    return false;
  }
  const std::int64_t interval = ticks - last_ticks_;
  // Twice the interval before is the most that counts, so one long one does not pass for a rate.
  elapsed_ += last_interval_ > 0 ? std::min(interval, 2 * last_interval_) : interval;
  ++intervals_;
  last_ticks_ = ticks;
  last_interval_ = interval;
  if (elapsed_ < kWindow || intervals_ < kLeastIntervals) return false;

  const double measured =
      static_cast<double>(intervals_) * kTicksPerSecond / static_cast<double>(elapsed_);
  elapsed_ = 0;
  intervals_ = 0;
  if (std::abs(measured / rate_ - 1) <= kTolerance) return false;
  rate_ = measured;
  return true;
}

}  // namespace movra::media
