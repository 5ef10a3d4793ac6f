#ifndef MOVRA_VIDEO_VIDEO_INTERCEPTOR_LISTENER_H_
#define MOVRA_VIDEO_VIDEO_INTERCEPTOR_LISTENER_H_

#include "video/pixel_frame.h"
#include "video/video_types.h"

namespace movra::video {

// Application code that frames pass through. Called on the preprocessor queue for every frame at
// its position; must return quickly, because all producers may share that queue.
class VideoInterceptorListener {
 public:
  // Returns the frame that goes on: the one given, or another of the same size. An empty frame
  // drops it.
  [[nodiscard]] virtual PixelFrame OnInterceptFrame(InterceptPosition position,
                                                    const PixelFrame& frame) = 0;

  virtual ~VideoInterceptorListener() = default;
};

}  // namespace movra::video

#endif  // MOVRA_VIDEO_VIDEO_INTERCEPTOR_LISTENER_H_
