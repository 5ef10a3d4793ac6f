#include "media/encode/frame_encoder.h"

namespace movra::media {

std::unique_ptr<IFrameEncoder> OpenH264Encoder(const EncoderSettings& /*settings*/,
                                               const StreamFormat& /*format*/,
                                               EncoderFailure& failure) {
  failure = {video::VideoEncoderError::kUnavailable,
             "this build has no H.264 encoder: it was configured with MOVRA_WITH_GPL=OFF"};
  return nullptr;
}

bool HasH264Encoder() { return false; }

}  // namespace movra::media
