#include "logging/log_message.h"

#include <cstdio>
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
  if (ShouldCreateLogMessage(kLogLevelError)) {
    SendToLogSinks({.file = failure_.file,
                    .line = failure_.line,
                    .function = failure_.function,
                    .level = kLogLevelError,
                    .text = text});
  }

  std::shared_ptr<CheckHandler> handler;
  {
    InstalledHandler& installed = GetInstalledHandler();
    const std::lock_guard lock(installed.mutex);
    handler = installed.handler;
  }
  if (handler != nullptr) {
    (*handler)(failure_);
  } else if (ends_process_) {
    // Nobody may be listening to the log, and a process must not die without a word.
    std::fprintf(stderr, "%s:%d %s: %s\n", std::string(failure_.file).c_str(), failure_.line,
                 std::string(failure_.function).c_str(), text.c_str());
    std::abort();
  }
}

}  // namespace movra_logging
