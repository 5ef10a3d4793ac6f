// Finds the task queue for a purpose.
//
// A queue is named by a business and a key. Who asks for the same pair while somebody still holds
// the queue gets the same queue. The manager itself holds queues weakly: keys are often addresses,
// which come back, and a queue must not outlive the last component that uses it.

#ifndef MOVRA_CORE_THREAD_MANAGER_H_
#define MOVRA_CORE_THREAD_MANAGER_H_

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "base/optional.h"
#include "core/dispatch_queue.h"

namespace core {

// What a queue is for. Any other value of the type is legal and names a business of its own.
enum class BusinessID : std::int32_t {
  kPreprocessorOfOneProducer = 303,  // key: the producer's address
  kPreprocessorShared = 304,         // key: 0
};

// Wishes for a queue that has to be made; a queue that exists already is returned as it is.
struct ThreadOption {
  std::string name{};  // of the thread, as debuggers show it (at most 15 characters of it)
};

// All operations may be called on any thread.
class ThreadManager {
 public:
  // Answers instead of the manager: asked on every call, with its arguments, and nothing it returns
  // is remembered. For tests, which return simulated queues and record what was asked.
  using QueueFactory = std::function<std::shared_ptr<DispatchQueue>(
      BusinessID business, unsigned long key, const movra_base::Optional<ThreadOption>& option)>;

  // The queue of this business and key, made if nobody holds it. Backed by a thread of its own
  // (core/serial_queue.h), named by the option or, without one, after the business. Never null,
  // unless an installed factory returns null. Throws std::system_error where the system has no
  // thread left; nothing is remembered then, and the next call tries again.
  [[nodiscard]] static std::shared_ptr<DispatchQueue> GetTaskQueue(
      BusinessID business, unsigned long key, const movra_base::Optional<ThreadOption>& option);

  // Installs a factory and returns the one it replaces; an empty one restores the manager's own
  // queues.
  static QueueFactory SetQueueFactory(QueueFactory factory);

  ThreadManager() = delete;
};

}  // namespace core

#endif  // MOVRA_CORE_THREAD_MANAGER_H_
