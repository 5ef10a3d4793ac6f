// Shows log lines to the person who runs the program.

#ifndef MOVRA_APP_CONSOLE_LOG_SINK_H_
#define MOVRA_APP_CONSOLE_LOG_SINK_H_

#include "app/console.h"
#include "logging/log_sink.h"

namespace movra::app {

// Writes each line as "W video_producer2_impl:123 StopCapture] text" while it lives. Any thread.
class ConsoleLogSink : public movra_logging::LogSink {
 public:
  // Installs itself for lines of the level and above. The console must outlive it.
  ConsoleLogSink(Console& console, int min_level);
  ~ConsoleLogSink() override;
  ConsoleLogSink(const ConsoleLogSink&) = delete;
  ConsoleLogSink& operator=(const ConsoleLogSink&) = delete;

  void Send(const movra_logging::LogRecord& record) override;

 private:
  Console& console_;
};

}  // namespace movra::app

#endif  // MOVRA_APP_CONSOLE_LOG_SINK_H_
