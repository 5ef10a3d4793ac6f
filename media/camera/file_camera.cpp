#include "media/camera/file_camera.h"

#include <algorithm>
#include <thread>
#include <utility>

#include "media/camera/video_file_decoder.h"

namespace movra::media {
namespace {

// Half of the cores, because the encoders want the others; each further thread keeps some frames in
// flight (10 MiB at 1920x1080) and costs 8 % more CPU time, measured with H.264.
int DecoderThreads() {
  return static_cast<int>(std::clamp(std::thread::hardware_concurrency() / 2, 1U, 4U));
}

class FileCamera final : public CameraSource {
 public:
  FileCamera(std::string path, const video::PlaybackParams& playback)
      : path_(std::move(path)), playback_(playback) {}

  // CameraSource
  [[nodiscard]] video::CameraInfo Describe() override { return decoder_.Open(path_); }
  [[nodiscard]] video::CameraInfo Open(const CaptureRequest& /*request*/) override {
    return decoder_.Open(path_);
  }

  [[nodiscard]] SourcePolicy Policy() const override {
    if (playback_.realtime) return {.delivery = video::FrameDelivery::kLive, .paced = true};
    return {.delivery = video::FrameDelivery::kLossless, .paced = false};
  }

  [[nodiscard]] SourceItem Read(const CaptureRequest& /*request*/) override {
    SourceItem item = decoder_.Next();
    const bool ended = std::holds_alternative<video::StreamEnd>(item);
    return ended && playback_.loop && decoder_.Rewind() ? decoder_.Next() : std::move(item);
  }

  void Interrupt() override { decoder_.Interrupt(); }

 private:
  const std::string path_;
  const video::PlaybackParams playback_;
  VideoFileDecoder decoder_{DecoderThreads()};
};

}  // namespace

std::unique_ptr<CameraSource> MakeFileCamera(const std::string& path,
                                             const video::PlaybackParams& playback) {
  return std::make_unique<FileCamera>(path, playback);
}

}  // namespace movra::media
