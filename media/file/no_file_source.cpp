#include "media/capture/camera_error.h"
#include "media/file/file_source.h"

namespace movra::media {
namespace {

class NoFileCamera final : public FrameSource {
 public:
  // FrameSource
  [[nodiscard]] video::CameraInfo Describe() override {
    video::CameraInfo info;
    info.is_file = true;
    info.error_code = static_cast<std::int32_t>(CameraError::kUnavailable);
    info.error_text =
        "video files need FFmpeg's libraries, which this build leaves out: build with "
        "MOVRA_WITH_GPL=ON";
    return info;
  }
  [[nodiscard]] video::CameraInfo Open(const CaptureRequest& /*request*/) override {
    return Describe();
  }
  [[nodiscard]] SourcePolicy Policy() const override { return {}; }
  [[nodiscard]] SourceItem Read(const CaptureRequest& /*request*/) override {
    return video::StreamEnd{};
  }
  void Interrupt() override {}
};

}  // namespace

std::unique_ptr<FrameSource> MakeFileSource(const std::string& /*path*/,
                                            const video::PlaybackParams& /*playback*/) {
  return std::make_unique<NoFileCamera>();
}

}  // namespace movra::media
