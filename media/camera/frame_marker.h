// A frame number that a machine can read back out of a picture.
//
// The test camera paints it and tests read it, in order to tell which frames arrived and in which
// order after scaling, cropping, bars, stretching and lossy encoding down to about 160x90:
//
//   PaintFrameMarker(luma, stride, size, 42);
//   ReadFrameMarker(luma, stride, size);  // 42
//
// The marker is a centred block of four rows of eight black or white cells (24 bits of number,
// 8 bits of checksum) in a frame that is white but for its left side. Its cells are square and a
// sixteenth of the picture's short side, so the block outlasts a crop from 16:9 to 9:16. The reader
// looks for the scale of the frame rather than taking it from the picture's size, because a crop
// keeps the cells but not the size.
//
// Both are pure functions of their arguments, for any thread.

#ifndef MOVRA_MEDIA_CAMERA_FRAME_MARKER_H_
#define MOVRA_MEDIA_CAMERA_FRAME_MARKER_H_

#include <cstdint>
#include <optional>

#include "video/capture_params.h"
#include "video/pixel_frame.h"
#include "video/size.h"

namespace movra::media {

// Numbers repeat after this many frames.
inline constexpr std::uint32_t kFrameMarkerPeriod = 1u << 24;

// Paints `number` modulo the period into 8-bit luma samples. `stride` is in bytes. Pictures with a
// side below 32 pixels are left as they are: no cell of theirs could be told from its neighbours.
void PaintFrameMarker(std::uint8_t* luma, int stride, video::Size size, std::uint32_t number);

// The part of the picture that the marker covers, grown to even pixels; empty where it is left out.
[[nodiscard]] video::Region FrameMarkerRegion(video::Size size);

// The number painted into a picture, or nothing if there is none whose checksum holds. The picture
// must be upright and not mirrored.
[[nodiscard]] std::optional<std::uint32_t> ReadFrameMarker(const std::uint8_t* luma, int stride,
                                                           video::Size size);

// The same for a frame of a format whose first plane is 8-bit luma; nothing for any other.
[[nodiscard]] std::optional<std::uint32_t> ReadFrameMarker(const video::PixelFrame& frame);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_CAMERA_FRAME_MARKER_H_
