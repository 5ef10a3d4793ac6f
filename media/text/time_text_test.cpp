#include "media/text/time_text.h"

#include <chrono>
#include <optional>

#include <gtest/gtest.h>

namespace movra::media {
namespace {

using std::chrono::hours;
using std::chrono::milliseconds;
using std::chrono::minutes;
using std::chrono::nanoseconds;
using std::chrono::seconds;

TEST(TimeText, ReadsNumbersWithTheirUnitsTheLargerFirst) {
  EXPECT_EQ(ParseTime("10s"), seconds(10));
  EXPECT_EQ(ParseTime("1m30s"), seconds(90));
  EXPECT_EQ(ParseTime("1h2m3s4ms"), hours(1) + minutes(2) + seconds(3) + milliseconds(4));
  EXPECT_EQ(ParseTime("1.5s"), milliseconds(1500));
  EXPECT_EQ(ParseTime("0s"), nanoseconds(0));
}

TEST(TimeText, ReadsNothingElse) {
  for (const char* const text :
       {"", "10", "s", "s10", "1s1m", "1s1s", "1x", "-1s", "1..5s", "1 s", "1e3s", "1s ", "."}) {
    EXPECT_EQ(ParseTime(text), std::nullopt) << text;
  }
}

TEST(TimeText, WhatIsTooLongIsANanosecondMoreThanTheLongest) {
  EXPECT_EQ(ParseTime("1000h"), kLongestTime);
  for (const char* const text : {"1000h1ms", "1001h", "99999999999999999999999h", "999h9999999m"}) {
    EXPECT_EQ(ParseTime(text), kLongestTime + nanoseconds(1)) << text;
  }
}

TEST(TimeText, WritesWhatIsReadAsTheSameTime) {
  EXPECT_EQ(TimeText(seconds(90)), "90s");
  EXPECT_EQ(TimeText(milliseconds(1500)), "1.5s");
  EXPECT_EQ(TimeText(nanoseconds(0)), "0s");
  for (const nanoseconds time : {nanoseconds(1), nanoseconds(1'000'000'001), nanoseconds(10),
                                 nanoseconds(33'366'667), nanoseconds(kLongestTime)}) {
    EXPECT_EQ(ParseTime(TimeText(time)), time) << TimeText(time);
  }
}

}  // namespace
}  // namespace movra::media
