#ifndef MOVRA_MEDIA_PREPROCESS_OUTPUT_MAKER_H_
#define MOVRA_MEDIA_PREPROCESS_OUTPUT_MAKER_H_

#include <optional>
#include <vector>

#include "media/frame/frame_pool.h"
#include "media/preprocess/placement.h"
#include "video/capture_params.h"
#include "video/pixel_frame.h"
#include "video/size.h"
#include "video/video_types.h"

namespace movra::media {

// Makes the pictures that are asked of one frame, each distinct size and format once.
//
// A picture at most half as large as one made before of the same part of the frame is made from
// that one: averaging hides that it was scaled before, and there is less to read. So ask for the
// largest first. One that the frame was enlarged from is better than both, where it is large
// enough. What needs no change costs nothing, and a crop alone moves plane pointers.
//
// One thread at a time; `pool` outlives it.
class OutputMaker {
 public:
  OutputMaker(video::PixelFrame frame, video::FrameAdaptiveMode mode, FramePool& pool);

  [[nodiscard]] const video::PixelFrame& frame() const { return frame_; }

  // A side of 0 means the frame's own, kNone its own format. Empty if it cannot be made.
  [[nodiscard]] video::PixelFrame Make(const video::Size& size, video::PixelFormat format);

 private:
  struct Converted {
    video::Size size;
    video::PixelFrame frame;
  };
  struct Scaled {
    video::Size size;
    Placement placement;
    video::PixelFrame frame;
  };

  // What a picture is made from.
  struct Source {
    video::PixelFrame frame;
    video::Region part;
  };

  video::PixelFrame Resized(const video::Size& size, video::PixelFormat format);
  video::PixelFrame Scale(const video::Size& size, const Placement& placement,
                          const Source& source);
  [[nodiscard]] Source FindSource(const Placement& placement, video::PixelFormat format);
  // The part of the picture that the frame was enlarged from; absent if it does not serve.
  [[nodiscard]] std::optional<video::Region> PartBeforeEnlarging(const Placement& placement) const;
  // The smallest of those made before; null if none serves.
  [[nodiscard]] const Scaled* FindScaled(const Placement& placement,
                                         video::PixelFormat format) const;

  const video::PixelFrame frame_;
  const video::FrameAdaptiveMode mode_;
  FramePool& pool_;
  std::vector<Converted> converted_;
  std::vector<Scaled> scaled_;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_PREPROCESS_OUTPUT_MAKER_H_
