#include "logging/log_sink.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <latch>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "logging/log_message.h"
#include "logging/recording_sink_for_test.h"

namespace movra_logging {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

LogRecord Line(std::string_view text, int level = kLogLevelInfo) {
  return {.file = "file", .line = 7, .function = "Function", .level = level, .text = text};
}

class CallingSink : public LogSink {
 public:
  explicit CallingSink(std::function<void(const LogRecord&)> call) : call_(std::move(call)) {}
  void Send(const LogRecord& record) override { call_(record); }

 private:
  const std::function<void(const LogRecord&)> call_;
};

class LogLevels : public ::testing::Test {
 protected:
  ~LogLevels() override { SetMinLogLevel(kLogLevelInfo); }
};

TEST(LogSink, ReceivesEveryFieldOfALine) {
  RecordingSink sink;
  SendToLogSinks(Line("hello", kLogLevelWarning));
  EXPECT_THAT(sink.lines(),
              ElementsAre(RecordingSink::Line{"file", 7, "Function", kLogLevelWarning, "hello"}));
}

TEST(LogSink, SeveralAreCalledInTheOrderInWhichTheyWereAdded) {
  std::vector<int> calls;
  CallingSink first([&](const LogRecord&) { calls.push_back(1); });
  CallingSink second([&](const LogRecord&) { calls.push_back(2); });
  AddLogSink(&first);
  AddLogSink(&second);
  SendToLogSinks(Line("x"));
  RemoveLogSink(&first);
  RemoveLogSink(&second);
  EXPECT_THAT(calls, ElementsAre(1, 2));
}

TEST(LogSink, AddedTwiceReceivesALineOnceAndIsRemovedOnce) {
  RecordingSink sink;
  AddLogSink(&sink);
  SendToLogSinks(Line("x"));
  RemoveLogSink(&sink);
  SendToLogSinks(Line("y"));
  EXPECT_THAT(sink.texts(), ElementsAre("x"));
}

TEST(LogSink, RemovedReceivesNothingAndRemovingItAgainIsIgnored) {
  RecordingSink sink;
  RemoveLogSink(&sink);
  RemoveLogSink(&sink);
  SendToLogSinks(Line("x"));
  EXPECT_THAT(sink.lines(), IsEmpty());
}

TEST(LogSink, RemovalWaitsForACallInProgressAndLetsNoOtherBegin) {
  std::latch entered(1);
  std::latch may_leave(1);
  std::atomic<bool> has_left = false;
  std::atomic<int> probes = 0;
  CallingSink sink([&](const LogRecord& record) {
    if (record.text == "probe") {
      ++probes;
      return;
    }
    entered.count_down();
    may_leave.wait();
    has_left = true;
  });
  AddLogSink(&sink);
  std::thread writer([] { SendToLogSinks(Line("slow")); });
  entered.wait();
  std::atomic<bool> had_left_when_removed = false;
  std::thread remover([&] {
    RemoveLogSink(&sink);
    had_left_when_removed = has_left.load();
  });
  // The first probe that is not received shows that the removal has begun.
  for (int received = -1; received != probes;) {
    received = probes;
    SendToLogSinks(Line("probe"));
  }
  may_leave.count_down();
  remover.join();
  writer.join();
  EXPECT_TRUE(had_left_when_removed);
}

TEST(LogSink, ALineThatASinkWritesWhileItIsSentToIsDropped) {
  int calls = 0;
  CallingSink sink([&](const LogRecord&) {
    ++calls;
    SendToLogSinks(Line("about itself"));
  });
  AddLogSink(&sink);
  SendToLogSinks(Line("x"));
  SendToLogSinks(Line("y"));
  RemoveLogSink(&sink);
  EXPECT_EQ(calls, 2);
}

TEST(LogSink, AnotherThreadWritesWhileASinkIsBusy) {
  std::latch busy(1);
  std::latch other_has_written(1);
  std::atomic<bool> has_left = false;
  CallingSink sink([&](const LogRecord& record) {
    if (record.text == "slow") {
      busy.count_down();
      other_has_written.wait();
      has_left = true;
    }
  });
  AddLogSink(&sink);
  std::thread slow([] { SendToLogSinks(Line("slow")); });
  busy.wait();
  SendToLogSinks(Line("quick"));
  EXPECT_FALSE(has_left);
  other_has_written.count_down();
  slow.join();
  RemoveLogSink(&sink);
}

TEST(LogSink, MayBeAddedAndRemovedWhileOthersWrite) {
  std::atomic<bool> done = false;
  std::latch writing(1);
  RecordingSink always;
  std::thread writer([&] {
    writing.count_down();
    while (!done) SendToLogSinks(Line("x"));
  });
  writing.wait();
  for (int i = 0; i < 200; ++i) RecordingSink{};
  done = true;
  writer.join();
}

TEST(LogSink, OneThatThrowsIsDetachedAndTheOthersAreToldOnce) {
  int calls = 0;
  CallingSink throws([&](const LogRecord&) {
    ++calls;
    throw std::runtime_error("disk is gone");
  });
  AddLogSink(&throws);
  RecordingSink others;
  ::testing::internal::CaptureStderr();
  SendToLogSinks(Line("x"));
  SendToLogSinks(Line("y"));
  RemoveLogSink(&throws);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(calls, 1);
  EXPECT_THAT(others.texts(),
              ElementsAre("x", "A log sink threw and is detached: disk is gone", "y"));
  EXPECT_EQ(others.lines()[1].level, kLogLevelWarning);
}

TEST(LogSink, OneThatThrowsMayBeAddedAgain) {
  int calls = 0;
  CallingSink throws_once([&](const LogRecord&) {
    if (++calls == 1) throw 1;
  });
  RecordingSink others;
  AddLogSink(&throws_once);
  SendToLogSinks(Line("x"));
  AddLogSink(&throws_once);
  SendToLogSinks(Line("y"));
  RemoveLogSink(&throws_once);
  SendToLogSinks(Line("z"));
  EXPECT_EQ(calls, 2);
}

TEST(LogSink, OneThatThrewAndWasRemovedHasLostItsPlace) {
  std::vector<std::string> calls;
  bool throws = true;
  CallingSink throws_once([&](const LogRecord&) {
    calls.emplace_back("throws_once");
    if (throws) throw 1;
  });
  CallingSink other([&](const LogRecord&) { calls.emplace_back("other"); });
  AddLogSink(&throws_once);
  AddLogSink(&other);
  SendToLogSinks(Line("x"));
  RemoveLogSink(&throws_once);
  throws = false;
  calls.clear();
  AddLogSink(&throws_once);
  SendToLogSinks(Line("y"));
  RemoveLogSink(&throws_once);
  RemoveLogSink(&other);
  EXPECT_THAT(calls, ElementsAre("other", "throws_once"));
}

TEST(LogSink, SinksThatThrowWhileTheFailureOfAnotherIsToldAreDetachedInTheirTurn) {
  CallingSink throws([](const LogRecord&) { throw std::runtime_error("first"); });
  CallingSink throws_at_warnings([](const LogRecord& record) {
    if (record.level == kLogLevelWarning) throw std::runtime_error("second");
  });
  AddLogSink(&throws);
  AddLogSink(&throws_at_warnings);
  RecordingSink others;
  SendToLogSinks(Line("x"));
  EXPECT_THAT(others.texts(), ElementsAre("x", "A log sink threw and is detached: first",
                                          "A log sink threw and is detached: second"));
  RemoveLogSink(&throws);
  RemoveLogSink(&throws_at_warnings);
}

TEST(LogSink, WhenTheLastOneThrowsStandardErrorIsToldAndNoLineIsCreated) {
  CallingSink throws([](const LogRecord&) { throw std::runtime_error("disk is gone"); });
  AddLogSink(&throws);
  ::testing::internal::CaptureStderr();
  SendToLogSinks(Line("x"));
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "A log sink threw and is detached: disk is gone\n");
  EXPECT_FALSE(ShouldCreateLogMessage(kLogLevelWarning));
  RemoveLogSink(&throws);
}

TEST(LogSink, OneThatThrowsOnSeveralThreadsAtOnceIsToldOnceAndRemovedWhenAllHaveLeft) {
  std::latch entered(2);
  std::latch may_throw(1);
  std::atomic<int> left = 0;
  struct CountsItsEnd {
    ~CountsItsEnd() { ++*left; }
    std::atomic<int>* left;
  };
  CallingSink throws([&](const LogRecord& record) {
    if (record.text != "x") return;
    const CountsItsEnd end{&left};
    entered.count_down();
    may_throw.wait();
    throw std::runtime_error("twice");
  });
  std::atomic<int> told = 0;
  CallingSink counts([&](const LogRecord& record) { told += record.level == kLogLevelWarning; });
  AddLogSink(&throws);
  AddLogSink(&counts);
  std::thread one([] { SendToLogSinks(Line("x")); });
  std::thread two([] { SendToLogSinks(Line("x")); });
  entered.wait();
  std::thread remover([&] {
    RemoveLogSink(&throws);
    EXPECT_EQ(left, 2);
  });
  may_throw.count_down();
  remover.join();
  one.join();
  two.join();
  RemoveLogSink(&counts);
  EXPECT_EQ(told, 1);
}

TEST(LogSink, RemovalOfOneThatThrewWaitsForItsOtherCallInProgress) {
  std::latch entered(1);
  std::latch may_leave(1);
  std::atomic<bool> has_left = false;
  CallingSink throws([&](const LogRecord& record) {
    if (record.text == "bad") throw 1;
    entered.count_down();
    may_leave.wait();
    has_left = true;
  });
  AddLogSink(&throws);
  RecordingSink others;
  std::thread writer([] { SendToLogSinks(Line("slow")); });
  entered.wait();
  SendToLogSinks(Line("bad"));
  std::latch removing(1);
  std::thread remover([&] {
    removing.count_down();
    RemoveLogSink(&throws);
    EXPECT_TRUE(has_left);
  });
  removing.wait();
  may_leave.count_down();
  remover.join();
  writer.join();
}

TEST_F(LogLevels, WhatASinkThrowsIsALineOfItsLevel) {
  CallingSink throws([](const LogRecord&) { throw 1; });
  RecordingSink others;
  AddLogSink(&throws);
  SetMinLogLevel(kLogLevelError);
  SendToLogSinks(Line("x", kLogLevelError));
  EXPECT_THAT(others.texts(), ElementsAre("x"));
  SetMinLogLevel(kLogLevelWarning);
  AddLogSink(&throws);
  SendToLogSinks(Line("y", kLogLevelError));
  RemoveLogSink(&throws);
  EXPECT_EQ(others.lines().size(), 3U);
}

TEST(LogSink, WithoutOneErrorsAloneGoToStandardError) {
  const auto written = [](const LogRecord& record) {
    ::testing::internal::CaptureStderr();
    SendToLogSinks(record);
    return ::testing::internal::GetCapturedStderr();
  };
  EXPECT_EQ(written(Line("bad", kLogLevelError)), "file:7 Function: bad\n");
  EXPECT_EQ(written(Line("worse", kLogLevelError + 1)), "file:7 Function: worse\n");
  EXPECT_EQ(written(Line("not so bad", kLogLevelWarning)), "");
  const RecordingSink sink;
  EXPECT_EQ(written(Line("taken", kLogLevelError)), "");
}

TEST(LogSink, AnErrorThatNoSinkTookGoesToStandardError) {
  CallingSink throws([](const LogRecord&) { throw std::runtime_error("disk is gone"); });
  AddLogSink(&throws);
  ::testing::internal::CaptureStderr();
  SendToLogSinks(Line("bad", kLogLevelError));
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "file:7 Function: bad\nA log sink threw and is detached: disk is gone\n");
  RemoveLogSink(&throws);
}

TEST_F(LogLevels, WithoutASinkLinesAreCreatedFromErrorsOn) {
  EXPECT_FALSE(ShouldCreateLogMessage(kLogLevelWarning));
  EXPECT_TRUE(ShouldCreateLogMessage(kLogLevelError));
  SetMinLogLevel(kLogLevelError + 1);
  EXPECT_FALSE(ShouldCreateLogMessage(kLogLevelError));
  SetMinLogLevel(kLogLevelOff);
  EXPECT_FALSE(ShouldCreateLogMessage(kLogLevelError + 1));
}

TEST_F(LogLevels, WithASinkLinesAreCreatedFromTheLeastLevelOn) {
  RecordingSink sink;
  EXPECT_FALSE(ShouldCreateLogMessage(-1));
  EXPECT_TRUE(ShouldCreateLogMessage(kLogLevelInfo));
  SetMinLogLevel(kLogLevelWarning);
  EXPECT_EQ(MinLogLevel(), kLogLevelWarning);
  EXPECT_FALSE(ShouldCreateLogMessage(kLogLevelInfo));
  EXPECT_TRUE(ShouldCreateLogMessage(kLogLevelWarning));
  EXPECT_TRUE(ShouldCreateLogMessage(kLogLevelError));
}

TEST_F(LogLevels, OffStopsEveryLevel) {
  RecordingSink sink;
  SetMinLogLevel(kLogLevelOff);
  EXPECT_FALSE(ShouldCreateLogMessage(kLogLevelError));
}

TEST_F(LogLevels, TheLeastLevelOutlivesTheSinksAndRemovingTheLastOneStopsLines) {
  SetMinLogLevel(kLogLevelWarning);
  { RecordingSink sink; }
  EXPECT_FALSE(ShouldCreateLogMessage(kLogLevelWarning));
  RecordingSink sink;
  EXPECT_FALSE(ShouldCreateLogMessage(kLogLevelInfo));
  EXPECT_TRUE(ShouldCreateLogMessage(kLogLevelWarning));
}

}  // namespace
}  // namespace movra_logging
