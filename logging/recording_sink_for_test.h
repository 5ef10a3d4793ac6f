// A sink for the tests of the lowest layers: installed for a scope, it keeps every line it is sent.
// One thread at a time.

#ifndef MOVRA_LOGGING_RECORDING_SINK_FOR_TEST_H_
#define MOVRA_LOGGING_RECORDING_SINK_FOR_TEST_H_

#include <string>
#include <vector>

#include "logging/log_sink.h"

namespace movra_logging {

class RecordingSink : public LogSink {
 public:
  struct Line {
    std::string file;
    int line;
    std::string function;
    int level;
    std::string text;

    friend bool operator==(const Line&, const Line&) = default;
  };

  RecordingSink() { AddLogSink(this); }
  ~RecordingSink() override { RemoveLogSink(this); }
  RecordingSink(const RecordingSink&) = delete;
  RecordingSink& operator=(const RecordingSink&) = delete;

  void Send(const LogRecord& record) override {
    lines_.push_back({std::string(record.file), record.line, std::string(record.function),
                      record.level, std::string(record.text)});
  }

  const std::vector<Line>& lines() const { return lines_; }

  std::vector<std::string> texts() const {
    std::vector<std::string> texts;
    for (const Line& line : lines_) texts.push_back(line.text);
    return texts;
  }

 private:
  std::vector<Line> lines_;
};

}  // namespace movra_logging

#endif  // MOVRA_LOGGING_RECORDING_SINK_FOR_TEST_H_
