#ifndef MOVRA_MEDIA_TRACK_BOUNDED_TRACK_H_
#define MOVRA_MEDIA_TRACK_BOUNDED_TRACK_H_

#include <memory>

#include "video/pixel_frame_track.h"

namespace movra::media {

// The track that connects a source, the preprocessor and the encoders within one process.
//
// A full track takes a live frame by dropping the oldest live frame that waits; if only lossless
// ones wait, the new frame itself is dropped. Either loss counts as a dropped frame. A lossless
// frame is refused instead, and its writer waits for the room callback.
//
// Both ends are a CountingTrackEnd and a SizedTrackEnd too, and the reader's a CheckingTrackEnd.
//
// End marks keep their place among the frames and take no room. Of two with no frame left between
// them the older one is forgotten, so a reader that never comes cannot make the queue grow.
//
// The ends share the queue with the track and may outlive it: they are closed then.
class BoundedTrack final : public video::IPixelFrameTrack {
 public:
  // A capacity below 1 is taken as 1.
  explicit BoundedTrack(int capacity);

  // IPixelFrameTrack
  [[nodiscard]] std::shared_ptr<video::IPixelFrameTrackReader> GetReader() override;
  [[nodiscard]] std::shared_ptr<video::IPixelFrameTrackWriter> GetWriter() override;
  void Reset() override;
  ~BoundedTrack() override;

 private:
  class Queue;
  template <class End>
  class OwnEnd;
  class Reader;
  class Writer;

  const std::shared_ptr<Queue> queue_;
  const std::shared_ptr<video::IPixelFrameTrackReader> reader_;
  const std::shared_ptr<video::IPixelFrameTrackWriter> writer_;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_TRACK_BOUNDED_TRACK_H_
