// How the samples of each pixel format lie in memory.

#ifndef MOVRA_VIDEO_PIXEL_LAYOUT_H_
#define MOVRA_VIDEO_PIXEL_LAYOUT_H_

#include <cstddef>
#include <cstdint>

#include "video/size.h"
#include "video/video_types.h"

namespace movra::video {

// One plane of a picture. A sample is what one position of the plane holds: a byte, a 16-bit value,
// an interleaved pair, a whole RGB pixel.
struct PlaneLayout {
  Size samples{};
  int bytes_per_sample = 0;

  [[nodiscard]] std::size_t row_bytes() const {
    return static_cast<std::size_t>(samples.width) * static_cast<std::size_t>(bytes_per_sample);
  }
};

// 0 for kNone and for values without a name.
[[nodiscard]] std::size_t PlaneCount(PixelFormat format);

// The layout of one plane of a picture; odd sizes round the chroma planes up. `plane` is below
// PlaneCount(format).
[[nodiscard]] PlaneLayout LayoutOf(PixelFormat format, const Size& size, std::size_t plane);

inline constexpr std::int32_t kLongestSide = 32768;

// Whether the format is known and the sides are between 1 and kLongestSide.
[[nodiscard]] bool IsAllocatable(PixelFormat format, const Size& size);

}  // namespace movra::video

#endif  // MOVRA_VIDEO_PIXEL_LAYOUT_H_
