#include "app/frame_rate.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>
#include <utility>

namespace movra::media {

void PrintTo(const FrameRate& rate, std::ostream* out) {
  *out << rate.numerator << "/" << rate.denominator;
}

}  // namespace movra::media

namespace movra::app {
namespace {

using testing::HasSubstr;

TEST(FrameRate, IsHalvedExactly) {
  EXPECT_EQ(Half({30, 1}), (FrameRate{15, 1}));
  EXPECT_EQ(Half({25, 1}), (FrameRate{25, 2}));
  EXPECT_EQ(Half({30000, 1001}), (FrameRate{15000, 1001}));
  EXPECT_NEAR(Half({2'147'483'647, 2'000'000'000}).PerSecond(), 0.5368709, 1e-6);
}

TEST(FrameRate, RoundsUpToWholeFrames) {
  EXPECT_EQ(RoundedUp({15, 1}), 15);
  EXPECT_EQ(RoundedUp({25, 2}), 13);
  EXPECT_EQ(RoundedUp({1, 4}), 1);
}

TEST(FrameRate, TheFasterAndTheSlowerAreToldExactly) {
  const FrameRate whole{30, 1};
  const FrameRate television{30000, 1001};
  EXPECT_EQ(Slower(whole, television), television);
  EXPECT_EQ(Slower(television, whole), television);
  EXPECT_EQ(Faster(whole, television), whole);
  EXPECT_EQ(Faster(television, whole), whole);
  EXPECT_EQ(Faster(whole, whole), whole);
}

TEST(FrameRate, IsReadAsAWholeNumberADecimalOrAFraction) {
  for (const auto& [text, rate] :
       {std::pair{"1", FrameRate{1, 1}}, std::pair{"240", FrameRate{240, 1}},
        std::pair{"30.0", FrameRate{30, 1}}, std::pair{"30.000", FrameRate{30, 1}},
        std::pair{"12.5", FrameRate{25, 2}}, std::pair{"0.1", FrameRate{1, 10}},
        std::pair{"26.777", FrameRate{26777, 1000}}, std::pair{"30/1", FrameRate{30, 1}},
        std::pair{"30000/1001", FrameRate{30000, 1001}}, std::pair{"1/2", FrameRate{1, 2}}}) {
    const auto result = ParseFrameRate(text);
    ASSERT_EQ(FailureOf(result), nullptr) << text;
    EXPECT_EQ(ValueOf(result), rate) << text;
  }
}

TEST(FrameRate, ADecimalThatStandsForARateOfTelevisionIsThatRate) {
  for (const auto& [text, numerator] :
       {std::pair{"29.97", 30000}, std::pair{"29.970", 30000}, std::pair{"29.97003", 30000},
        std::pair{"59.94", 60000}, std::pair{"14.985", 15000}, std::pair{"119.88", 120000}}) {
    EXPECT_EQ(ValueOf(ParseFrameRate(text)), (FrameRate{numerator, 1001})) << text;
  }
  EXPECT_EQ(ValueOf(ParseFrameRate("23.976")), media::MakeFrameRate(24000, 1001));
  EXPECT_EQ(ValueOf(ParseFrameRate("23.98")), media::MakeFrameRate(24000, 1001));
  EXPECT_EQ(ValueOf(ParseFrameRate("29.9")), (FrameRate{299, 10})) << "may be anything";
  EXPECT_EQ(ValueOf(ParseFrameRate("29.96")), media::MakeFrameRate(2996, 100));
}

TEST(FrameRate, WhatIsNoneIsRefusedWithItsCodeAndReason) {
  const auto expect = [](const char* text, ExitCode code, const char* says) {
    const auto result = ParseFrameRate(text);
    ASSERT_NE(FailureOf(result), nullptr) << text;
    EXPECT_EQ(FailureOf(result)->code, code) << text;
    EXPECT_THAT(FailureOf(result)->text, HasSubstr(says)) << text;
  };
  for (const char* text : {"", "-1", "30fps", "30@15", "1e3", "30/", "/1001", "30/0", "30/1/2",
                           "99999999999999999999/1", "1/99999999999"}) {
    expect(text, ExitCode::kMalformed,
           " is not a rate; a rate is 0.1 to 240 frames per second, as in 30, 12.5 or 30000/1001");
  }
  for (const char* text : {"0", "0.0", "0/5"}) expect(text, ExitCode::kZero, "the rate is 0; ");
  for (const char* text : {"241", "240.1", "99999999999999999999"}) {
    expect(text, ExitCode::kOutOfRange, " is too high; ");
  }
  for (const char* text : {"0.09", "1/11"}) expect(text, ExitCode::kOutOfRange, " is too low; ");
}

TEST(FrameRate, IsWrittenShortly) {
  EXPECT_EQ(FrameRateText(30), "30");
  EXPECT_EQ(FrameRateText(30000.0 / 1001), "29.97");
  EXPECT_EQ(FrameRateText(14.999), "15");
}

}  // namespace
}  // namespace movra::app
