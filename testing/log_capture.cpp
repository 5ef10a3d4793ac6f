#include "testing/log_capture.h"

#include <utility>

namespace movra::testing {

LogCapture::LogCapture(std::shared_ptr<Journal> journal) : journal_(std::move(journal)) {
  movra_logging::AddLogSink(this);
}

LogCapture::~LogCapture() { movra_logging::RemoveLogSink(this); }

std::vector<LogLine> LogCapture::Take() {
  const std::lock_guard lock(mutex_);
  return std::exchange(lines_, {});
}

void LogCapture::Send(const movra_logging::LogRecord& record) {
  if (journal_ != nullptr) {
    journal_->Add(Journal::kLog, "log(" + std::to_string(record.level) +
                                     (record.object != nullptr ? ", about an object" : "") + ") " +
                                     std::string(record.text));
  }
  const std::lock_guard lock(mutex_);
  lines_.push_back({std::string(record.file), record.line, std::string(record.function),
                    record.level, std::string(record.text)});
}

}  // namespace movra::testing
