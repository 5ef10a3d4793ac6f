#include "video/platform.h"

namespace movra::video {

bool IsMetalAvailable() { return false; }

}  // namespace movra::video
