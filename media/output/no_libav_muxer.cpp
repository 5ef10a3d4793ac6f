#include "media/output/container_muxer.h"

namespace movra::media {

std::unique_ptr<IContainerMuxer> MakeLibavMuxer(ContainerFormat /*format*/, IByteSink& /*sink*/,
                                                std::string& error) {
  error =
      "this build writes no container but raw H.264 (.h264): it was configured with "
      "MOVRA_WITH_GPL=OFF";
  return nullptr;
}

}  // namespace movra::media
