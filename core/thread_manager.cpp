#include "core/thread_manager.h"

#include <map>
#include <mutex>
#include <utility>

#include "core/serial_queue.h"

namespace core {
namespace {

struct Manager {
  std::mutex mutex;
  // Guarded by mutex.
  std::map<std::pair<BusinessID, unsigned long>, std::weak_ptr<DispatchQueue>> queues;
  ThreadManager::QueueFactory factory;
};

// Never destroyed: other threads may still ask while the process ends.
Manager& GetManager() {
  static auto* const manager = new Manager;
  return *manager;
}

}  // namespace

std::shared_ptr<DispatchQueue> ThreadManager::GetTaskQueue(
    BusinessID business, unsigned long key, const movra_base::Optional<ThreadOption>& option) {
  Manager& manager = GetManager();
  std::unique_lock lock(manager.mutex);
  if (manager.factory) {
    const QueueFactory factory = manager.factory;
    lock.unlock();
    return factory(business, key, option);
  }
  // Keys are addresses and seldom come back, so what has expired is not left to gather.
  std::erase_if(manager.queues, [](const auto& entry) { return entry.second.expired(); });
  std::weak_ptr<DispatchQueue>& held = manager.queues[{business, key}];
  // One that expired since then is made anew.
  std::shared_ptr<DispatchQueue> queue = held.lock();
  if (queue == nullptr) {
    queue = std::make_shared<SerialQueue>(
        option.has_value() ? option->name
                           : "movra-" + std::to_string(static_cast<std::int32_t>(business)));
    held = queue;
  }
  return queue;
}

ThreadManager::QueueFactory ThreadManager::SetQueueFactory(QueueFactory factory) {
  Manager& manager = GetManager();
  const std::lock_guard lock(manager.mutex);
  return std::exchange(manager.factory, std::move(factory));
}

}  // namespace core
