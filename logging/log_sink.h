// Where finished log lines go.
//
// The process installs sinks; every log line and every failed check's report is handed to each of
// them. While no sink is installed, errors go to standard error, so that no failure is silent in a
// program that thought of no log yet; other lines are never created then, and cost one atomic load
// (`ShouldCreateLogMessage` in logging/log_message.h). `SetMinLogLevel(kLogLevelOff)` silences
// them.
//
// Threads: everything here may be called on any thread, with the one exception that
// `RemoveLogSink` names. No lock is held while a sink is called.

#ifndef MOVRA_LOGGING_LOG_SINK_H_
#define MOVRA_LOGGING_LOG_SINK_H_

#include <atomic>
#include <limits>
#include <string_view>

namespace movra_logging {

// Levels of a line. Other integers are legal too and compare as numbers.
inline constexpr int kLogLevelInfo = 0;
inline constexpr int kLogLevelWarning = 1;
inline constexpr int kLogLevelError = 2;
// Above every line's level: as the least level it switches all lines off.
inline constexpr int kLogLevelOff = std::numeric_limits<int>::max();

// One finished line. The texts are only borrowed: they end when `LogSink::Send` returns.
struct LogRecord {
  std::string_view file{};
  int line = 0;
  std::string_view function{};
  int level = kLogLevelInfo;
  std::string_view text{};       // without a line end
  const void* object = nullptr;  // what the line is about, where its writer said so
};

// Receives every line that the process writes.
//
// `Send` runs on the thread that wrote the line, and on several threads at once when several
// write; a sink that keeps state guards it itself. A line that a sink writes while it is being
// sent to is dropped: a log that fails must not log about itself for ever.
//
// A sink whose `Send` throws is detached: it receives nothing more until it is added again, and a
// warning line tells the other sinks, or standard error where none is left. It must be removed all
// the same before it is destroyed.
class LogSink {
 public:
  virtual ~LogSink() = default;
  virtual void Send(const LogRecord& record) = 0;
};

// Installs a sink; adding one that is installed changes nothing, unless it threw. The caller keeps
// it alive until it has been removed. Sinks are called in the order in which they were added.
void AddLogSink(LogSink* sink);

// Removes a sink; one that is not installed is ignored. When this returns, no call of the sink is
// running and none will begin, so it may be destroyed. For that it waits for calls in progress,
// and therefore must not be called from inside `Send`, nor holding a lock that `Send` takes.
void RemoveLogSink(LogSink* sink);

// The least level that a line needs in order to be created; `kLogLevelInfo` at first.
void SetMinLogLevel(int level);
[[nodiscard]] int MinLogLevel();

// Hands one line to every sink, whatever its level. An error that no sink took, because there is
// none or each one threw, goes to standard error as "file:line function: text". Called by the log
// stream and the check report.
void SendToLogSinks(const LogRecord& record);

namespace internal {

// The level from which lines are created: the least level while a sink is installed, otherwise that
// of errors if it is higher. Written by the functions above, read by `ShouldCreateLogMessage`.
extern std::atomic<int> effective_min_log_level;

// Writes a line to standard error.
void WriteToStandardError(const LogRecord& record);

// As `SendToLogSinks`; returns whether the line went to standard error.
bool SendToLogSinksOrStandardError(const LogRecord& record);

}  // namespace internal
}  // namespace movra_logging

#endif  // MOVRA_LOGGING_LOG_SINK_H_
