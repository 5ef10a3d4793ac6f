#ifndef MOVRA_MEDIA_CAPTURE_CAPTURE_CLOCK_H_
#define MOVRA_MEDIA_CAPTURE_CAPTURE_CLOCK_H_

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace movra::media {

// The clock that paced captures follow; tests put one in its place that jumps instead of waiting.
// Any thread.
class CaptureClock {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  virtual ~CaptureClock() = default;

  [[nodiscard]] virtual TimePoint Now() const { return std::chrono::steady_clock::now(); }

  // Waits until the deadline or until the condition variable is notified; may return early.
  virtual void WaitUntil(std::unique_lock<std::mutex>& lock, std::condition_variable& wake,
                         TimePoint deadline) const {
    wake.wait_until(lock, deadline);
  }
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_CAPTURE_CAPTURE_CLOCK_H_
