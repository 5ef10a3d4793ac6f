#ifndef MOVRA_MEDIA_ENCODE_CODEC_MANAGER_H_
#define MOVRA_MEDIA_ENCODE_CODEC_MANAGER_H_

#include <functional>

#include "media/encode/encoder_registry.h"
#include "video/video_codec_manager.h"

namespace movra::media {

// Answers what the encoders of a registry can do that can be used on this machine. Any thread.
class CodecManager final : public video::IVideoCodecManager {
 public:
  explicit CodecManager(EncoderRegistry registry);

  // IVideoCodecManager
  [[nodiscard]] int IsHardwareEncoderSupported(int codec) override;
  [[nodiscard]] int IsSoftwareEncoderSupported(int codec) override;
  [[nodiscard]] int IsRoiSupported() override;
  [[nodiscard]] int IsReferenceSelectionSupported() override;

 private:
  [[nodiscard]] int IsAny(const std::function<bool(const EncoderEntry&)>& wanted) const;

  const EncoderRegistry registry_;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_ENCODE_CODEC_MANAGER_H_
