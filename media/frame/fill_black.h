#ifndef MOVRA_MEDIA_FRAME_FILL_BLACK_H_
#define MOVRA_MEDIA_FRAME_FILL_BLACK_H_

#include "media/frame/writable_frame.h"
#include "video/capture_params.h"

namespace movra::media {

// Makes a region black by the frame's own range: opaque black in RGB. The region lies within the
// picture and has even offsets; an empty one changes nothing.
void FillBlack(WritableFrame& frame, const video::Region& region);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_FRAME_FILL_BLACK_H_
