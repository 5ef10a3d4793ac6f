#include "app/ending_judge.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "media/capture/camera_error.h"

namespace movra::app {
namespace {

using media::CameraError;
using media::WriteErrorKind;
using std::chrono::seconds;
using ::testing::HasSubstr;

std::int32_t CodeOf(CameraError error) { return static_cast<std::int32_t>(error); }

// Both streams have frames, and nothing went wrong.
RunEnding GoodRun() {
  RunEnding run;
  run.source_id = "file:a.mp4";
  run.ending = Ending::kSourceEnded;
  run.frames_captured = 7;
  for (const auto type : {video::VideoStreamType::kBig, video::VideoStreamType::kSmall}) {
    StreamReport& stream = run.streams.emplace_back();
    stream.plan.type = type;
    stream.figures.first_frame.emplace();
    const std::string name = StreamName(type);
    run.sinks.push_back({"--" + name, "'" + name + ".mp4'", false, false});
  }
  return run;
}

TEST(JudgeEnding, ARunThatWentWellHasNoFailure) { EXPECT_EQ(JudgeEnding(GoodRun()), std::nullopt); }

TEST(JudgeEnding, ASinkThatFailedUntoldIsNamed) {
  RunEnding run = GoodRun();
  run.sinks[1].failed = true;
  EXPECT_EQ(JudgeEnding(run),
            (Failure{ExitCode::kWriteFailed, "--small: 'small.mp4' is not complete"}));
  run.sinks[1].told = true;
  EXPECT_EQ(JudgeEnding(run), std::nullopt);
}

TEST(JudgeEnding, ASinkComesBeforeTheSource) {
  RunEnding run = GoodRun();
  run.sinks[0].failed = true;
  run.damaged_frames = 3;
  EXPECT_EQ(JudgeEnding(run)->code, ExitCode::kWriteFailed);
}

TEST(JudgeEnding, ASourceThatFailedWithoutAnyFrameCouldNotBeStarted) {
  RunEnding run = GoodRun();
  run.source_end.error_code = CodeOf(CameraError::kNotAVideo);
  for (StreamReport& stream : run.streams) stream.figures.first_frame.reset();
  EXPECT_EQ(JudgeEnding(run)->code, ExitCode::kNotAVideo);
}

TEST(JudgeEnding, ASourceThatFailedBehindAFrameBrokeOff) {
  RunEnding run = GoodRun();
  run.source_end.error_code = CodeOf(CameraError::kNotAVideo);
  run.streams[0].figures.first_frame.reset();
  EXPECT_EQ(JudgeEnding(run)->code, ExitCode::kDamagedInput);
}

TEST(JudgeEnding, DamageIsAFailureAndComesBeforeAnEmptyStream) {
  RunEnding run = GoodRun();
  run.damaged_frames = 3;
  run.streams[1].figures.first_frame.reset();
  const auto failure = JudgeEnding(run);
  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->code, ExitCode::kDamagedInput);
  EXPECT_THAT(failure->text, HasSubstr("3 frames"));
}

TEST(JudgeEnding, AStreamWithoutAFrameIsAFailureUnlessThatWasCutShort) {
  RunEnding run = GoodRun();
  run.streams[1].figures.first_frame.reset();
  for (const auto ending : {Ending::kSourceEnded, Ending::kDurationOver, Ending::kFailed}) {
    run.ending = ending;
    const auto failure = JudgeEnding(run);
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->code, ExitCode::kNoFrames);
    EXPECT_THAT(failure->text, ::testing::StartsWith("the small stream received no frame (7 came"));
  }
  for (const auto ending : {Ending::kInterrupted, Ending::kReaderClosed}) {
    run.ending = ending;
    EXPECT_EQ(JudgeEnding(run), std::nullopt);
  }
}

TEST(JudgeBreakOff, TheOnlySinkEndsTheRun) {
  EXPECT_EQ(JudgeBreakOff("--big", {WriteErrorKind::kDiskFull, "full"}, std::nullopt, false),
            (BreakOff{Failure{ExitCode::kWriteFailed, "--big: full"}, Ending::kFailed, ""}));
}

TEST(JudgeBreakOff, AReaderThatClosedItsPipeIsNoFailure) {
  EXPECT_EQ(JudgeBreakOff("--big", {WriteErrorKind::kClosedPipe, "closed"}, std::nullopt, false),
            (BreakOff{std::nullopt, Ending::kReaderClosed, ""}));
}

TEST(JudgeBreakOff, OneOfSeveralIsNotedAndEndsNothing) {
  const std::string note = "--big: text; the other outputs of the stream go on";
  EXPECT_EQ(JudgeBreakOff("--big", {WriteErrorKind::kTooSlow, "text"}, std::nullopt, true),
            (BreakOff{Failure{ExitCode::kWriteFailed, "--big: text"}, std::nullopt, note}));
  EXPECT_EQ(JudgeBreakOff("--big", {WriteErrorKind::kClosedPipe, "text"}, std::nullopt, true),
            (BreakOff{std::nullopt, std::nullopt, note}));
}

TEST(JudgeBreakOff, WhatAnInterruptCutsOffIsANoteAlone) {
  const media::WriteError error{WriteErrorKind::kInterrupted, "cut"};
  const BreakOff noted{std::nullopt, std::nullopt, "--big: cut"};
  EXPECT_EQ(JudgeBreakOff("--big", error, Ending::kInterrupted, false), noted);
  EXPECT_EQ(JudgeBreakOff("--big", error, Ending::kInterrupted, true), noted);
  EXPECT_EQ(JudgeBreakOff("--big", error, Ending::kSourceEnded, false).failure->code,
            ExitCode::kWriteFailed);
}

TEST(EndOfLastPicture, IsTheDurationWhereThatCutsTheStreamOff) {
  StreamFigures figures;
  EXPECT_EQ(EndOfLastPicture(Ending::kSourceEnded, figures, seconds(5)), std::nullopt);
  EXPECT_EQ(EndOfLastPicture(Ending::kDurationOver, figures, seconds(5)), seconds(5));
  figures.packets_beyond_limit = 1;
  EXPECT_EQ(EndOfLastPicture(Ending::kInterrupted, figures, seconds(5)), seconds(5));
  EXPECT_EQ(EndOfLastPicture(Ending::kDurationOver, figures, std::nullopt), std::nullopt);
}

}  // namespace
}  // namespace movra::app
