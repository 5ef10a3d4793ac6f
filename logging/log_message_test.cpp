#include "logging/log_message.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <vector>

#include "logging/recording_sink_for_test.h"

namespace movra_logging {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

static_assert(!std::is_copy_constructible_v<LogMessage>);

CheckHandler AppendConditionTo(std::vector<std::string>& conditions) {
  return [&conditions](const CheckFailure& failure) { conditions.emplace_back(failure.condition); };
}

TEST(LogMessage, TellsTheHandlerWhereWhatFailed) {
  std::vector<std::string> reports;
  const ScopedCheckHandler handler([&](const CheckFailure& failure) {
    reports.push_back(std::string(failure.file) + "|" + std::to_string(failure.line) + "|" +
                      std::string(failure.function) + "|" + std::string(failure.condition));
  });
  LogMessage("file", 12, "Function", "a == b");
  EXPECT_THAT(reports, ElementsAre("file|12|Function|a == b"));
}

TEST(LogMessage, IsDeliveredWhenItIsDestroyed) {
  std::vector<std::string> conditions;
  const ScopedCheckHandler handler(AppendConditionTo(conditions));
  {
    const LogMessage report("file", 1, "Function", "a");
    EXPECT_THAT(conditions, IsEmpty());
  }
  EXPECT_THAT(conditions, ElementsAre("a"));
}

TEST(LogMessage, ReachesTheSinksAsAnErrorLineBeforeTheHandler) {
  RecordingSink sink;
  std::size_t lines_when_handled = 0;
  const ScopedCheckHandler handler(
      [&](const CheckFailure&) { lines_when_handled = sink.lines().size(); });
  LogMessage("file", 3, "Function", "a");
  EXPECT_THAT(sink.lines(), ElementsAre(RecordingSink::Line{"file", 3, "Function", kLogLevelError,
                                                            "Check failed: a"}));
  EXPECT_EQ(lines_when_handled, 1u);
}

TEST(LogMessage, WritesNoLineWhenErrorsAreOffAndStillTellsTheHandler) {
  RecordingSink sink;
  SetMinLogLevel(kLogLevelOff);
  std::vector<std::string> conditions;
  {
    const ScopedCheckHandler handler(AppendConditionTo(conditions));
    LogMessage("file", 3, "Function", "a");
  }
  SetMinLogLevel(kLogLevelInfo);
  EXPECT_THAT(sink.lines(), IsEmpty());
  EXPECT_THAT(conditions, ElementsAre("a"));
}

TEST(LogMessage, WithoutAHandlerAnOrdinaryReportReturns) {
  RecordingSink sink;
  LogMessage("file", 3, "Function", "a");
  EXPECT_THAT(sink.texts(), ElementsAre("Check failed: a"));
}

TEST(LogMessageDeathTest, WithoutAHandlerOneThatCannotGoOnEndsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(LogMessage("file", 3, "Function", "a").EndProcessUnlessHandled(),
               ::testing::Eq("file:3 Function: Check failed: a\n"));
}

TEST(LogMessageDeathTest, AProcessThatEndsHasItsLastWordsInTheLogAndOnStandardError) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto end = [] {
    RecordingSink sink;
    LogMessage("file", 3, "Function", "a").EndProcessUnlessHandled();
  };
  EXPECT_DEATH(end(), ::testing::Eq("file:3 Function: Check failed: a\n"));
}

TEST(LogMessage, WithoutASinkItGoesToStandardErrorOnce) {
  ::testing::internal::CaptureStderr();
  LogMessage("file", 3, "Function", "a");
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "file:3 Function: Check failed: a\n");
}

TEST(LogMessage, WithAHandlerOneThatCannotGoOnReturns) {
  std::vector<std::string> conditions;
  const ScopedCheckHandler handler(AppendConditionTo(conditions));
  LogMessage("file", 3, "Function", "a").EndProcessUnlessHandled();
  EXPECT_THAT(conditions, ElementsAre("a"));
}

TEST(ScopedCheckHandler, RestoresTheOneBeforeIt) {
  std::vector<std::string> outer;
  std::vector<std::string> inner;
  const ScopedCheckHandler outer_handler(AppendConditionTo(outer));
  {
    const ScopedCheckHandler inner_handler(AppendConditionTo(inner));
    LogMessage("file", 1, "Function", "a");
  }
  LogMessage("file", 1, "Function", "b");
  EXPECT_THAT(inner, ElementsAre("a"));
  EXPECT_THAT(outer, ElementsAre("b"));
}

TEST(SetCheckHandler, ReturnsTheOneItReplacesAndAnEmptyOneRestoresTheDefault) {
  std::vector<std::string> conditions;
  EXPECT_FALSE(SetCheckHandler(AppendConditionTo(conditions)));
  const CheckHandler replaced = SetCheckHandler(nullptr);
  ASSERT_TRUE(replaced);
  replaced({.file = "file", .line = 1, .function = "Function", .condition = "a"});
  LogMessage("file", 1, "Function", "b");
  EXPECT_THAT(conditions, ElementsAre("a"));
}

TEST(SetCheckHandler, MayBeCalledByTheHandlerItself) {
  std::vector<std::string> conditions;
  SetCheckHandler([&](const CheckFailure& failure) {
    const CheckHandler self = SetCheckHandler(nullptr);
    conditions.emplace_back(failure.condition);
  });
  LogMessage("file", 1, "Function", "a");
  LogMessage("file", 1, "Function", "b");
  EXPECT_THAT(conditions, ElementsAre("a"));
}

}  // namespace
}  // namespace movra_logging
