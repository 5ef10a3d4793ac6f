#include "media/file/pipe_input.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "media/ffmpeg/ffmpeg_api.h"

namespace movra::media {

PipeInput::PipeInput() : wake_fd_(eventfd(0, EFD_CLOEXEC)) {}

PipeInput::~PipeInput() {
  if (fd_ >= 0) close(fd_);
  if (wake_fd_ >= 0) close(wake_fd_);
}

int PipeInput::Open(const std::string& path) {
  if (wake_fd_ < 0) return AVERROR(EMFILE);  // Or reading could not be interrupted.
  // Without waiting for a writer: that is left to reading, which can be interrupted.
  fd_ = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (fd_ < 0) return AVERROR(errno);
  constexpr int kBufferBytes = 1 << 16;
  auto* buffer = static_cast<std::uint8_t*>(av_malloc(kBufferBytes));
  if (buffer == nullptr) return AVERROR(ENOMEM);
  context_.reset(avio_alloc_context(buffer, kBufferBytes, 0, this, &Read, nullptr, nullptr));
  if (context_ != nullptr) return 0;
  av_freep(&buffer);
  return AVERROR(ENOMEM);
}

void PipeInput::Interrupt() { eventfd_write(wake_fd_, 1); }

int PipeInput::Read(void* self, std::uint8_t* buffer, int size) {
  const auto& input = *static_cast<const PipeInput*>(self);
  while (true) {
    std::array<pollfd, 2> waits{{{input.fd_, POLLIN, 0}, {input.wake_fd_, POLLIN, 0}}};
    if (poll(waits.data(), waits.size(), -1) < 0) {
      if (errno == EINTR) continue;
      return AVERROR(errno);
    }
    if (waits[1].revents != 0) return AVERROR_EXIT;
    const ssize_t bytes = read(input.fd_, buffer, static_cast<std::size_t>(size));
    if (bytes > 0) return static_cast<int>(bytes);
    if (bytes == 0) return AVERROR_EOF;
    if (errno != EINTR && errno != EAGAIN) return AVERROR(errno);
  }
}

}  // namespace movra::media
