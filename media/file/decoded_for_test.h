#ifndef MOVRA_MEDIA_FILE_DECODED_FOR_TEST_H_
#define MOVRA_MEDIA_FILE_DECODED_FOR_TEST_H_

#include <chrono>
#include <string>
#include <vector>

#include "media/file/video_file_decoder.h"

namespace movra::media {

// What a decoder made of a file.
struct Decoded {
  video::CameraInfo info;
  std::vector<SourceFrame> frames;
  video::StreamEnd end;

  // The markers, of frames made upright; -1: none.
  [[nodiscard]] std::vector<int> Numbers() const;
  [[nodiscard]] std::vector<std::chrono::nanoseconds> Timestamps() const;
};

// Appends what is left of a pass through the file.
void ReadToTheEnd(VideoFileDecoder& decoder, Decoded& decoded);

// A file that can be opened, from its beginning to its end.
[[nodiscard]] Decoded Decode(const std::string& path, int threads = 1);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_FILE_DECODED_FOR_TEST_H_
