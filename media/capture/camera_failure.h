#ifndef MOVRA_MEDIA_CAPTURE_CAMERA_FAILURE_H_
#define MOVRA_MEDIA_CAPTURE_CAMERA_FAILURE_H_

#include <string>
#include <string_view>

#include "media/capture/camera_error.h"
#include "video/camera_service.h"

namespace movra::media {

// What Describe and Open of a camera answer that cannot be used. `text` is for people; without one
// it is that of the error.
[[nodiscard]] video::CameraInfo CameraFailure(CameraError error, std::string text = {});

// One warning line about a camera, "The camera test: broke off: ...". Any thread; hold no lock,
// because log sinks are called.
void WarnOfCamera(std::string_view camera_id, std::string_view what, std::string_view text);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_CAPTURE_CAMERA_FAILURE_H_
