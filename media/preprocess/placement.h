#ifndef MOVRA_MEDIA_PREPROCESS_PLACEMENT_H_
#define MOVRA_MEDIA_PREPROCESS_PLACEMENT_H_

#include "video/capture_params.h"
#include "video/size.h"
#include "video/video_types.h"

namespace movra::media {

// Which part of a picture is shown, and where it stands in the output; the rest of the output is
// bars. Offsets are even, and so are sizes that do not reach the edge.
struct Placement {
  video::Region source;
  video::Region target;

  friend bool operator==(const Placement&, const Placement&) = default;
};

// Fits a picture into an output, both centred. Shapes that differ by less than a sample count as
// the same. A mode without a name crops.
[[nodiscard]] Placement Place(const video::Size& source, const video::Size& target,
                              video::FrameAdaptiveMode mode);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_PREPROCESS_PLACEMENT_H_
