#include "media/encode/codec_manager.h"

#include <algorithm>
#include <utility>

#include "video/video_types.h"

namespace movra::media {

CodecManager::CodecManager(EncoderRegistry registry) : registry_(std::move(registry)) {}

int CodecManager::IsHardwareEncoderSupported(int codec) {
  return IsAny([codec](const EncoderEntry& entry) {
    return static_cast<int>(entry.codec) == codec && entry.abilities.hardware;
  });
}

int CodecManager::IsSoftwareEncoderSupported(int codec) {
  return IsAny([codec](const EncoderEntry& entry) {
    return static_cast<int>(entry.codec) == codec && !entry.abilities.hardware;
  });
}

int CodecManager::IsRoiSupported() {
  return IsAny([](const EncoderEntry& entry) { return entry.abilities.regions; });
}

int CodecManager::IsReferenceSelectionSupported() {
  return IsAny([](const EncoderEntry& entry) { return entry.abilities.reference_selection; });
}

int CodecManager::IsAny(const std::function<bool(const EncoderEntry&)>& wanted) const {
  const auto& encoders = registry_.encoders();
  const auto counts = [&](const EncoderEntry& entry) { return entry.IsUsable() && wanted(entry); };
  return std::any_of(encoders.begin(), encoders.end(), counts) ? 1 : 0;
}

}  // namespace movra::media

namespace movra::video {

IVideoCodecManager& IVideoCodecManager::GetInstance() {
  static media::CodecManager manager(media::EncoderRegistry::OfThisBuild());
  return manager;
}

}  // namespace movra::video
