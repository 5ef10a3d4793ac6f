#include "media/camera/camera_sources.h"

#include <string_view>

#include "media/camera/camera_service_impl.h"
#include "media/camera/test_camera.h"
#include "media/camera/v4l2_camera.h"
#include "media/camera/v4l2_devices.h"
#include "media/file/file_source.h"
#include "media/file/y4m_reader.h"

namespace movra::media {

std::unique_ptr<FrameSource> MakeFrameSource(const std::string& camera_id,
                                             const video::PlaybackParams& playback) {
  const std::string_view id = camera_id;
  if (id.starts_with("test:")) return std::make_unique<TestCamera>(camera_id);
  constexpr std::string_view kFile = "file:";
  if (id.starts_with(kFile)) {
    const std::string path = camera_id.substr(kFile.size());
    if (auto raw_video = MakeY4mSource(path, playback)) return raw_video;
    return MakeFileSource(path, playback);
  }
  if (IsV4l2Id(id)) return std::make_unique<V4l2Camera>(camera_id, MakeV4l2Io());
  return nullptr;
}

std::vector<video::VideoDeviceInfo> ListDevices() { return ListV4l2Devices("/dev", MakeV4l2Io); }

CameraServiceParts DefaultCameraServiceParts() {
  return {.make_source = MakeFrameSource, .list_devices = ListDevices, .device_directory = "/dev"};
}

}  // namespace movra::media
