#include "core/task_loop.h"

#include <algorithm>
#include <utility>

namespace core {
namespace {

// Says for as long as it lives which thread runs the loop.
class RunnerMark {
 public:
  explicit RunnerMark(std::atomic<std::thread::id>& runner) : runner_(runner) {
    runner_.store(std::this_thread::get_id(), std::memory_order_relaxed);
  }
  ~RunnerMark() { runner_.store(std::thread::id(), std::memory_order_relaxed); }
  RunnerMark(const RunnerMark&) = delete;
  RunnerMark& operator=(const RunnerMark&) = delete;

 private:
  std::atomic<std::thread::id>& runner_;
};

}  // namespace

TaskLoop::~TaskLoop() { DestroyTasks(); }

void TaskLoop::Run() { RunTasks(WhenIdle::kWait); }

void TaskLoop::RunUntilIdle() { RunTasks(WhenIdle::kReturn); }

void TaskLoop::RunTasks(WhenIdle when_idle) {
  // A task that throws leaves the run, and the loop behind it, as it is between two runs.
  const RunnerMark mark(runner_);
  for (;;) {
    if (quit_.load(std::memory_order_acquire)) {
      quit_.store(false, std::memory_order_relaxed);
      break;
    }
    if (next_ == running_.size() && !Refill(when_idle)) break;
    if (next_ < running_.size()) std::move(running_[next_++]).Run();
  }
}

bool TaskLoop::Refill(WhenIdle when_idle) {
  running_.clear();
  next_ = 0;
  posted_.TakeAll(running_);
  const bool must_wait = running_.empty() && when_idle == WhenIdle::kWait;
  // Without delayed tasks a loop that has work takes no lock.
  if (must_wait || has_delayed_.load(std::memory_order_relaxed)) {
    std::unique_lock lock(mutex_);
    if (must_wait) WaitForTasks(lock);
    TakeDueTasks();
  }
  return !running_.empty() || when_idle == WhenIdle::kWait;
}

void TaskLoop::WaitForTasks(std::unique_lock<std::mutex>& lock) {
  // The lock is held from falling asleep to waiting, and whoever posts takes it before waking.
  while (posted_.FallAsleep() && !quit_.load(std::memory_order_relaxed)) {
    if (delayed_.empty()) {
      wake_.wait(lock);
    } else if (const auto next_due = delayed_.begin()->first; next_due > Clock::now()) {
      wake_.wait_until(lock, next_due);
    } else {
      break;
    }
  }
}

void TaskLoop::TakeDueTasks() {
  const auto due = delayed_.upper_bound(Clock::now());
  for (auto it = delayed_.begin(); it != due; ++it) running_.push_back(std::move(it->second));
  delayed_.erase(delayed_.begin(), due);
  has_delayed_.store(!delayed_.empty(), std::memory_order_relaxed);
}

void TaskLoop::Post(Task task) {
  if (!task || !posted_.Put(std::move(task))) return;
  { const std::lock_guard wait_until_it_waits(mutex_); }
  wake_.notify_one();
}

void TaskLoop::PostDelayed(Task task, std::chrono::nanoseconds delay) {
  if (delay <= delay.zero()) {
    Post(std::move(task));
    return;
  }
  if (!task) return;
  const Clock::time_point now = Clock::now();
  const auto due = now + std::min<Clock::duration>(delay, Clock::time_point::max() - now);
  {
    const std::lock_guard lock(mutex_);
    delayed_.emplace(due, std::move(task));
    has_delayed_.store(true, std::memory_order_relaxed);
  }
  wake_.notify_one();
}

void TaskLoop::Quit() {
  {
    const std::lock_guard lock(mutex_);
    quit_.store(true, std::memory_order_release);
  }
  wake_.notify_one();
}

void TaskLoop::DestroyTasks() {
  // A task's destruction may post, so this goes on until nothing is left.
  for (;;) {
    std::vector<Task> posted;
    posted_.TakeAll(posted);
    std::multimap<Clock::time_point, Task> delayed;
    {
      const std::lock_guard lock(mutex_);
      delayed.swap(delayed_);
    }
    if (next_ == running_.size() && posted.empty() && delayed.empty()) return;
    std::exchange(running_, {}).clear();
    next_ = 0;
  }
}

bool TaskLoop::IsCurrent() const {
  return runner_.load(std::memory_order_relaxed) == std::this_thread::get_id();
}

}  // namespace core
