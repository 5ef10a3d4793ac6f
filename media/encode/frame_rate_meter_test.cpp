#include "media/encode/frame_rate_meter.h"

#include <gtest/gtest.h>

namespace movra::media {
namespace {

// Adds frames at the rate for so long, after those before; returns how often the rate changed.
class Feeder {
 public:
  int Run(FrameRateMeter& meter, int rate, int frames) {
    int changes = 0;
    for (int i = 0; i < frames; ++i) {
      changes += meter.Add(ticks_) ? 1 : 0;
      ticks_ += 90'000 / rate;
    }
    return changes;
  }

  void Pause(int seconds) { ticks_ += std::int64_t{90'000} * seconds; }

 private:
  std::int64_t ticks_ = 1234;
};

TEST(FrameRateMeter, TheExpectedRateHoldsWhileFramesComeAtAboutIt) {
  FrameRateMeter meter(30);
  Feeder feeder;
  EXPECT_EQ(feeder.Run(meter, 30, 300), 0);
  EXPECT_EQ(feeder.Run(meter, 28, 300), 0);
  EXPECT_EQ(meter.rate(), 30);
}

TEST(FrameRateMeter, AnotherRateIsFoundOutWithinAboutASecond) {
  for (const int rate : {5, 10, 15, 60, 120}) {
    FrameRateMeter meter(30);
    EXPECT_EQ(Feeder().Run(meter, rate, rate + 1), 1) << rate;
    EXPECT_NEAR(meter.rate(), rate, 0.01 * rate);
  }
}

TEST(FrameRateMeter, ARateThatChangesIsFollowed) {
  FrameRateMeter meter(30);
  Feeder feeder;
  feeder.Run(meter, 30, 60);
  feeder.Run(meter, 10, 30);
  EXPECT_NEAR(meter.rate(), 10, 1);
  feeder.Run(meter, 30, 60);
  EXPECT_NEAR(meter.rate(), 30, 3);
}

TEST(FrameRateMeter, ASingleGapIsNoRate) {
  FrameRateMeter meter(30);
  Feeder feeder;
  feeder.Run(meter, 30, 40);
  feeder.Pause(60);
  EXPECT_EQ(feeder.Run(meter, 30, 300), 0);
}

TEST(FrameRateMeter, ASourceOfOneFrameInTwoSecondsIsFoundOutToo) {
  FrameRateMeter meter(30);
  std::int64_t ticks = 0;
  for (int i = 0; i < 12; ++i, ticks += 180'000) meter.Add(ticks);
  EXPECT_NEAR(meter.rate(), 0.5, 0.01);
}

}  // namespace
}  // namespace movra::media
