#ifndef MOVRA_MEDIA_OUTPUT_TIME_LINE_H_
#define MOVRA_MEDIA_OUTPUT_TIME_LINE_H_

#include <chrono>
#include <memory>
#include <optional>

#include "media/output/time_origin.h"

namespace movra::media {

// When the frames of one stream stand in what is written of it: at their source's times, from the
// origin on; where the source's time jumps back, that of the stream goes on. One thread at a time.
class TimeLine {
 public:
  // Null: the stream's own first frame is its time 0.
  explicit TimeLine(std::shared_ptr<TimeOrigin> origin);

  // The place of the next frame, never before the one before. `duration` is the frame's expected
  // one, which it keeps where the source's time jumps back behind it.
  std::chrono::nanoseconds Add(std::chrono::nanoseconds timestamp,
                               std::chrono::nanoseconds duration);

  // The place of another time of the source's, as it counts since the last frame; of a stream that
  // has one.
  [[nodiscard]] std::chrono::nanoseconds PlaceOf(std::chrono::nanoseconds timestamp) const;

  // The last frame's place; nothing before the first one.
  [[nodiscard]] const std::optional<std::chrono::nanoseconds>& last() const { return last_; }

 private:
  const std::shared_ptr<TimeOrigin> origin_;
  std::chrono::nanoseconds shift_{0};  // Of the source's time line, where it jumped back.
  std::optional<std::chrono::nanoseconds> last_;
  std::chrono::nanoseconds last_timestamp_{0};
  std::chrono::nanoseconds last_duration_{0};
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_OUTPUT_TIME_LINE_H_
