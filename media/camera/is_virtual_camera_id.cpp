#include <string>

#include "video/platform.h"

namespace movra::video {

bool IsVirtualCameraId(const std::string& camera_id) { return camera_id.starts_with("virtual:"); }

}  // namespace movra::video
