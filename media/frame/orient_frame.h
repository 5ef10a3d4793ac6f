#ifndef MOVRA_MEDIA_FRAME_ORIENT_FRAME_H_
#define MOVRA_MEDIA_FRAME_ORIENT_FRAME_H_

#include "media/frame/frame_pool.h"
#include "video/pixel_frame.h"
#include "video/video_types.h"

namespace movra::media {

// Turns clockwise first, then swaps left and right.
struct Orientation {
  video::VideoRotation rotation = video::VideoRotation::k0;
  bool mirror = false;
};

// One turn after another. A value without a name turns nothing.
[[nodiscard]] video::VideoRotation AddRotations(video::VideoRotation first,
                                                video::VideoRotation second);

// The picture turned in memory; the frame's own `rotation` is neither read nor changed. The frame
// itself if nothing is to be done. I422, NV12 and I010 come out as I420.
[[nodiscard]] video::PixelFrame OrientFrame(const video::PixelFrame& frame,
                                            const Orientation& orientation, FramePool& pool);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_FRAME_ORIENT_FRAME_H_
