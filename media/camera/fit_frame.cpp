#include "media/camera/fit_frame.h"

#include <utility>

#include "media/camera/picture_size.h"
#include "media/frame/orient_frame.h"
#include "media/frame/scale_frame.h"

namespace movra::media {

video::PixelFrame FitFrame(const SourceFrame& item, video::Size asked, FramePool& pool) {
  const video::VideoRotation rotation = item.frame.info().rotation;
  video::Size size = CoveringSize(item.upright_size, asked);
  if (SwapsSides(rotation)) std::swap(size.width, size.height);
  // Scaled first, because a smaller picture is cheaper to turn.
  const video::PixelFrame scaled = ScaleFrame(item.frame, size, pool);
  if (!scaled || rotation == video::VideoRotation::k0) return scaled;

  const video::PixelFrame upright = OrientFrame(scaled, {.rotation = rotation}, pool);
  video::PixelFrameInfo info = upright.info();
  info.rotation = video::VideoRotation::k0;
  return upright.WithInfo(info);
}

}  // namespace movra::media
