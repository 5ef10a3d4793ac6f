#include "media/encode/encoder_registry.h"
#include "video/video_encoder_controller.h"

namespace movra::video {

PixelFrameFormat IVideoEncoderController::QueryInputPixelFormat(VideoStreamType /*type*/,
                                                                const EncodeParams& params) {
  return media::EncoderRegistry::OfThisBuild().InputFormat(
      params.codec.value_or(media::kDefaultCodec));
}

}  // namespace movra::video
