#include "media/frame/frame_layout.h"

#include <cstddef>

namespace movra::media {

using video::PixelFormat;

bool IsRgb(PixelFormat format) {
  return format == PixelFormat::kBGRA || format == PixelFormat::kRGBA;
}

video::PixelFrameInfo CropTo(const video::PixelFrameInfo& info, const video::Region& region) {
  video::PixelFrameInfo cropped = info;
  cropped.size = {region.width, region.height};
  for (std::size_t i = 0; i < PlaneCount(info.format); ++i) {
    // A plane's offset is where it would end if the picture were only as large as the offset.
    const PlaneLayout offset = LayoutOf(info.format, {region.x, region.y}, i);
    cropped.planes[i].data +=
        static_cast<std::ptrdiff_t>(offset.samples.height) * info.planes[i].stride +
        static_cast<std::ptrdiff_t>(offset.row_bytes());
  }
  return cropped;
}

}  // namespace movra::media
