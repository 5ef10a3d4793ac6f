#include "media/frame/fill_black.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "media/frame/frame_layout.h"

namespace movra::media {
namespace {

// The bytes of one black sample; every sample is a whole number of these.
std::array<std::uint8_t, 4> BlackSample(const video::PixelFrameInfo& info, std::size_t plane) {
  constexpr std::uint8_t kMiddle = 128;
  const std::uint8_t luma = info.color.full_range ? 0 : 16;
  if (IsRgb(info.format)) return {0, 0, 0, 255};
  const std::uint8_t value = plane == 0 ? luma : kMiddle;
  if (info.format == video::PixelFormat::kI010) {  // Four times as much, low byte first.
    const auto low = static_cast<std::uint8_t>(value << 2);
    const auto high = static_cast<std::uint8_t>(value >> 6);
    return {low, high, low, high};
  }
  return {value, value, value, value};
}

}  // namespace

void FillBlack(WritableFrame& frame, const video::Region& region) {
  if (region.width <= 0 || region.height <= 0) return;
  const video::PixelFrameInfo place = CropTo(frame.info(), region);
  for (std::size_t i = 0; i < PlaneCount(place.format); ++i) {
    const PlaneLayout layout = LayoutOf(place.format, place.size, i);
    const auto sample = BlackSample(place, i);
    std::uint8_t* const first =
        frame.plane(i) + (place.planes[i].data - frame.info().planes[i].data);
    for (std::size_t x = 0; x < layout.row_bytes(); ++x) first[x] = sample[x % sample.size()];
    for (int y = 1; y < layout.samples.height; ++y) {
      std::memcpy(first + static_cast<std::ptrdiff_t>(y) * frame.stride(i), first,
                  layout.row_bytes());
    }
  }
}

}  // namespace movra::media
