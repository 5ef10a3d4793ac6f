#include "media/capture/capture_request.h"

#include <algorithm>
#include <utility>

namespace movra::media {
namespace {

using video::Size;

bool AsksForAll(const Size& size) { return std::max(size.width, size.height) <= 0; }

Size Covering(const Size& a, const Size& b) {
  if (AsksForAll(a) || AsksForAll(b)) return {};
  Size size{std::max(std::max(a.width, a.height), std::max(b.width, b.height)),
            std::max(std::min(a.width, a.height), std::min(b.width, b.height))};
  if (a.width > 0 && a.width < a.height) std::swap(size.width, size.height);
  return size;
}

}  // namespace

CaptureRequest Covering(const CaptureRequest& a, const CaptureRequest& b) {
  const bool all_frames = a.frame_rate <= 0 || b.frame_rate <= 0;
  return {.size = Covering(a.size, b.size),
          .frame_rate = all_frames ? 0 : std::max(a.frame_rate, b.frame_rate)};
}

}  // namespace movra::media
