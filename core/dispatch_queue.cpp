#include "core/dispatch_queue.h"

#include <mutex>
#include <utility>

#include "logging/log_message.h"
#include "logging/log_stream.h"

namespace core {
namespace {

// Stands in for a main queue that nobody installed.
class MissingMainQueue : public DispatchQueue {
 public:
  [[nodiscard]] bool IsCurrent() const override { return false; }
  void Post(Task /*task*/) override { Report(); }
  void PostDelayed(Task /*task*/, std::chrono::nanoseconds /*delay*/) override { Report(); }

 private:
  static void Report() {
    if (!movra_logging::ShouldCreateLogMessage(movra_logging::kLogLevelError)) return;
    movra::LogStream("../core/dispatch_queue", __LINE__, "Post", movra_logging::kLogLevelError,
                     nullptr)
        << "No main queue is installed; the task is dropped";
  }
};

struct MainQueue {
  std::mutex mutex;
  std::shared_ptr<DispatchQueue> installed;  // guarded by mutex
  const std::shared_ptr<DispatchQueue> missing = std::make_shared<MissingMainQueue>();
};

// Never destroyed: other threads may still post while the process ends.
MainQueue& GetSlot() {
  static auto* const slot = new MainQueue;
  return *slot;
}

}  // namespace

std::shared_ptr<DispatchQueue> GetMainQueue() {
  MainQueue& slot = GetSlot();
  const std::lock_guard lock(slot.mutex);
  return slot.installed != nullptr ? slot.installed : slot.missing;
}

std::shared_ptr<DispatchQueue> SetMainQueue(std::shared_ptr<DispatchQueue> queue) {
  MainQueue& slot = GetSlot();
  const std::lock_guard lock(slot.mutex);
  return std::exchange(slot.installed, std::move(queue));
}

}  // namespace core
