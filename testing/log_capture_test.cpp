#include "testing/log_capture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "logging/log_message.h"
#include "logging/log_stream.h"

namespace movra::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(LogCapture, KeepsAllThatALineSaysAndTellsTheJournal) {
  const auto journal = std::make_shared<Journal>();
  LogCapture capture(journal);
  LogStream("file", 12, "Function", 1, nullptr) << "Invalid capture status:" << 3;
  EXPECT_THAT(journal->Take(), ElementsAre("log(1) Invalid capture status:3"));
  const std::vector<LogLine> lines = capture.Take();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].file, "file");
  EXPECT_EQ(lines[0].line, 12);
  EXPECT_EQ(lines[0].function, "Function");
  EXPECT_EQ(lines[0].level, 1);
  EXPECT_EQ(lines[0].text, "Invalid capture status:3");
  EXPECT_THAT(capture.Take(), IsEmpty());
}

TEST(LogCapture, TellsTheJournalThatALineIsAboutAnObject) {
  const auto journal = std::make_shared<Journal>();
  const LogCapture capture(journal);
  LogStream("file", 12, "Function", 1, &capture) << "text";
  EXPECT_THAT(journal->Take(), ElementsAre("log(1, about an object) text"));
}

TEST(LogCapture, SwitchesLoggingOnForItsScope) {
  EXPECT_FALSE(movra_logging::ShouldCreateLogMessage(0));
  {
    const LogCapture capture;
    EXPECT_TRUE(movra_logging::ShouldCreateLogMessage(0));
  }
  EXPECT_FALSE(movra_logging::ShouldCreateLogMessage(0));
}

}  // namespace
}  // namespace movra::testing
