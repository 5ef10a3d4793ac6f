// Sessions whose script goes on with further sources.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <sstream>
#include <string>

#include "app/run_session_for_test.h"
#include "core/notification_center.h"
#include "media/capture/camera_error.h"
#include "video/camera_service.h"

namespace movra::app {
namespace {

using media::CameraError;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using video::CaptureEndKind;

class RunSessionScript : public RunSessionTest {
 protected:
  void BeginWith(const std::string& script, CameraError answer = CameraError::kNone) {
    auto lines = ParseScript(script);
    ASSERT_EQ(FailureOf(lines), nullptr) << FailureOf(lines)->text;
    script_ = ValueOf(lines);
    options_.script = "demo.jsonl";
    options_.source = "file:a.mp4";
    source_.traits = kFileTraits;
    Begin();
    AnswerStart(static_cast<int>(answer));
  }

  void PlayUntil(nanoseconds time) {
    AdvanceBy(time);
    env_.main_queue().RunAll();
  }

  void End(const std::string& camera_id, CaptureEndKind kind = CaptureEndKind::kEnded) {
    core::NotificationCenter::GetInstance().Publish<const video::CaptureEnd&>(
        video::kCaptureEndedNotification, "",
        {.camera_id = camera_id,
         .kind = kind,
         .error_code = kind == CaptureEndKind::kEnded ? 0 : 11,
         .text = kind == CaptureEndKind::kEnded ? "" : "it is gone"});
    env_.main_queue().RunAll();
  }

  const std::vector<std::string> kKeyFrames = {"big_encoder.RequestKeyFrame",
                                               "small_encoder.RequestKeyFrame"};
  static constexpr char kNextSource[] =
      R"({"at": "2s", "do": "stop_capture"}
{"at": "2s", "do": "start_capture_camera", "with": {"params": {"camera_id": "file:b.mp4"}}})";
};

TEST_F(RunSessionScript, CallsTheProducerAtItsTimes) {
  BeginWith(R"({"at": "1s", "do": "request_key_frame", "with": {"type": "big"}})"
            "\n"
            R"({"at": "3s", "do": "request_key_frame", "with": {"type": "small"}})");
  PlayUntil(milliseconds(999));
  EXPECT_THAT(EntriesOf(kKeyFrames), IsEmpty());
  PlayUntil(milliseconds(1));
  EXPECT_THAT(EntriesOf(kKeyFrames), ElementsAre("big_encoder.RequestKeyFrame()"));
  PlayUntil(seconds(2));
  EXPECT_THAT(EntriesOf(kKeyFrames), ElementsAre("small_encoder.RequestKeyFrame()"));
}

TEST_F(RunSessionScript, GoesOnBehindTheEndOfASourceWhileLinesAreLeft) {
  BeginWith(kNextSource);
  WriteBoth(milliseconds(0));
  End("file:a.mp4");
  EndBoth();
  EXPECT_FALSE(is_over());
  PlayUntil(seconds(2));
  AnswerStart();
  EXPECT_FALSE(is_over());
  WriteBoth(milliseconds(2000));
  End("file:b.mp4");
  EXPECT_FALSE(is_over());  // The last frames are under way.
  EndBoth();
  const RunReport report = Report();
  EXPECT_EQ(report.ending, Ending::kSourceEnded);
  EXPECT_EQ(report.exit_code(), ExitCode::kSuccess);
}

// The end of the first source may stand in an encoder while the next one begins.
TEST_F(RunSessionScript, ALateEndOfTheSourceBeforeEndsNothing) {
  BeginWith(kNextSource);
  WriteBoth(milliseconds(0));
  End("file:a.mp4");
  PlayUntil(seconds(2));
  AnswerStart();
  EndBoth();
  EXPECT_FALSE(is_over());
  WriteBoth(milliseconds(2000));
  End("file:b.mp4");
  WriteEnd(kBig);
  EXPECT_FALSE(is_over());  // To the small stream its own end mark is under way.
  WriteEnd(kSmall);
  EXPECT_TRUE(is_over());
}

TEST_F(RunSessionScript, AnEndMarkThatNeverComesIsNotWaitedForWithoutEnd) {
  BeginWith(kNextSource);
  WriteBoth(milliseconds(0));
  PlayUntil(seconds(2));
  AnswerStart();
  End("file:b.mp4");
  PlayUntil(milliseconds(29'999));
  EXPECT_FALSE(is_over());
  PlayUntil(milliseconds(1));
  EXPECT_EQ(Report().ending, Ending::kSourceEnded);
}

TEST_F(RunSessionScript, ALastLineBehindTheEndOfTheSourceEndsTheRun) {
  BeginWith(R"({"at": "2s", "do": "request_key_frame", "with": {"type": "big"}})");
  WriteBoth(milliseconds(0));
  End("file:a.mp4");
  EndBoth();
  EXPECT_FALSE(is_over());
  PlayUntil(seconds(2));
  EXPECT_EQ(Report().ending, Ending::kSourceEnded);
}

TEST_F(RunSessionScript, ALastLineBehindALostSourceEndsTheRun) {
  BeginWith(R"({"at": "2s", "do": "request_key_frame", "with": {"type": "big"}})");
  WriteBoth(milliseconds(0));
  End("file:a.mp4", CaptureEndKind::kLost);
  EXPECT_FALSE(is_over());
  PlayUntil(seconds(2));
  EXPECT_EQ(Report().exit_code(), ExitCode::kDamagedInput);
}

TEST_F(RunSessionScript, ARunsOwnSourceMayBeStoppedBeforeItIsOpen) {
  BeginWith(R"({"at": "0s", "do": "stop_capture"}
{"at": "9s", "do": "stop_capture"})",
            CameraError::kCancelled);
  EXPECT_FALSE(is_over());
}

TEST_F(RunSessionScript, AStreamThatTheScriptStartedIsEndedWithTheOthers) {
  AddStream(kBig, "big.h264");
  const std::string own = directory_ / "own.h264";
  BeginWith(
      R"({"at": "1s", "do": "start_encoder", "with": {"type": "small", "params": {"width": 320, "height": 180}, "writer": ")" +
      own + "\"}}");
  Write(kBig, milliseconds(0));
  PlayUntil(seconds(1));
  WriteEnd(kBig);
  EXPECT_TRUE(is_over());
  EXPECT_THAT(EntriesOf({"small_encoder.Stop"}), ElementsAre("small_encoder.Stop(5000)"));
}

TEST_F(RunSessionScript, EndsWithItsSourceOnceNoLineIsLeft) {
  BeginWith(R"({"at": "1s", "do": "pause_capture"})");
  WriteBoth(milliseconds(0));
  PlayUntil(seconds(1));
  EXPECT_FALSE(is_over());
  EndBoth();
  EXPECT_EQ(Report().ending, Ending::kSourceEnded);
}

TEST_F(RunSessionScript, ALostSourceThatAnotherFollowsEndsNothing) {
  BeginWith(kNextSource);
  WriteBoth(milliseconds(0));
  End("file:a.mp4", CaptureEndKind::kLost);
  EXPECT_FALSE(is_over());
  PlayUntil(seconds(2));
  AnswerStart();
  End("file:b.mp4", CaptureEndKind::kLost);
  EXPECT_EQ(Report().exit_code(), ExitCode::kDamagedInput);
}

TEST_F(RunSessionScript, ASourceThatCannotBeStartedIsTheFailure) {
  BeginWith(kNextSource);
  WriteBoth(milliseconds(0));
  PlayUntil(seconds(2));
  End("file:b.mp4", CaptureEndKind::kNotStarted);
  AnswerStart(static_cast<int>(CameraError::kNoSuchFile));
  const RunReport report = Report();
  EXPECT_EQ(report.exit_code(), ExitCode::kNoSuchFile);
  EXPECT_THAT(report.failure->text, HasSubstr("--script, line 2: "));
  EXPECT_THAT(report.failure->text, HasSubstr("it is gone"));
}

TEST_F(RunSessionScript, AValueThatIsWrongEndsTheRunAndNamesItsLine) {
  BeginWith(
      "\n"
      R"({"at": "1s", "do": "stop_encoder", "with": {"type": "huge"}})");
  WriteBoth(milliseconds(0));
  PlayUntil(seconds(1));
  const RunReport report = Report();
  EXPECT_EQ(report.exit_code(), ExitCode::kMalformed);
  EXPECT_EQ(report.failure->text,
            R"(--script, line 2: stop_encoder: type is "huge"; write "big" or "small")");
}

TEST_F(RunSessionScript, ACameraWhoseIdIsNoTextEndsTheRunAndNamesItsLine) {
  BeginWith(R"({"at": "1s", "do": "stop_capture"}
{"at": "1s", "do": "start_capture_camera", "with": {"params": {"camera_id": 3}}})");
  WriteBoth(milliseconds(0));
  PlayUntil(seconds(1));
  const RunReport report = Report();
  EXPECT_EQ(report.exit_code(), ExitCode::kMalformed);
  EXPECT_EQ(report.failure->text,
            "--script, line 2: start_capture_camera: params.camera_id is 3; write a text");
}

TEST_F(RunSessionScript, AnUninitialisedProducerEndsTheRunAndIsLeftAlone) {
  BeginWith(
      "{\"at\": \"1s\", \"do\": \"uninitialize\"}\n{\"at\": \"9s\", \"do\": \"pause_capture\"}");
  WriteBoth(milliseconds(0));
  PlayUntil(seconds(1));
  EXPECT_EQ(Report().exit_code(), ExitCode::kSuccess);
}

// The producer would keep the first one without a word.
TEST_F(RunSessionScript, ASecondSourceBesideOneThatRunsIsRefused) {
  BeginWith(R"({"at": "1s", "do": "start_capture_mobile_screen", "with": {"params": {}}})");
  WriteBoth(milliseconds(0));
  PlayUntil(seconds(1));
  EXPECT_EQ(Report().exit_code(), ExitCode::kContradiction);
  EXPECT_EQ(Report().failure->text,
            "--script, line 1: start_capture_mobile_screen: a source runs already; call "
            "stop_capture before");
}

TEST_F(RunSessionScript, IsOverWhenNoLineIsLeftAndNoSourceRuns) {
  BeginWith(R"({"at": "1s", "do": "stop_capture"})");
  WriteBoth(milliseconds(0));
  PlayUntil(milliseconds(999));
  EXPECT_FALSE(is_over());
  PlayUntil(milliseconds(1));
  EXPECT_EQ(Report().exit_code(), ExitCode::kSuccess);
}

TEST_F(RunSessionScript, AStartThatTheScriptStopsIsNoFailure) {
  BeginWith(std::string(kNextSource) + "\n" + R"({"at": "3s", "do": "stop_capture"}
{"at": "9s", "do": "stop_capture"})");
  WriteBoth(milliseconds(0));
  PlayUntil(seconds(3));
  AnswerStart(static_cast<int>(CameraError::kCancelled));
  EXPECT_FALSE(is_over());
}

TEST_F(RunSessionScript, PlaysNothingOnceTheRunIsOver) {
  BeginWith(R"({"at": "9s", "do": "request_key_frame", "with": {"type": "big"}})");
  Interrupt();
  PlayUntil(seconds(9));
  EXPECT_THAT(EntriesOf(kKeyFrames), IsEmpty());
}

TEST_F(RunSessionScript, LogsEventsAndAnswers) {
  std::ostringstream out;
  EventLog log(out);
  events_ = &log;
  BeginWith(R"({"at": "1s", "do": "is_capturing"})");
  PlayUntil(seconds(1));
  EXPECT_EQ(
      out.str(),
      "{\"time_s\":1.0,\"event\":\"answer\",\"line\":1,\"do\":\"is_capturing\",\"answer\":true}\n");
}

TEST_F(RunSessionScript, ALogThatCannotBeWrittenIsTheFailure) {
  std::ostringstream out;
  EventLog log(out);
  events_ = &log;
  out.setstate(std::ios::badbit);
  BeginWith(R"({"at": "1s", "do": "is_capturing"})");
  WriteBoth(milliseconds(0));
  PlayUntil(seconds(1));
  const RunReport report = Report();
  EXPECT_EQ(report.exit_code(), ExitCode::kWriteFailed);
  EXPECT_EQ(report.failure->text, "--events: the stream could not be written");
}

}  // namespace
}  // namespace movra::app
