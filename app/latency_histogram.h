// How long something takes, in constant memory.

#ifndef MOVRA_APP_LATENCY_HISTOGRAM_H_
#define MOVRA_APP_LATENCY_HISTOGRAM_H_

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>

namespace movra::app {

// Zeros before the first duration.
struct DurationSummary {
  std::chrono::microseconds mean{0};
  std::chrono::microseconds p50{0};
  std::chrono::microseconds p95{0};
  std::chrono::microseconds p99{0};
  std::chrono::microseconds max{0};
};

// Counts durations in buckets that are 2 % apart, from a microsecond to a quarter of an hour.
// No lock: its owner serialises access.
class LatencyHistogram {
 public:
  // A negative duration counts as none at all.
  void Add(std::chrono::nanoseconds duration);

  // The duration that the share (0 to 1) of all did not exceed, to within 2 %; 0 before the first.
  [[nodiscard]] std::chrono::microseconds Percentile(double share) const;

  [[nodiscard]] DurationSummary Summary() const;

 private:
  static constexpr std::size_t kBuckets = 1050;

  std::array<std::uint32_t, kBuckets> counts_{};
  std::uint64_t total_ = 0;
  std::chrono::nanoseconds sum_{0};
  std::chrono::nanoseconds max_{0};
};

}  // namespace movra::app

#endif  // MOVRA_APP_LATENCY_HISTOGRAM_H_
