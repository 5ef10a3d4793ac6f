#ifndef MOVRA_MEDIA_CAMERA_FILE_CHECK_H_
#define MOVRA_MEDIA_CAMERA_FILE_CHECK_H_

#include <string>

#include "media/camera/camera_error.h"

namespace movra::media {

struct FileCheck {
  CameraError error = CameraError::kNone;
  std::string text;  // For people; names the file.
};

// Whether the path names a regular file that can be read and is not empty. Pipes and devices are
// refused: opening one may wait for ever, and a video often cannot be read front to back.
[[nodiscard]] FileCheck CheckReadableFile(const std::string& path);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_CAMERA_FILE_CHECK_H_
