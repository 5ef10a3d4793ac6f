#include "app/event_log.h"

#include <fcntl.h>
#include <unistd.h>

#include <filesystem>
#include <iostream>
#include <system_error>

namespace movra::app {
namespace {

constexpr char kStdout[] = "-";

}  // namespace

EventLog::EventLog(const std::string& path)
    : file_(path == kStdout ? std::ofstream() : std::ofstream(path, std::ios::trunc)),
      out_(path == kStdout ? &std::cout : &file_),
      name_(path == kStdout ? "standard output" : "'" + path + "'") {}

Result<std::unique_ptr<EventLog>> EventLog::Open(const std::string& path) {
  // Opening a pipe waits for its reader, and the main queue waits for nobody.
  if (std::error_code error; path != kStdout && std::filesystem::is_fifo(path, error)) {
    const int reader = open(path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    if (reader < 0) {
      return Failure{ExitCode::kDirectoryNotWritable,
                     "nobody reads the pipe '" + path + "'; start its reader first"};
    }
    close(reader);
  }
  std::unique_ptr<EventLog> log(new EventLog(path));
  if (!*log->out_) {
    return Failure{ExitCode::kDirectoryNotWritable, log->name_ + " cannot be written"};
  }
  return log;
}

void EventLog::Write(std::chrono::nanoseconds time, const Json& event) {
  if (!error_.empty()) return;
  // Microseconds: what is finer is the clock's noise.
  const auto microseconds = std::chrono::duration_cast<std::chrono::microseconds>(time).count();
  Json line = {{"time_s", static_cast<double>(microseconds) / 1e6}};
  line.update(event);
  // What is not UTF-8, as a file's name may be, becomes a replacement character.
  *out_ << line.dump(-1, ' ', false, Json::error_handler_t::replace) << '\n' << std::flush;
  if (!*out_) error_ = name_ + " could not be written";
}

}  // namespace movra::app
