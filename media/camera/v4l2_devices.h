#ifndef MOVRA_MEDIA_CAMERA_V4L2_DEVICES_H_
#define MOVRA_MEDIA_CAMERA_V4L2_DEVICES_H_

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "media/camera/v4l2_io.h"
#include "video/video_device_info.h"

namespace movra::media {

// Whether a camera id is that of a Video4Linux device: "/dev/video" and a number.
[[nodiscard]] bool IsV4l2Id(std::string_view camera_id);

// What an open device is; nothing if it is not one that pictures can be read from.
[[nodiscard]] std::optional<video::VideoDeviceInfo> QueryDevice(V4l2Io& io,
                                                                const std::string& path);

// The cameras among the entries "videoN" of a directory, in the order of their numbers. Those that
// cannot be opened are left out.
[[nodiscard]] std::vector<video::VideoDeviceInfo> ListV4l2Devices(const std::string& directory,
                                                                  const V4l2IoFactory& make_io);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_CAMERA_V4L2_DEVICES_H_
