#ifndef MOVRA_VIDEO_PLATFORM_H_
#define MOVRA_VIDEO_PLATFORM_H_

#include <string>

// Facts about the platform that the producer asks for; the collaborators define the answers.

namespace movra::video {

// Whether frames can be processed with Metal. If so each producer gets a preprocessor queue of its
// own; otherwise all producers share one.
[[nodiscard]] bool IsMetalAvailable();

// Whether the camera id names a virtual camera: one that the camera service synthesises and the
// producer runs without a capture-size calculation and without device events.
[[nodiscard]] bool IsVirtualCameraId(const std::string& camera_id);

}  // namespace movra::video

#endif  // MOVRA_VIDEO_PLATFORM_H_
