#ifndef MOVRA_MEDIA_CAMERA_AV_FRAME_WRAPPER_H_
#define MOVRA_MEDIA_CAMERA_AV_FRAME_WRAPPER_H_

#include "media/ffmpeg/ffmpeg_ptr.h"
#include "media/frame/frame_pool.h"
#include "video/pixel_frame.h"

namespace movra::media {

// Makes pixel frames of decoded frames.
//
// A frame in one of the formats of video::PixelFormat is wrapped: the pixel frame owns the decoded
// one, and no sample is copied. Any other (RGB, palettes, more than 10 bits, 10 bits with fuller
// chroma ...) is converted to I420, RGB as BT.709 with limited range. Colours are described by the
// frame's own fields; grey that says nothing of its range has the full one, as is usual.
//
// One thread at a time; the frames may go anywhere.
class AvFrameWrapper {
 public:
  // Sets format, size, planes and colour, and leaves the rest for the caller. Empty if the frame
  // cannot be converted.
  [[nodiscard]] video::PixelFrame Wrap(AvFramePtr frame);

 private:
  [[nodiscard]] video::PixelFrame Convert(const AVFrame& frame, video::ColorDescription color);

  FramePool pool_;
  SwsContextPtr scaler_;  // For the format and size of the last converted frame.
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_CAMERA_AV_FRAME_WRAPPER_H_
