// Streams that go to several places.

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <thread>

#include "app/run_session_for_test.h"

namespace movra::app {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;

class RunSessionSinks : public RunSessionTest {
 protected:
  RunSessionSinks() { signal(SIGPIPE, SIG_IGN); }

  // A named pipe as a further place of the last stream, and its reading end.
  int AddPipe(const std::string& name) {
    EXPECT_EQ(mkfifo((directory_ / name).c_str(), 0600), 0);
    AddSink(name);
    return open((directory_ / name).c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  }

  // What its thread writes into the file, until it is there.
  void WaitForBytes(const std::string& file, std::uintmax_t bytes) {
    while (fs::file_size(directory_ / file) < bytes) std::this_thread::yield();
  }

  // Every frame that a place was handed has one end.
  static void ExpectSum(const SinkReport& sink, std::uint64_t handed) {
    std::uint64_t sum = sink.figures.written.frames + sink.figures.not_written();
    for (const std::uint64_t dropped : sink.figures.dropped) sum += dropped;
    EXPECT_EQ(sink.figures.handed, handed);
    EXPECT_EQ(sum, handed);
  }
};

TEST_F(RunSessionSinks, EachPlaceGetsTheWholeStreamAndTheRunEndsWithTheLast) {
  AddStream(kBig, "big.h264");
  AddSink("again.h264");
  AddSink("third.h264");
  AddStream(kSmall, "small.h264");
  Begin();
  AnswerStart();
  for (int i = 0; i < 5; ++i) WriteBoth(milliseconds(100 * i));
  EndBoth();
  WaitUntilOver();
  const RunReport report = Report();
  EXPECT_EQ(report.ending, Ending::kSourceEnded);
  EXPECT_FALSE(report.failure);
  ASSERT_EQ(report.streams[0].sinks.size(), 3U);
  ASSERT_EQ(report.streams[1].sinks.size(), 1U);
  EXPECT_EQ(report.streams[0].figures.frames, 5U);
  for (const SinkReport& sink : report.streams[0].sinks) {
    EXPECT_EQ(sink.figures.written.frames, 5U) << sink.target.path;
    EXPECT_EQ(sink.figures.written.file_bytes, fs::file_size(sink.target.path));
    EXPECT_EQ(sink.figures.written, report.streams[0].sinks[0].figures.written);
    ExpectSum(sink, 5);
  }
  ExpectSum(report.streams[1].sinks[0], 5);
}

TEST_F(RunSessionSinks, OneThatCannotBeMadeIsNamed) {
  AddStream(kBig, "big.h264");
  AddSink("no/again.h264");
  Begin();
  const RunReport report = Report();
  EXPECT_EQ(report.exit_code(), ExitCode::kDirectoryNotWritable);
  EXPECT_THAT(report.failure->text, ::testing::StartsWith("--also big: "));
  session_.reset();
  EXPECT_THAT(directory_.Names(), ::testing::IsEmpty());
}

TEST_F(RunSessionSinks, AReaderThatClosesOneOfSeveralIsNotedAndTheOthersGoOn) {
  AddStream(kBig, "big.h264");
  const int reader = AddPipe("pipe.h264");
  Begin();
  AnswerStart();
  close(reader);
  // The first picture waits for the second, which tells the rate.
  for (int i = 0; i < 3; ++i) Write(kBig, milliseconds(100 * i));
  WriteEnd(kBig);
  WaitUntilOver();
  const RunReport report = Report();
  EXPECT_EQ(report.ending, Ending::kSourceEnded);
  EXPECT_FALSE(report.failure);
  EXPECT_THAT(Said(), HasSubstr("note: --also big: cannot write "));
  EXPECT_EQ(report.streams[0].sinks[0].figures.written.frames, 3U);
  EXPECT_FALSE(report.streams[0].sinks[0].broken_off);
  EXPECT_TRUE(report.streams[0].sinks[1].broken_off);
  ExpectSum(report.streams[0].sinks[1], 3);
}

TEST_F(RunSessionSinks, TheLastThatBreaksOffEndsTheRun) {
  AddStream(kBig, "big.h264");
  files_.streams.clear();
  files_.also.clear();
  ASSERT_EQ(mkfifo((directory_ / "one.h264").c_str(), 0600), 0);
  files_.streams.push_back({directory_ / "one.h264", media::ContainerFormat::kAnnexB});
  const int one = open((directory_ / "one.h264").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  const int two = AddPipe("two.h264");
  Begin();
  AnswerStart();
  close(one);
  close(two);
  for (int i = 0; i < 2; ++i) Write(kBig, milliseconds(100 * i));
  WaitUntilOver();
  const RunReport report = Report();
  EXPECT_EQ(report.ending, Ending::kReaderClosed);
  EXPECT_FALSE(report.failure) << report.failure->text;
}

TEST_F(RunSessionSinks, AFileThatBreaksOffIsTheFailureOfARunThatGoesOn) {
  AddStream(kBig, "big.h264");
  const int reader = AddPipe("pipe.h264");
  Begin();
  AnswerStart();
  Write(kBig, milliseconds(0));
  WaitForBytes("big.h264", 1);
  {
    // The pipe has no such limit.
    const FullFile full(fs::file_size(directory_ / "big.h264"));
    Write(kBig, milliseconds(100));
    while (Said().find("--big: cannot write ") == std::string::npos) {
      env_.main_queue().RunAll();
      std::this_thread::yield();
    }
  }
  EXPECT_FALSE(is_over());
  Write(kBig, milliseconds(200));
  WriteEnd(kBig);
  WaitUntilOver();
  const RunReport report = Report();
  EXPECT_EQ(report.ending, Ending::kSourceEnded);
  ASSERT_EQ(report.exit_code(), ExitCode::kWriteFailed);
  EXPECT_THAT(report.failure->text, ::testing::StartsWith("--big: cannot write "));
  EXPECT_EQ(report.streams[0].sinks[1].figures.written.frames, 3U);
  EXPECT_EQ(report.streams[0].sinks[0].figures.dropped_for(media::SinkDrop::kBrokenOff), 1U);
  for (const SinkReport& sink : report.streams[0].sinks) ExpectSum(sink, 3);
  close(reader);
}

TEST_F(RunSessionSinks, TheDurationEndsEachPlaceAtOneTime) {
  options_.duration = seconds(1);
  source_.traits = kFileTraits;
  AddStream(kBig, "big.h264");
  AddSink("again.h264");
  Begin();
  AnswerStart();
  Write(kBig, milliseconds(0));
  Write(kBig, milliseconds(400));
  // A key frame of 24 bytes and another frame of 8.
  WaitForBytes("big.h264", 32);
  WaitForBytes("again.h264", 32);
  Write(kBig, milliseconds(1000));
  const RunReport report = Report();
  EXPECT_EQ(report.ending, Ending::kDurationOver);
  EXPECT_EQ(report.streams[0].frames_beyond_duration(), 1U);
  for (const SinkReport& sink : report.streams[0].sinks) {
    EXPECT_EQ(sink.figures.written.frames, 2U);
    EXPECT_EQ(sink.figures.written.duration, seconds(1));
    ExpectSum(sink, 2);
  }
}

}  // namespace
}  // namespace movra::app
