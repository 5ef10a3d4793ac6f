#include "logging/log_message.h"

#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

namespace movra_logging {
namespace {

// Guarded by the mutex; shared, so that the one being called outlives its replacement.
struct InstalledHandler {
  std::mutex mutex;
  std::shared_ptr<CheckHandler> handler;
};

// Never destroyed: checks may still fail while the process ends.
InstalledHandler& GetInstalledHandler() {
  static auto* const installed = new InstalledHandler;
  return *installed;
}

}  // namespace

CheckHandler SetCheckHandler(CheckHandler handler) {
  auto replacement = handler ? std::make_shared<CheckHandler>(std::move(handler)) : nullptr;
  InstalledHandler& installed = GetInstalledHandler();
  {
    const std::lock_guard lock(installed.mutex);
    installed.handler.swap(replacement);
  }
  return replacement ? *replacement : nullptr;
}

ScopedCheckHandler::ScopedCheckHandler(CheckHandler handler)
    : previous_(SetCheckHandler(std::move(handler))) {}

ScopedCheckHandler::~ScopedCheckHandler() { SetCheckHandler(std::move(previous_)); }

LogMessage::LogMessage(const char* file, int line, const char* function, const char* condition)
    : failure_{file, line, function, condition} {}

LogMessage::~LogMessage() {
  const std::string text = "Check failed: " + std::string(failure_.condition);
  const LogRecord record{.file = failure_.file,
                         .line = failure_.line,
                         .function = failure_.function,
                         .level = kLogLevelError,
                         .text = text};
  const bool is_on_standard_error =
      ShouldCreateLogMessage(kLogLevelError) && internal::SendToLogSinksOrStandardError(record);

  std::shared_ptr<CheckHandler> handler;
  {
    InstalledHandler& installed = GetInstalledHandler();
    const std::lock_guard lock(installed.mutex);
    handler = installed.handler;
  }
  if (handler != nullptr) {
    (*handler)(failure_);
  } else if (ends_process_) {
    // Nobody may be looking at the log, and a process must not die without a word.
    if (!is_on_standard_error) internal::WriteToStandardError(record);
    std::abort();
  }
}

}  // namespace movra_logging
