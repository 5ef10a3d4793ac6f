#ifndef MOVRA_MEDIA_FRAME_SCALE_FRAME_H_
#define MOVRA_MEDIA_FRAME_SCALE_FRAME_H_

#include "media/frame/frame_pool.h"
#include "video/capture_params.h"
#include "video/pixel_frame.h"
#include "video/size.h"
#include "video/video_types.h"

namespace movra::media {

// The format to convert a picture to before it is scaled: its own where planes are scaled as they
// are, I420 for interleaved chroma and for 10 bits.
[[nodiscard]] video::PixelFormat ScalableFormat(video::PixelFormat format);

// Scales the whole of `source` into a region of `target`. Both have the same scalable format, and
// the region has even offsets. `pool` lends memory for the time of the call.
void ScaleInto(const video::PixelFrameInfo& source, WritableFrame& target,
               const video::Region& region, FramePool& pool);

// The picture in another size and the same format, its shape changed if that is another one. The
// frame itself if it has the size already. Empty if the size cannot be allocated.
[[nodiscard]] video::PixelFrame ScaleFrame(const video::PixelFrame& frame, const video::Size& size,
                                           FramePool& pool);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_FRAME_SCALE_FRAME_H_
