#include "testing/simulated_queue.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace movra::testing {

std::chrono::nanoseconds SimulatedClock::now() const {
  const std::lock_guard lock(mutex_);
  return now_;
}

void SimulatedClock::AdvanceBy(std::chrono::nanoseconds duration) {
  const auto until = now() + duration;
  while (true) {
    std::unique_lock lock(mutex_);
    const auto first = waiting_.begin();
    if (first == waiting_.end() || first->first > until) {
      now_ = until;
      return;
    }
    now_ = first->first;
    Waiting due = std::move(first->second);
    waiting_.erase(first);
    lock.unlock();  // A task may ask for the time and post with a delay.
    if (const auto queue = due.queue.lock()) {
      queue->Post(std::move(due.task));
      queue->RunAll();
    }
  }
}

void SimulatedClock::Add(std::chrono::nanoseconds delay, Waiting waiting) {
  const std::lock_guard lock(mutex_);
  const auto until_the_end = std::chrono::nanoseconds::max() - now_;
  waiting_.emplace(now_ + std::min(delay, until_the_end), std::move(waiting));
}

bool SimulatedClock::DropThoseOfEndedQueues() {
  std::vector<core::Task> dropped;  // Destroyed without the lock: a task's end may post.
  const std::lock_guard lock(mutex_);
  for (auto it = waiting_.begin(); it != waiting_.end();) {
    if (!it->second.queue.expired()) {
      ++it;
      continue;
    }
    dropped.push_back(std::move(it->second.task));
    it = waiting_.erase(it);
  }
  return !dropped.empty();
}

SimulatedQueue::SimulatedQueue(std::string name, std::shared_ptr<Journal> journal,
                               std::shared_ptr<SimulatedClock> clock)
    : Named(std::move(name)),
      journal_(std::move(journal)),
      clock_(clock != nullptr ? std::move(clock) : std::make_shared<SimulatedClock>()) {}

SimulatedQueue::~SimulatedQueue() {
  if (journal_ != nullptr) journal_->Add(Journal::kEnd, "~" + name());
  // The end of a task may post, so this goes on until nothing is left.
  do {
    DropAll();
  } while (clock_->DropThoseOfEndedQueues() || waiting() > 0);
}

bool SimulatedQueue::RunOne() {
  core::Task task;
  {
    const std::lock_guard lock(mutex_);
    if (tasks_.empty()) return false;
    task = std::move(tasks_.front());
    tasks_.pop_front();
  }
  // Also where the task throws, which leaves the run as it leaves that of a real loop.
  struct RunnerMark {
    ~RunnerMark() { runner = outer; }
    std::atomic<std::thread::id>& runner;
    const std::thread::id outer = runner.exchange(std::this_thread::get_id());
  };
  const RunnerMark mark{runner_};
  std::move(task).Run();
  return true;
}

std::size_t SimulatedQueue::RunAll() {
  std::size_t count = 0;
  while (RunOne()) ++count;
  return count;
}

void SimulatedQueue::DropAll() {
  std::deque<core::Task> dropped;
  const std::lock_guard lock(mutex_);
  dropped.swap(tasks_);
}

std::size_t SimulatedQueue::waiting() const {
  const std::lock_guard lock(mutex_);
  return tasks_.size();
}

bool SimulatedQueue::IsCurrent() const {
  if (journal_ != nullptr) journal_->Add(Journal::kQueueCheck, DescribeCall(name(), "IsCurrent"));
  const std::thread::id self = std::this_thread::get_id();
  return runner_ == self || (self == owner_ && current_);
}

void SimulatedQueue::Post(core::Task task) {
  if (!task) return;
  const std::lock_guard lock(mutex_);
  tasks_.push_back(std::move(task));
}

void SimulatedQueue::PostDelayed(core::Task task, std::chrono::nanoseconds delay) {
  if (delay <= std::chrono::nanoseconds::zero()) {
    Post(std::move(task));
  } else if (task) {
    clock_->Add(delay, {weak_from_this(), std::move(task)});
  }
}

}  // namespace movra::testing
