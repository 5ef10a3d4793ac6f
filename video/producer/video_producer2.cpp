#include "video/producer/video_producer2.h"

#include <cstdint>

#include "video/video_codec_manager.h"

namespace movra::video {

EncodeAbility IVideoProducer2::GetEncodeAbility() {
  IVideoCodecManager& manager = IVideoCodecManager::GetInstance();
  constexpr int kH264 = static_cast<int>(VideoCodec::kH264);
  EncodeAbility ability;
  // Only the low byte of an answer counts, so 256 means no.
  ability.hardware_encoder = static_cast<std::uint8_t>(manager.IsHardwareEncoderSupported(kH264));
  ability.software_encoder = static_cast<std::uint8_t>(manager.IsSoftwareEncoderSupported(kH264));
  ability.roi = static_cast<std::uint8_t>(manager.IsRoiSupported());
  ability.reference_selection = static_cast<std::uint8_t>(manager.IsReferenceSelectionSupported());
  return ability;
}

}  // namespace movra::video
