#include <vector>

#include "video/screen_sharing.h"

namespace movra::video {

std::vector<ScreenSourceInfo> IScreenSharing::GetSourceList(const Size& /*thumbnail*/,
                                                            const Size& /*icon*/) {
  return {};
}

}  // namespace movra::video
