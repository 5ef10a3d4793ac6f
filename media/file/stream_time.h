#ifndef MOVRA_MEDIA_FILE_STREAM_TIME_H_
#define MOVRA_MEDIA_FILE_STREAM_TIME_H_

#include <algorithm>
#include <chrono>
#include <cstdint>

struct AVRational;

namespace movra::media {

// Files may say any number. Times are kept so near that three of them can be added up: in
// nanoseconds these are 36 years.
constexpr std::int64_t kFurthestTime = std::int64_t{1} << 60;

[[nodiscard]] constexpr std::int64_t BoundedTime(std::int64_t time) {
  return std::clamp(time, -kFurthestTime, kFurthestTime);
}

// A time in a stream's unit, bounded.
[[nodiscard]] std::chrono::nanoseconds InNanoseconds(std::int64_t value, const AVRational& unit);

// The same backwards, to the nearest unit.
[[nodiscard]] std::int64_t InUnits(std::chrono::nanoseconds time, const AVRational& unit);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_FILE_STREAM_TIME_H_
