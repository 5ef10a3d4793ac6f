#include "video/resolution_decider_utils.h"

#include <algorithm>
#include <cstdint>

namespace movra::video::resolution_decider_utils {
namespace {

// `side` times `numerator` / `denominator` to the nearest even number that neither the limit nor
// the side itself forbids. A picture keeps at least two rows and columns, the fewest that are even.
std::int32_t EvenSide(std::int32_t side, std::int64_t numerator, std::int64_t denominator,
                      std::int32_t limit) {
  if (side <= 0 || limit <= 0) return 0;
  const std::int64_t nearest = (side * numerator + denominator) / (2 * denominator) * 2;
  const std::int64_t most = std::min(side, limit) / 2 * 2;
  return static_cast<std::int32_t>(std::max<std::int64_t>(std::min(nearest, most), 2));
}

}  // namespace

Size CalculateSizeByLimitLandscapeSize(const Size& limit, const Size& size) {
  const std::int32_t long_limit = std::max(limit.width, limit.height);
  const std::int32_t short_limit = std::min(limit.width, limit.height);
  const std::int32_t long_side = std::max(size.width, size.height);
  const std::int32_t short_side = std::min(size.width, size.height);
  // The side that exceeds its limit by more decides the ratio for both.
  std::int64_t numerator = 1;
  std::int64_t denominator = 1;
  if (long_side > long_limit) {
    numerator = long_limit;
    denominator = long_side;
  }
  if (short_side > short_limit && short_limit * denominator < short_side * numerator) {
    numerator = short_limit;
    denominator = short_side;
  }
  const auto limit_of = [&](std::int32_t side, std::int32_t other) {
    return side > other ? long_limit : short_limit;
  };
  return {EvenSide(size.width, numerator, denominator, limit_of(size.width, size.height)),
          EvenSide(size.height, numerator, denominator, limit_of(size.height, size.width))};
}

}  // namespace movra::video::resolution_decider_utils
