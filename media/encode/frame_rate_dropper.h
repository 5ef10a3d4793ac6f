#ifndef MOVRA_MEDIA_ENCODE_FRAME_RATE_DROPPER_H_
#define MOVRA_MEDIA_ENCODE_FRAME_RATE_DROPPER_H_

#include <chrono>
#include <cstdint>

#include "media/encode/frame_rate.h"

namespace movra::media {

// Decides which frames of a stream are encoded so that it keeps to its highest rate.
//
// Frames are held against a grid of due times that is anchored at the stream's first frame: 30 to
// 15 frames per second keeps every second frame, 30 to 20 two of three, and a source that is slower
// than the rate keeps all of its frames. A frame that comes a little before its due time is kept if
// the source has none that is nearer, and one that comes late leaves the following due times where
// they are, so jitter costs no frame.
// Nothing is ever repeated: after a gap the grid goes on at the frame that ends it.
//
// One thread at a time.
class FrameRateDropper {
 public:
  // None, or more than 1000 frames per second, means no limit. A change continues evenly from the
  // last frame that was kept.
  void SetRate(const FrameRate& rate);

  // Whether the frame with this time stamp is kept. Time stamps that go back begin a new grid.
  [[nodiscard]] bool Keep(std::chrono::nanoseconds timestamp);

  // The next frame is the first of a stream, which is always kept.
  void Reset() { started_ = false; }

 private:
  // The slot's due time, from the anchor on.
  [[nodiscard]] std::chrono::nanoseconds Due(std::int64_t slot) const;
  // Gives the slot that waits to a frame that comes `passed` after the anchor.
  void TakeSlot(std::chrono::nanoseconds passed, std::chrono::nanoseconds early);
  void Anchor(std::chrono::nanoseconds timestamp);

  FrameRate rate_;  // None: no limit.
  bool started_ = false;
  std::chrono::nanoseconds anchor_{0};     // Due time of slot 0.
  std::int64_t next_slot_ = 1;             // The slot that waits for its frame.
  std::chrono::nanoseconds last_seen_{0};  // Kept or not.
  std::chrono::nanoseconds last_kept_{0};
  std::chrono::nanoseconds last_distance_{0};  // Of the frames seen; 0: none yet.
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_ENCODE_FRAME_RATE_DROPPER_H_
