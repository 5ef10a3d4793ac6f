#include "media/capture/camera_error.h"
#include "media/capture/refused_source.h"
#include "media/file/file_source.h"

namespace movra::media {

std::unique_ptr<FrameSource> MakeFileSource(const std::string& /*path*/,
                                            const Playback& /*playback*/) {
  return std::make_unique<RefusedSource>(
      CameraError::kUnavailable,
      "video files need FFmpeg's libraries, which this build leaves out: build with "
      "MOVRA_WITH_GPL=ON");
}

}  // namespace movra::media
