#include "media/encode/frame_rate_dropper.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace movra::media {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using ::testing::ElementsAre;

nanoseconds FrameTime(std::int64_t index, std::int64_t rate) {
  return nanoseconds(index * 1'000'000'000 / rate);
}

// The indices of the frames that are kept of a source's first `count`.
std::vector<int> Kept(int source_rate, const FrameRate& rate, int count) {
  FrameRateDropper dropper;
  dropper.SetRate(rate);
  std::vector<int> kept;
  for (int i = 0; i < count; ++i) {
    if (dropper.Keep(FrameTime(i, source_rate))) kept.push_back(i);
  }
  return kept;
}

TEST(FrameRateDropper, HalfTheRateKeepsEverySecondFrame) {
  EXPECT_THAT(Kept(30, {15, 1}, 10), ElementsAre(0, 2, 4, 6, 8));
}

TEST(FrameRateDropper, ThirtyToTwentyKeepsTwoOfThree) {
  EXPECT_THAT(Kept(30, {20, 1}, 12), ElementsAre(0, 2, 3, 5, 6, 8, 9, 11));
}

TEST(FrameRateDropper, TwentyFiveToFifteenKeepsThreeOfFiveWithoutTwoDropsInARow) {
  EXPECT_THAT(Kept(25, {15, 1}, 15), ElementsAre(0, 2, 3, 5, 7, 8, 10, 12, 13));
}

TEST(FrameRateDropper, AnExactHalfKeepsEverySecondFrameForEver) {
  const std::vector<int> kept = Kept(25, {25, 2}, 100'000);
  ASSERT_EQ(kept.size(), 50'000U);
  for (std::size_t i = 0; i < kept.size(); ++i) ASSERT_EQ(kept[i], static_cast<int>(2 * i));
}

TEST(FrameRateDropper, AWholeShareOfTheSourcesRateIsEvenFromTheFirstFrameOn) {
  for (const int source : {24, 25, 30, 50, 60, 90, 120, 240, 1000}) {
    for (int share = 1; share <= 48; ++share) {
      const std::vector<int> kept = Kept(source, {source, share}, 20 * share);
      ASSERT_EQ(kept.size(), 20U) << source << '/' << share;
      for (std::size_t i = 0; i < kept.size(); ++i) {
        ASSERT_EQ(kept[i], static_cast<int>(i) * share) << source << '/' << share;
      }
    }
  }
}

TEST(FrameRateDropper, OfEveryRateThePictureNearestToItsDueTimeIsKept) {
  for (const int source : {24, 25, 30, 50, 60, 120, 240}) {
    for (int rate = 1; rate <= source; ++rate) {
      const std::vector<int> kept = Kept(source, {rate, 1}, 5 * source);
      ASSERT_GE(kept.size(), static_cast<std::size_t>(5 * rate) - 1) << source << "->" << rate;
      for (std::size_t i = 0; i < kept.size(); ++i) {
        // In frames of the source. A tie may fall to either side.
        const double due = static_cast<double>(i) * source / rate;
        ASSERT_NEAR(kept[i], due, 0.7) << source << "->" << rate;
      }
    }
  }
}

TEST(FrameRateDropper, ARateOfNoWholeNumberNeitherDriftsNorOverflows) {
  FrameRateDropper dropper;
  dropper.SetRate({30'000, 1001});
  // Two hours from a time stamp that is ninety years off.
  const nanoseconds begin = std::chrono::hours(90 * 365 * 24);
  constexpr int kFrames = 2 * 3600 * 60;
  int kept = 0;
  for (std::int64_t i = 0; i < kFrames; ++i) {
    kept += dropper.Keep(begin + nanoseconds(i * 1'001'000'000 / 60)) ? 1 : 0;
  }
  EXPECT_NEAR(kept, kFrames * 60 / 60.06 / 2 * 1.001, 1);
}

TEST(FrameRateDropper, AFractionOfLargeNumbersAndGapsOfYearsFitTheClock) {
  FrameRateDropper dropper;
  dropper.SetRate({2'147'483'647, 100'000'000});
  std::int64_t seconds = 0;
  for (const std::int64_t step : {0LL, 1LL, 1'000LL, 100'000'000LL, 3'000'000'000LL}) {
    seconds += step;
    int kept = 0;
    for (int i = 0; i < 100; ++i) {
      kept += dropper.Keep(std::chrono::seconds(seconds) + FrameTime(i, 60)) ? 1 : 0;
    }
    EXPECT_NEAR(kept, 100 * 21.47 / 60, 1.5) << step;
  }
}

TEST(FrameRateDropper, OneFrameInManyYearsIsARate) {
  FrameRateDropper dropper;
  dropper.SetRate({1, 2'147'483'647});
  EXPECT_TRUE(dropper.Keep(nanoseconds(0)));
  EXPECT_FALSE(dropper.Keep(std::chrono::seconds(1'000'000'000)));
  EXPECT_TRUE(dropper.Keep(std::chrono::seconds(2'147'483'647)));
}

TEST(FrameRateDropper, ARateAtOrAboveTheSourcesKeepsEveryFrame) {
  for (const int rate : {30, 31, 60, 1000, 5000, 0, -1}) {
    EXPECT_EQ(Kept(30, {rate, 1}, 1000).size(), 1000U) << rate;
  }
}

TEST(FrameRateDropper, ASourceMarginallyBelowTheRateLosesNothingInTheLongRun) {
  FrameRateDropper dropper;
  dropper.SetRate({30, 1});
  int kept = 0;
  for (std::int64_t i = 0; i < 100'000; ++i) {
    kept += dropper.Keep(nanoseconds(i * 1'001'000'000 / 30)) ? 1 : 0;
  }
  EXPECT_EQ(kept, 100'000);
}

TEST(FrameRateDropper, TheFirstFrameIsKeptWhereverTheTimeLineBegins) {
  FrameRateDropper dropper;
  dropper.SetRate({15, 1});
  EXPECT_TRUE(dropper.Keep(nanoseconds(123'456'789)));
  EXPECT_FALSE(dropper.Keep(nanoseconds(123'456'789) + FrameTime(1, 30)));
  EXPECT_TRUE(dropper.Keep(nanoseconds(123'456'789) + FrameTime(2, 30)));
}

TEST(FrameRateDropper, AfterAResetTheNextFrameIsAFirstFrame) {
  FrameRateDropper dropper;
  dropper.SetRate({15, 1});
  EXPECT_TRUE(dropper.Keep(FrameTime(0, 30)));
  dropper.Reset();
  EXPECT_TRUE(dropper.Keep(FrameTime(1, 30)));
  EXPECT_FALSE(dropper.Keep(FrameTime(2, 30)));
  EXPECT_TRUE(dropper.Keep(FrameTime(3, 30)));
}

TEST(FrameRateDropper, TimeStampsThatGoBackBeginANewGrid) {
  FrameRateDropper dropper;
  dropper.SetRate({15, 1});
  EXPECT_TRUE(dropper.Keep(milliseconds(10'000)));
  EXPECT_TRUE(dropper.Keep(milliseconds(20)));
  EXPECT_FALSE(dropper.Keep(milliseconds(53)));
  EXPECT_TRUE(dropper.Keep(milliseconds(87)));
}

TEST(FrameRateDropper, AFrameThatIsEarlyOrLateByJitterIsKept) {
  FrameRateDropper dropper;
  dropper.SetRate({30, 1});
  // 2 is a third of an interval early, 4 two thirds late and 5 back on time.
  for (const int ms : {0, 33, 57, 100, 155, 167, 200, 233}) {
    EXPECT_TRUE(dropper.Keep(milliseconds(ms))) << ms;
  }
}

TEST(FrameRateDropper, AfterAGapTheGridGoesOnWithoutABurst) {
  FrameRateDropper dropper;
  dropper.SetRate({10, 1});
  EXPECT_TRUE(dropper.Keep(milliseconds(0)));
  EXPECT_TRUE(dropper.Keep(milliseconds(5000)));
  EXPECT_FALSE(dropper.Keep(milliseconds(5020)));
  EXPECT_FALSE(dropper.Keep(milliseconds(5050)));
  EXPECT_TRUE(dropper.Keep(milliseconds(5100)));
}

TEST(FrameRateDropper, ANewRateContinuesEvenlyFromTheLastKeptFrame) {
  FrameRateDropper dropper;
  dropper.SetRate({30, 1});
  EXPECT_TRUE(dropper.Keep(FrameTime(0, 30)));
  EXPECT_TRUE(dropper.Keep(FrameTime(1, 30)));
  dropper.SetRate({15, 1});
  EXPECT_FALSE(dropper.Keep(FrameTime(2, 30)));
  EXPECT_TRUE(dropper.Keep(FrameTime(3, 30)));
  EXPECT_FALSE(dropper.Keep(FrameTime(4, 30)));
  dropper.SetRate({30, 1});
  EXPECT_TRUE(dropper.Keep(FrameTime(5, 30)));
  EXPECT_TRUE(dropper.Keep(FrameTime(6, 30)));
}

TEST(FrameRateDropper, SettingTheSameRateAgainChangesNothing) {
  FrameRateDropper dropper;
  dropper.SetRate({20, 1});
  std::vector<int> kept;
  for (int i = 0; i < 9; ++i) {
    dropper.SetRate({20, 1});
    if (dropper.Keep(FrameTime(i, 30))) kept.push_back(i);
  }
  EXPECT_THAT(kept, ElementsAre(0, 2, 3, 5, 6, 8));
}

TEST(FrameRateDropper, EvenWithJitterTheCountIsTheRatesAndGapsStayBelowTwoIntervals) {
  std::mt19937 random(7);
  for (const int source : {24, 25, 30, 50, 60}) {
    for (const int rate : {5, 10, 12, 15, 20, 24, 25, 30}) {
      if (rate > source) continue;
      FrameRateDropper dropper;
      dropper.SetRate({rate, 1});
      // The first frame is the anchor, so it stands still; the others by a tenth of an interval.
      std::uniform_int_distribution<std::int64_t> jitter(-100'000'000 / source,
                                                         100'000'000 / source);
      constexpr int kSeconds = 20;
      std::vector<nanoseconds> kept;
      for (int i = 0; i < source * kSeconds; ++i) {
        const nanoseconds at = FrameTime(i, source) + nanoseconds(i == 0 ? 0 : jitter(random));
        if (dropper.Keep(at)) kept.push_back(at);
      }
      EXPECT_NEAR(static_cast<double>(kept.size()), rate * kSeconds, 1) << source << "->" << rate;
      const double interval = 1e9 / rate + 1e9 / source;
      for (std::size_t i = 1; i < kept.size(); ++i) {
        EXPECT_LT(static_cast<double>((kept[i] - kept[i - 1]).count()), interval * 1.2);
      }
    }
  }
}

}  // namespace
}  // namespace movra::media
