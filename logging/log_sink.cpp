#include "logging/log_sink.h"

#include <algorithm>
#include <condition_variable>
#include <list>
#include <mutex>

namespace movra_logging {
namespace internal {

std::atomic<int> effective_min_log_level = kLogLevelOff;

}  // namespace internal

namespace {

struct InstalledSink {
  LogSink* sink;
  int calls_in_progress = 0;
  bool is_removed = false;
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
    internal::effective_min_log_level.store(installed.empty() ? kLogLevelOff : min_level,
                                            std::memory_order_relaxed);
  }
};

// Never destroyed: lines may still be written while the process ends.
Sinks& GetSinks() {
  static auto* const sinks = new Sinks;
  return *sinks;
}

thread_local bool is_sending = false;

}  // namespace

void AddLogSink(LogSink* sink) {
  Sinks& sinks = GetSinks();
  const std::lock_guard lock(sinks.mutex);
  if (sinks.Find(sink) != sinks.installed.end()) return;
  sinks.installed.push_back({.sink = sink});
  sinks.UpdateEffectiveLevel();
}

void RemoveLogSink(LogSink* sink) {
  Sinks& sinks = GetSinks();
  std::unique_lock lock(sinks.mutex);
  const auto entry = sinks.Find(sink);
  if (entry == sinks.installed.end()) return;
  // No call begins from here on; only then does waiting for the others come to an end.
  entry->is_removed = true;
  sinks.call_of_removed_sink_ended.wait(lock, [&] { return entry->calls_in_progress == 0; });
  sinks.installed.erase(entry);
  sinks.UpdateEffectiveLevel();
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
  if (is_sending) return;
  is_sending = true;
  Sinks& sinks = GetSinks();
  std::unique_lock lock(sinks.mutex);
  for (InstalledSink& entry : sinks.installed) {
    if (entry.is_removed) continue;
    ++entry.calls_in_progress;
    lock.unlock();
    entry.sink->Send(record);
    lock.lock();
    --entry.calls_in_progress;
    if (entry.is_removed) sinks.call_of_removed_sink_ended.notify_all();
  }
  is_sending = false;
}

}  // namespace movra_logging
