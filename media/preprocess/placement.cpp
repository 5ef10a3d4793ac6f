#include "media/preprocess/placement.h"

#include <algorithm>
#include <cstdint>

namespace movra::media {

using video::FrameAdaptiveMode;
using video::Region;
using video::Size;

namespace {

// `side` times a ratio, to the nearest even number; `limit` itself when nearer than a sample, so
// that no sliver is cut off or left black.
std::int32_t Scaled(std::int64_t side, std::int64_t numerator, std::int64_t denominator,
                    std::int32_t limit) {
  const std::int64_t product = side * numerator;
  const std::int64_t gap = limit * denominator - product;
  if (gap < denominator) return limit;
  const std::int64_t even = (product + denominator) / (2 * denominator) * 2;
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(even, std::min(2, limit), limit));
}

// The largest centred region of `frame` that has the shape of `shape`.
Region Inscribe(const Size& shape, const Size& frame) {
  const std::int64_t across = std::int64_t{shape.width} * frame.height;
  const std::int64_t down = std::int64_t{shape.height} * frame.width;
  Size inner = frame;
  if (across > down) inner.height = Scaled(frame.width, shape.height, shape.width, frame.height);
  if (across < down) inner.width = Scaled(frame.height, shape.width, shape.height, frame.width);
  const auto offset = [](std::int32_t outside) { return outside / 4 * 2; };
  return {offset(frame.width - inner.width), offset(frame.height - inner.height), inner.width,
          inner.height};
}

}  // namespace

Placement Place(const Size& source, const Size& target, FrameAdaptiveMode mode) {
  const Region whole_source{0, 0, source.width, source.height};
  const Region whole_target{0, 0, target.width, target.height};
  switch (mode) {
    case FrameAdaptiveMode::kStretch:
      return {whole_source, whole_target};
    case FrameAdaptiveMode::kFit:
      return {whole_source, Inscribe(source, target)};
    case FrameAdaptiveMode::kCrop:
      break;
  }
  return {Inscribe(target, source), whole_target};
}

}  // namespace movra::media
