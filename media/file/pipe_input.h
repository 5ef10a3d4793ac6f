#ifndef MOVRA_MEDIA_FILE_PIPE_INPUT_H_
#define MOVRA_MEDIA_FILE_PIPE_INPUT_H_

#include <cstdint>
#include <string>

#include "media/ffmpeg/ffmpeg_ptr.h"

namespace movra::media {

// The bytes of a named pipe, for FFmpeg to read. FFmpeg's own way waits for a writer to come, and
// for one that stalls to write again, whatever happens meanwhile; this one can be interrupted.
//
// One thread at a time, Interrupt apart.
class PipeInput {
 public:
  PipeInput();
  ~PipeInput();
  PipeInput(const PipeInput&) = delete;
  PipeInput& operator=(const PipeInput&) = delete;

  // Once; does not wait for a writer. 0 or FFmpeg's error.
  [[nodiscard]] int Open(const std::string& path);

  // What FFmpeg reads from; null unless open.
  [[nodiscard]] AVIOContext* context() const { return context_.get(); }

  // From now on reading fails instead of waiting. Any thread.
  void Interrupt();

 private:
  static int Read(void* self, std::uint8_t* buffer, int size);

  int fd_ = -1;
  const int wake_fd_;  // Readable once it was interrupted.
  AvIoPtr context_;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_FILE_PIPE_INPUT_H_
