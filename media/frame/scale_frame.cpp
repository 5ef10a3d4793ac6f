#include "media/frame/scale_frame.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "libyuv/scale_argb.h"
#include "media/frame/convert_frame.h"
#include "media/frame/frame_layout.h"
#include "media/frame/resample_plane.h"

namespace movra::media {

using video::PixelFormat;
using video::PixelFrame;
using video::PixelFrameInfo;
using video::Region;
using video::Size;

namespace {

// By how many whole samples one target sample is averaged on a side. Nearest, with half down: 1.5
// counts as 1, so that 1080 lines become 720 in one step.
int WholeRatio(int source, int target) {
  const int twice = 2 * source;
  return std::max(1, (twice - target + 2 * target - 1) / (2 * target));
}

int PowerOfTwoBelow(int ratio) {
  int power = 1;
  while (power * 2 <= ratio) power *= 2;
  return power;
}

void ScalePixelsOnce(const SourcePlane& s, const TargetPlane& t) {
  libyuv::ARGBScale(s.data, s.stride, s.size.width, s.size.height, t.data, t.stride, t.size.width,
                    t.size.height, libyuv::kFilterBox);
}

TargetPlane WholeOf(WritableFrame& frame) {
  return {frame.plane(0), frame.stride(0), frame.info().size};
}

SourcePlane AsSource(const TargetPlane& plane) { return {plane.data, plane.stride, plane.size}; }

// Whole pixels go through libyuv, whose box filter averages pairs of them only: halved until it
// fits.
void ScalePixelPlane(const SourcePlane& source, const TargetPlane& target, FramePool& pool) {
  int kx = PowerOfTwoBelow(WholeRatio(source.size.width, target.size.width));
  int ky = PowerOfTwoBelow(WholeRatio(source.size.height, target.size.height));
  SourcePlane from = source;
  WritableFrame between;
  while (kx > 1 || ky > 1) {
    const Size multiple{target.size.width * kx, target.size.height * ky};
    if (multiple != from.size) {
      WritableFrame next = pool.Allocate(PixelFormat::kBGRA, multiple);
      if (!next) break;
      ScalePixelsOnce(from, WholeOf(next));
      between = std::move(next);
      from = AsSource(WholeOf(between));
    }
    kx = std::max(1, kx / 2);
    ky = std::max(1, ky / 2);
  }
  ScalePixelsOnce(from, target);
}

}  // namespace

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
    const SourcePlane source_plane{source.planes[i].data, source.planes[i].stride, from.samples};
    const TargetPlane target_plane{
        target.plane(i) + (place.planes[i].data - target.info().planes[i].data), target.stride(i),
        to.samples};
    if (from.bytes_per_sample == 1) {
      ResamplePlane(source_plane, target_plane, pool);
    } else {
      ScalePixelPlane(source_plane, target_plane, pool);
    }
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
