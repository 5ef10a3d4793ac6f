#include "video/video_encoder_controller.h"

namespace movra::video {

PixelFrameFormat IVideoEncoderController::QueryInputPixelFormat(VideoStreamType /*type*/,
                                                                const EncodeParams& /*params*/) {
  PixelFrameFormat format;
  format.pixel_format = PixelFormat::kI420;
  format.buffer_type = BufferType::kMemory;
  return format;
}

}  // namespace movra::video
