// The engine of the queues that run on real threads: a list of tasks, a list of delayed tasks, and
// a loop that runs them. `RunLoop` lends it the caller's thread, `SerialQueue` gives it its own.

#ifndef MOVRA_CORE_TASK_LOOP_H_
#define MOVRA_CORE_TASK_LOOP_H_

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

#include "base/closure_inbox.h"
#include "core/dispatch_queue.h"

namespace core {

class TaskLoop {
 public:
  TaskLoop() = default;
  ~TaskLoop();
  TaskLoop(const TaskLoop&) = delete;
  TaskLoop& operator=(const TaskLoop&) = delete;

  // Runs tasks until `Quit` or until one throws; see core/run_loop.h. One thread at a time.
  void Run();
  void RunUntilIdle();

  // Destroys all tasks without running them, and those that their destruction posts. Called on the
  // thread that runs the loop, or when none does.
  void DestroyTasks();

  // Any thread.
  void Quit();
  [[nodiscard]] bool IsCurrent() const;
  void Post(Task task);
  void PostDelayed(Task task, std::chrono::nanoseconds delay);

 private:
  using Clock = std::chrono::steady_clock;

  enum class WhenIdle { kWait, kReturn };

  void RunTasks(WhenIdle when_idle);
  // Moves the tasks that are due into `running_`; returns whether there are any to run.
  bool Refill(WhenIdle when_idle);
  // Both with the lock held.
  void WaitForTasks(std::unique_lock<std::mutex>& lock);
  void TakeDueTasks();

  // The tasks taken off the lists and the next of them; the running thread alone. They survive a
  // `Quit`, so that the next run goes on where this one stopped.
  std::vector<Task> running_;
  std::size_t next_ = 0;

  std::atomic<std::thread::id> runner_{};  // written by the running thread, read by any
  std::atomic<bool> quit_ = false;         // written under the lock, read by the running thread

  movra_base::ClosureInbox posted_;  // put into by any thread

  std::mutex mutex_;
  std::condition_variable wake_;
  // Guarded by mutex_.
  std::multimap<Clock::time_point, Task> delayed_;  // equal times keep the order of posting
  // Whether there are any of them; written under the lock, read by the running thread.
  std::atomic<bool> has_delayed_ = false;
};

}  // namespace core

#endif  // MOVRA_CORE_TASK_LOOP_H_
