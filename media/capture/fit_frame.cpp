#include "media/capture/fit_frame.h"

#include <utility>

#include "media/capture/picture_size.h"
#include "media/frame/color_matrix.h"
#include "media/frame/frame_layout.h"
#include "media/frame/orient_frame.h"
#include "media/frame/scale_frame.h"

namespace movra::media {

namespace {

video::PixelFrame WithMatrix(const video::PixelFrame& frame) {
  video::PixelFrameInfo info = frame.info();
  if (!IsRgb(info.format)) info.color.matrix = MatrixOf(info);
  return frame.WithInfo(info);
}

}  // namespace

video::PixelFrame FitFrame(const SourceFrame& item, video::Size asked, FramePool& pool) {
  const Orientation orientation{item.frame.info().rotation, item.mirrored};
  video::Size size = CoveringSize(item.upright_size, asked);
  if (SwapsSides(orientation.rotation)) std::swap(size.width, size.height);
  // Scaled first, because a smaller picture is cheaper to turn.
  const video::PixelFrame stored = WithMatrix(item.frame);
  video::PixelFrame scaled = ScaleFrame(stored, size, pool);
  const video::Size& own = stored.info().size;
  if (size.width > own.width || size.height > own.height) scaled.set_enlarged_from(stored);
  const video::PixelFrame upright = OrientFrame(scaled, orientation, pool);
  video::PixelFrameInfo info = upright.info();
  info.rotation = video::VideoRotation::k0;
  return upright.WithInfo(info);
}

}  // namespace movra::media
