#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>

#include "fuzzing/fuzz_targets.h"
#include "logging/log_sink.h"
#include "media/file/video_file_decoder.h"

namespace movra::fuzzing {
namespace {

void PlayFile(const std::string& path) {
  movra_logging::SetMinLogLevel(movra_logging::kLogLevelError);
  media::VideoFileDecoder decoder;
  const video::CameraInfo info = decoder.Open(path);
  Require((info.error_code != 0) == !info.error_text.empty(), "an error has a text");
  if (info.error_code == 0) Play(decoder);
}

}  // namespace

void FuzzContainer(Bytes bytes) { PlayFile(MemoryFile(bytes).path()); }

void FuzzPipe(Bytes bytes) {
  std::array<int, 2> pipe{};
  Require(pipe2(pipe.data(), O_CLOEXEC) == 0, "there is a pipe");
  // So much, that all is written before anything is read.
  const int room = fcntl(pipe[1], F_SETPIPE_SZ, 1 << 20);
  bytes = bytes.first(std::min<std::size_t>(bytes.size(), static_cast<std::size_t>(room) / 2));
  Require(write(pipe[1], bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()),
          "the pipe takes them");
  close(pipe[1]);
  PlayFile("/proc/self/fd/" + std::to_string(pipe[0]));
  close(pipe[0]);
}

}  // namespace movra::fuzzing
