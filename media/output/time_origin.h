#ifndef MOVRA_MEDIA_OUTPUT_TIME_ORIGIN_H_
#define MOVRA_MEDIA_OUTPUT_TIME_ORIGIN_H_

#include <chrono>
#include <mutex>
#include <optional>

namespace movra::media {

// Where the time of several streams of one source begins: at the first frame that any of them
// writes. Shared by their writers, so that pictures of one instant have one time in every file.
// Any thread.
class TimeOrigin {
 public:
  // The time since the origin; the first call makes its time stamp the origin. Negative for a frame
  // that is older than the first one written.
  [[nodiscard]] std::chrono::nanoseconds Since(std::chrono::nanoseconds timestamp);

 private:
  std::mutex mutex_;
  std::optional<std::chrono::nanoseconds> origin_;  // Guarded by mutex_.
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_OUTPUT_TIME_ORIGIN_H_
