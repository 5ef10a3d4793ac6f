// The events of a run as lines of JSON.

#ifndef MOVRA_APP_EVENT_LOG_H_
#define MOVRA_APP_EVENT_LOG_H_

#include <chrono>
#include <fstream>
#include <memory>
#include <ostream>
#include <string>

#include "app/operation_argument.h"
#include "app/result.h"

namespace movra::app {

// Each event is written at once, so that a program can follow them: {"time_s": 1.25, "event": ...}.
// One thread.
class EventLog {
 public:
  // "-" is standard output.
  [[nodiscard]] static Result<std::unique_ptr<EventLog>> Open(const std::string& path);

  // For tests.
  explicit EventLog(std::ostream& out) : out_(&out), name_("the stream") {}

  // `time` is that since the start of the run. After a failure nothing more is written.
  void Write(std::chrono::nanoseconds time, const Json& event);

  // What went wrong with it, for people; empty if nothing did.
  [[nodiscard]] const std::string& error() const { return error_; }

 private:
  explicit EventLog(const std::string& path);

  std::ofstream file_;
  std::ostream* const out_;
  const std::string name_;
  std::string error_;
};

}  // namespace movra::app

#endif  // MOVRA_APP_EVENT_LOG_H_
