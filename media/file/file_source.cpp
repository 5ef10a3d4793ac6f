#include "media/file/file_source.h"

#include <algorithm>
#include <thread>

#include "media/file/played_file.h"
#include "media/file/video_file_decoder.h"

namespace movra::media {
namespace {

// Half of the cores, because the encoders want the others; each further thread keeps some frames in
// flight (10 MiB at 1920x1080) and costs 8 % more CPU time, measured with H.264.
int DecoderThreads() {
  return static_cast<int>(std::clamp(std::thread::hardware_concurrency() / 2, 1U, 4U));
}

}  // namespace

std::unique_ptr<FrameSource> MakeFileSource(const std::string& path, const Playback& playback) {
  return std::make_unique<PlayedFile<VideoFileDecoder>>(path, playback, DecoderThreads());
}

}  // namespace movra::media
