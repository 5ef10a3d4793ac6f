#include "video/pixel_frame_track.h"

#include <memory>
#include <string>

#include "media/track/bounded_track.h"

namespace movra::video {

// The name is for the doubles, whose journal prints it; a queue has nothing to say.
std::shared_ptr<IPixelFrameTrack> IPixelFrameTrack::Create(const std::string& /*name*/,
                                                           int capacity) {
  return std::make_shared<media::BoundedTrack>(capacity);
}

}  // namespace movra::video
