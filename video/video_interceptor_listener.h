#ifndef MOVRA_VIDEO_VIDEO_INTERCEPTOR_LISTENER_H_
#define MOVRA_VIDEO_VIDEO_INTERCEPTOR_LISTENER_H_

#include "video/pixel_frame.h"
#include "video/video_types.h"

namespace movra::video {

// Application code that frames pass through, to look at them, to draw into them, to replace or to
// drop them.
//
//   PixelFrame OnInterceptFrame(InterceptPosition, PixelFrame frame) override {
//     media::WritableFrame picture = media::WritableFrame::Of(std::move(frame), pool_);
//     if (picture) Draw(picture.plane(0), picture.stride(0), picture.info().size);
//     return std::move(picture).Finish();
//   }
//
// Called on the preprocessor queue for every frame at its position; must return quickly, because
// all producers may share that queue. Held weakly: keep it for as long as frames shall pass through
// it. What it throws is told in one line of the log; it is called no more, and the frame goes on
// as it was, or as far as it was drawn.
class VideoInterceptorListener {
 public:
  // Returns the frame that goes on: the one given, or another of the same size. An empty frame
  // drops it.
  //
  // The frame is the listener's: moved into media::WritableFrame::Of it is written in place where
  // nobody else has a share in the samples, and copied where somebody has, such as a tap before,
  // the snapshot (behind kPreviewWithWatermark) or a decoder.
  [[nodiscard]] virtual PixelFrame OnInterceptFrame(InterceptPosition position,
                                                    PixelFrame frame) = 0;

  virtual ~VideoInterceptorListener() = default;
};

}  // namespace movra::video

#endif  // MOVRA_VIDEO_VIDEO_INTERCEPTOR_LISTENER_H_
