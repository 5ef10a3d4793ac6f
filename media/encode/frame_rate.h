#ifndef MOVRA_MEDIA_ENCODE_FRAME_RATE_H_
#define MOVRA_MEDIA_ENCODE_FRAME_RATE_H_

#include <chrono>
#include <cstdint>

#include "video/encode_params.h"

namespace movra::media {

// Frames per second as a fraction in lowest terms, so that 29.97 (30000/1001) and 12.5 (25/2) stay
// exact over hours. A value without sense (0, a negative one) stands for "none".
struct FrameRate {
  std::int32_t numerator = 0;
  std::int32_t denominator = 1;

  [[nodiscard]] bool IsNone() const { return numerator <= 0 || denominator <= 0; }
  // 0 if there is none.
  [[nodiscard]] double PerSecond() const;
  // From one frame to the next, rounded down; 0 if there is none.
  [[nodiscard]] std::chrono::nanoseconds Interval() const;

  friend bool operator==(const FrameRate&, const FrameRate&) = default;
};

// In lowest terms; {0, 1} if one of the two is not positive.
[[nodiscard]] FrameRate MakeFrameRate(std::int32_t numerator, std::int32_t denominator);

// The rate of pictures that came at `intervals` equal intervals, which last this time together.
// Time stamps are rounded, mostly to milliseconds or to 90 kHz: a whole number of pictures per
// second, or one divided by 1.001, is meant where it is as good as what was measured.
[[nodiscard]] FrameRate MeasuredFrameRate(std::chrono::nanoseconds sum, std::int64_t intervals);

// The rate that the parameters ask for: the exact one if both of its parts are there and make
// sense, otherwise the whole number, otherwise none.
[[nodiscard]] FrameRate FrameRateOf(const video::EncodeParams& params);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_ENCODE_FRAME_RATE_H_
