#include <memory>
#include <utility>

#include "media/screen/screen_sharing_impl.h"
#include "media/screen/x11_screen_source.h"
#include "video/screen_sharing.h"

namespace movra::video {

std::shared_ptr<IScreenSharing> IScreenSharing::Create(const VideoContext& context) {
  return std::make_shared<media::ScreenSharingImpl>(
      context, [](std::shared_ptr<media::ScreenControl> control,
                  std::shared_ptr<media::ScreenObserver> observer) {
        return std::make_unique<media::X11ScreenSource>(std::move(control), std::move(observer));
      });
}

}  // namespace movra::video
