// A platform that is what the test says.

#include "testing/world.h"
#include "video/platform.h"

namespace movra::video {

bool IsMetalAvailable() {
  testing::World& world = testing::World::Current();
  world.journal()->Call("", "IsMetalAvailable");
  return world.answers.is_metal_available;
}

bool IsVirtualCameraId(const std::string& camera_id) {
  testing::World& world = testing::World::Current();
  world.journal()->Call("", "IsVirtualCameraId", camera_id);
  return camera_id.starts_with(world.answers.virtual_camera_prefix);
}

}  // namespace movra::video
