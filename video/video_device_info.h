#ifndef MOVRA_VIDEO_VIDEO_DEVICE_INFO_H_
#define MOVRA_VIDEO_VIDEO_DEVICE_INFO_H_

#include <cstdint>
#include <string>

namespace movra::video {

// A camera as the camera service lists it.
struct VideoDeviceInfo {
  std::string device_id{};  // What CameraParams::camera_id takes.
  std::string name{};       // For people.
  std::string driver{};     // What serves it, for example "test" or "v4l2".
  std::uint64_t capabilities = 0;

  friend bool operator==(const VideoDeviceInfo&, const VideoDeviceInfo&) = default;
};

}  // namespace movra::video

#endif  // MOVRA_VIDEO_VIDEO_DEVICE_INFO_H_
