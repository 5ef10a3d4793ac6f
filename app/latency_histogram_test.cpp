#include "app/latency_histogram.h"

#include <gtest/gtest.h>

#include <chrono>

namespace movra::app {
namespace {

using std::chrono::hours;
using std::chrono::microseconds;
using std::chrono::milliseconds;

TEST(LatencyHistogram, KnowsNothingBeforeTheFirst) {
  EXPECT_EQ(LatencyHistogram().Percentile(0.5), microseconds(0));
}

TEST(LatencyHistogram, PercentilesAreRightToTwoPercent) {
  LatencyHistogram histogram;
  for (int i = 1; i <= 1000; ++i) histogram.Add(microseconds(i * 10));
  const auto percentile = [&](double share) {
    return static_cast<double>(histogram.Percentile(share).count());
  };
  EXPECT_NEAR(percentile(0.5), 5000, 100);
  EXPECT_NEAR(percentile(0.95), 9500, 190);
  EXPECT_NEAR(percentile(1), 10000, 200);
  EXPECT_NEAR(percentile(0), 10, 1);
}

TEST(LatencyHistogram, OneSlowOneDoesNotMoveThePercentilesBelowIt) {
  LatencyHistogram histogram;
  for (int i = 0; i < 99; ++i) histogram.Add(milliseconds(1));
  histogram.Add(milliseconds(500));
  EXPECT_NEAR(static_cast<double>(histogram.Percentile(0.95).count()), 1000, 20);
  EXPECT_NEAR(static_cast<double>(histogram.Percentile(1).count()), 500'000, 10'000);
}

TEST(LatencyHistogram, TheSummaryHasTheExactMeanAndMaximumAndNoPercentileBeyondIt) {
  LatencyHistogram histogram;
  EXPECT_EQ(histogram.Summary().max, microseconds(0));
  for (int i = 0; i < 99; ++i) histogram.Add(milliseconds(1));
  histogram.Add(milliseconds(101));
  const DurationSummary summary = histogram.Summary();
  EXPECT_EQ(summary.mean, milliseconds(2));
  EXPECT_EQ(summary.max, milliseconds(101));
  EXPECT_NEAR(static_cast<double>(summary.p50.count()), 1000, 20);
  EXPECT_NEAR(static_cast<double>(summary.p95.count()), 1000, 20);
  EXPECT_NEAR(static_cast<double>(summary.p99.count()), 1000, 20);
  histogram = {};
  histogram.Add(microseconds(1000));
  EXPECT_LE(histogram.Summary().p99, microseconds(1000));
}

TEST(LatencyHistogram, TakesWhatIsOutOfRangeIntoItsOutermostBuckets) {
  LatencyHistogram histogram;
  histogram.Add(milliseconds(-1));
  EXPECT_LE(histogram.Percentile(1), microseconds(1));
  histogram.Add(hours(100));
  EXPECT_GT(histogram.Percentile(1), std::chrono::minutes(15));
}

}  // namespace
}  // namespace movra::app
