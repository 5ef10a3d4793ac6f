#ifndef MOVRA_MEDIA_CAMERA_CAMERA_SOURCES_H_
#define MOVRA_MEDIA_CAMERA_CAMERA_SOURCES_H_

#include <memory>
#include <string>
#include <vector>

#include "media/capture/frame_source.h"
#include "video/camera_service.h"
#include "video/video_device_info.h"

namespace movra::media {

// Makes the source that an id names ("test:...", "file:PATH", "/dev/videoN"); null for any other.
[[nodiscard]] std::unique_ptr<FrameSource> MakeFrameSource(const std::string& camera_id,
                                                           const video::PlaybackParams& playback);

// The cameras that are plugged in, in the order of their numbers.
[[nodiscard]] std::vector<video::VideoDeviceInfo> ListDevices();

}  // namespace movra::media

#endif  // MOVRA_MEDIA_CAMERA_CAMERA_SOURCES_H_
