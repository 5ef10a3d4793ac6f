#ifndef MOVRA_MEDIA_MAIN_QUEUE_WEAK_MAIN_QUEUE_H_
#define MOVRA_MEDIA_MAIN_QUEUE_WEAK_MAIN_QUEUE_H_

#include <memory>
#include <utility>

#include "core/dispatch_queue.h"

namespace movra::media {

// The main queue of the moment it was made, for threads that may end late: such a thread has
// nothing to say to another queue, and must not keep one that the program has given up. What is
// posted then is dropped. Any thread; copies mean the same queue.
class WeakMainQueue {
 public:
  void Post(core::Task task) const {
    if (const auto queue = queue_.lock()) queue->Post(std::move(task));
  }

 private:
  std::weak_ptr<core::DispatchQueue> queue_ = core::GetMainQueue();
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_MAIN_QUEUE_WEAK_MAIN_QUEUE_H_
