#include <memory>

#include "media/camera/camera_service_impl.h"
#include "video/camera_service.h"

namespace core {

template <>
std::shared_ptr<void> ServiceCenter::MakeService<movra::video::ICameraService>() {
  return std::shared_ptr<movra::video::ICameraService>(
      std::make_shared<movra::media::CameraServiceImpl>(movra::media::DefaultCameraServiceParts()));
}

}  // namespace core
