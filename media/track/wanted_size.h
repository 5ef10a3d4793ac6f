#ifndef MOVRA_MEDIA_TRACK_WANTED_SIZE_H_
#define MOVRA_MEDIA_TRACK_WANTED_SIZE_H_

#include <optional>

#include "video/pixel_frame_track.h"
#include "video/size.h"

namespace movra::media {

// What the ends of our own tracks are besides: the reader may say there in which size it wants its
// frames, and that goes before what the writer was told. So an encoder that refuses a change of
// size goes on with pictures that are made for the size that it has. Any thread.
class SizedTrackEnd {
 public:
  virtual ~SizedTrackEnd() = default;

  // A side of 0 means the frame's own.
  virtual void WantSize(const video::Size& size) = 0;
  [[nodiscard]] virtual std::optional<video::Size> wanted_size() const = 0;
};

// These do nothing, and answer that none is wanted, for ends that somebody else made.
void WantSize(video::IPixelFrameTrackReader& reader, const video::Size& size);
[[nodiscard]] std::optional<video::Size> WantedSize(const video::IPixelFrameTrackWriter& writer);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_TRACK_WANTED_SIZE_H_
