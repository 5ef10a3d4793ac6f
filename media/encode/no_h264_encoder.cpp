#include "media/encode/encoder_registry.h"

namespace movra::media {

void AddX264Encoder(EncoderTable& table) {
  table.missing.push_back({video::VideoCodec::kH264,
                           "this build has no H.264 encoder: it was made without libx264 and "
                           "FFmpeg's libraries. Build again with -DMOVRA_WITH_GPL=ON"});
}

}  // namespace movra::media
