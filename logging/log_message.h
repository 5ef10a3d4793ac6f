// Whether a log line is worth building, and the report of a failed check.
//
// A log line is guarded, so that nothing of it is evaluated while its level is off:
//
//   if (movra_logging::ShouldCreateLogMessage(0)) {
//     movra::LogStream(file, line, function, 0, nullptr) << "Initialize";
//   }
//
// A check that failed reports itself by making a `LogMessage` and destroying it at once.

#ifndef MOVRA_LOGGING_LOG_MESSAGE_H_
#define MOVRA_LOGGING_LOG_MESSAGE_H_

#include <atomic>
#include <functional>
#include <string_view>

#include "logging/log_sink.h"

namespace movra_logging {

// True when `level` reaches the least level and somebody gets the line: a sink, or standard error
// where there is none and the line is an error. Any thread; one relaxed load, so a change made on
// another thread is seen soon rather than at once.
[[nodiscard]] inline bool ShouldCreateLogMessage(int level) {
  return level >= internal::effective_min_log_level.load(std::memory_order_relaxed);
}

// What a failed check says of itself. The texts are borrowed for the handler's call.
struct CheckFailure {
  std::string_view file{};
  int line = 0;
  std::string_view function{};
  std::string_view condition{};
};

// Receives failed checks instead of the default, which ends the process where the code that failed
// cannot go on. Called on the thread whose check failed; must not throw. A handler that returns
// takes the responsibility for what the failing code does next.
using CheckHandler = std::function<void(const CheckFailure&)>;

// Installs the process's handler and returns the one it replaces; an empty one restores the
// default. Any thread.
CheckHandler SetCheckHandler(CheckHandler handler);

// Installs a handler for a scope, and restores the previous one at its end.
class ScopedCheckHandler {
 public:
  explicit ScopedCheckHandler(CheckHandler handler);
  ~ScopedCheckHandler();
  ScopedCheckHandler(const ScopedCheckHandler&) = delete;
  ScopedCheckHandler& operator=(const ScopedCheckHandler&) = delete;

 private:
  CheckHandler previous_;
};

// The report of one failed check, delivered when it is destroyed: first as a line of level
// `kLogLevelError` to the sinks or standard error, then to the check handler. The arguments are
// borrowed until then.
class LogMessage {
 public:
  LogMessage(const char* file, int line, const char* function, const char* condition);
  ~LogMessage();
  LogMessage(const LogMessage&) = delete;
  LogMessage& operator=(const LogMessage&) = delete;

  // For a check whose code cannot go on: with no handler installed, delivering the report writes
  // it to standard error and aborts the process.
  void EndProcessUnlessHandled() { ends_process_ = true; }

 private:
  const CheckFailure failure_;
  bool ends_process_ = false;
};

}  // namespace movra_logging

#endif  // MOVRA_LOGGING_LOG_MESSAGE_H_
