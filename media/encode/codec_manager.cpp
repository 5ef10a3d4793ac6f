#include "media/encode/codec_manager.h"

#include "media/encode/frame_encoder.h"
#include "video/video_types.h"

namespace movra::media {

int CodecManager::IsHardwareEncoderSupported(int /*codec*/) { return 0; }

int CodecManager::IsSoftwareEncoderSupported(int codec) {
  return has_h264_ && codec == static_cast<int>(video::VideoCodec::kH264) ? 1 : 0;
}

int CodecManager::IsRoiSupported() { return has_h264_ ? 1 : 0; }

int CodecManager::IsReferenceSelectionSupported() { return 0; }

}  // namespace movra::media

namespace movra::video {

IVideoCodecManager& IVideoCodecManager::GetInstance() {
  static media::CodecManager manager(media::HasH264Encoder());
  return manager;
}

}  // namespace movra::video
