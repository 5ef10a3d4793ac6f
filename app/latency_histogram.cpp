#include "app/latency_histogram.h"

#include <algorithm>
#include <cmath>

namespace movra::app {
namespace {

constexpr double kStep = 1.02;

}  // namespace

void LatencyHistogram::Add(std::chrono::nanoseconds duration) {
  duration = std::max(duration, std::chrono::nanoseconds(0));
  sum_ += duration;
  max_ = std::max(max_, duration);
  const double microseconds = std::max<double>(static_cast<double>(duration.count()) / 1000, 1);
  const auto bucket = static_cast<std::size_t>(std::log(microseconds) / std::log(kStep));
  ++counts_[std::min(bucket, kBuckets - 1)];
  ++total_;
}

std::chrono::microseconds LatencyHistogram::Percentile(double share) const {
  if (total_ == 0) return std::chrono::microseconds(0);
  const auto wanted = static_cast<std::uint64_t>(std::ceil(share * static_cast<double>(total_)));
  std::uint64_t seen = 0;
  std::size_t bucket = 0;
  for (; bucket + 1 < kBuckets; ++bucket) {
    seen += counts_[bucket];
    if (seen >= std::max<std::uint64_t>(wanted, 1)) break;
  }
  // The middle of the bucket.
  const double value = std::pow(kStep, static_cast<double>(bucket) + 0.5);
  return std::chrono::microseconds(std::llround(value));
}

DurationSummary LatencyHistogram::Summary() const {
  using std::chrono::duration_cast;
  using std::chrono::microseconds;
  if (total_ == 0) return {};
  const auto max = duration_cast<microseconds>(max_);
  const auto percentile = [&](double share) { return std::min(Percentile(share), max); };
  return {duration_cast<microseconds>(sum_ / static_cast<std::int64_t>(total_)), percentile(0.5),
          percentile(0.95), percentile(0.99), max};
}

}  // namespace movra::app
