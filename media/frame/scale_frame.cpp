#include "media/frame/scale_frame.h"

#include <cstddef>
#include <utility>

#include "media/frame/convert_frame.h"
#include "media/frame/frame_layout.h"
#include "media/frame/resample_plane.h"

namespace movra::media {

using video::PixelFormat;
using video::PixelFrame;
using video::PixelFrameInfo;
using video::Region;
using video::Size;

PixelFormat ScalableFormat(PixelFormat format) {
  const bool needs_conversion = format == PixelFormat::kNV12 || format == PixelFormat::kI010;
  return needs_conversion ? PixelFormat::kI420 : format;
}

void ScaleInto(const PixelFrameInfo& source, WritableFrame& target, const Region& region,
               FramePool& pool) {
  const PixelFrameInfo place = CropTo(target.info(), region);
  for (std::size_t i = 0; i < PlaneCount(source.format); ++i) {
    const PlaneLayout from = LayoutOf(source.format, source.size, i);
    const PlaneLayout to = LayoutOf(place.format, place.size, i);
    const std::ptrdiff_t offset = place.planes[i].data - target.info().planes[i].data;
    ResamplePlane(
        {source.planes[i].data, source.planes[i].stride, from.samples, from.bytes_per_sample},
        {target.plane(i) + offset, target.stride(i), to.samples}, pool);
  }
}

PixelFrame ScaleFrame(const PixelFrame& frame, const Size& size, FramePool& pool) {
  if (!frame || frame.info().size == size) return frame;
  const PixelFrame source = ConvertFrame(frame, ScalableFormat(frame.info().format), pool);
  if (!source) return {};
  WritableFrame scaled = pool.Allocate(source.info().format, size, source.info());
  if (!scaled) return {};
  ScaleInto(source.info(), scaled, {0, 0, size.width, size.height}, pool);
  return ConvertFrame(std::move(scaled).Finish(), frame.info().format, pool);
}

}  // namespace movra::media
