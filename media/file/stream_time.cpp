#include "media/file/stream_time.h"

#include "media/ffmpeg/ffmpeg_api.h"

namespace movra::media {

std::chrono::nanoseconds InNanoseconds(std::int64_t value, const AVRational& unit) {
  constexpr AVRational kNanoseconds{1, 1'000'000'000};
  const std::int64_t scaled = av_rescale_q(value, unit, kNanoseconds);
  // What does not fit comes out as the least number, whatever its sign was.
  return std::chrono::nanoseconds(scaled < 0 && value > 0 ? kFurthestTime : BoundedTime(scaled));
}

}  // namespace movra::media
