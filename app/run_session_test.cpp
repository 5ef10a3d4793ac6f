// The course of a session, from its first operation to its last.

#include "app/run_session.h"

#include <filesystem>
#include <string>
#include <vector>

#include "app/run_session_for_test.h"
#include "testing/preprocessor_double.h"

namespace movra::app {
namespace {

namespace fs = std::filesystem;
using media::FrameFate;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;

// The road there and the road back.
const std::vector<std::string> kOperations{
    "big_encoder.Start",           "small_encoder.Start",         "big_encoder.Stop",
    "small_encoder.Stop",          "camera_service.StartCapture", "camera_service.StopCapture",
    "preprocessor.SetProducerMode"};

TEST_F(RunSessionTest, StartsBothEncodersBeforeTheCameraAndStopsTheCameraFirst) {
  Begin();
  EXPECT_THAT(EntriesOf(kOperations), ElementsAre("big_encoder.Start()", "small_encoder.Start()",
                                                  StartsWith("preprocessor.SetProducerMode("),
                                                  StartsWith("camera_service.StartCapture(")));
  AnswerStart();
  WriteBoth(milliseconds(0));
  EndBoth();
  EXPECT_TRUE(is_over());
  EXPECT_THAT(EntriesOf(kOperations),
              ElementsAre(StartsWith("camera_service.StopCapture("), "big_encoder.Stop(5000)",
                          "small_encoder.Stop(5000)"));
  EXPECT_EQ(env_.world().preprocessors.CountAlive(), 0U) << "the producer is gone";
  EXPECT_EQ(Report().exit_code(), ExitCode::kSuccess);
}

TEST_F(RunSessionTest, TakesItsProducerDownAsItIsMeantTo) {
  Begin();
  env_.journal().Clear();
  Interrupt();
  EXPECT_THAT(env_.journal().Take(), ::testing::Contains(HasSubstr("] Uninitialize")));
}

TEST_F(RunSessionTest, AsksForWhatWasPlanned) {
  plan_.mode = video::ProducerMode::kOwnSize;
  plan_.size = video::Size{800, 450};
  plan_.frame_rate = 25;
  options_.encoder_threads = 3;
  Begin();
  const auto& captures = env_.world().camera_services.Last().captures();
  ASSERT_THAT(captures, SizeIs(1));
  EXPECT_EQ(captures[0].params.camera_id, "test:");
  EXPECT_EQ(captures[0].params.frame_rate.value_or(0), 25);
  EXPECT_EQ(captures[0].params.width.value_or(0), 800) << "by its mode the size is the asked one";
  EXPECT_EQ(captures[0].params.height.value_or(0), 450);
  const video::EncodeParams& big = Encoder(kBig).params().value();
  EXPECT_EQ(big.width.value_or(0), 640);
  EXPECT_EQ(big.height.value_or(0), 360);
  EXPECT_EQ(big.frame_rate.value_or(0), 30);
  EXPECT_FALSE(big.frame_rate_numerator.has_value());
  EXPECT_EQ(big.bitrate_bps.value_or(0), 800'000);
  EXPECT_EQ(big.threads.value_or(0), 3);
  const video::EncodeParams& small = Encoder(kSmall).params().value();
  EXPECT_EQ(small.frame_rate.value_or(0), 13) << "rounded up";
  EXPECT_EQ(small.frame_rate_numerator.value_or(0), 25) << "and exactly";
  EXPECT_EQ(small.frame_rate_denominator.value_or(0), 2);
  EXPECT_EQ(small.bitrate_bps.value_or(0), 100'000);
}

TEST_F(RunSessionTest, WhatThePlanLeavesOpenIsNotAskedFor) {
  Begin();
  const auto& captures = env_.world().camera_services.Last().captures();
  ASSERT_THAT(captures, SizeIs(1));
  EXPECT_FALSE(captures[0].params.frame_rate.has_value());
  EXPECT_FALSE(Encoder(kBig).params().value().threads.has_value());
}

TEST_F(RunSessionTest, AnInterruptBeforeItBeginsLeavesNothingBehind) {
  Make();
  session_->Interrupt();
  Begin();
  EXPECT_TRUE(is_over());
  EXPECT_THAT(directory_.Names(), IsEmpty());
  EXPECT_EQ(env_.world().preprocessors.count(), 0U);
  const RunReport report = Report();
  EXPECT_EQ(report.ending, Ending::kInterrupted);
  EXPECT_FALSE(report.failure);
}

TEST_F(RunSessionTest, IsOverWhenTheLastStreamIs) {
  Begin();
  AnswerStart();
  WriteBoth(milliseconds(0));
  WriteEnd(kSmall);
  EXPECT_FALSE(is_over());
  Write(kBig, milliseconds(100));
  WriteEnd(kBig);
  EXPECT_TRUE(is_over());
  const RunReport report = Report();
  EXPECT_EQ(report.ending, Ending::kSourceEnded);
  EXPECT_EQ(report.streams[0].figures.frames, 2U);
  EXPECT_EQ(report.streams[1].figures.frames, 1U);
}

TEST_F(RunSessionTest, DoesNotTakeItsProducerDownWithinOneOfItsEvents) {
  Begin();
  AnswerStart();
  WriteBoth(milliseconds(0));
  session_->Interrupt();
  EXPECT_FALSE(is_over());
  EXPECT_EQ(env_.world().preprocessors.CountAlive(), 1U);
  env_.main_queue().RunAll();
  EXPECT_TRUE(is_over());
}

TEST_F(RunSessionTest, BothStreamsTogetherHaveFiveSecondsForTheirEnd) {
  Begin();
  AnswerStart();
  AtEntry("big_encoder.Stop(", [this] { AdvanceBy(seconds(2)); });
  Interrupt();
  EXPECT_THAT(EntriesOf({"big_encoder.Stop", "small_encoder.Stop"}),
              ElementsAre("big_encoder.Stop(5000)", "small_encoder.Stop(3000)"));
}

TEST_F(RunSessionTest, AStreamForWhichNoTimeIsLeftIsStillAskedToEnd) {
  Begin();
  AnswerStart();
  AtEntry("big_encoder.Stop(", [this] { AdvanceBy(seconds(7)); });
  Interrupt();
  EXPECT_THAT(EntriesOf({"small_encoder.Stop"}), ElementsAre("small_encoder.Stop(1)"));
}

TEST_F(RunSessionTest, CountsTheFramesOfItsProducerToTheVeryEnd) {
  env_.world().answers.preprocessor_stat = 6;
  Begin();
  AnswerStart();
  WriteBoth(milliseconds(0));
  AtEntry("small_encoder.Stop(", [this] {
    env_.world().preprocessors.Last().stat = 7;
    Source().Come(10);
    Source().Count(FrameFate::kDisplaced, 2);
    Stream(kBig).Count(FrameFate::kEncoded, 7);
    Stream(kSmall).Count(FrameFate::kEncoded, 1);
    Stream(kSmall).Count(FrameFate::kDroppedToRate, 6);
  });
  EndBoth();
  const RunReport report = Report();
  EXPECT_EQ(report.frames_captured, 10U);
  EXPECT_EQ(report.frames_processed, 7U);
  EXPECT_EQ(report.streams[0].frames_that(FrameFate::kEncoded), 7U);
  EXPECT_EQ(report.streams[0].frames_that(FrameFate::kDisplaced), 2U);
  EXPECT_EQ(report.streams[0].frames_that(FrameFate::kStopped), 1U);
  EXPECT_EQ(report.streams[1].frames_that(FrameFate::kDroppedToRate), 6U);
  EXPECT_EQ(report.streams[1].frames_that(FrameFate::kStopped), 1U);
}

TEST_F(RunSessionTest, TheTimeOfTheCameraIsThatOfItsCaptureWithTheEndsOfTheEncoders) {
  Make();
  AdvanceBy(seconds(4));  // Of which nothing is the capture's.
  Begin();
  AnswerStart();
  AtEntry("small_encoder.Stop(", [this] { AdvanceBy(seconds(2)); });
  AdvanceBy(seconds(1));
  Interrupt();
  EXPECT_EQ(Report().wall_time, seconds(3));
}

TEST_F(RunSessionTest, WhatIsWrittenWhileAnEncoderStopsCounts) {
  Begin();
  AnswerStart();
  WriteBoth(milliseconds(0));
  AtEntry("big_encoder.Stop(", [this] { Write(kBig, milliseconds(100)); });
  Interrupt();
  const RunReport report = Report();
  EXPECT_EQ(report.streams[0].figures.frames, 2U);
  EXPECT_EQ(report.streams[0].figures.packets, 2U);
  EXPECT_EQ(report.streams[0].figures.media_time, milliseconds(200));
  EXPECT_EQ(report.streams[0].figures.file_bytes, fs::file_size(directory_ / "big.h264"));
}

TEST_F(RunSessionTest, TheDurationCountsFromTheFirstFrameHoweverLateItIs) {
  options_.duration = seconds(1);
  Begin();
  AnswerStart();
  AdvanceBy(milliseconds(1400));
  WriteBoth(milliseconds(0));
  AdvanceBy(milliseconds(900));
  WriteBoth(milliseconds(900));
  EXPECT_FALSE(is_over());
  AdvanceBy(milliseconds(100));
  WriteBoth(milliseconds(1000));
  EXPECT_TRUE(is_over());
  const RunReport report = Report();
  EXPECT_EQ(report.ending, Ending::kDurationOver);
  EXPECT_EQ(report.streams[0].figures.media_time, milliseconds(1000));
}

TEST_F(RunSessionTest, ThePictureBeforeTheEndOfTheDurationStandsUntilThen) {
  BeginFiveSecondsOfAFile();
  WriteBoth(seconds(7));
  const RunReport report = Report();
  EXPECT_EQ(report.ending, Ending::kDurationOver);
  for (const StreamReport& stream : report.streams) {
    EXPECT_EQ(stream.figures.frames, 1U);
    EXPECT_EQ(stream.figures.media_time, seconds(5));
  }
}

TEST_F(RunSessionTest, BothStreamsEndAtOneTimeWhateverTheirFrames) {
  options_.duration = seconds(2);
  source_.traits = kFileTraits;
  Begin();
  AnswerStart();
  Write(kBig, seconds(0));
  WriteKeyFrame(kSmall, milliseconds(300));
  Write(kBig, milliseconds(1970));  // Expected to last for 100 ms.
  Write(kBig, seconds(2));
  Write(kSmall, milliseconds(2200));
  const RunReport report = Report();
  EXPECT_EQ(report.streams[0].figures.media_time, seconds(2));
  EXPECT_EQ(report.streams[1].figures.media_time, milliseconds(1700));
}

TEST_F(RunSessionTest, ADurationThatTheSourceEndsInIsCutOffIfItsPictureStandsForLonger) {
  BeginFiveSecondsOfAFile();
  video::StreamEnd end;
  end.end_time = seconds(7);
  EndBoth(end);
  const RunReport report = Report();
  EXPECT_EQ(report.ending, Ending::kDurationOver);
  EXPECT_EQ(report.streams[0].figures.media_time, seconds(5));
}

TEST_F(RunSessionTest, ASourceThatEndsBeforeTheDurationHasItsOwnEnd) {
  BeginFiveSecondsOfAFile();
  video::StreamEnd end;
  end.end_time = seconds(4);
  EndBoth(end);
  const RunReport report = Report();
  EXPECT_EQ(report.ending, Ending::kSourceEnded);
  EXPECT_EQ(report.streams[0].figures.media_time, seconds(4));
}

TEST_F(RunSessionTest, AnInterruptedDurationEndsWithItsLastPictures) {
  BeginFiveSecondsOfAFile();
  Write(kBig, seconds(7));  // This stream has come to its end.
  Interrupt();
  const RunReport report = Report();
  EXPECT_EQ(report.streams[0].figures.media_time, seconds(5));
  EXPECT_EQ(report.streams[1].figures.media_time, milliseconds(100));
}

TEST_F(RunSessionTest, ASourceThatStallsIsNotWaitedForBeyondTheDuration) {
  options_.duration = seconds(1);
  Begin();
  AnswerStart();
  AdvanceBy(milliseconds(300));
  Write(kBig, milliseconds(0));
  AdvanceBy(milliseconds(700));
  Write(kSmall, milliseconds(0));
  AdvanceBy(milliseconds(799));
  EXPECT_FALSE(is_over());
  AdvanceBy(milliseconds(1));
  EXPECT_TRUE(is_over());
  const RunReport report = Report();
  EXPECT_EQ(report.ending, Ending::kDurationOver);
  EXPECT_EQ(report.streams[0].figures.media_time, seconds(1));
  EXPECT_EQ(report.streams[1].figures.media_time, seconds(1))
      << "and its picture stands until then";
}

TEST_F(RunSessionTest, ASourceThatNeverBeginsIsNotWaitedForEither) {
  options_.duration = seconds(1);
  Begin();
  AdvanceBy(seconds(9));  // While it is being opened.
  AnswerStart();
  AdvanceBy(milliseconds(1499));
  EXPECT_FALSE(is_over());
  AdvanceBy(milliseconds(1));
  EXPECT_TRUE(is_over());
  EXPECT_EQ(Report().exit_code(), ExitCode::kNoFrames);
}

TEST_F(RunSessionTest, AFileAsFastAsItGoesHasTheDurationInItsFramesAlone) {
  options_.duration = seconds(1);
  source_.traits = kFileTraits;
  Begin();
  AnswerStart();
  AdvanceBy(seconds(60));
  EXPECT_FALSE(is_over());
  WriteBoth(milliseconds(0));
  WriteBoth(milliseconds(1000));
  EXPECT_TRUE(is_over());
  EXPECT_FALSE(Report().paced);
}

TEST_F(RunSessionTest, AFileInRealTimeGoesByTheClock) {
  options_.duration = seconds(1);
  source_.traits = kFileTraits;
  source_.traits.keeps_time = true;
  Begin();
  AnswerStart();
  AdvanceBy(milliseconds(1500));
  EXPECT_TRUE(is_over());
  EXPECT_TRUE(Report().paced);
}

TEST_F(RunSessionTest, TheDamageOfTheSourceIsCountedOnceThoughBothStreamsTellOfIt) {
  Begin();
  AnswerStart();
  WriteBoth(milliseconds(0));
  WriteEnd(kBig, {0, "", 3});
  WriteEnd(kSmall, {0, "", 3});
  EXPECT_EQ(Report().damaged_frames, 3U);
}

TEST_F(RunSessionTest, TheDamageOfARunWithoutAnEndIsThatOfItsLastFrameOnce) {
  Begin();
  AnswerStart();
  Write(kBig, milliseconds(0), 1);
  Write(kSmall, milliseconds(0), 1);
  Write(kBig, milliseconds(100), 4);
  Interrupt();
  EXPECT_EQ(Report().damaged_frames, 4U);
}

TEST_F(RunSessionTest, ATerminalShowsItsProgressTenTimesASecondUntilTheEnd) {
  MakeTerminal(80);
  Begin();
  AnswerStart();
  EXPECT_THAT(Said(), HasSubstr("0:00.0  0.0x"));
  WriteBoth(milliseconds(0));
  Source().Come(7);
  Source().Count(FrameFate::kNotMade, 1);
  Stream(kBig).Count(FrameFate::kDisplaced, 2);
  Stream(kSmall).Count(FrameFate::kDisplaced, 3);
  AdvanceBy(milliseconds(100));
  EXPECT_THAT(Said(),
              HasSubstr("0:00.1  1.0x  in 7  big 1 10/s 2 kb/s  small 1 10/s 2 kb/s  drop 6"));
  AdvanceBy(milliseconds(99));
  EXPECT_EQ(Said(), "");
  Interrupt();
  EXPECT_EQ(Said(), "\r\033[K");
  AdvanceBy(seconds(1));
  EXPECT_EQ(Said(), "");
}

TEST_F(RunSessionTest, TheProgressKnowsTheWholeTimeWhereThereIsOne) {
  MakeTerminal(80);
  source_.traits = kFileTraits;
  source_.duration = seconds(60);
  options_.duration = seconds(90);
  Begin();
  EXPECT_THAT(Said(), HasSubstr(" of 1:00.0"));
}

TEST_F(RunSessionTest, AFileThatIsPlayedAgainAndAgainHasTheDurationThatWasAsked) {
  MakeTerminal(80);
  source_.traits = kFileTraits;
  source_.duration = seconds(60);
  source_.traits.has_end = false;
  options_.duration = seconds(90);
  Begin();
  EXPECT_THAT(Said(), HasSubstr(" of 1:30.0"));
}

TEST_F(RunSessionTest, SaysWhatItWaitsForAndOnlyAsLongAsItRuns) {
  Begin();
  AnswerStart();
  AdvanceBy(milliseconds(2500));
  EXPECT_EQ(Said(), "note: the source gives nothing; waiting for it\n");
  WriteBoth(milliseconds(0));
  AdvanceBy(milliseconds(500));
  EXPECT_EQ(Said(), "note: it goes on, after 0:03.0\n");
  Interrupt();
  AdvanceBy(seconds(9));
  EXPECT_EQ(Said(), "");
}

TEST_F(RunSessionTest, AQuietOneSaysNothing) {
  MakeTerminal(80);
  options_.quiet = true;
  Begin();
  AnswerStart();
  AdvanceBy(seconds(9));
  WriteBoth(milliseconds(0));
  AdvanceBy(seconds(9));
  Interrupt();
  EXPECT_EQ(Said(), "");
}

}  // namespace
}  // namespace movra::app
