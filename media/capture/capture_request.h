#ifndef MOVRA_MEDIA_CAPTURE_CAPTURE_REQUEST_H_
#define MOVRA_MEDIA_CAPTURE_CAPTURE_REQUEST_H_

#include <cstdint>

#include "video/size.h"

namespace movra::media {

// What a capture is asked for; it may change from frame to frame.
struct CaptureRequest {
  video::Size size{};           // 0x0: the natural size.
  std::int32_t frame_rate = 0;  // Frames per second at most; 0: all of them.

  friend bool operator==(const CaptureRequest&, const CaptureRequest&) = default;
};

// The least that gives both what they ask for: the long side held against the long side and the
// short against the short, as cameras do (media/capture/picture_size.h). It stands or lies as `a`.
[[nodiscard]] CaptureRequest Covering(const CaptureRequest& a, const CaptureRequest& b);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_CAPTURE_CAPTURE_REQUEST_H_
