#include "media/track/wanted_size.h"

namespace movra::media {

void WantSize(video::IPixelFrameTrackReader& reader, const video::Size& size) {
  if (auto* const end = dynamic_cast<SizedTrackEnd*>(&reader)) end->WantSize(size);
}

std::optional<video::Size> WantedSize(const video::IPixelFrameTrackWriter& writer) {
  const auto* const end = dynamic_cast<const SizedTrackEnd*>(&writer);
  return end == nullptr ? std::nullopt : end->wanted_size();
}

}  // namespace movra::media
