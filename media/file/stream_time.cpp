#include "media/file/stream_time.h"

#include "media/ffmpeg/ffmpeg_api.h"

namespace movra::media {
namespace {

constexpr AVRational kNanoseconds{1, 1'000'000'000};

}  // namespace

std::chrono::nanoseconds InNanoseconds(std::int64_t value, const AVRational& unit) {
  const std::int64_t scaled = av_rescale_q(value, unit, kNanoseconds);
  // What does not fit comes out as the least number, whatever its sign was.
  return std::chrono::nanoseconds(scaled < 0 && value > 0 ? kFurthestTime : BoundedTime(scaled));
}

std::int64_t InUnits(std::chrono::nanoseconds time, const AVRational& unit) {
  return BoundedTime(av_rescale_q(time.count(), kNanoseconds, unit));
}

}  // namespace movra::media
