#include <utility>

#include "media/encode/encoder_controller.h"
#include "video/video_encoder_controller.h"

namespace movra::video {

std::shared_ptr<IVideoEncoderController> IVideoEncoderController::CreateVideoEncoderController(
    const VideoContext& context, VideoStreamType type, std::weak_ptr<Client> client) {
  return std::make_shared<media::EncoderController>(context, type, std::move(client),
                                                    media::EncoderRegistry::OfThisBuild());
}

}  // namespace movra::video
