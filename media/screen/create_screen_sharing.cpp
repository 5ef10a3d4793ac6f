#include <memory>

#include "media/screen/unavailable_screen_sharing.h"
#include "video/screen_sharing.h"

namespace movra::video {

std::shared_ptr<IScreenSharing> IScreenSharing::Create(const VideoContext& context) {
  return std::make_shared<media::UnavailableScreenSharing>(context);
}

}  // namespace movra::video
