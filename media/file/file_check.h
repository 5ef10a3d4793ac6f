#ifndef MOVRA_MEDIA_FILE_FILE_CHECK_H_
#define MOVRA_MEDIA_FILE_FILE_CHECK_H_

#include <string>

#include "media/capture/camera_error.h"

namespace movra::media {

struct FileCheck {
  CameraError error = CameraError::kNone;
  std::string text{};  // For people; names the file.
  bool is_pipe = false;
};

// Whether the path names a regular file that can be read and is not empty, or a named pipe, which
// is not opened: that may wait. Devices are refused.
[[nodiscard]] FileCheck CheckReadableFile(const std::string& path);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_FILE_FILE_CHECK_H_
