#include "app/progress_line.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>

namespace movra::app {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using std::chrono::seconds;
using testing::HasSubstr;
using testing::Not;

constexpr std::size_t kWide = 200;

// A run at three times the speed of a clip of 30 frames a second.
ProgressSample After(milliseconds wall) {
  ProgressSample sample;
  sample.wall_time = wall;
  sample.media_time = 3 * wall;
  const auto frames = static_cast<std::uint64_t>(wall.count() * 90 / 1000);
  sample.frames_in = frames;
  sample.streams = {{"big", frames, frames * 6250}, {"small", frames / 2, frames / 2 * 1250}};
  return sample;
}

TEST(ProgressLine, SaysWhatAPersonWantsToKnowInOneLine) {
  ProgressLine line(seconds(60));
  EXPECT_EQ(line.Text(After(seconds(2)), kWide),
            "0:06.0 of 1:00.0  3.0x  left 0:18  in 180  big 180 90/s 1500 kb/s  "
            "small 90 45/s 150 kb/s  drop 0");
}

// The widths of usual terminals, without the last column.
TEST(ProgressLine, InAnyWidthItSaysWhatFitsAndAlwaysWhatWasDropped) {
  const auto text = [](std::size_t columns) {
    return ProgressLine(seconds(60)).Text(After(seconds(2)), columns);
  };
  EXPECT_EQ(text(97), text(kWide));
  EXPECT_EQ(text(96),
            "0:06.0 of 1:00.0  3.0x  left 0:18  big 90/s 1500 kb/s  small 45/s 150 kb/s  drop 0");
  EXPECT_EQ(text(79), "0:06.0 of 1:00.0  3.0x  left 0:18  big 1500 kb/s  small 150 kb/s  drop 0");
  EXPECT_EQ(text(49), "0:06.0 of 1:00.0  3.0x  left 0:18  drop 0");
}

TEST(ProgressLine, AfterAPauseTheRatesAreThoseSinceTheLastSampleBeforeIt) {
  ProgressLine line(seconds(600));
  for (int i = 0; i <= 20; ++i) (void)line.Text(After(milliseconds(100 * i)), kWide);
  // Nobody asked for eight seconds, in which it went on at a sixth of the pace.
  ProgressSample sample = After(milliseconds(2000 + 8000 / 6));
  sample.wall_time = seconds(10);
  EXPECT_THAT(line.Text(sample, kWide), HasSubstr("  0.5x  "));
  // The stretch with the pause is left behind two seconds later.
  ProgressSample later = After(milliseconds(2000 + 8000 / 6 + 2000));
  later.wall_time = seconds(12);
  EXPECT_THAT(line.Text(later, kWide), HasSubstr("  3.0x  "));
}

TEST(ProgressLine, WithoutAnEndThereIsNoTimeLeft) {
  ProgressLine line(std::nullopt);
  const std::string text = line.Text(After(seconds(2)), kWide);
  EXPECT_THAT(text, testing::StartsWith("0:06.0  3.0x  in 180"));
  EXPECT_THAT(text, Not(HasSubstr("left")));
}

TEST(ProgressLine, RatesAreThoseOfTheLastSeconds) {
  ProgressLine line(seconds(60));
  for (int i = 0; i <= 20; ++i) (void)line.Text(After(milliseconds(100 * i)), kWide);
  // From here on nothing moves.
  ProgressSample stalled = After(seconds(2));
  std::string text;
  for (int i = 0; i < 30; ++i) {
    stalled.wall_time += milliseconds(100);
    text = line.Text(stalled, kWide);
  }
  EXPECT_THAT(text, HasSubstr("0.0x"));
  EXPECT_THAT(text, HasSubstr("big 180 0/s"));
  EXPECT_THAT(text, Not(HasSubstr("left")));
}

TEST(ProgressLine, TheFirstSampleDividesByNothing) {
  ProgressLine line(seconds(60));
  EXPECT_THAT(line.Text(After(milliseconds(0)), kWide), HasSubstr("0.0x"));
}

TEST(ProgressLine, CountsDrops) {
  ProgressLine line(std::nullopt);
  ProgressSample sample = After(seconds(1));
  sample.dropped = 7;
  EXPECT_THAT(line.Text(sample, kWide), testing::EndsWith("drop 7"));
}

TEST(ProgressLine, PastTheEndNothingIsLeft) {
  ProgressLine line(seconds(1));
  EXPECT_THAT(line.Text(After(seconds(2)), kWide), Not(HasSubstr("left")));
}

}  // namespace
}  // namespace movra::app
