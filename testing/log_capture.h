// Keeps the log lines of a scope, and tells a journal of them.

#ifndef MOVRA_TESTING_LOG_CAPTURE_H_
#define MOVRA_TESTING_LOG_CAPTURE_H_

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "logging/log_sink.h"
#include "testing/journal.h"

namespace movra::testing {

struct LogLine {
  std::string file;
  int line = 0;
  std::string function;
  int level = 0;
  std::string text;
};

// Installed as a sink for as long as it lives. The journal, if there is one, gets
// "log(level) text" for each line, "log(level, about an object) text" where it has one. Any thread.
class LogCapture : private movra_logging::LogSink {
 public:
  explicit LogCapture(std::shared_ptr<Journal> journal = nullptr);
  ~LogCapture() override;
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  // The lines since the last Take.
  [[nodiscard]] std::vector<LogLine> Take();

 private:
  void Send(const movra_logging::LogRecord& record) override;

  const std::shared_ptr<Journal> journal_;
  std::mutex mutex_;
  std::vector<LogLine> lines_;  // Guarded by mutex_.
};

}  // namespace movra::testing

#endif  // MOVRA_TESTING_LOG_CAPTURE_H_
