// A dispatch queue with a thread of its own.

#ifndef MOVRA_CORE_SERIAL_QUEUE_H_
#define MOVRA_CORE_SERIAL_QUEUE_H_

#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <utility>

#include "core/dispatch_queue.h"
#include "core/task_loop.h"

namespace core {

// What a task throws is told in a warning line, and the queue goes on with the next task.
class SerialQueue : public DispatchQueue {
 public:
  // Starts the thread. Debuggers show its name, of which 15 characters are kept. Throws
  // std::system_error where the system has no thread left.
  explicit SerialQueue(const std::string& name);

  // Ends the thread: the task in progress runs to its end, and the tasks that wait are destroyed
  // without being run, on the queue's thread. Waits for that, unless it is a task of this queue
  // that releases the last reference: then the thread ends by itself after that task.
  ~SerialQueue() override;

  SerialQueue(const SerialQueue&) = delete;
  SerialQueue& operator=(const SerialQueue&) = delete;

  // DispatchQueue.
  [[nodiscard]] bool IsCurrent() const override { return loop_->IsCurrent(); }
  void Post(Task task) override { loop_->Post(std::move(task)); }
  void PostDelayed(Task task, std::chrono::nanoseconds delay) override {
    loop_->PostDelayed(std::move(task), delay);
  }

 private:
  const std::shared_ptr<TaskLoop> loop_;  // shared with the thread, which may outlive the queue
  std::thread thread_;
};

}  // namespace core

#endif  // MOVRA_CORE_SERIAL_QUEUE_H_
