#ifndef MOVRA_MEDIA_FRAME_CONVERT_FRAME_H_
#define MOVRA_MEDIA_FRAME_CONVERT_FRAME_H_

#include "media/frame/frame_pool.h"
#include "video/pixel_frame.h"
#include "video/video_types.h"

namespace movra::media {

// The same picture in another format. The frame itself if it has the format already or kNone is
// asked for; its luma plane, shared, if kGray is. Empty for an empty frame and for formats without
// a name.
//
// YUV to YUV keeps the colour description. YUV to RGB follows the frame's matrix and range, and
// takes an unspecified matrix for BT.709 from 720 lines on and for BT.601 below, as players do. RGB
// to YUV makes BT.601 at limited range, and says so; primaries and transfer stay.
[[nodiscard]] video::PixelFrame ConvertFrame(const video::PixelFrame& frame,
                                             video::PixelFormat format, FramePool& pool);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_FRAME_CONVERT_FRAME_H_
