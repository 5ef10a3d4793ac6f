#include "media/capture/picture_size.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace movra::media {
namespace {

using video::Size;

constexpr std::int64_t kLongestSide = 32768;

// `side` * `numerator` / `denominator`, rounded to the nearest even number, at least 2.
std::int64_t ScaledToEven(std::int64_t side, std::int64_t numerator, std::int64_t denominator) {
  return std::max<std::int64_t>((side * numerator + denominator) / (2 * denominator) * 2, 2);
}

std::int64_t RoundedUpToEven(std::int64_t side) { return (side + 1) / 2 * 2; }

}  // namespace

Size CoveringSize(Size natural, Size asked) {
  const std::int64_t natural_long = std::max(natural.width, natural.height);
  const std::int64_t natural_short = std::min(natural.width, natural.height);
  const std::int64_t asked_long = std::max({asked.width, asked.height, 0});
  const std::int64_t asked_short = std::max(std::min(asked.width, asked.height), 0);
  if (asked_long == 0 || natural_short <= 0) return natural;

  // The side that needs the larger share of the picture decides; the other one follows the shape
  // as nearly as even numbers can, and never falls short of what is asked.
  std::int64_t long_side = RoundedUpToEven(asked_long);
  std::int64_t short_side = RoundedUpToEven(asked_short);
  if (asked_long * natural_short >= asked_short * natural_long) {
    short_side = std::max(short_side, ScaledToEven(natural_short, asked_long, natural_long));
  } else {
    long_side = std::max(long_side, ScaledToEven(natural_long, asked_short, natural_short));
  }
  if (long_side > natural_long || short_side > natural_short) return natural;

  Size size{static_cast<std::int32_t>(long_side), static_cast<std::int32_t>(short_side)};
  if (natural.width < natural.height) std::swap(size.width, size.height);
  return size;
}

Size UprightSize(Size stored, int aspect_numerator, int aspect_denominator,
                 video::VideoRotation rotation) {
  Size size = stored;
  if (aspect_numerator > 0 && aspect_denominator > 0 && aspect_numerator != aspect_denominator) {
    const std::int64_t width = ScaledToEven(stored.width, aspect_numerator, aspect_denominator);
    // Beyond this a broken header is likelier than such a picture.
    const bool plausible = aspect_numerator / aspect_denominator < 10 &&
                           aspect_denominator / aspect_numerator < 10 && width <= kLongestSide;
    if (plausible) size.width = static_cast<std::int32_t>(width);
  }
  if (SwapsSides(rotation)) std::swap(size.width, size.height);
  return size;
}

}  // namespace movra::media
