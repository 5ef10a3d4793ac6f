// A minute of real time, which is too long for every test run.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "app/program_for_test.h"
#include "media/sanitizer_for_test.h"

namespace movra::app {
namespace {

using PacingStress = ProgramTest;

// A loop, so that the seam where the file begins again is on the road thirty times.
TEST_F(PacingStress, OverAMinuteFramesAreTakenWithinFiveMillisecondsOfTheClock) {
  if (media::kIsSanitized) GTEST_SKIP() << "a sanitizer's time is not the program's";
  const ProcessResult result =
      Run({"--camera", "file:" + MakeClip(60), "--loop", "--realtime", "--duration", "60s",
           "--small", "off", "--quiet", "--stats", "-"});
  EXPECT_EQ(result.exit_code, 0) << result.err;
  SCOPED_TRACE(result.out);
  const auto json = nlohmann::json::parse(result.out);
  const auto& big = json["streams"][0];
  EXPECT_EQ(big["frames_written"], 1800);
  EXPECT_EQ(big["frames_displaced"], 0);
  EXPECT_NEAR(big["duration_s"], 60, 0.001);
  EXPECT_LE(big["pacing_error_p99_us"], 5000);
  EXPECT_NEAR(json["wall_time_s"], 60, 0.5);
}

}  // namespace
}  // namespace movra::app
