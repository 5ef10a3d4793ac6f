#include "core/task_loop.h"

#include <algorithm>
#include <utility>

namespace core {

TaskLoop::~TaskLoop() { DestroyTasks(); }

void TaskLoop::Run() { RunTasks(WhenIdle::kWait); }

void TaskLoop::RunUntilIdle() { RunTasks(WhenIdle::kReturn); }

void TaskLoop::RunTasks(WhenIdle when_idle) {
  runner_.store(std::this_thread::get_id(), std::memory_order_relaxed);
  for (;;) {
    if (quit_.load(std::memory_order_acquire)) {
      quit_.store(false, std::memory_order_relaxed);
      break;
    }
    if (next_ == running_.size() && !Refill(when_idle)) break;
    if (next_ < running_.size()) std::move(running_[next_++]).Run();
  }
  runner_.store(std::thread::id(), std::memory_order_relaxed);
}

bool TaskLoop::Refill(WhenIdle when_idle) {
  running_.clear();
  next_ = 0;
  std::unique_lock lock(mutex_);
  if (when_idle == WhenIdle::kWait) WaitForTasks(lock);
  running_.swap(posted_);
  const auto due = delayed_.empty() ? delayed_.end() : delayed_.upper_bound(Clock::now());
  for (auto it = delayed_.begin(); it != due; ++it) running_.push_back(std::move(it->second));
  delayed_.erase(delayed_.begin(), due);
  return !running_.empty() || when_idle == WhenIdle::kWait;
}

void TaskLoop::WaitForTasks(std::unique_lock<std::mutex>& lock) {
  waiting_ = true;
  while (posted_.empty() && !quit_.load(std::memory_order_relaxed)) {
    if (delayed_.empty()) {
      wake_.wait(lock);
      continue;
    }
    const Clock::time_point next_due = delayed_.begin()->first;
    if (next_due <= Clock::now()) break;
    wake_.wait_until(lock, next_due);
  }
  waiting_ = false;
}

void TaskLoop::Post(Task task) {
  if (!task) return;
  bool must_wake;
  {
    const std::lock_guard lock(mutex_);
    posted_.push_back(std::move(task));
    // The first post wakes; until the loop has come to its senses the others need not.
    must_wake = std::exchange(waiting_, false);
  }
  if (must_wake) wake_.notify_one();
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
    std::multimap<Clock::time_point, Task> delayed;
    {
      const std::lock_guard lock(mutex_);
      posted.swap(posted_);
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
