#include "app/event_log.h"

#include <chrono>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "media/temporary_directory_for_test.h"

namespace movra::app {
namespace {

using std::chrono::microseconds;
using std::chrono::seconds;

TEST(EventLog, WritesALineForEachEventWithItsTimeInFront) {
  std::ostringstream out;
  EventLog log(out);
  log.Write(microseconds(1'250'004), {{"event", "render_error"}, {"error", "no_display"}});
  EXPECT_EQ(out.str(),
            "{\"time_s\":1.250004,\"event\":\"render_error\",\"error\":\"no_display\"}\n");
  log.Write(seconds(2), {{"event", "writer_ended"}, {"writer", "caf\xE9.mp4"}});
  EXPECT_EQ(out.str().substr(out.str().find('\n') + 1),
            "{\"time_s\":2.0,\"event\":\"writer_ended\",\"writer\":\"caf\xEF\xBF\xBD.mp4\"}\n");
  EXPECT_EQ(log.error(), "");
}

TEST(EventLog, CanBeFollowedWhileItIsWritten) {
  const media::TemporaryDirectory directory;
  const std::string path = directory / "events.jsonl";
  auto log = EventLog::Open(path);
  ASSERT_EQ(FailureOf(log), nullptr);
  ValueOf(log)->Write(seconds(0), {{"event", "first"}});
  std::ifstream file(path);
  std::string line;
  std::getline(file, line);
  EXPECT_EQ(line, R"({"time_s":0.0,"event":"first"})");
}

TEST(EventLog, SaysOnceThatItBrokeOff) {
  std::ostringstream out;
  EventLog log(out);
  out.setstate(std::ios::badbit);
  log.Write(seconds(0), {{"event", "first"}});
  EXPECT_EQ(log.error(), "the stream could not be written");
  out.clear();
  log.Write(seconds(1), {{"event", "second"}});
  EXPECT_EQ(out.str(), "");
}

TEST(EventLog, OfAPlaceThatCannotBeWrittenIsRefused) {
  const media::TemporaryDirectory directory;
  const auto log = EventLog::Open(directory / "none/events.jsonl");
  ASSERT_NE(FailureOf(log), nullptr);
  EXPECT_EQ(*FailureOf(log),
            (Failure{ExitCode::kDirectoryNotWritable,
                     "'" + (directory / "none/events.jsonl") + "' cannot be written"}));
}

TEST(EventLog, OfAPipeThatNobodyReadsIsRefused) {
  const media::TemporaryDirectory directory;
  const std::string path = directory / "pipe";
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  const auto log = EventLog::Open(path);
  ASSERT_NE(FailureOf(log), nullptr);
  EXPECT_EQ(FailureOf(log)->text, "nobody reads the pipe '" + path + "'; start its reader first");
}

}  // namespace
}  // namespace movra::app
