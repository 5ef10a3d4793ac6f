#ifndef MOVRA_MEDIA_ENCODE_CODEC_MANAGER_H_
#define MOVRA_MEDIA_ENCODE_CODEC_MANAGER_H_

#include "video/video_codec_manager.h"

namespace movra::media {

// Answers what the encoders of this build can do: H.264 on the processor, with regions of interest,
// or nothing in a build without an encoder library. Stateless; any thread.
class CodecManager final : public video::IVideoCodecManager {
 public:
  explicit CodecManager(bool has_h264) : has_h264_(has_h264) {}

  // IVideoCodecManager
  [[nodiscard]] int IsHardwareEncoderSupported(int codec) override;
  [[nodiscard]] int IsSoftwareEncoderSupported(int codec) override;
  [[nodiscard]] int IsRoiSupported() override;
  [[nodiscard]] int IsReferenceSelectionSupported() override;

 private:
  const bool has_h264_;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_ENCODE_CODEC_MANAGER_H_
