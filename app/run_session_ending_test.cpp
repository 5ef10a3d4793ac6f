// What a session reports of the ways in which it ends.

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "app/run_session_for_test.h"
#include "core/notification_center.h"
#include "media/capture/camera_error.h"
#include "video/to_string.h"

namespace movra::app {
namespace {

namespace fs = std::filesystem;
using media::CameraError;
using ::testing::HasSubstr;

class RunSessionEnding : public RunSessionTest {
 protected:
  void RaiseEncoderError(video::VideoStreamType type, video::VideoEncoderError error,
                         const movra_base::Value& detail = {}) {
    Encoder(type).client()->OnEncoderError(type, error, detail);
    env_.main_queue().RunAll();
  }

  static void PublishEnd(const std::string& camera_id, video::CaptureEndKind kind) {
    core::NotificationCenter::GetInstance().Publish<const video::CaptureEnd&>(
        video::kCaptureEndedNotification, "",
        {.camera_id = camera_id,
         .kind = kind,
         .error_code = static_cast<std::int32_t>(CameraError::kDeviceLost),
         .text = "it is gone",
         .damaged_frames = 3});
  }
};

TEST_F(RunSessionEnding, ACameraThatCannotBeStartedIsTheFailure) {
  Begin();
  AnswerStart(static_cast<int>(CameraError::kNoSuchCamera));
  const RunReport report = Report();
  EXPECT_EQ(report.ending, Ending::kFailed);
  EXPECT_EQ(report.exit_code(), ExitCode::kUnknownCamera);
}

TEST_F(RunSessionEnding, WhyACameraCannotBeStartedIsTheTextOfTheFailure) {
  Begin();
  PublishEnd(options_.source, video::CaptureEndKind::kNotStarted);
  EXPECT_FALSE(is_over());
  AnswerStart(static_cast<int>(CameraError::kBusy));
  const RunReport report = Report();
  EXPECT_EQ(report.exit_code(), ExitCode::kCaptureFailed);
  EXPECT_THAT(report.failure->text, HasSubstr("it is gone"));
}

TEST_F(RunSessionEnding, AStartThatIsAnsweredBehindTheEndChangesNothing) {
  Begin();
  session_->Interrupt();
  AnswerStart(static_cast<int>(CameraError::kNoSuchCamera));
  const RunReport report = Report();
  EXPECT_EQ(report.ending, Ending::kInterrupted);
  EXPECT_FALSE(report.failure);
}

TEST_F(RunSessionEnding, AnEncoderThatFailsIsNamedWithItsReason) {
  Begin();
  AnswerStart();
  WriteBoth(milliseconds(0));
  RaiseEncoderError(kSmall, video::VideoEncoderError::kEncodeFailed, movra_base::Value("it broke"));
  const RunReport report = Report();
  EXPECT_EQ(report.exit_code(), ExitCode::kEncoderFailed);
  EXPECT_EQ(report.failure->text, "the encoder of the small stream failed: it broke");
}

TEST_F(RunSessionEnding, AnEncoderThatIsNotThereHasACodeOfItsOwn) {
  Begin();
  RaiseEncoderError(kBig, video::VideoEncoderError::kUnavailable);
  const RunReport report = Report();
  EXPECT_EQ(report.exit_code(), ExitCode::kNotBuilt);
  EXPECT_EQ(
      report.failure->text,
      "the encoder of the big stream failed: " +
          std::string(video::VideoEncoderErrorToString(video::VideoEncoderError::kUnavailable)));
}

TEST_F(RunSessionEnding, TheFirstEndingAndTheFirstFailureStand) {
  Begin();
  AnswerStart();
  WriteBoth(milliseconds(0));
  session_->Interrupt();
  const auto client = Encoder(kBig).client();
  client->OnEncoderError(kBig, video::VideoEncoderError::kEncodeFailed, movra_base::Value("first"));
  client->OnEncoderError(kSmall, video::VideoEncoderError::kUnavailable, {});
  env_.main_queue().RunAll();
  const RunReport report = Report();
  EXPECT_EQ(report.ending, Ending::kInterrupted);
  EXPECT_EQ(report.exit_code(), ExitCode::kEncoderFailed);
  EXPECT_THAT(report.failure->text, HasSubstr("first"));
}

TEST_F(RunSessionEnding, AFileThatCannotBeMadeEndsItBeforeThereIsAProducer) {
  AddStream(kBig, "big.h264");
  AddStream(kSmall, "no/small.h264");
  Begin();
  const RunReport report = Report();
  EXPECT_EQ(report.exit_code(), ExitCode::kDirectoryNotWritable);
  EXPECT_THAT(report.failure->text, ::testing::StartsWith("--small: "));
  EXPECT_EQ(env_.world().preprocessors.count(), 0U);
  session_.reset();
  EXPECT_THAT(directory_.Names(), ::testing::IsEmpty());
}

TEST_F(RunSessionEnding, AFileThatIsThereIsReplacedOnlyIfThatWasAsked) {
  directory_.Write("big.h264", "mine");
  Begin();
  EXPECT_EQ(Report().exit_code(), ExitCode::kDirectoryNotWritable);
  EXPECT_EQ(fs::file_size(directory_ / "big.h264"), 4U);
}

TEST_F(RunSessionEnding, AFileThatIsThereIsReplacedIfThatWasAsked) {
  directory_.Write("big.h264", "mine");
  options_.force = true;
  Begin();
  AnswerStart();
  WriteBoth(milliseconds(0));
  EndBoth();
  const RunReport report = Report();
  EXPECT_EQ(report.exit_code(), ExitCode::kSuccess);
  EXPECT_EQ(fs::file_size(directory_ / "big.h264"), report.streams[0].figures.file_bytes);
}

TEST_F(RunSessionEnding, AStreamWithoutAFrameIsAFailureThatSaysHowManyCame) {
  Begin();
  Source().Come(7);
  AnswerStart();
  Write(kBig, milliseconds(0));
  EndBoth();
  const RunReport report = Report();
  EXPECT_EQ(report.exit_code(), ExitCode::kNoFrames);
  EXPECT_THAT(report.failure->text,
              ::testing::StartsWith("the small stream received no frame (7 "));
}

TEST_F(RunSessionEnding, ButNotIfAPersonInterruptedIt) {
  Begin();
  AnswerStart();
  Interrupt();
  EXPECT_FALSE(Report().failure);
}

TEST_F(RunSessionEnding, ASourceThatFailsBeforeItsFirstFrameCouldNotBeStarted) {
  options_.source = "file:a.mp4";
  Begin();
  AnswerStart();
  EndBoth({static_cast<std::int32_t>(CameraError::kNotAVideo), "", 0});
  EXPECT_EQ(Report().exit_code(), ExitCode::kNotAVideo);
}

TEST_F(RunSessionEnding, ASourceThatFailsLaterBrokeOff) {
  options_.source = "file:a.mp4";
  Begin();
  AnswerStart();
  Write(kBig, milliseconds(0));
  EndBoth({static_cast<std::int32_t>(CameraError::kNotAVideo), "it ended too soon", 0});
  const RunReport report = Report();
  EXPECT_EQ(report.ending, Ending::kSourceEnded);
  EXPECT_EQ(report.exit_code(), ExitCode::kDamagedInput);
  EXPECT_THAT(report.failure->text, HasSubstr("broke off: it ended too soon"));
}

TEST_F(RunSessionEnding, ALiveSourceThatBreaksOffEndsTheRunThoughItsStreamsHaveNoEnd) {
  Begin();
  AnswerStart();
  WriteBoth(milliseconds(0));
  using video::CaptureEndKind;
  PublishEnd("another:", CaptureEndKind::kLost);
  PublishEnd(options_.source, CaptureEndKind::kEnded);  // The end mark says so to the streams.
  EXPECT_FALSE(is_over());
  PublishEnd(options_.source, CaptureEndKind::kLost);
  env_.main_queue().RunAll();
  const RunReport report = Report();
  EXPECT_EQ(report.ending, Ending::kSourceEnded);
  EXPECT_EQ(report.exit_code(), ExitCode::kDamagedInput);
  EXPECT_THAT(report.failure->text,
              HasSubstr("test: broke off: it is gone; 3 frames could not be decoded whole"));
}

TEST_F(RunSessionEnding, DamageOfAFileIsAFailureWhicheverStreamTellsOfIt) {
  options_.source = "file:a.mp4";
  Begin();
  AnswerStart();
  WriteBoth(milliseconds(0));
  WriteEnd(kBig, {0, "", 2});
  WriteEnd(kSmall);
  const RunReport report = Report();
  EXPECT_EQ(report.exit_code(), ExitCode::kDamagedInput);
  EXPECT_THAT(report.failure->text, HasSubstr("2 frames"));
}

TEST_F(RunSessionEnding, AReaderThatClosesItsPipeBeforeTheFirstFrameEndsItWell) {
  signal(SIGPIPE, SIG_IGN);
  ASSERT_EQ(mkfifo((directory_ / "pipe.h264").c_str(), 0600), 0);
  const int reader = open((directory_ / "pipe.h264").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  AddStream(kBig, "pipe.h264");
  AddStream(kSmall, "small.h264");
  Begin();
  AnswerStart();
  close(reader);
  // The first picture waits for the second, which tells the rate.
  Write(kBig, milliseconds(0));
  Write(kBig, milliseconds(40));
  const RunReport report = Report();
  EXPECT_EQ(report.ending, Ending::kReaderClosed);
  EXPECT_FALSE(report.failure) << report.failure->text;
}

TEST_F(RunSessionEnding, WhatAFullDiskCutIsNotCounted) {
  Begin();
  AnswerStart();
  WriteBoth(milliseconds(0));
  WriteBoth(milliseconds(100));
  Source().Come(3);
  Stream(kBig).Count(media::FrameFate::kEncoded, 3);
  Stream(kSmall).Count(media::FrameFate::kEncoded, 2);
  {
    const FullFile full(fs::file_size(directory_ / "big.h264") + 4);
    WriteKeyFrame(kBig, milliseconds(200));
  }
  const RunReport report = Report();
  EXPECT_EQ(report.ending, Ending::kFailed);
  EXPECT_EQ(report.exit_code(), ExitCode::kWriteFailed);
  EXPECT_THAT(report.failure->text, ::testing::StartsWith("--big: cannot write "));
  const StreamFigures& big = report.streams[0].figures;
  EXPECT_EQ(big.packets, 3U);
  EXPECT_EQ(big.frames, 2U);
  EXPECT_EQ(big.key_frames, 1U);
  EXPECT_EQ(big.media_time, milliseconds(200));
  EXPECT_EQ(big.longest_wait, milliseconds(100));
  EXPECT_EQ(big.file_bytes, fs::file_size(directory_ / "big.h264"));
  EXPECT_EQ(big.bytes, big.file_bytes) << "without a container";
  EXPECT_EQ(report.streams[0].frames_not_written(), 1U) << "and lost";
  EXPECT_EQ(report.streams[1].frames_not_written(), 0U);
}

TEST_F(RunSessionEnding, WhatStandsBehindTheDurationIsCountedApart) {
  options_.duration = seconds(1);
  source_.traits = kFileTraits;
  Begin();
  AnswerStart();
  WriteBoth(milliseconds(0));
  Write(kBig, milliseconds(1000));
  Write(kBig, milliseconds(1100));
  Write(kSmall, milliseconds(1000));
  Source().Come(3);
  Stream(kBig).Count(media::FrameFate::kEncoded, 3);
  Stream(kSmall).Count(media::FrameFate::kEncoded, 2);
  const RunReport report = Report();
  EXPECT_EQ(report.streams[0].frames_beyond_duration(), 2U);
  EXPECT_EQ(report.streams[0].frames_not_written(), 0U);
  EXPECT_EQ(report.streams[1].frames_beyond_duration(), 1U);
}

TEST_F(RunSessionEnding, AWriteThatFailsWhileItEndsIsToldToo) {
  Begin();
  AnswerStart();
  WriteBoth(milliseconds(0));
  AtEntry("big_encoder.Stop(", [this] {
    const FullFile full(4);
    if (const auto writer = Encoder(kBig).output().lock()) {
      video::EncodedFrame frame;
      const std::uint8_t data[8] = {0, 0, 0, 1, 0x41, 1, 2, 3};
      frame.data = data;
      frame.size_bytes = sizeof data;
      frame.timestamp = milliseconds(100);
      writer->Write(frame);
    }
  });
  Interrupt();
  const RunReport report = Report();
  EXPECT_EQ(report.ending, Ending::kInterrupted);
  EXPECT_EQ(report.exit_code(), ExitCode::kWriteFailed);
}

TEST_F(RunSessionEnding, TheTimeToTheFirstFrameIsThatOfTheStreamThatWasFirst) {
  Begin();
  AnswerStart();
  WriteBoth(milliseconds(0));
  EndBoth();
  const RunReport report = Report();
  const auto& first = report.streams[0].figures.first_frame;
  const auto& second = report.streams[1].figures.first_frame;
  ASSERT_TRUE(first && second);
  EXPECT_LT(*first, *second);
  EXPECT_EQ(report.time_to_first_frame, first->time_since_epoch());
}

}  // namespace
}  // namespace movra::app
