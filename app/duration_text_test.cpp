#include "app/duration_text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>

namespace movra::app {
namespace {

using std::chrono::hours;
using std::chrono::milliseconds;
using std::chrono::minutes;
using std::chrono::nanoseconds;
using std::chrono::seconds;

struct Good {
  const char* text;
  nanoseconds duration;
};

class DurationTextGood : public testing::TestWithParam<Good> {};

TEST_P(DurationTextGood, IsRead) {
  const Result<nanoseconds> result = ParseDuration(GetParam().text);
  ASSERT_EQ(FailureOf(result), nullptr) << FailureOf(result)->text;
  EXPECT_EQ(ValueOf(result), GetParam().duration);
}

INSTANTIATE_TEST_SUITE_P(
    Times, DurationTextGood,
    testing::Values(Good{"10s", seconds(10)}, Good{"1m30s", seconds(90)}, Good{"1h", hours(1)},
                    Good{"500ms", milliseconds(500)}, Good{"1.5s", milliseconds(1500)},
                    Good{".5m", seconds(30)},
                    Good{"1h2m3s4ms", hours(1) + minutes(2) + milliseconds(3004)},
                    Good{"90s", seconds(90)}, Good{"0h1s", seconds(1)}, Good{"1000h", hours(1000)},
                    Good{"0.1ms", nanoseconds(100'000)}));

struct Bad {
  const char* text;
  ExitCode code;
};

class DurationTextBad : public testing::TestWithParam<Bad> {};

TEST_P(DurationTextBad, IsRefusedWithItsCodeAndNamesWhatWasTyped) {
  const Result<nanoseconds> result = ParseDuration(GetParam().text);
  ASSERT_NE(FailureOf(result), nullptr);
  EXPECT_EQ(FailureOf(result)->code, GetParam().code);
  EXPECT_THAT(FailureOf(result)->text,
              testing::HasSubstr("'" + std::string(GetParam().text) + "'"));
}

INSTANTIATE_TEST_SUITE_P(
    Times, DurationTextBad,
    testing::Values(Bad{"", ExitCode::kMalformed}, Bad{"10", ExitCode::kMalformed},
                    Bad{"s", ExitCode::kMalformed}, Bad{"10 s", ExitCode::kMalformed},
                    Bad{"-5s", ExitCode::kMalformed}, Bad{"10sec", ExitCode::kMalformed},
                    Bad{"30s1m", ExitCode::kMalformed}, Bad{"1s1s", ExitCode::kMalformed},
                    Bad{"1..5s", ExitCode::kMalformed}, Bad{"1m30", ExitCode::kMalformed},
                    Bad{"1e9s", ExitCode::kMalformed}, Bad{"10S", ExitCode::kMalformed},
                    Bad{".s", ExitCode::kMalformed}, Bad{"0s", ExitCode::kZero},
                    Bad{"0h0m0s", ExitCode::kZero}, Bad{"1000h1ms", ExitCode::kOutOfRange},
                    Bad{"99999999999999999999h", ExitCode::kOutOfRange},
                    Bad{"1000h99999999999999999999m", ExitCode::kOutOfRange}));

TEST(DurationText, AClockShowsHoursOnlyWhereThereAreAny) {
  EXPECT_EQ(ClockText(nanoseconds(0)), "0:00.0");
  EXPECT_EQ(ClockText(milliseconds(7499)), "0:07.4");
  EXPECT_EQ(ClockText(minutes(12)), "12:00.0");
  EXPECT_EQ(ClockText(minutes(60) - milliseconds(1)), "59:59.9");
  EXPECT_EQ(ClockText(hours(1) + minutes(2) + milliseconds(3500)), "1:02:03.5");
  EXPECT_EQ(ClockText(nanoseconds(-1)), "0:00.0");
  EXPECT_EQ(ClockText(60 * nanoseconds(33'333'333)), "0:02.0");
}

}  // namespace
}  // namespace movra::app
