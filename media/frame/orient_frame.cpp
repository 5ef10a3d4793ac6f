#include "media/frame/orient_frame.h"

#include <cstddef>
#include <utility>

#include "libyuv/planar_functions.h"
#include "libyuv/rotate.h"
#include "libyuv/rotate_argb.h"
#include "media/frame/convert_frame.h"
#include "media/frame/frame_layout.h"

namespace movra::media {

using video::PixelFormat;
using video::PixelFrame;
using video::PixelFrameInfo;
using video::VideoRotation;

namespace {

int Degrees(VideoRotation rotation) {
  switch (rotation) {
    case VideoRotation::k90:
    case VideoRotation::k180:
    case VideoRotation::k270:
      return static_cast<int>(rotation);
    default:
      return 0;
  }
}

// A turn by 90 degrees swaps the directions, so both must have the same chroma resolution.
PixelFormat TurnableFormat(PixelFormat format) {
  switch (format) {
    case PixelFormat::kI422:
    case PixelFormat::kNV12:
    case PixelFormat::kI010:
      return PixelFormat::kI420;
    default:
      return format;
  }
}

PixelFrame Rotate(const PixelFrame& frame, int degrees, FramePool& pool) {
  const PixelFrameInfo& info = frame.info();
  const bool upright = degrees == 180;
  const video::Size turned{info.size.height, info.size.width};
  WritableFrame target = pool.Allocate(info.format, upright ? info.size : turned, info);
  if (!target) return {};
  const auto mode = static_cast<libyuv::RotationMode>(degrees);
  for (std::size_t i = 0; i < PlaneCount(info.format); ++i) {
    const PlaneLayout layout = LayoutOf(info.format, info.size, i);
    const auto rotate = layout.bytes_per_sample == 1 ? libyuv::RotatePlane : libyuv::ARGBRotate;
    rotate(info.planes[i].data, info.planes[i].stride, target.plane(i), target.stride(i),
           layout.samples.width, layout.samples.height, mode);
  }
  return std::move(target).Finish();
}

PixelFrame Mirror(const PixelFrame& frame, FramePool& pool) {
  const PixelFrameInfo& info = frame.info();
  WritableFrame target = pool.Allocate(info.format, info.size, info);
  if (!target) return {};
  for (std::size_t i = 0; i < PlaneCount(info.format); ++i) {
    const PlaneLayout layout = LayoutOf(info.format, info.size, i);
    const video::PixelPlane& plane = info.planes[i];
    if (layout.bytes_per_sample == 1) {
      libyuv::MirrorPlane(plane.data, plane.stride, target.plane(i), target.stride(i),
                          layout.samples.width, layout.samples.height);
    } else {
      libyuv::ARGBMirror(plane.data, plane.stride, target.plane(i), target.stride(i),
                         layout.samples.width, layout.samples.height);
    }
  }
  return std::move(target).Finish();
}

}  // namespace

VideoRotation AddRotations(VideoRotation first, VideoRotation second) {
  return static_cast<VideoRotation>((Degrees(first) + Degrees(second)) % 360);
}

PixelFrame OrientFrame(const PixelFrame& frame, const Orientation& orientation, FramePool& pool) {
  const int degrees = Degrees(orientation.rotation);
  if (!frame || (degrees == 0 && !orientation.mirror)) return frame;
  PixelFrame oriented = ConvertFrame(frame, TurnableFormat(frame.info().format), pool);
  // Pixels of four bytes are turned as words, whose rows lie whole words apart.
  const bool is_uneven = IsRgb(oriented.info().format) && oriented.info().planes[0].stride % 4 != 0;
  if (oriented && is_uneven) oriented = WritableFrame::Of(oriented, pool).Finish();
  if (oriented && degrees != 0) oriented = Rotate(oriented, degrees, pool);
  if (oriented && orientation.mirror) oriented = Mirror(oriented, pool);
  return oriented;
}

}  // namespace movra::media
