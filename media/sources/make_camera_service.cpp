#include <memory>

#include "media/sources/source_kinds.h"
#include "video/camera_service.h"

namespace core {

template <>
std::shared_ptr<void> ServiceCenter::MakeService<movra::video::ICameraService>() {
  return std::shared_ptr<movra::video::ICameraService>(
      std::make_shared<movra::media::CameraServiceImpl>(movra::media::DefaultCameraServiceParts()));
}

}  // namespace core
