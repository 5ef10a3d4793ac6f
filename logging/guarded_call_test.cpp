#include "logging/guarded_call.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <exception>
#include <stdexcept>
#include <string>

#include "logging/recording_sink_for_test.h"

namespace movra_logging {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(GuardedCall, ACallThatReturnsIsRunOnceAndSaysNothing) {
  RecordingSink sink;
  int calls = 0;
  EXPECT_TRUE(CallGuarded("The writer", [&] { return ++calls; }));
  EXPECT_EQ(calls, 1);
  EXPECT_THAT(sink.lines(), IsEmpty());
}

TEST(GuardedCall, WhatItThrowsIsOneWarningThatSaysWhoseAndWhat) {
  RecordingSink sink;
  EXPECT_FALSE(CallGuarded("The writer", [] { throw std::runtime_error("disk is gone"); }));
  EXPECT_THAT(sink.texts(), ElementsAre("The writer threw: disk is gone"));
  EXPECT_EQ(sink.lines()[0].level, kLogLevelWarning);
}

TEST(GuardedCall, WhatSaysNothingOfItselfIsToldAllTheSame) {
  RecordingSink sink;
  EXPECT_FALSE(CallGuarded("The writer", [] { throw 3; }));
  EXPECT_THAT(sink.texts(), ElementsAre("The writer threw: something that is no std::exception"));
}

TEST(GuardedCall, AnExceptionWithoutATextIsToldAllTheSame) {
  struct Wordless : std::exception {
    [[nodiscard]] const char* what() const noexcept override { return nullptr; }
  };
  RecordingSink sink;
  EXPECT_FALSE(CallGuarded("The writer", [] { throw Wordless(); }));
  EXPECT_THAT(sink.texts(), ElementsAre("The writer threw: an exception without a text"));
}

TEST(GuardedCall, ANameThatHasToBeMadeIsMadeForALineOnly) {
  RecordingSink sink;
  int made = 0;
  const auto whose = [&] { return "Writer " + std::to_string(++made); };
  EXPECT_TRUE(CallGuarded(whose, [] {}));
  EXPECT_EQ(made, 0);
  EXPECT_FALSE(CallGuarded(whose, [] { throw std::runtime_error("x"); }));
  EXPECT_THAT(sink.texts(), ElementsAre("Writer 1 threw: x"));
}

TEST(GuardedCall, WithoutALogItHoldsTheExceptionAllTheSame) {
  EXPECT_FALSE(CallGuarded("The writer", [] { throw std::runtime_error("x"); }));
}

TEST(GuardedCall, ALogThatTakesNoWarningsIsToldNothing) {
  const RecordingSink sink;
  SetMinLogLevel(kLogLevelError);
  EXPECT_FALSE(CallGuarded("The writer", [] { throw std::runtime_error("x"); }));
  SetMinLogLevel(kLogLevelInfo);
  EXPECT_THAT(sink.lines(), IsEmpty());
}

TEST(GuardedCall, GuardsMayNest) {
  RecordingSink sink;
  EXPECT_TRUE(CallGuarded(
      "Outer", [] { EXPECT_FALSE(CallGuarded("Inner", [] { throw std::runtime_error("x"); })); }));
  EXPECT_THAT(sink.texts(), ElementsAre("Inner threw: x"));
}

}  // namespace
}  // namespace movra_logging
