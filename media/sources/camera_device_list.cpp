#include "media/sources/source_kinds.h"
#include "video/camera_service.h"

namespace movra::video {

// Devices alone, in both modes: whoever loses a camera goes on with the first one of the list, and
// nobody wants to see a picture in its place that no camera takes.
std::vector<VideoDeviceInfo> ICameraService::GetCameraDeviceList(
    CameraListInterface::GetCameraListMode /*mode*/) {
  return media::ListDevices();
}

}  // namespace movra::video
