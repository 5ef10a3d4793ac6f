#ifndef MOVRA_MEDIA_OUTPUT_ENCODED_FRAME_POOL_H_
#define MOVRA_MEDIA_OUTPUT_ENCODED_FRAME_POOL_H_

#include <cstdint>
#include <memory>
#include <vector>

#include "video/video_frame_track.h"

namespace movra::media {

// An encoded frame with bytes of its own, which `frame` shows.
struct StoredFrame {
  std::vector<std::uint8_t> bytes;
  video::EncodedFrame frame;
};

// Keeps encoded frames beyond their encoder's call, in memory that is used again: one copy of each,
// for as many as share it. Frames may outlive the pool and may go on any thread.
class EncodedFramePool {
 public:
  EncodedFramePool();

  // One thread at a time.
  [[nodiscard]] std::shared_ptr<const StoredFrame> Store(const video::EncodedFrame& frame);

 private:
  class Shelf;

  const std::shared_ptr<Shelf> shelf_;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_OUTPUT_ENCODED_FRAME_POOL_H_
