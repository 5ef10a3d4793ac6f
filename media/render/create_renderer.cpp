#include <memory>
#include <utility>

#include "media/render/unavailable_renderer.h"
#include "video/video_renderer_controller.h"

namespace movra::video {

std::shared_ptr<IVideoRendererController> IVideoRendererController::Create(
    const VideoContext& context, std::weak_ptr<Client> client,
    std::shared_ptr<core::DispatchQueue> /*queue*/) {
  return std::make_shared<media::UnavailableRenderer>(context, std::move(client));
}

}  // namespace movra::video
