// Queues of tasks, and the process's main queue.
//
// A dispatch queue runs the tasks posted to it one at a time, in the order in which they were
// posted. State that belongs to a queue is touched by its tasks alone and needs no lock.

#ifndef MOVRA_CORE_DISPATCH_QUEUE_H_
#define MOVRA_CORE_DISPATCH_QUEUE_H_

#include <chrono>
#include <memory>

#include "base/once_callback.h"

namespace core {

using Task = movra_base::OnceClosure;

// Every operation may be called on any thread, the queue's own included, and returns without
// waiting for a task. A task must not wait for another task of its queue. An empty task is ignored.
// What a task throws never reaches who posted it; each kind of queue says what it does with it. No
// operation throws, unless memory is exhausted.
class DispatchQueue {
 public:
  virtual ~DispatchQueue() = default;

  // Whether the calling thread is the one that runs this queue's tasks.
  [[nodiscard]] virtual bool IsCurrent() const = 0;

  // Appends a task. The queue owns it from here on and destroys it unrun if it ends before the
  // task's turn; a task may therefore keep alive what it needs, and must not count on being run.
  // What tasks post while they are destroyed with their queue is destroyed too.
  virtual void Post(Task task) = 0;

  // Appends a task when the delay has passed on the monotonic clock, not before. Tasks that are
  // due at the same instant keep the order in which they were posted. A delay of zero or less is
  // the same as `Post`.
  virtual void PostDelayed(Task task, std::chrono::nanoseconds delay) = 0;
};

// The queue on which all producer state lives: the one the process installed. Never null. Until one
// is installed it is a queue that is current on no thread and runs nothing: it destroys what is
// posted to it and writes an error line, because a program that forgot its main queue should be
// told. Any thread; takes one short lock and allocates nothing.
[[nodiscard]] std::shared_ptr<DispatchQueue> GetMainQueue();

// Installs the main queue and shares its ownership until another one replaces it; null takes the
// installed one away. Whoever installs a queue takes it away again before its thread ends. Returns
// the queue that was installed, null if none was.
std::shared_ptr<DispatchQueue> SetMainQueue(std::shared_ptr<DispatchQueue> queue);

}  // namespace core

#endif  // MOVRA_CORE_DISPATCH_QUEUE_H_
