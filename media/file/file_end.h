#ifndef MOVRA_MEDIA_FILE_FILE_END_H_
#define MOVRA_MEDIA_FILE_FILE_END_H_

#include <chrono>
#include <cstdint>
#include <string>

#include "video/camera_service.h"
#include "video/pixel_frame.h"

namespace movra::media {

// How a file was read.
struct FileReading {
  std::uint64_t delivered_frames = 0;
  std::uint64_t damaged_frames = 0;
  std::chrono::nanoseconds duration{0};         // Up to the end of the last frame.
  std::chrono::nanoseconds stated_duration{0};  // That the file says it has; 0: it does not.
  std::chrono::nanoseconds start{0};            // Where in the file its first frame was.
  bool broken_off = false;                      // The file ends before its video does.
};

// Of a file that is to be played from a time on at which it has ended.
[[nodiscard]] video::CameraInfo StartsBehindItsEnd(const std::string& path,
                                                   std::chrono::nanoseconds length);

// The end mark that says so, to programs and to people.
[[nodiscard]] video::StreamEnd EndOfFile(const std::string& path, const FileReading& reading);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_FILE_FILE_END_H_
