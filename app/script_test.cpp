#include "app/script.h"

#include <chrono>
#include <string>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/operations.h"
#include "media/temporary_directory_for_test.h"

namespace movra::app {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

std::vector<ScriptLine> Lines(std::string_view text) {
  auto lines = ParseScript(text);
  if (const Failure* const failure = FailureOf(lines)) ADD_FAILURE() << failure->text;
  return FailureOf(lines) == nullptr ? ValueOf(lines) : std::vector<ScriptLine>();
}

Failure Wrong(std::string_view text) {
  const auto lines = ParseScript(text);
  return FailureOf(lines) != nullptr ? *FailureOf(lines) : Failure{ExitCode::kSuccess, ""};
}

TEST(Script, IsALineForEachOperation) {
  EXPECT_THAT(Lines("{\"at\": \"2s\", \"do\": \"pause_capture\"}\n"
                    "{\"do\": \"stop_encoder\", \"with\": {\"type\": \"big\"}, \"at\": \"2.5s\"}"),
              ElementsAre(ScriptLine{1, seconds(2), "pause_capture", Json::object()},
                          ScriptLine{2, milliseconds(2500), "stop_encoder", {{"type", "big"}}}));
  EXPECT_THAT(Lines(""), IsEmpty());
}

TEST(Script, PassesEmptyLinesByAndCountsThem) {
  EXPECT_THAT(Lines("\n  \t\r\n{\"at\": \"0s\", \"do\": \"resume_capture\"}\r\n\n"),
              ElementsAre(ScriptLine{3, seconds(0), "resume_capture", Json::object()}));
}

TEST(Script, TakesAnOperationsNameAsTheSourcesWriteIt) {
  EXPECT_THAT(Lines(R"({"at": "1m", "do": "PauseCapture"})"),
              ElementsAre(ScriptLine{1, seconds(60), "pause_capture", Json::object()}));
}

TEST(Script, IsInTheOrderOfTheTimesAndThenOfTheFile) {
  std::vector<std::size_t> numbers;
  for (const ScriptLine& line : Lines("{\"at\": \"2s\", \"do\": \"pause_capture\"}\n"
                                      "{\"at\": \"1s\", \"do\": \"pause_capture\"}\n"
                                      "{\"at\": \"1s\", \"do\": \"resume_capture\"}\n")) {
    numbers.push_back(line.number);
  }
  EXPECT_THAT(numbers, ElementsAre(2U, 3U, 1U));
}

TEST(Script, SaysInWhichLineWhatIsWrongAndWhatWouldBeRight) {
  const std::string form = R"(write a line as in {"at": "2s", "do": "pause_capture"})";
  const std::string times = R"(write a time as in "2s", "1m30s" or "0s")";
  const std::pair<std::string, Failure> cases[] = {
      {"{", {ExitCode::kMalformed, "this is no JSON; " + form}},
      {"[1]", {ExitCode::kMalformed, "this is [1]; " + form}},
      {std::string(100'000, '['), {ExitCode::kMalformed, "there are too many levels; " + form}},
      {R"({"at": "1s"})", {ExitCode::kMalformed, "do is missing; " + form}},
      {R"({"at": "1s", "do": 3})", {ExitCode::kMalformed, "do is 3; " + form}},
      {R"({"do": "pause_capture"})", {ExitCode::kMalformed, "at is missing; " + times}},
      {R"({"at": 1, "do": "pause_capture"})", {ExitCode::kMalformed, "at is 1; " + times}},
      {R"({"at": "soon", "do": "pause_capture"})",
       {ExitCode::kMalformed, "at is \"soon\"; " + times}},
      {R"({"at": "1001h", "do": "pause_capture"})",
       {ExitCode::kMalformed, "at is \"1001h\"; " + times}},
      {R"({"at": "1s", "do": "pause_capture", "args": {}})",
       {ExitCode::kUsage, "there is no entry \"args\"; there are at, do, with"}},
      {R"({"at": "1s", "do": "pause_captur"})",
       {ExitCode::kUsage,
        "there is no operation \"pause_captur\"; the nearest is \"pause_capture\""}},
      {R"({"at": "1s", "do": "pause_capture", "with": 3})",
       {ExitCode::kMalformed,
        "pause_capture: the arguments are 3; write an object with an entry for each"}},
      {R"({"at": "1s", "do": "stop_encoder", "with": {"typ": "big"}})",
       {ExitCode::kUsage,
        "stop_encoder: there is no argument \"typ\"; the arguments are type, max_wait_ms"}},
      {R"({"at": "1s", "do": "stop_encoder"})",
       {ExitCode::kUsage, "stop_encoder: type is missing; write \"big\" or \"small\""}},
  };
  for (const auto& [line, failure] : cases) {
    EXPECT_EQ(Wrong("\n" + line), Prefixed("line 2", failure)) << line.substr(0, 60);
  }
}

// Of a table that grows: what has no argument that must be there is a line already.
TEST(Script, KnowsEveryOperation) {
  for (const OperationGroup& group : OperationTable()) {
    for (const Operation& operation : group.operations) {
      const Failure wrong = Wrong(R"({"at": "1s", "do": ")" + operation.name + "\"}");
      const bool is_whole = wrong.code == ExitCode::kSuccess;
      EXPECT_THAT(is_whole ? " is missing; " : wrong.text, HasSubstr(" is missing; "));
    }
  }
}

TEST(Script, IsReadFromAFile) {
  const media::TemporaryDirectory directory;
  const std::string path = directory.Write("demo.jsonl", R"({"at": "1s", "do": "pause_capture"})");
  const auto lines = ReadScript(path);
  ASSERT_EQ(FailureOf(lines), nullptr);
  EXPECT_EQ(ValueOf(lines).size(), 1U);
  const std::string broken = directory.Write("broken.jsonl", "{");
  ASSERT_NE(FailureOf(ReadScript(broken)), nullptr);
  const auto failed = ReadScript(broken);
  EXPECT_THAT(FailureOf(failed)->text, HasSubstr("'" + broken + "': line 1: this is no JSON"));
}

TEST(Script, OfAPlaceThatIsNoFileIsRefused) {
  const media::TemporaryDirectory directory;
  const auto missing = ReadScript(directory / "none");
  ASSERT_NE(FailureOf(missing), nullptr);
  EXPECT_EQ(*FailureOf(missing),
            (Failure{ExitCode::kNoSuchFile, "there is no file '" + (directory / "none") + "'"}));
  const auto folder = ReadScript(directory.path());
  ASSERT_NE(FailureOf(folder), nullptr);
  EXPECT_EQ(FailureOf(folder)->code, ExitCode::kUnreadable);
}

}  // namespace
}  // namespace movra::app
