#include "media/camera/camera_sources.h"
#include "video/camera_service.h"

namespace movra::video {

std::vector<VideoDeviceInfo> ICameraService::GetCameraDeviceList(
    CameraListInterface::GetCameraListMode mode) {
  std::vector<VideoDeviceInfo> devices = media::ListDevices();
  // Last, because whoever loses a camera goes on with the first one of the list.
  if (mode == CameraListInterface::GetCameraListMode::kAll) {
    devices.push_back({.device_id = "test:", .name = "Test picture", .driver = "test"});
  }
  return devices;
}

}  // namespace movra::video
