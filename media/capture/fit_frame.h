#ifndef MOVRA_MEDIA_CAPTURE_FIT_FRAME_H_
#define MOVRA_MEDIA_CAPTURE_FIT_FRAME_H_

#include "media/capture/frame_source.h"
#include "media/frame/frame_pool.h"
#include "video/pixel_frame.h"
#include "video/size.h"

namespace movra::media {

// The picture as a camera delivers it: upright and not mirrored, with square pixels, in the size
// that covers what is asked (media/capture/picture_size.h). The frame itself, samples untouched, if
// it is that already. Empty when there is no memory for it.
//
// A YUV frame that does not state its matrix gets the one that its size stands for
// (media/frame/color_matrix.h): in another size it would stand for another one.
[[nodiscard]] video::PixelFrame FitFrame(const SourceFrame& item, video::Size asked,
                                         FramePool& pool);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_CAPTURE_FIT_FRAME_H_
