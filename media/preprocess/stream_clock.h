#ifndef MOVRA_MEDIA_PREPROCESS_STREAM_CLOCK_H_
#define MOVRA_MEDIA_PREPROCESS_STREAM_CLOCK_H_

#include <chrono>
#include <cstdint>
#include <optional>

#include "video/pixel_frame.h"
#include "video/pixel_frame_track.h"

namespace movra::media {

// One time line for sources that follow one another: each counts from a zero of its own.
//
// The first source's times stay as they are. What comes behind a live one stands as much later as
// it came; behind one whose frames were taken as fast as that went, where its last picture has
// stood its time. One thread at a time.
class StreamClock {
 public:
  // Moves the times of a frame, or of an end mark, to where they belong. Once for each.
  void Place(video::TrackItem& item);

 private:
  // What is known of the last frame, placed.
  struct Last {
    std::uint64_t source_run = 0;
    bool is_live = false;
    std::chrono::nanoseconds timestamp{0};
    std::chrono::nanoseconds capture_time{0};
    std::chrono::nanoseconds distance{0};  // To the one before it; 0 of a source's first.
  };

  void PlaceFrame(video::PixelFrame& frame);
  // From the last frame of one source to the first of the next.
  [[nodiscard]] std::chrono::nanoseconds GapBefore(const video::PixelFrameInfo& info) const;

  std::optional<Last> last_;
  std::chrono::nanoseconds shift_{0};
  std::optional<std::chrono::nanoseconds> end_;  // Of the last source, placed, if it has told.
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_PREPROCESS_STREAM_CLOCK_H_
