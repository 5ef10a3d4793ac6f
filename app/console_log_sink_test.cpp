#include "app/console_log_sink.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "logging/log_message.h"

namespace movra::app {
namespace {

class ConsoleLogSinkTest : public testing::Test {
 protected:
  ConsoleLogSinkTest() { EXPECT_EQ(pipe2(ends_, O_NONBLOCK), 0); }
  ~ConsoleLogSinkTest() override {
    close(ends_[0]);
    close(ends_[1]);
    movra_logging::SetMinLogLevel(movra_logging::kLogLevelInfo);
  }

  std::string Written() const {
    char buffer[4096];
    const ssize_t size = read(ends_[0], buffer, sizeof buffer);
    return size > 0 ? std::string(buffer, static_cast<std::size_t>(size)) : "";
  }

  int ends_[2] = {-1, -1};
};

TEST_F(ConsoleLogSinkTest, ALineNamesItsLevelAndPlace) {
  Console console(ends_[1]);
  const ConsoleLogSink sink(console, movra_logging::kLogLevelInfo);
  movra_logging::SendToLogSinks({"../../video/producer/thing", 7, "Stop", 0, "[main] stopped"});
  movra_logging::SendToLogSinks({"thing", 8, "Stop", 1, "late"});
  movra_logging::SendToLogSinks({"thing", 9, "Stop", 2, "lost"});
  EXPECT_EQ(Written(),
            "I thing:7 Stop] [main] stopped\nW thing:8 Stop] late\nE thing:9 Stop] lost\n");
}

TEST_F(ConsoleLogSinkTest, LinesBelowTheLevelAreNotMade) {
  Console console(ends_[1]);
  const ConsoleLogSink sink(console, movra_logging::kLogLevelWarning);
  EXPECT_FALSE(movra_logging::ShouldCreateLogMessage(movra_logging::kLogLevelInfo));
  EXPECT_TRUE(movra_logging::ShouldCreateLogMessage(movra_logging::kLogLevelWarning));
}

TEST_F(ConsoleLogSinkTest, NothingIsWrittenOnceItIsGone) {
  Console console(ends_[1]);
  { const ConsoleLogSink sink(console, movra_logging::kLogLevelInfo); }
  movra_logging::SendToLogSinks({"thing", 7, "Stop", 2, "lost"});
  EXPECT_EQ(Written(), "");
}

}  // namespace
}  // namespace movra::app
