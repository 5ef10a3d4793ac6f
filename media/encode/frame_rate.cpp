#include "media/encode/frame_rate.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace movra::media {
namespace {

constexpr double kNanosecondsPerSecond = 1e9;

std::int32_t Rounded(double value) {
  constexpr double kLargest = std::numeric_limits<std::int32_t>::max();
  return static_cast<std::int32_t>(std::lround(std::clamp(value, 1.0, kLargest)));
}

}  // namespace

double FrameRate::PerSecond() const {
  return IsNone() ? 0 : static_cast<double>(numerator) / denominator;
}

std::chrono::nanoseconds FrameRate::Interval() const {
  const std::chrono::nanoseconds seconds = std::chrono::seconds(denominator);
  return IsNone() ? std::chrono::nanoseconds(0) : seconds / numerator;
}

FrameRate MakeFrameRate(std::int32_t numerator, std::int32_t denominator) {
  if (numerator <= 0 || denominator <= 0) return {};
  const std::int32_t divisor = std::gcd(numerator, denominator);
  return {numerator / divisor, denominator / divisor};
}

FrameRate MeasuredFrameRate(std::chrono::nanoseconds sum, std::int64_t intervals) {
  if (sum.count() <= 0 || intervals <= 0) return {};
  constexpr std::chrono::nanoseconds kMillisecond = std::chrono::milliseconds(1);
  constexpr std::chrono::nanoseconds kFineError = std::chrono::microseconds(24);
  const bool in_milliseconds = sum % kMillisecond == std::chrono::nanoseconds(0);
  const auto error = static_cast<double>((in_milliseconds ? kMillisecond : kFineError).count());
  const auto time = static_cast<double>(sum.count());
  const double count = static_cast<double>(intervals) * kNanosecondsPerSecond;
  const double rate = count / time;
  for (const std::int32_t divisor : {1000, 1001}) {
    const std::int32_t whole = Rounded(rate * divisor / 1000);
    if (whole > std::numeric_limits<std::int32_t>::max() / 1000) break;
    const FrameRate candidate = MakeFrameRate(whole * 1000, divisor);
    if (std::abs(count / candidate.PerSecond() - time) <= error) return candidate;
  }
  // A ten-millionth of the usual rates, in numbers of 31 bits.
  constexpr std::int32_t kFine = 100'000;
  return rate < 1 ? MakeFrameRate(kFine, Rounded(kFine / rate))
                  : MakeFrameRate(Rounded(rate * kFine), kFine);
}

FrameRate FrameRateOf(const video::EncodeParams& params) {
  const FrameRate exact = MakeFrameRate(params.frame_rate_numerator.value_or(0),
                                        params.frame_rate_denominator.value_or(0));
  return exact.IsNone() ? MakeFrameRate(params.frame_rate.value_or(0), 1) : exact;
}

}  // namespace movra::media
