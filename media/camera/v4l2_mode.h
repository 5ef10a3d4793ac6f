#ifndef MOVRA_MEDIA_CAMERA_V4L2_MODE_H_
#define MOVRA_MEDIA_CAMERA_V4L2_MODE_H_

#include <cstdint>
#include <optional>
#include <vector>

#include "media/camera/v4l2_io.h"
#include "media/capture/frame_source.h"
#include "video/size.h"

namespace movra::media {

// A way in which a device can deliver pictures.
struct V4l2Mode {
  std::uint32_t fourcc = 0;  // V4L2_PIX_FMT_...
  video::Size size{};
  // The highest frame rate, as the interval between two frames in seconds; 0/1: not told.
  std::uint32_t interval_numerator = 0;
  std::uint32_t interval_denominator = 1;

  [[nodiscard]] double rate() const {
    return interval_numerator == 0 ? 0.0
                                   : static_cast<double>(interval_denominator) / interval_numerator;
  }

  friend bool operator==(const V4l2Mode&, const V4l2Mode&) = default;
};

// Whether frames of this pixel format can be read here: YUYV, NV12, YU12 (I420) and MJPEG.
[[nodiscard]] bool IsReadable(std::uint32_t fourcc);

// The readable modes of an open device. Of a range of sizes, the usual ones in it and its largest.
[[nodiscard]] std::vector<V4l2Mode> ListModes(V4l2Io& io);

// The mode to run a request in: the smallest picture that covers the asked size, or the largest
// there is if none does; among those that do, one that is fast enough for the asked rate (24 frames
// per second where none is asked) if there is one; uncompressed rather than MJPEG. Where no size is
// asked, the largest picture that is fast enough. Nothing if there are no modes.
[[nodiscard]] std::optional<V4l2Mode> ChooseMode(const std::vector<V4l2Mode>& modes,
                                                 const CaptureRequest& request);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_CAMERA_V4L2_MODE_H_
