#include "logging/log_sink.h"

#include <algorithm>
#include <condition_variable>
#include <cstdio>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "logging/guarded_call.h"
#include "logging/log_message.h"

namespace movra_logging {
namespace internal {

std::atomic<int> effective_min_log_level = kLogLevelError;

}  // namespace internal

namespace {

struct InstalledSink {
  LogSink* sink;
  int calls_in_progress = 0;
  bool is_removed = false;
  bool has_thrown = false;  // no call begins, but those in progress go on until it is removed

  [[nodiscard]] bool Receives() const { return !is_removed && !has_thrown; }
};

// Guarded by the mutex. A list, because a call in progress keeps its place in it while unlocked.
struct Sinks {
  std::mutex mutex;
  std::condition_variable call_of_removed_sink_ended;
  std::list<InstalledSink> installed;
  int min_level = kLogLevelInfo;

  std::list<InstalledSink>::iterator Find(const LogSink* sink) {
    return std::find_if(installed.begin(), installed.end(), [sink](const InstalledSink& entry) {
      return entry.sink == sink && !entry.is_removed;
    });
  }

  void UpdateEffectiveLevel() {
    const bool anybody_receives =
        std::any_of(installed.begin(), installed.end(),
                    [](const InstalledSink& entry) { return entry.Receives(); });
    // Without a sink errors alone are written, to standard error.
    const int level = anybody_receives ? min_level : std::max(min_level, kLogLevelError);
    internal::effective_min_log_level.store(level, std::memory_order_relaxed);
  }
};

// Never destroyed: lines may still be written while the process ends.
Sinks& GetSinks() {
  static auto* const sinks = new Sinks;
  return *sinks;
}

thread_local bool is_sending = false;

// Sends without a lock held. Returns what the sink threw, null if it returned.
std::unique_ptr<std::string> SendGuarded(LogSink& sink, const LogRecord& record) {
  try {
    sink.Send(record);
    return nullptr;
  } catch (...) {
    return std::make_unique<std::string>("A log sink threw and is detached: " +
                                         internal::DescribeThrown());
  }
}

// To the sinks that are left, each of which may throw in its turn and is detached then.
void ReportDetachedSink(const std::string& text) {
  if (MinLogLevel() > kLogLevelWarning) return;
  SendToLogSinks({.file = "../logging/log_sink",
                  .line = __LINE__,
                  .function = __func__,
                  .level = kLogLevelWarning,
                  .text = text});
  // A log must not end without a word.
  if (!ShouldCreateLogMessage(kLogLevelWarning)) std::fprintf(stderr, "%s\n", text.c_str());
}

}  // namespace

void AddLogSink(LogSink* sink) {
  Sinks& sinks = GetSinks();
  const std::lock_guard lock(sinks.mutex);
  if (const auto entry = sinks.Find(sink); entry != sinks.installed.end()) {
    entry->has_thrown = false;
  } else {
    sinks.installed.push_back({.sink = sink});
  }
  sinks.UpdateEffectiveLevel();
}

void RemoveLogSink(LogSink* sink) {
  Sinks& sinks = GetSinks();
  std::unique_lock lock(sinks.mutex);
  const auto entry = sinks.Find(sink);
  if (entry == sinks.installed.end()) return;
  // No call begins from here on; only then does waiting for the others come to an end.
  entry->is_removed = true;
  sinks.UpdateEffectiveLevel();
  sinks.call_of_removed_sink_ended.wait(lock, [&] { return entry->calls_in_progress == 0; });
  sinks.installed.erase(entry);
}

void SetMinLogLevel(int level) {
  Sinks& sinks = GetSinks();
  const std::lock_guard lock(sinks.mutex);
  sinks.min_level = level;
  sinks.UpdateEffectiveLevel();
}

int MinLogLevel() {
  Sinks& sinks = GetSinks();
  const std::lock_guard lock(sinks.mutex);
  return sinks.min_level;
}

void SendToLogSinks(const LogRecord& record) {
  static_cast<void>(internal::SendToLogSinksOrStandardError(record));
}

void internal::WriteToStandardError(const LogRecord& record) {
  std::string line(record.file);
  line.append(":").append(std::to_string(record.line)).append(" ").append(record.function);
  line.append(": ").append(record.text).append("\n");
  // At once, so that lines of several threads stay whole.
  std::fwrite(line.data(), 1, line.size(), stderr);
}

bool internal::SendToLogSinksOrStandardError(const LogRecord& record) {
  if (is_sending) return false;
  is_sending = true;
  bool is_taken = false;
  std::vector<std::unique_ptr<std::string>> reports;
  Sinks& sinks = GetSinks();
  std::unique_lock lock(sinks.mutex);
  for (InstalledSink& entry : sinks.installed) {
    if (!entry.Receives()) continue;
    ++entry.calls_in_progress;
    lock.unlock();
    std::unique_ptr<std::string> report = SendGuarded(*entry.sink, record);
    lock.lock();
    --entry.calls_in_progress;
    is_taken = is_taken || report == nullptr;
    if (report != nullptr && !entry.has_thrown) {
      entry.has_thrown = true;
      sinks.UpdateEffectiveLevel();
      reports.push_back(std::move(report));
    }
    if (entry.is_removed) sinks.call_of_removed_sink_ended.notify_all();
  }
  lock.unlock();
  is_sending = false;
  const bool is_lost_error = !is_taken && record.level >= kLogLevelError;
  if (is_lost_error) WriteToStandardError(record);
  for (const auto& report : reports) ReportDetachedSink(*report);
  return is_lost_error;
}

}  // namespace movra_logging
