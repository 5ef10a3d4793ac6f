#ifndef MOVRA_VIDEO_RESOLUTION_DECIDER_UTILS_H_
#define MOVRA_VIDEO_RESOLUTION_DECIDER_UTILS_H_

#include "video/size.h"

namespace movra::video::resolution_decider_utils {

// The largest size of the shape of `size` that fits within `limit`. The long side is held against
// the limit's long side and the short side against its short side, so a portrait size is limited
// like its landscape twin. Never enlarged, both sides even; 0x0 stays 0x0.
[[nodiscard]] Size CalculateSizeByLimitLandscapeSize(const Size& limit, const Size& size);

}  // namespace movra::video::resolution_decider_utils

#endif  // MOVRA_VIDEO_RESOLUTION_DECIDER_UTILS_H_
