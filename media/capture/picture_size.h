// The sizes in which cameras deliver their pictures. Pure functions, for any thread.

#ifndef MOVRA_MEDIA_CAPTURE_PICTURE_SIZE_H_
#define MOVRA_MEDIA_CAPTURE_PICTURE_SIZE_H_

#include "video/size.h"
#include "video/video_types.h"

namespace movra::media {

// Asks a camera for its natural size whatever the encoders' sizes are: a producer in mode kOwnSize
// hands it on as it is, and takes the big stream's size for 0x0.
inline constexpr video::Size kNaturalSize{-1, -1};

// The size in which a camera delivers its whole picture when it is asked for `asked`: the smallest
// even size of the picture's own shape that covers what is asked, the long side held against the
// long side and the short against the short. Asked for 1280x720, a portrait camera delivers
// 720x1280 and a 4:3 one 1280x960.
//
// Never enlarged: the natural size, even or not, is the answer when it does not cover what is
// asked, and when nothing is asked (0x0, kNaturalSize). A single side of 0 or less asks for
// nothing.
[[nodiscard]] video::Size CoveringSize(video::Size natural, video::Size asked);

// The size of a stored picture once it stands upright and its pixels are square: its width is
// stretched by the sample aspect ratio (to the nearest even number, when it changes at all), then
// the sides change places for a quarter turn. A ratio that is absent (0 in either part) or absurd
// counts as 1:1.
[[nodiscard]] video::Size UprightSize(video::Size stored, int aspect_numerator,
                                      int aspect_denominator, video::VideoRotation rotation);

// Whether the rotation is by a quarter turn, which makes the sides change places.
[[nodiscard]] constexpr bool SwapsSides(video::VideoRotation rotation) {
  return rotation == video::VideoRotation::k90 || rotation == video::VideoRotation::k270;
}

}  // namespace movra::media

#endif  // MOVRA_MEDIA_CAPTURE_PICTURE_SIZE_H_
