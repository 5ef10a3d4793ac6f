// A dispatch queue whose tasks run when the test says so, and the clock that its delayed tasks wait
// for. Nothing sleeps, and the order of everything is the test's choice.

#ifndef MOVRA_TESTING_SIMULATED_QUEUE_H_
#define MOVRA_TESTING_SIMULATED_QUEUE_H_

#include <atomic>
#include <chrono>
#include <cstddef>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "core/dispatch_queue.h"
#include "testing/double.h"
#include "testing/journal.h"

namespace movra::testing {

class SimulatedQueue;

// Time that passes by hand. Queues share one clock, so that tasks of several queues fall due in the
// order of their times, and those of one time in the order of their posting.
class SimulatedClock {
 public:
  // Since the clock was made.
  [[nodiscard]] std::chrono::nanoseconds now() const;

  // Moves time on. At each time at which tasks fall due, their queues run everything they have.
  void AdvanceBy(std::chrono::nanoseconds duration);

 private:
  friend class SimulatedQueue;

  struct Waiting {
    std::weak_ptr<SimulatedQueue> queue;
    core::Task task;
  };

  void Add(std::chrono::nanoseconds delay, Waiting waiting);
  // Returns whether there were any.
  bool DropThoseOfEndedQueues();

  mutable std::mutex mutex_;
  // Guarded by mutex_.
  std::chrono::nanoseconds now_{0};
  std::multimap<std::chrono::nanoseconds, Waiting> waiting_;
};

// Tasks are posted on any thread and run on the one that calls Run...
class SimulatedQueue : public core::DispatchQueue,
                       public Named,
                       public std::enable_shared_from_this<SimulatedQueue> {
 public:
  // A queue with a journal tells it of every IsCurrent and of its end. Without a clock it has one
  // of its own.
  explicit SimulatedQueue(std::string name, std::shared_ptr<Journal> journal = nullptr,
                          std::shared_ptr<SimulatedClock> clock = nullptr);
  ~SimulatedQueue() override;

  // Runs the first task that waits; false if there is none. What it throws leaves the run.
  bool RunOne();
  // Runs tasks until none waits, those included that they post. Returns how many ran.
  std::size_t RunAll();
  // Destroys all tasks without running them.
  void DropAll();
  // Tasks that wait for their turn, not for a time.
  [[nodiscard]] std::size_t waiting() const;
  [[nodiscard]] SimulatedClock& clock() const { return *clock_; }

  // What IsCurrent answers outside of tasks on the thread that made the queue: true unless told
  // otherwise, as if the test's body were a task. Other threads are never current but in a task.
  void set_current(bool current) { current_ = current; }

  // core::DispatchQueue.
  [[nodiscard]] bool IsCurrent() const override;
  void Post(core::Task task) override;
  void PostDelayed(core::Task task, std::chrono::nanoseconds delay) override;

 private:
  const std::shared_ptr<Journal> journal_;
  const std::shared_ptr<SimulatedClock> clock_;
  const std::thread::id owner_ = std::this_thread::get_id();
  std::atomic<bool> current_ = true;
  std::atomic<std::thread::id> runner_{};  // The thread that is inside a task.

  mutable std::mutex mutex_;
  std::deque<core::Task> tasks_;  // Guarded by mutex_.
};

}  // namespace movra::testing

#endif  // MOVRA_TESTING_SIMULATED_QUEUE_H_
