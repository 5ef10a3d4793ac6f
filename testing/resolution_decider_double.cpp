// A size limit that is what the test says.

#include "testing/world.h"
#include "video/resolution_decider_utils.h"

namespace movra::video::resolution_decider_utils {

Size CalculateSizeByLimitLandscapeSize(const Size& limit, const Size& size) {
  testing::World& world = testing::World::Current();
  world.journal()->Call("", "CalculateSizeByLimitLandscapeSize", limit, size);
  return world.answers.limited_size.value_or(size);
}

}  // namespace movra::video::resolution_decider_utils
