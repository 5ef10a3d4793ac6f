#ifndef MOVRA_MEDIA_CAMERA_FILE_CAMERA_H_
#define MOVRA_MEDIA_CAMERA_FILE_CAMERA_H_

#include <memory>
#include <string>

#include "media/camera/camera_source.h"
#include "video/camera_service.h"

namespace movra::media {

// The camera that plays a video file (media/camera/video_file_decoder.h), once or in a loop, in
// real time and live or as fast as its frames are taken and without losing one. Time stamps go on
// growing from loop to loop. In a build without FFmpeg's libraries it cannot be opened, and says
// so.
[[nodiscard]] std::unique_ptr<CameraSource> MakeFileCamera(const std::string& path,
                                                           const video::PlaybackParams& playback);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_CAMERA_FILE_CAMERA_H_
