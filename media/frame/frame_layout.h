#ifndef MOVRA_MEDIA_FRAME_FRAME_LAYOUT_H_
#define MOVRA_MEDIA_FRAME_FRAME_LAYOUT_H_

#include <cstddef>
#include <cstdint>

#include "video/capture_params.h"
#include "video/pixel_frame.h"
#include "video/size.h"
#include "video/video_types.h"

namespace movra::media {

// One plane of a picture. A sample is what one position of the plane holds: a byte, a 16-bit value,
// an interleaved pair, a whole RGB pixel.
struct PlaneLayout {
  video::Size samples;
  int bytes_per_sample = 0;

  [[nodiscard]] std::size_t row_bytes() const {
    return static_cast<std::size_t>(samples.width) * static_cast<std::size_t>(bytes_per_sample);
  }
};

// 0 for kNone and for values without a name.
[[nodiscard]] std::size_t PlaneCount(video::PixelFormat format);

// The layout of one plane of a picture; odd sizes round the chroma planes up. `plane` is below
// PlaneCount(format).
[[nodiscard]] PlaneLayout LayoutOf(video::PixelFormat format, const video::Size& size,
                                   std::size_t plane);

[[nodiscard]] bool IsRgb(video::PixelFormat format);

inline constexpr std::int32_t kLongestSide = 32768;

// Whether the format is known and the sides are between 1 and kLongestSide.
[[nodiscard]] bool IsAllocatable(video::PixelFormat format, const video::Size& size);

// The description of a part of the picture: the plane pointers move, no sample does. The region
// lies within the picture and has even offsets, which every chroma layout can express.
[[nodiscard]] video::PixelFrameInfo CropTo(const video::PixelFrameInfo& info,
                                           const video::Region& region);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_FRAME_FRAME_LAYOUT_H_
