// The program goes by a script: several sources into the same files, and what it tells of them.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "app/program_for_test.h"

namespace movra::app {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAreArray;
using ::testing::HasSubstr;

class ScriptE2e : public ProgramTest {
 protected:
  // Nothing is left out of what a source gave until it was stopped.
  static void ExpectBeginning(const std::vector<std::uint32_t>& numbers) {
    EXPECT_LE(numbers.size(), 30U);
    EXPECT_THAT(numbers, ElementsAreArray(Numbers(static_cast<std::uint32_t>(numbers.size()))));
  }

  // The lines of the event log.
  [[nodiscard]] std::vector<nlohmann::json> Events() const {
    std::vector<nlohmann::json> events;
    std::ifstream file(directory_ / "out/events.jsonl");
    for (std::string line; std::getline(file, line);) events.push_back(nlohmann::json::parse(line));
    return events;
  }
};

TEST_F(ScriptE2e, SourcesFollowEachOtherIntoTheSameFiles) {
  const std::string next = MakeClip(20, {320, 240}, "next.mp4");
  const std::string script = directory_.Write("demo.jsonl",
                                              R"({"at": "400ms", "do": "stop_capture"}
{"at": "400ms", "do": "start_capture_camera", "with": {"params": {"camera_id": "file:)" +
                                                  next + R"("}}}
)");
  const ProcessResult result = Run({"file:" + MakeClip(30), "--script", script, "--events",
                                    "events.jsonl", "--big", "640x360@30", "--small", "off"});
  EXPECT_EQ(result.exit_code, 0) << result.err;
  const PlayedFile played = Play(directory_ / "out/big.mp4");
  EXPECT_EQ(played.error, "");
  // On a busy machine the first one is stopped before it has been read to its end.
  ASSERT_GE(played.numbers.size(), 20U);
  ExpectBeginning({played.numbers.begin(), played.numbers.end() - 20});
  EXPECT_THAT(std::vector(played.numbers.end() - 20, played.numbers.end()),
              ElementsAreArray(Numbers(20)));
  EXPECT_TRUE(std::is_sorted(played.times_s.begin(), played.times_s.end()));

  const auto events = Events();
  ASSERT_FALSE(events.empty());
  const auto answer = std::find_if(events.begin(), events.end(), [](const nlohmann::json& event) {
    return event["event"] == "answer" && event["do"] == "start_capture_camera";
  });
  ASSERT_NE(answer, events.end());
  EXPECT_EQ((*answer)["line"], 2);
  EXPECT_EQ((*answer)["answer"]["error_code"], 0);
  EXPECT_GE((*answer)["time_s"].get<double>(), 0.4);
}

TEST_F(ScriptE2e, ASourceThatIsNotThereEndsTheRunAndLeavesWhatWasWritten) {
  const std::string script = directory_.Write("demo.jsonl",
                                              R"({"at": "300ms", "do": "stop_capture"}
{"at": "300ms", "do": "start_capture_camera", "with": {"params": {"camera_id": "file:none.mp4"}}})");
  const ProcessResult result = Run({"file:" + MakeClip(30), "--script", script});
  EXPECT_EQ(result.exit_code, 10) << result.err;
  EXPECT_THAT(result.err, HasSubstr("--script, line 2: "));
  EXPECT_THAT(result.err, HasSubstr("none.mp4"));
  const PlayedFile played = Play(directory_ / "out/big.mp4");
  EXPECT_EQ(played.error, "");
  ExpectBeginning(played.numbers);
}

TEST_F(ScriptE2e, NothingIsTouchedForAScriptThatIsWrong) {
  const std::string script =
      directory_.Write("demo.jsonl", R"({"at": "1s", "do": "pause_captur"})");
  const ProcessResult result = Run({"test:", "--script", script});
  EXPECT_EQ(result.exit_code, 2);
  EXPECT_THAT(result.err, AllOf(HasSubstr("line 1"), HasSubstr("\"pause_capture\"")));
  EXPECT_FALSE(Exists("out"));
}

}  // namespace
}  // namespace movra::app
