#ifndef MOVRA_MEDIA_FRAME_FRAME_LAYOUT_H_
#define MOVRA_MEDIA_FRAME_FRAME_LAYOUT_H_

#include "video/capture_params.h"
#include "video/pixel_frame.h"
#include "video/pixel_layout.h"
#include "video/video_types.h"

namespace movra::media {

// What the core says of layouts, by its short names.
using video::IsAllocatable;
using video::kLongestSide;
using video::LayoutOf;
using video::PlaneCount;
using video::PlaneLayout;

[[nodiscard]] bool IsRgb(video::PixelFormat format);

// The description of a part of the picture: the plane pointers move, no sample does. The region
// lies within the picture and has even offsets, which every chroma layout can express.
[[nodiscard]] video::PixelFrameInfo CropTo(const video::PixelFrameInfo& info,
                                           const video::Region& region);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_FRAME_FRAME_LAYOUT_H_
